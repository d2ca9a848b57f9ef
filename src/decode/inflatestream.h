#pragma once

#include "decode/deflateheader.h"
#include "decode/filewindow.h"
#include "decode/pngfile.h"

#include <memory>

struct inflate_state;

/// Unpacks the IDAT chunks of a PNG file: a zlib stream.
///
/// ISA-L unpacks a block at a time, so that the header of each block is checked
/// as strictly as by zlib.
class InflateStream
{
public:
    /// Both must outlive the stream.
    InflateStream(SharedDevice &device, const std::vector<PngSegment> &segments);
    ~InflateStream();
    InflateStream(const InflateStream &) = delete;
    InflateStream &operator=(const InflateStream &) = delete;

    /// Unpacks the next \a size bytes to \a to; false if there are fewer, or the
    /// data are damaged.
    bool read(uchar *to, qsizetype size);

    /// Whether the stream ends here, in the last byte of the last chunk and with
    /// the right checksum.
    bool isAtEnd();

private:
    enum class Stage { Start, BeforeBlock, InBlock, AfterLastBlock, Damaged };

    void fillInput();
    bool readStreamHeader();
    void step();
    void startBlock();
    void continueBlock();
    void keepHistory(qsizetype produced);
    quint32 roomInBuffer() const;
    bool inflateSome();
    BitReader nextBits() const;

    FileWindow window;
    const std::vector<PngSegment> &chunks;
    size_t chunk = 0; ///< the one to read from
    qsizetype taken = 0; ///< of that chunk
    std::vector<uchar> input;
    std::unique_ptr<inflate_state> state;
    Stage stage = Stage::Start;
    bool isLastBlock = false;
    quint32 checksum = 1;
};
