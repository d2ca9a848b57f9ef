#pragma once

#include <QByteArray>
#include <QList>

#include <random>

/// A number from 0 to \a end - 1. The standard distributions differ between libraries.
[[nodiscard]] qsizetype below(std::mt19937 &random, qsizetype end);

/// A changed copy of the input at \a index in \a corpus: a few bits, bytes and runs
/// are changed, removed, repeated or copied from another input; half of the copies of
/// JSON stay JSON. Depends only on the arguments.
[[nodiscard]] QByteArray mutated(const QList<QByteArray> &corpus, qsizetype index, std::mt19937 &random);
