#include "pdf/jpegcoefficients.h"

#include "pdf/jpegcompressor.h"
#include "pdf/jpeginput.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

constexpr int largestCoefficient = 1023; // with samples of 8 bits

int roundedUp(int number, int step)
{
    return (number + step - 1) / step * step;
}

/// Whether there are codes for the coefficients of \a block, whose first one is stored as
/// a difference to that of another block. Damage can make others.
bool isInRange(const JBLOCK &block)
{
    return block[0] >= -largestCoefficient - 1 && block[0] <= largestCoefficient
        && std::all_of(block + 1, block + DCTSIZE2,
                       [](JCOEF coefficient) { return std::abs(coefficient) <= largestCoefficient; });
}

} // namespace

struct JpegCoefficients::Blocks
{
    explicit Blocks(const QByteArray &jpeg)
        : file(jpeg)
    {
    }

    /// Whether the whole file was read without a warning, and can be written again.
    bool read()
    {
        if (!file.readHeader()) {
            return false;
        }
        jvirt_barray_ptr *arrays = nullptr;
        return file.succeeds([&] { arrays = jpeg_read_coefficients(&file.info); })
            && file.succeeds([&] { locateRows(arrays); }) && areInRange();
    }

    /// Notes where the blocks are: libjpeg may be asked for them by one thread only.
    void locateRows(jvirt_barray_ptr *arrays)
    {
        jpeg_decompress_struct &info = file.info;
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
    }

    bool areInRange() const
    {
        for (int channel = 0; channel < file.info.num_components; ++channel) {
            const JDIMENSION width = file.info.comp_info[channel].width_in_blocks;
            for (const JBLOCKROW row : rows[size_t(channel)]) {
                if (!std::all_of(row, row + width, isInRange)) {
                    return false;
                }
            }
        }
        return true;
    }

    JpegInput file;
    std::array<std::vector<JBLOCKROW>, 3> rows; // of each channel
};

std::shared_ptr<const JpegCoefficients> JpegCoefficients::read(const QByteArray &jpeg)
{
    auto blocks = std::make_unique<Blocks>(jpeg);
    if (!blocks->read()) {
        return nullptr;
    }
    const jpeg_decompress_struct &info = blocks->file.info;
    const Frame frame{QSize(int(info.image_width), int(info.image_height)), info.num_components, unitHeight(info),
                      contextRows(info)};
    return std::shared_ptr<const JpegCoefficients>(new JpegCoefficients(frame, std::move(blocks)));
}

JpegCoefficients::JpegCoefficients(const Frame &frame, std::unique_ptr<Blocks> found)
    : JpegBands(frame)
    , source(std::move(found))
{
}

JpegCoefficients::~JpegCoefficients() = default;

QByteArray JpegCoefficients::copyRows(int first, int end) const
{
    jpeg_decompress_struct &from = source->file.info;
    JpegCompressor compressor(
        qsizetype(double(source->file.content().size()) * (end - first) / from.image_height * 1.1));
    const int unit = unitHeight(from);
    compressor.run([&](jpeg_compress_struct &info) {
        jpeg_copy_critical_parameters(&from, &info);
        info.image_height = JDIMENSION(end - first);
        info.optimize_coding = TRUE; // the usual tables would do, but take more bytes
        if (from.progressive_mode != FALSE) {
            jpeg_simple_progression(&info);
        }
        std::array<jvirt_barray_ptr, 3> arrays{};
        std::array<JDIMENSION, 3> counts{};
        for (int channel = 0; channel < info.num_components; ++channel) {
            const jpeg_component_info &component = from.comp_info[channel];
            const int units = roundedUp(end - first, unit) / unit;
            counts[size_t(channel)] = JDIMENSION(units * component.v_samp_factor);
            const int width = roundedUp(int(component.width_in_blocks), component.h_samp_factor);
            arrays[size_t(channel)] = info.mem->request_virt_barray(reinterpret_cast<j_common_ptr>(&info), JPOOL_IMAGE,
                                                                    TRUE, JDIMENSION(width), counts[size_t(channel)],
                                                                    JDIMENSION(component.v_samp_factor));
        }
        jpeg_write_coefficients(&info, arrays.data());
        for (int channel = 0; channel < info.num_components; ++channel) {
            const jpeg_component_info &component = from.comp_info[channel];
            const size_t start = size_t(first / unit) * size_t(component.v_samp_factor);
            const auto width = size_t(roundedUp(int(component.width_in_blocks), component.h_samp_factor));
            for (JDIMENSION row = 0; row < counts[size_t(channel)]; ++row) {
                const JBLOCKARRAY copy = info.mem->access_virt_barray(reinterpret_cast<j_common_ptr>(&info),
                                                                      arrays[size_t(channel)], row, 1, TRUE);
                std::memcpy(copy[0], source->rows[size_t(channel)][start + row], width * sizeof(JBLOCK));
            }
        }
        jpeg_finish_compress(&info);
    });
    return compressor.takeBytes();
}
