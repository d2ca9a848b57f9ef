#pragma once

#include <QByteArray>

#include <csetjmp>
#include <cstdio>
#include <jpeglib.h>

/// A JPEG file in memory that libjpeg reads.
class JpegInput
{
public:
    explicit JpegInput(QByteArray file);
    ~JpegInput();
    JpegInput(const JpegInput &) = delete;
    JpegInput &operator=(const JpegInput &) = delete;

    /// Calls \a step, which calls libjpeg, and must keep no object that needs its
    /// destructor while it does so. False after an error or a warning of libjpeg; throws
    /// std::bad_alloc where memory runs out.
    template <typename Step>
    bool succeeds(Step step)
    {
        if (setjmp(failed) != 0) {
            throwIfMemoryIsShort();
            return false;
        }
        step();
        return errors.num_warnings == 0;
    }

    /// Reads what precedes the first scan. False if the file is damaged or neither gray
    /// nor YCbCr nor RGB with 8 bits.
    bool readHeader();

    const QByteArray &content() const { return bytes; }
    jpeg_decompress_struct info{};

private:
    void throwIfMemoryIsShort() const;

    QByteArray bytes;
    jpeg_error_mgr errors{};
    std::jmp_buf failed{};
};

/// Rows that are decoded together.
int unitHeight(const jpeg_decompress_struct &info);

/// Rows around a band that its colors depend on: those of channels with half of the
/// resolution are smoothed.
int contextRows(const jpeg_decompress_struct &info);
