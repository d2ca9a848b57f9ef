#pragma once

#include <QByteArray>
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

/// Draws \a widget and its children.
void draw(QWidget &widget);

/// Handles all pending events, including deferred deletions.
void settle();
