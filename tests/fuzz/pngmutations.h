#pragma once

#include <QByteArray>

#include <random>

/// The PNG file \a png with one change that leaves it a file of chunks with the right
/// lengths and, mostly, checksums: chunks that are added, removed, moved or changed, pixel
/// data that is packed anew, with other filters, or in other pieces; or a new file of
/// another kind. Empty if \a png has no chunks.
[[nodiscard]] QByteArray mutatedPng(const QByteArray &png, std::mt19937 &random);
