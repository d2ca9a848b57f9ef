#include "pdf/rowfilter.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

enum Filter : char { None = 0, Sub = 1, Up = 2, Paeth = 4 };

constexpr std::array photoFilters{Sub, Up, Paeth};

int paeth(int left, int above, int corner)
{
    const int toLeft = std::abs(above - corner);
    const int toAbove = std::abs(left - corner);
    const int toCorner = std::abs(left + above - 2 * corner);
    const int nearest = toAbove <= toCorner ? above : corner;
    return toLeft <= toAbove && toLeft <= toCorner ? left : nearest;
}

/// \a left and \a corner are a pixel before \a row and \a above.
template <Filter filter>
void filterBytes(const uchar *row, const uchar *left, const uchar *above, const uchar *corner, qsizetype size,
                 uchar *target)
{
    for (qsizetype i = 0; i < size; ++i) {
        const int predicted = filter == Sub ? left[i] : filter == Up ? above[i] : paeth(left[i], above[i], corner[i]);
        target[i] = uchar(row[i] - predicted);
    }
}

void filterRow(Filter filter, const uchar *row, const uchar *above, qsizetype size, int pixelBytes, uchar *target)
{
    switch (filter) {
    case Sub:
        filterBytes<Sub>(row, row - pixelBytes, above, above - pixelBytes, size, target);
        break;
    case Up:
        filterBytes<Up>(row, row - pixelBytes, above, above - pixelBytes, size, target);
        break;
    default:
        filterBytes<Paeth>(row, row - pixelBytes, above, above - pixelBytes, size, target);
        break;
    }
}

qint64 sumOfDifferences(const uchar *bytes, qsizetype size)
{
    qint64 sum = 0;
    for (qsizetype i = 0; i < size; ++i) {
        sum += std::abs(int(qint8(bytes[i])));
    }
    return sum;
}

/// Writes the row \a current to \a target, with the filter that leaves the smallest
/// differences. \a current and \a above begin with a pixel of zeros.
void writeBestRow(const std::vector<uchar> &current, const std::vector<uchar> &above, int pixelBytes,
                  std::vector<uchar> &tried, char *target)
{
    const auto size = qsizetype(tried.size());
    qint64 least = -1;
    for (const Filter filter : photoFilters) {
        filterRow(filter, current.data() + pixelBytes, above.data() + pixelBytes, size, pixelBytes, tried.data());
        const qint64 sum = sumOfDifferences(tried.data(), size);
        if (least < 0 || sum < least) {
            least = sum;
            target[0] = filter;
            std::memcpy(target + 1, tried.data(), tried.size());
        }
    }
}

} // namespace

QByteArray filteredForPhotos(const QByteArray &rows, qsizetype rowBytes, int pixelBytes)
{
    const qsizetype count = rows.size() / rowBytes;
    QByteArray filtered(count * (rowBytes + 1), Qt::Uninitialized);
    // Rows with a pixel of zeros before them, as the filters see them.
    std::vector<uchar> above(size_t(rowBytes + pixelBytes));
    std::vector<uchar> current(above.size());
    std::vector<uchar> tried(static_cast<size_t>(rowBytes));
    char *target = filtered.data();
    for (qsizetype y = 0; y < count; ++y) {
        std::memcpy(current.data() + pixelBytes, rows.constData() + y * rowBytes, size_t(rowBytes));
        if (current == above) {
            target[0] = Up;
            std::memset(target + 1, 0, size_t(rowBytes));
        } else {
            writeBestRow(current, above, pixelBytes, tried, target);
        }
        target += rowBytes + 1;
        above.swap(current);
    }
    return filtered;
}

QByteArray filteredForText(const QByteArray &rows, qsizetype rowBytes)
{
    const qsizetype count = rows.size() / rowBytes;
    QByteArray filtered(count * (rowBytes + 1), Qt::Uninitialized);
    char *target = filtered.data();
    for (qsizetype y = 0; y < count; ++y) {
        const char *row = rows.constData() + y * rowBytes;
        const bool isRepeated = y > 0 && std::memcmp(row, row - rowBytes, size_t(rowBytes)) == 0;
        target[0] = isRepeated ? Up : None;
        if (isRepeated) {
            std::memset(target + 1, 0, size_t(rowBytes));
        } else {
            std::memcpy(target + 1, row, size_t(rowBytes));
        }
        target += rowBytes + 1;
    }
    return filtered;
}
