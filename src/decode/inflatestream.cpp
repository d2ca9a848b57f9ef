#include "decode/inflatestream.h"

#include <algorithm>
#include <cstring>
#include <isa-l/igzip_lib.h>
#include <libdeflate.h>

namespace {

constexpr int bitsPerByte = 8;
constexpr size_t inputCapacity = size_t(64) * 1024;

// With less than half of it ahead, ISA-L chooses slower tables for a last block.
constexpr quint32 enoughForBlock = 8 * 1024;

constexpr quint32 leastRoom = 4 * 1024;

} // namespace

InflateStream::InflateStream(SharedDevice &device, const std::vector<PngSegment> &segments)
    : window(device)
    , chunks(segments)
    , state(std::make_unique<inflate_state>())
{
    input.reserve(inputCapacity);
    isal_inflate_init(state.get()); // without a checksum: the stream has no end for ISA-L
}

InflateStream::~InflateStream() = default;

/// Joins the chunks, which are often small: each call of ISA-L has a cost. Keeps
/// what has not been used.
void InflateStream::fillInput()
{
    input.erase(input.begin(), input.end() - std::ptrdiff_t(state->avail_in));
    while (chunk < chunks.size() && input.size() < inputCapacity) {
        const PngSegment &segment = chunks[chunk];
        const auto room = qsizetype(inputCapacity - input.size());
        const auto part = window.bytes(segment.at + taken, std::min(room, segment.length - taken));
        if (part.empty()) {
            break; // the file has become shorter
        }
        input.insert(input.end(), part.begin(), part.end());
        taken += qsizetype(part.size());
        if (taken == segment.length) {
            ++chunk;
            taken = 0;
        }
    }
    state->next_in = input.data();
    state->avail_in = quint32(input.size());
}

/// Qt accepts any distance up to 32 KiB, whatever smaller window is stated.
bool InflateStream::readStreamHeader()
{
    constexpr int deflate = 8;
    constexpr int largestWindow = 7;
    constexpr int dictionaryFlag = 0x20;
    fillInput();
    if (input.size() < 2) {
        return false;
    }
    const int method = input[0] & 0xf;
    const int windowSize = input[0] >> 4;
    const bool isIntact = (input[0] << bitsPerByte | input[1]) % 31 == 0;
    state->next_in += 2;
    state->avail_in -= 2;
    return isIntact && method == deflate && windowSize <= largestWindow && (input[1] & dictionaryFlag) == 0;
}

BitReader InflateStream::nextBits() const
{
    return {state->read_in, state->read_in_length, {state->next_in, state->avail_in}};
}

/// Marks each block as the last one, so that ISA-L stops at its end.
void InflateStream::startBlock()
{
    if (state->avail_in < enoughForBlock) {
        fillInput();
    }
    const DeflateHeader header = deflateHeader(nextBits());
    if (!header.isValid || state->avail_in + quint32(state->read_in_length) == 0) {
        stage = Stage::Damaged;
        return;
    }
    isLastBlock = header.isLast;
    if (state->read_in_length > 0) {
        state->read_in |= 1;
    } else {
        *state->next_in |= 1;
    }
    state->block_state = ISAL_BLOCK_NEW_HDR;
    stage = Stage::InBlock;
}

/// At the end of a block: leaves the last 32 KiB of the output where ISA-L looks for
/// them; after a last block it does not do so itself. \a produced is what the last
/// call has written. If that is less, all of it has gone through the buffer of ISA-L,
/// which stays as it is until it is nearly full: moving it is a tenth of the work.
void InflateStream::keepHistory(qsizetype produced)
{
    constexpr qsizetype most = ISAL_DEF_HIST_SIZE;
    const bool isInOutput = produced >= most;
    if (!isInOutput && roomInBuffer() >= leastRoom) {
        return;
    }
    const qsizetype length = isInOutput ? most : std::min<qsizetype>(most, state->tmp_out_valid);
    const uchar *end = isInOutput ? state->next_out : state->tmp_out_buffer + state->tmp_out_valid;
    std::memmove(state->tmp_out_buffer, end - length, size_t(length));
    state->tmp_out_valid = int(length);
    state->tmp_out_processed = int(length);
}

quint32 InflateStream::roomInBuffer() const
{
    constexpr int most = 2 * ISAL_DEF_HIST_SIZE;
    return quint32(std::max(0, most - state->tmp_out_valid));
}

/// Has ISA-L continue. What does not fit its buffer it writes to the output directly,
/// and finds only distances within the output then. So the output must be at least
/// 32 KiB long by then, or end there.
bool InflateStream::inflateSome()
{
    const quint32 room = roomInBuffer();
    const auto waiting = quint32(state->tmp_out_valid - state->tmp_out_processed);
    const quint32 wanted = state->avail_out;
    const quint32 allowed = room < ISAL_DEF_HIST_SIZE ? std::min(waiting + room, wanted) : wanted;
    state->avail_out = allowed;
    const bool isRight = isal_inflate(state.get()) == ISAL_DECOMP_OK;
    state->avail_out += wanted - allowed;
    return isRight;
}

void InflateStream::continueBlock()
{
    if (state->avail_in == 0) {
        fillInput();
    }
    const bool hasAllInput = state->avail_in == 0;
    const uchar *before = state->next_out;
    if (!inflateSome()) {
        stage = Stage::Damaged;
        return;
    }
    const qsizetype produced = state->next_out - before;
    if (state->block_state == ISAL_BLOCK_FINISH) {
        keepHistory(produced);
        stage = isLastBlock ? Stage::AfterLastBlock : Stage::BeforeBlock;
    } else if (hasAllInput && produced == 0) {
        stage = Stage::Damaged;
    }
}

void InflateStream::step()
{
    switch (stage) {
    case Stage::Start:
        stage = readStreamHeader() ? Stage::BeforeBlock : Stage::Damaged;
        break;
    case Stage::BeforeBlock:
        startBlock();
        break;
    case Stage::InBlock:
        continueBlock();
        break;
    case Stage::AfterLastBlock:
    case Stage::Damaged:
        break;
    }
}

bool InflateStream::read(uchar *to, qsizetype size)
{
    state->next_out = to;
    state->avail_out = quint32(size);
    while (state->avail_out > 0 && stage != Stage::AfterLastBlock && stage != Stage::Damaged) {
        step();
    }
    checksum = libdeflate_adler32(checksum, to, size_t(size) - state->avail_out);
    return state->avail_out == 0;
}

bool InflateStream::isAtEnd()
{
    uchar unexpected = 0;
    if (read(&unexpected, 1) || stage != Stage::AfterLastBlock) {
        return false;
    }
    if (state->avail_in < sizeof(checksum)) {
        fillInput();
    }
    BitReader reader = nextBits();
    reader.skipToByte();
    quint32 stated = 0;
    for (size_t i = 0; i < sizeof(stated); ++i) {
        stated = stated << bitsPerByte | reader.take(bitsPerByte);
    }
    return stated == checksum && reader.isAtEnd() && chunk == chunks.size();
}
