#pragma once

#include <QByteArray>

// Streams of the zlib format.

/// Quickly: about as fast as the memory for flat pages. Begins a new Huffman code where the
/// statistics of \a bytes change if \a isSplit, which helps noise in single bytes;
/// otherwise at regular distances.
[[nodiscard]] QByteArray deflatedFast(const QByteArray &bytes, bool isSplit);

/// With a search for longer matches, the longer the higher \a level, 1 to 12.
[[nodiscard]] QByteArray deflatedDense(const QByteArray &bytes, int level);
