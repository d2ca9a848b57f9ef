#pragma once

#include <QtGlobal>

#include <array>
#include <cstdio>
#include <jpeglib.h>

/// How often each symbol occurs, less than 2^23 times; together less than 2^24.
using SymbolCounts = std::array<quint32, 256>;

/// The Huffman table with which a JPEG file with symbols as frequent as \a counts is
/// smallest: ITU-T T.81, K.2. Symbols that do not occur get no code.
[[nodiscard]] JHUFF_TBL optimalTable(const SymbolCounts &counts);
