#pragma once

#include <QByteArray>

#include <random>

/// \a document with one change that leaves it JSON: a value or a key that is replaced,
/// added or removed, anywhere in it. Of a list of documents, one on each line, one is
/// changed. Empty if \a document is neither.
[[nodiscard]] QByteArray mutatedJson(const QByteArray &document, std::mt19937 &random);
