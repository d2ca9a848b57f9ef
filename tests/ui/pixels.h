#pragma once

#include <QImage>
#include <QString>

/// Tells the first pixel, by rows, in which the images differ, with both
/// values as #AARRGGBB; empty for equal images.
inline QString firstDifference(const QImage &actual, const QImage &expected)
{
    if (actual.size() != expected.size()) {
        return QStringLiteral("%1 x %2 instead of %3 x %4")
            .arg(actual.width())
            .arg(actual.height())
            .arg(expected.width())
            .arg(expected.height());
    }
    for (int y = 0; y < actual.height(); ++y) {
        for (int x = 0; x < actual.width(); ++x) {
            if (actual.pixel(x, y) != expected.pixel(x, y)) {
                return QStringLiteral("(%1, %2) is #%3 instead of #%4")
                    .arg(x)
                    .arg(y)
                    .arg(actual.pixel(x, y), 8, 16, QLatin1Char('0'))
                    .arg(expected.pixel(x, y), 8, 16, QLatin1Char('0'));
            }
        }
    }
    return {};
}
