#include "pdf/jpegcompressor.h"

#include "pdf/pdferror.h"

#include <array>
#include <jerror.h>
#include <new>

namespace {

constexpr qsizetype leastSize = 4096;

} // namespace

/// The functions that libjpeg calls.
struct CompressorCallbacks
{
    static JpegCompressor &compressorOf(void *info)
    {
        return *static_cast<JpegCompressor *>(static_cast<j_common_ptr>(info)->client_data);
    }

    static void fail(j_common_ptr info)
    {
        JpegCompressor &compressor = compressorOf(info);
        compressor.isMemoryShort |= info->err->msg_code == JERR_OUT_OF_MEMORY;
        std::longjmp(compressor.failed, 1);
    }

    static void output(j_common_ptr /*info*/) {}

    static void begin(j_compress_ptr info)
    {
        JpegCompressor &compressor = compressorOf(info);
        offer(compressor, 0);
    }

    static boolean flush(j_compress_ptr info)
    {
        JpegCompressor &compressor = compressorOf(info);
        const qsizetype used = compressor.bytes.size();
        if (!grow(compressor.bytes)) {
            ERREXIT1(info, JERR_OUT_OF_MEMORY, 0);
        }
        offer(compressor, used);
        return TRUE;
    }

    static void end(j_compress_ptr info)
    {
        JpegCompressor &compressor = compressorOf(info);
        compressor.bytes.truncate(compressor.bytes.size() - qsizetype(compressor.destination.free_in_buffer));
    }

private:
    static void offer(JpegCompressor &compressor, qsizetype used)
    {
        compressor.destination.next_output_byte = reinterpret_cast<JOCTET *>(compressor.bytes.data()) + used;
        compressor.destination.free_in_buffer = size_t(compressor.bytes.size() - used);
    }

    static bool grow(QByteArray &bytes)
    {
        try {
            bytes.resize(2 * bytes.size());
            return true;
        } catch (const std::bad_alloc &) {
            return false; // no exception may pass libjpeg
        }
    }
};

JpegCompressor::JpegCompressor(qsizetype expectedSize)
    : bytes(std::max(leastSize, expectedSize), Qt::Uninitialized)
{
    info.err = jpeg_std_error(&errors);
    errors.error_exit = CompressorCallbacks::fail;
    errors.output_message = CompressorCallbacks::output;
    info.client_data = this;
    destination.init_destination = CompressorCallbacks::begin;
    destination.empty_output_buffer = CompressorCallbacks::flush;
    destination.term_destination = CompressorCallbacks::end;
    run([this](jpeg_compress_struct &) {
        jpeg_create_compress(&info); // clears all but the error manager and the client
        info.dest = &destination;
    });
}

JpegCompressor::~JpegCompressor()
{
    jpeg_destroy_compress(&info);
}

QByteArray JpegCompressor::takeBytes()
{
    return std::move(bytes);
}

void JpegCompressor::throwFailure()
{
    if (isMemoryShort) {
        throw std::bad_alloc();
    }
    std::array<char, JMSG_LENGTH_MAX> text{};
    errors.format_message(reinterpret_cast<j_common_ptr>(&info), text.data());
    throw PdfError(QString::fromLatin1(text.data()));
}
