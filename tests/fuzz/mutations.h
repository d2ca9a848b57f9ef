#pragma once

#include <QByteArray>
#include <QList>

#include <random>

/// A changed copy of one of \a corpus, the one at \a index: a few bits, bytes
/// and runs are changed, taken out, repeated or taken over from another of the
/// corpus. Depends on nothing but the arguments.
QByteArray mutated(const QList<QByteArray> &corpus, qsizetype index, std::mt19937 &random);
