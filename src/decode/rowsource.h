#pragma once

#include "decode/imagedecoder.h"
#include "decode/inflatestream.h"

#include <array>
#include <condition_variable>
#include <thread>

/// The rows of a PNG file as they are stored, filtered and with the filter in
/// front, some at a time. With two threads they are unpacked ahead.
class RowSource
{
public:
    /// \a rows rows of \a rowBytes bytes each.
    RowSource(InflateStream &source, qsizetype rowBytes, int rows, DecodeThreads threads);
    ~RowSource();
    RowSource(const RowSource &) = delete;
    RowSource &operator=(const RowSource &) = delete;

    /// The next rows, with a few readable bytes behind the last one; empty after
    /// the last rows, and where the data are damaged. Valid until the next call.
    std::span<const uchar> next();

    /// After the last rows: whether the data were right up to their end.
    bool isIntact() const { return intact; }

    /// How many bytes may be read behind the rows.
    static constexpr qsizetype padding = 16;

private:
    struct Piece
    {
        std::vector<uchar> bytes;
        qsizetype length = 0; ///< 0: no further rows
    };

    void unpack(Piece &piece);
    void unpackAhead();
    Piece &waitForPiece();

    InflateStream &stream;
    const qsizetype rowLength;
    const int rowsPerPiece;
    int rowsLeft;
    bool intact = false;

    std::array<Piece, 3> pieces;
    // Counts of pieces since the start, guarded by the mutex; the piece that
    // next() has returned is released at its next call.
    size_t unpacked = 0;
    size_t released = 0;
    bool isFirst = true;
    bool isStopped = false;
    std::mutex mutex;
    std::condition_variable changed;
    std::thread helper;
};
