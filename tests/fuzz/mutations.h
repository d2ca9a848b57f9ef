#pragma once

#include <QByteArray>
#include <QList>

#include <random>

/// A changed copy of the input at \a index in \a corpus: a few bits, bytes and runs
/// are changed, removed, repeated or copied from another input. Depends only on
/// the arguments.
[[nodiscard]] QByteArray mutated(const QList<QByteArray> &corpus, qsizetype index, std::mt19937 &random);
