#pragma once

#include <QImage>
#include <QList>
#include <QString>

/// \a image made small, with a line for each of \a cuts.
[[nodiscard]] QImage previewOf(const QImage &image, const QList<int> &cuts);

/// Writes that to the PNG file \a name. Throws BatchError if it cannot.
void writePreview(const QImage &image, const QList<int> &cuts, const QString &name);
