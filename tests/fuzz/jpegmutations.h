#pragma once

#include <QByteArray>

#include <random>

/// The JPEG file \a jpeg with one change that leaves it a file of segments with the right
/// lengths: segments that are added, removed, moved or changed, scans that are, and bytes
/// of their data that are changed without becoming a marker. Empty if \a jpeg has no
/// segments.
[[nodiscard]] QByteArray mutatedJpeg(const QByteArray &jpeg, std::mt19937 &random);
