#include "pdf/jpeginput.h"

#include <algorithm>
#include <jerror.h>
#include <new>

namespace {

void fail(j_common_ptr info)
{
    std::longjmp(*static_cast<std::jmp_buf *>(info->client_data), 1);
}

void output(j_common_ptr /*info*/)
{
}

bool isExact(const jpeg_decompress_struct &info)
{
    const bool isGray = info.num_components == 1 && info.jpeg_color_space == JCS_GRAYSCALE;
    const bool isColor =
        info.num_components == 3 && (info.jpeg_color_space == JCS_YCbCr || info.jpeg_color_space == JCS_RGB);
    return info.data_precision == 8 && (isGray || isColor);
}

} // namespace

JpegInput::JpegInput(QByteArray file)
    : bytes(std::move(file))
{
    info.err = jpeg_std_error(&errors);
    errors.error_exit = fail;
    errors.output_message = output;
    info.client_data = &failed;
}

JpegInput::~JpegInput()
{
    jpeg_destroy_decompress(&info);
}

bool JpegInput::readHeader()
{
    const bool isRead = succeeds([this] {
        jpeg_create_decompress(&info);
        jpeg_mem_src(&info, reinterpret_cast<const uchar *>(bytes.constData()),
                     static_cast<unsigned long>(bytes.size()));
        jpeg_read_header(&info, TRUE);
    });
    return isRead && isExact(info);
}

void JpegInput::throwIfMemoryIsShort() const
{
    if (errors.msg_code == JERR_OUT_OF_MEMORY) {
        throw std::bad_alloc();
    }
}

int unitHeight(const jpeg_decompress_struct &info)
{
    return DCTSIZE * info.max_v_samp_factor;
}

int contextRows(const jpeg_decompress_struct &info)
{
    const jpeg_component_info *first = info.comp_info;
    return std::all_of(first, first + info.num_components,
                       [&info](const auto &each) { return each.v_samp_factor == info.max_v_samp_factor; })
        ? 0
        : 1;
}
