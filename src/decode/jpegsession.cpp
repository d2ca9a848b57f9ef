#include "decode/jpegsession.h"

#include <array>
#include <jerror.h>

/// The functions that libjpeg calls.
struct JpegCallbacks
{
    static JpegSession &sessionOf(void *info)
    {
        return *static_cast<JpegSession *>(static_cast<j_common_ptr>(info)->client_data);
    }

    static void fail(j_common_ptr info) { std::longjmp(sessionOf(info).failed, 1); }

    static void output(j_common_ptr /*info*/) {}

    static void begin(j_decompress_ptr /*info*/) {}

    static boolean fill(j_decompress_ptr info)
    {
        JpegSession &session = sessionOf(info);
        const auto bytes = session.window.bytes(session.next, FileWindow::capacity);
        if (bytes.empty()) {
            ERREXIT(info, JERR_INPUT_EOF);
        }
        session.next += qint64(bytes.size());
        session.source.next_input_byte = bytes.data();
        session.source.bytes_in_buffer = bytes.size();
        return TRUE;
    }

    static void skip(j_decompress_ptr info, long count)
    {
        jpeg_source_mgr &source = sessionOf(info).source;
        if (count <= 0) {
            return;
        }
        if (size_t(count) > source.bytes_in_buffer) {
            sessionOf(info).next += count - qint64(source.bytes_in_buffer);
            source.bytes_in_buffer = 0;
            return;
        }
        source.next_input_byte += count;
        source.bytes_in_buffer -= size_t(count);
    }

    static void end(j_decompress_ptr /*info*/) {}
};

JpegSession::JpegSession(SharedDevice &device)
    : window(device)
{
    info.err = jpeg_std_error(&errors);
    errors.error_exit = JpegCallbacks::fail;
    errors.output_message = JpegCallbacks::output;
    info.client_data = this;
    source.init_source = JpegCallbacks::begin;
    source.fill_input_buffer = JpegCallbacks::fill;
    source.skip_input_data = JpegCallbacks::skip;
    source.resync_to_restart = jpeg_resync_to_restart;
    source.term_source = JpegCallbacks::end;
}

JpegSession::~JpegSession()
{
    jpeg_destroy_decompress(&info);
}

/// An error of libjpeg comes back here, over frames without destructors.
template <typename Step>
bool JpegSession::succeeds(Step step)
{
    if (setjmp(failed) != 0) {
        return false;
    }
    step();
    return errors.num_warnings == 0;
}

bool JpegSession::open(int channels)
{
    return succeeds([this, channels] {
        jpeg_create_decompress(&info); // clears all but the error manager and the client
        info.src = &source;
        jpeg_read_header(&info, TRUE);
        const bool isGray = channels == 1 && info.jpeg_color_space == JCS_GRAYSCALE;
        const bool isColor = channels == 3 && (info.jpeg_color_space == JCS_YCbCr || info.jpeg_color_space == JCS_RGB);
        if (!isGray && !isColor) {
            ERREXIT(&info, JERR_CONVERSION_NOTIMPL);
        }
        info.out_color_space = isGray ? JCS_GRAYSCALE : JCS_EXT_BGRA;
        jpeg_calc_output_dimensions(&info);
    });
}

bool JpegSession::start()
{
    return succeeds([this] { jpeg_start_decompress(&info); });
}

bool JpegSession::skipRows(int count)
{
    return succeeds([this, count] { jpeg_skip_scanlines(&info, JDIMENSION(count)); });
}

int JpegSession::readRows(uchar **rows, int count)
{
    const JDIMENSION before = info.output_scanline;
    const bool isRead = succeeds([=, this] { jpeg_read_scanlines(&info, rows, JDIMENSION(count)); });
    return isRead ? int(info.output_scanline - before) : 0;
}

bool JpegSession::finish()
{
    return succeeds([this] { jpeg_finish_decompress(&info); });
}
