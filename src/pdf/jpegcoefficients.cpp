#include "pdf/jpegcoefficients.h"

#include "pdf/jpegcompressor.h"
#include "pdf/pdferror.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <jerror.h>
#include <new>
#include <vector>

namespace {

constexpr int blockSide = 8;
constexpr int sampleBits = 8;

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
    return info.data_precision == sampleBits && (isGray || isColor);
}

int roundedUp(int number, int step)
{
    return (number + step - 1) / step * step;
}

} // namespace

struct JpegCoefficients::Decompression
{
    explicit Decompression(QByteArray file)
        : bytes(std::move(file))
    {
        info.err = jpeg_std_error(&errors);
        errors.error_exit = fail;
        errors.output_message = output;
        info.client_data = &failed;
    }

    ~Decompression() { jpeg_destroy_decompress(&info); }

    Q_DISABLE_COPY_MOVE(Decompression)

    /// Whether the whole file was read without a warning.
    bool read(QSize size)
    {
        if (setjmp(failed) != 0) {
            return false;
        }
        jpeg_create_decompress(&info);
        jpeg_mem_src(&info, reinterpret_cast<const uchar *>(bytes.constData()),
                     static_cast<unsigned long>(bytes.size()));
        jpeg_read_header(&info, TRUE);
        if (!isExact(info) || int(info.image_width) != size.width() || int(info.image_height) != size.height()) {
            return false;
        }
        arrays = jpeg_read_coefficients(&info);
        return errors.num_warnings == 0 && locateRows();
    }

    bool isMemoryShort() const { return errors.msg_code == JERR_OUT_OF_MEMORY; }

    /// Notes where the blocks are: libjpeg may be asked for them by one thread only.
    bool locateRows()
    {
        for (int channel = 0; channel < info.num_components; ++channel) {
            const jpeg_component_info &component = info.comp_info[channel];
            const auto step = JDIMENSION(component.v_samp_factor);
            const auto count = JDIMENSION(roundedUp(int(component.height_in_blocks), int(step)));
            for (JDIMENSION row = 0; row < count; row += step) {
                const JBLOCKARRAY found = info.mem->access_virt_barray(reinterpret_cast<j_common_ptr>(&info),
                                                                       arrays[channel], row, step, FALSE);
                rows[size_t(channel)].insert(rows[size_t(channel)].end(), found, found + step);
            }
        }
        return true;
    }

    /// Rows that are decoded together.
    int unitHeight() const { return blockSide * info.max_v_samp_factor; }

    /// Rows around a band that its colors depend on: those of channels with half of the
    /// resolution are smoothed.
    int context() const
    {
        const jpeg_component_info *first = info.comp_info;
        return std::all_of(first, first + info.num_components,
                           [this](const auto &each) { return each.v_samp_factor == info.max_v_samp_factor; })
            ? 0
            : 1;
    }

    QByteArray bytes;
    jpeg_decompress_struct info{};
    jpeg_error_mgr errors{};
    std::jmp_buf failed{};
    jvirt_barray_ptr *arrays = nullptr;
    std::array<std::vector<JBLOCKROW>, 3> rows; // of each channel
};

namespace {

/// Makes the file \a to use the Huffman tables of \a from.
void copyTables(const jpeg_decompress_struct &from, jpeg_compress_struct &to)
{
    for (size_t i = 0; i < NUM_HUFF_TBLS; ++i) {
        for (const bool isDc : {true, false}) {
            const JHUFF_TBL *table = isDc ? from.dc_huff_tbl_ptrs[i] : from.ac_huff_tbl_ptrs[i];
            JHUFF_TBL *&copy = isDc ? to.dc_huff_tbl_ptrs[i] : to.ac_huff_tbl_ptrs[i];
            if (table == nullptr) {
                continue;
            }
            if (copy == nullptr) {
                copy = jpeg_alloc_huff_table(reinterpret_cast<j_common_ptr>(&to));
            }
            *copy = *table;
            copy->sent_table = FALSE;
        }
    }
    for (int channel = 0; channel < from.num_components; ++channel) {
        to.comp_info[channel].dc_tbl_no = from.comp_info[channel].dc_tbl_no;
        to.comp_info[channel].ac_tbl_no = from.comp_info[channel].ac_tbl_no;
    }
}

/// Whether one set of Huffman tables was used for all of the file.
bool hasOneScan(const jpeg_decompress_struct &info)
{
    return info.progressive_mode == FALSE && info.arith_code == FALSE && info.input_scan_number == 1;
}

} // namespace

