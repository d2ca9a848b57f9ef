#pragma once

#include <QByteArray>
#include <QtEndian>

#include <algorithm>

/// The bits of a scan, without the zeros that follow each 0xff in a file.
class EntropyBits
{
public:
    /// The bits of \a jpeg from \a start on; isEnded() is false unless the image ends
    /// after them.
    EntropyBits(const QByteArray &jpeg, qsizetype start);

    bool isEnded() const { return hasEnd; }
    qint64 size() const { return bytes * 8; }

    /// At least 57 bits from \a position on, the first one on top; zeros after the end.
    quint64 from(qint64 position) const
    {
        const char *at = clean.constData() + std::min<qint64>(position / 8, bytes);
        return qFromBigEndian<quint64>(at) << unsigned(position % 8);
    }

private:
    QByteArray clean;
    qint64 bytes = 0;
    bool hasEnd = false;
};

/// Reads a scan from one position on, a few bits at a time.
class EntropyReader
{
public:
    EntropyReader(const EntropyBits &scan, qint64 start)
        : bits(scan)
        , next(start)
    {
    }

    qint64 position() const { return next; }

    /// Makes 32 bits available to top() and skip().
    void fill()
    {
        if (available < 32) {
            window = bits.from(next);
            available = 57;
        }
    }

    /// The next \a count bits, 1 to 32.
    unsigned top(int count) const { return unsigned(window >> unsigned(64 - count)); }

    void skip(int count)
    {
        window <<= unsigned(count);
        available -= count;
        next += count;
    }

private:
    const EntropyBits &bits;
    qint64 next;
    quint64 window = 0;
    int available = 0;
};

/// Appends bits to a file, with a zero after each 0xff.
class EntropyWriter
{
public:
    explicit EntropyWriter(QByteArray &file)
        : bytes(file)
    {
    }

    /// The lowest \a count bits of \a bits, at most 32; the others are 0.
    void append(unsigned value, int count);

    /// The bits of \a scan from \a first to before \a end.
    void append(const EntropyBits &scan, qint64 first, qint64 end);

    /// Fills the last byte with ones.
    void finish();

private:
    void appendByte(char byte);

    QByteArray &bytes;
    quint64 pending = 0;
    int count = 0; // of pending bits, below 32 between calls
};
