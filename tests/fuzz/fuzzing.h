#pragma once

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <cstdint>

class QWidget;

/// Runs one input. Each driver defines it.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

/// Ends the program with \a message unless \a holds: the fuzzer then keeps the
/// input.
void require(bool holds, const char *message);

/// The input as bytes of its own.
QByteArray bytesOf(const uint8_t *data, size_t size);

/// Writes \a bytes to \a path, with a time stamp that no file of this run had
/// before: settings are read anew only from a file that looks changed.
void writeChanged(const QString &path, const QByteArray &bytes);

/// Draws \a widget with all that is in it.
void draw(QWidget &widget);

/// Lets everything happen that is due now, deletions too.
void settle();
