#pragma once

#include "decode/filewindow.h"

#include <QSize>

#include <csetjmp>
#include <cstdio>
#include <jpeglib.h>

/// One pass of libjpeg over a file. Its errors end a step, and a warning makes
/// the step fail as well: QImageReader then reads the file and tells.
class JpegSession
{
public:
    explicit JpegSession(SharedDevice &device);
    ~JpegSession();
    JpegSession(const JpegSession &) = delete;
    JpegSession &operator=(const JpegSession &) = delete;

    /// Reads the header and prepares for pixels of 8 bits in gray or words
    /// 0xffRRGGBB in color, as \a channels says.
    bool open(int channels);

    bool start();
    bool skipRows(int count);

    /// Reads up to \a count rows to \a rows; returns how many, 0 on a failure.
    int readRows(uchar **rows, int count);

    bool finish();

    QSize size() const { return {int(info.output_width), int(info.output_height)}; }

private:
    friend struct JpegCallbacks;

    template <typename Step>
    bool succeeds(Step step);

    jpeg_decompress_struct info{};
    jpeg_error_mgr errors{};
    jpeg_source_mgr source{};
    std::jmp_buf failed{};
    FileWindow window;
    qint64 next = 0; ///< position of what follows the buffer of libjpeg
};
