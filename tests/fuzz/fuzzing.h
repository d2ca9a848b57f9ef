#pragma once

#include <QByteArray>
#include <QSize>
#include <QString>

#include <cstddef>
#include <cstdint>

class QWidget;

/// Runs one input. Each driver defines this function.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

/// Aborts with \a message unless \a holds, so that the fuzzer saves the input.
void require(bool holds, const char *message);

/// A copy of the input.
[[nodiscard]] QByteArray bytesOf(const uint8_t *data, size_t size);

/// Writes \a bytes to \a path with a new time stamp: QSettings reads a file again
/// only if it looks changed.
void writeChanged(const QString &path, const QByteArray &bytes);

/// Whether an image that declares \a size takes little time: it has at most \a mostPixels
/// and \a mostStrips, or so many pixels that every machine rejects it.
[[nodiscard]] bool isQuick(QSize size, qint64 mostPixels, int mostStrips);

/// Draws \a widget and its children.
void draw(QWidget &widget);

/// Handles all pending events, including deferred deletions.
void settle();
