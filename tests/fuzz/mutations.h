#pragma once

#include <QByteArray>
#include <QList>

#include <random>

/// A number from 0 to \a end - 1. The standard distributions differ between libraries.
[[nodiscard]] qsizetype below(std::mt19937 &random, qsizetype end);

/// Up to \a most bytes, some of which are often 0 or 255.
[[nodiscard]] QByteArray anyBytes(std::mt19937 &random, qsizetype most);

/// \a input with one change that leaves it what it is, a PNG, JPEG or JSON file; empty if
/// it is neither, or nothing can be changed.
[[nodiscard]] QByteArray mutatedStructure(const QByteArray &input, std::mt19937 &random);

/// A changed copy of the input at \a index in \a corpus: a few bits, bytes and runs
/// are changed, removed, repeated or copied from another input; half of the copies keep
/// the structure of their file. Depends only on the arguments.
[[nodiscard]] QByteArray mutated(const QList<QByteArray> &corpus, qsizetype index, std::mt19937 &random);
