#pragma once

#include <QByteArray>

#include <csetjmp>
#include <cstdio>
#include <jpeglib.h>

/// One JPEG file that libjpeg writes into memory. Where libjpeg would end the process,
/// run() throws.
class JpegCompressor
{
public:
    /// The first allocation is \a expectedSize bytes.
    explicit JpegCompressor(qsizetype expectedSize);
    ~JpegCompressor();
    JpegCompressor(const JpegCompressor &) = delete;
    JpegCompressor &operator=(const JpegCompressor &) = delete;

    /// Calls \a step, which calls libjpeg, and must keep no object that needs its
    /// destructor while it does so. Throws std::bad_alloc, or PdfError with the reason
    /// of libjpeg.
    template <typename Step>
    void run(Step step)
    {
        if (setjmp(failed) != 0) {
            throwFailure();
        }
        step(info);
    }

    /// The file, after jpeg_finish_compress().
    QByteArray takeBytes();

private:
    friend struct CompressorCallbacks;

    [[noreturn]] void throwFailure();

    jpeg_compress_struct info{};
    jpeg_error_mgr errors{};
    jpeg_destination_mgr destination{};
    std::jmp_buf failed{};
    QByteArray bytes;
    bool isMemoryShort = false;
};
