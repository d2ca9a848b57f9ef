#pragma once

#include <QSizeF>
#include <QString>

#include <optional>

/// The size of a sheet, in points; empty if each page is as large as its strip.
struct Paper
{
    QSizeF size;

    bool isStrip() const { return size.isEmpty(); }
};

/// The paper that a command line calls \a name: A3, A4, A5, Letter, Legal, strip, or
/// a size such as 100x200mm or 4x6.5in. Nothing for any other name, and for a side
/// of less than 10 mm or more than 5000 mm.
[[nodiscard]] std::optional<Paper> paperNamed(const QString &name);

/// The distance from each edge of a sheet to its content.
struct Margin
{
    double value = 10;
    bool isMillimeters = false; ///< otherwise percent

    friend bool operator==(const Margin &, const Margin &) = default;
};

/// The margin \a text: a whole number from 0 to 30, in percent, or millimeters such
/// as 12.5mm, up to 100.
[[nodiscard]] std::optional<Margin> marginNamed(const QString &text);

/// \a margin in points, on sheets of \a paper; percent are of the shorter side.
[[nodiscard]] double marginOn(const QSizeF &paper, const Margin &margin);