std::unique_ptr<const JpegCoefficients> JpegCoefficients::read(const QByteArray &jpeg, QSize size)
{
    auto opened = std::make_unique<Decompression>(jpeg);
    if (!opened->read(size)) {
        if (opened->isMemoryShort()) {
            throw std::bad_alloc();
        }
        return nullptr;
    }
    return std::unique_ptr<const JpegCoefficients>(new JpegCoefficients(std::move(opened)));
}

JpegCoefficients::JpegCoefficients(std::unique_ptr<Decompression> opened)
    : source(std::move(opened))
{
}

JpegCoefficients::~JpegCoefficients() = default;

PackedBand JpegCoefficients::pack(int first, int end) const
{
    const int height = int(source->info.image_height);
    const int unit = source->unitHeight();
    const int top = std::max(0, first - source->context()) / unit * unit;
    const int bottom = std::min(height, roundedUp(std::min(height, end + source->context()), unit));
    PackedBand band;
    band.firstRow = top;
    band.colors = packedImage(int(source->info.image_width), bottom - top, source->info.num_components, sampleBits);
    band.colors.coding = PackedImage::Coding::Jpeg;
    if (hasOneScan(source->info)) {
        try {
            band.colors.bytes = copyRows(top, bottom, true);
            return band;
        } catch (const PdfError &) {
            // The first blocks of the band need a code that the tables do not have.
        }
    }
    band.colors.bytes = copyRows(top, bottom, false);
    return band;
}

QByteArray JpegCoefficients::copyRows(int first, int end, bool keepsTables) const
{
    JpegCompressor compressor(
        qsizetype(double(source->bytes.size()) * (end - first) / source->info.image_height * 1.1));
    Decompression &from = *source;
    compressor.run([&](jpeg_compress_struct &info) {
        jpeg_copy_critical_parameters(&from.info, &info);
        info.image_height = JDIMENSION(end - first);
        if (keepsTables) {
            copyTables(from.info, info);
        } else {
            info.optimize_coding = TRUE;
        }
        if (from.info.progressive_mode != FALSE) {
            jpeg_simple_progression(&info);
        }
        std::array<jvirt_barray_ptr, 3> arrays{};
        std::array<JDIMENSION, 3> counts{};
        for (int channel = 0; channel < info.num_components; ++channel) {
            const jpeg_component_info &component = from.info.comp_info[channel];
            const int units = roundedUp(end - first, from.unitHeight()) / from.unitHeight();
            counts[size_t(channel)] = JDIMENSION(units * component.v_samp_factor);
            const int width = roundedUp(int(component.width_in_blocks), component.h_samp_factor);
            arrays[size_t(channel)] = info.mem->request_virt_barray(reinterpret_cast<j_common_ptr>(&info), JPOOL_IMAGE,
                                                                    TRUE, JDIMENSION(width), counts[size_t(channel)],
                                                                    JDIMENSION(component.v_samp_factor));
        }
        jpeg_write_coefficients(&info, arrays.data());
        for (int channel = 0; channel < info.num_components; ++channel) {
            const jpeg_component_info &component = from.info.comp_info[channel];
            const size_t start = size_t(first / from.unitHeight()) * size_t(component.v_samp_factor);
            const auto width = size_t(roundedUp(int(component.width_in_blocks), component.h_samp_factor));
            for (JDIMENSION row = 0; row < counts[size_t(channel)]; ++row) {
                const JBLOCKARRAY copy = info.mem->access_virt_barray(reinterpret_cast<j_common_ptr>(&info),
                                                                      arrays[size_t(channel)], row, 1, TRUE);
                std::memcpy(copy[0], from.rows[size_t(channel)][start + row], width * sizeof(JBLOCK));
            }
        }
        jpeg_finish_compress(&info);
    });
    return compressor.takeBytes();
}
