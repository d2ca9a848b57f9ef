#include "decode/rowsource.h"

#include <algorithm>
#include <system_error>

namespace {

constexpr qsizetype pieceLength = qsizetype(192) * 1024; // stays in the cache between the two steps

} // namespace

RowSource::RowSource(InflateStream &source, qsizetype rowBytes, int rows, DecodeThreads threads)
    : stream(source)
    , rowLength(rowBytes)
    , rowsPerPiece(int(std::clamp<qsizetype>(pieceLength / rowBytes, 1, rows)))
    , rowsLeft(rows)
{
    for (Piece &piece : pieces) {
        piece.bytes.resize(size_t(rowsPerPiece * rowLength + padding));
    }
    if (threads == DecodeThreads::Two) {
        try {
            helper = std::thread([this] { unpackAhead(); });
        } catch (const std::system_error &) {
            // no thread to be had: this one unpacks
        }
    }
}

RowSource::~RowSource()
{
    {
        const std::lock_guard lock(mutex);
        isStopped = true;
    }
    changed.notify_all();
    if (helper.joinable()) {
        helper.join();
    }
}

std::span<const uchar> RowSource::next()
{
    Piece &piece = helper.joinable() ? waitForPiece() : pieces[0];
    if (!helper.joinable()) {
        unpack(piece);
    }
    return {piece.bytes.data(), size_t(piece.length)};
}

void RowSource::unpack(Piece &piece)
{
    const int rows = std::min(rowsPerPiece, rowsLeft);
    const qsizetype wanted = rows * rowLength;
    rowsLeft -= rows;
    piece.length = rows > 0 && stream.read(piece.bytes.data(), wanted) ? wanted : 0;
    if (rowsLeft == 0 && piece.length > 0) {
        intact = stream.isAtEnd();
    }
}

RowSource::Piece &RowSource::waitForPiece()
{
    std::unique_lock lock(mutex);
    released += isFirst ? 0 : 1;
    isFirst = false;
    changed.notify_all();
    changed.wait(lock, [this] { return unpacked > released; });
    return pieces[released % pieces.size()];
}

void RowSource::unpackAhead()
{
    for (bool isLast = false; !isLast;) {
        std::unique_lock lock(mutex);
        changed.wait(lock, [this] { return isStopped || unpacked < released + pieces.size(); });
        if (isStopped) {
            return;
        }
        Piece &piece = pieces[unpacked % pieces.size()];
        lock.unlock();
        unpack(piece);
        isLast = piece.length == 0;
        lock.lock();
        ++unpacked;
        changed.notify_all();
    }
}
