#pragma once

#include <QString>

#include <cstddef>
#include <cstdint>

/// Reads the bytes of an input one by one; 0 after the last one.
class InputBytes
{
public:
    InputBytes(const uint8_t *data, size_t size)
        : next(data)
        , end(data + size)
    {
    }

    bool atEnd() const { return next == end; }
    int byte() { return atEnd() ? 0 : *next++; }
    double share() { return byte() / 255.0; }

    /// A number of two bytes, from 0 to \a limit - 1.
    int below(int limit)
    {
        const int high = byte() << 8;
        return (high | byte()) % limit;
    }

    /// At most 63 bytes as UTF-8.
    QString text()
    {
        QByteArray bytes;
        for (int left = byte() % 64; left > 0 && !atEnd(); --left) {
            bytes += char(byte());
        }
        return QString::fromUtf8(bytes);
    }

    /// All bytes that were not read yet.
    QByteArray rest()
    {
        const QByteArray bytes(reinterpret_cast<const char *>(next), qsizetype(end - next));
        next = end;
        return bytes;
    }

private:
    const uint8_t *next;
    const uint8_t *end;
};
