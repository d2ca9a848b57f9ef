#include "pixels/averagedrows.h"

#include <vector>

namespace {

constexpr int pixelsOfSquare = averagedSide * averagedSide;

/// Adds the bytes of a row to \a columns, or with the factor -1 takes them away.
void addRow(std::vector<int> &columns, const uchar *row, int factor)
{
    for (size_t i = 0; i < columns.size(); ++i) {
        columns[i] += factor * row[i];
    }
}

/// The rounded averages of the squares that \a columns, sums of a few rows, make.
void writeAverages(const std::vector<int> &columns, int bytes, uchar *averages)
{
    const auto pixel = static_cast<size_t>(bytes);
    std::vector<int> sums(pixel, pixelsOfSquare / 2);
    for (size_t i = 0; i < columns.size(); ++i) {
        sums[i % pixel] += columns[i];
        if (i < (averagedSide - 1) * pixel) {
            continue;
        }
        const size_t first = i - (averagedSide - 1) * pixel;
        averages[first] = uchar(sums[i % pixel] / pixelsOfSquare);
        sums[i % pixel] -= columns[first];
    }
}

} // namespace

QImage averagedRows(const QImage &rows, int bytes)
{
    const QSize size = rows.size() - QSize(averagedSide - 1, averagedSide - 1);
    QImage averages(size, rows.format());
    if (averages.isNull()) {
        return averages;
    }
    std::vector<int> columns(size_t(rows.width()) * size_t(bytes));
    for (int y = 0; y < rows.height(); ++y) {
        addRow(columns, rows.constScanLine(y), 1);
        if (y + 1 >= averagedSide) {
            writeAverages(columns, bytes, averages.scanLine(y + 1 - averagedSide));
            addRow(columns, rows.constScanLine(y + 1 - averagedSide), -1);
        }
    }
    return averages;
}
