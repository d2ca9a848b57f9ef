#pragma once

#include "decode/filewindow.h"
#include "decode/pngfile.h"

#include <memory>

struct inflate_state;

/// Unpacks the IDAT chunks of a PNG file.
class InflateStream
{
public:
    /// Both must outlive the stream.
    InflateStream(SharedDevice &device, const std::vector<PngSegment> &segments);
    ~InflateStream();
    InflateStream(const InflateStream &) = delete;
    InflateStream &operator=(const InflateStream &) = delete;

    /// Unpacks the next \a size bytes to \a to; false if there are less of them
    /// or the data are damaged.
    bool read(uchar *to, qsizetype size);

    /// Whether the data end here, in the last byte of the last chunk and with
    /// the right checksum.
    bool isAtEnd();

private:
    void fillInput();
    bool startsWell();

    FileWindow window;
    const std::vector<PngSegment> &chunks;
    size_t chunk = 0; ///< the one to read from
    qsizetype taken = 0; ///< of that chunk
    std::vector<uchar> input;
    bool isStarted = false;
    std::unique_ptr<inflate_state> state;
};
