#include "decode/inflatestream.h"

#include <algorithm>
#include <isa-l/igzip_lib.h>

namespace {

constexpr int bitsPerByte = 8;
constexpr size_t inputCapacity = size_t(64) * 1024;

} // namespace

InflateStream::InflateStream(SharedDevice &device, const std::vector<PngSegment> &segments)
    : window(device)
    , chunks(segments)
    , state(std::make_unique<inflate_state>())
{
    input.reserve(inputCapacity);
    isal_inflate_init(state.get());
    state->crc_flag = ISAL_ZLIB;
}

InflateStream::~InflateStream() = default;

/// Joins the chunks, which are often small: each call of the library has a cost.
void InflateStream::fillInput()
{
    input.clear();
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

/// The library takes any stated window, Qt none of more than 32 KiB.
bool InflateStream::startsWell()
{
    constexpr int largestWindow = 7; // as stated in the upper half of the first byte
    fillInput();
    return !input.empty() && input[0] >> 4 <= largestWindow;
}

bool InflateStream::read(uchar *to, qsizetype size)
{
    isStarted = isStarted || startsWell();
    if (!isStarted) {
        return false;
    }
    state->next_out = to;
    state->avail_out = quint32(size);
    while (state->avail_out > 0 && state->block_state != ISAL_BLOCK_FINISH) {
        if (state->avail_in == 0) {
            fillInput();
        }
        const bool isLast = state->avail_in == 0;
        const quint32 room = state->avail_out;
        if (isal_inflate(state.get()) != ISAL_DECOMP_OK || (isLast && state->avail_out == room)) {
            return false;
        }
    }
    return state->avail_out == 0;
}

bool InflateStream::isAtEnd()
{
    uchar unexpected = 0;
    return !read(&unexpected, 1) && state->block_state == ISAL_BLOCK_FINISH && state->avail_out == 1
        && state->avail_in == 0 && state->read_in_length < bitsPerByte && chunk == chunks.size();
}
