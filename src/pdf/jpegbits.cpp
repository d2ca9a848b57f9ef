#include "pdf/jpegbits.h"

#include "pdf/entropybits.h"
#include "pdf/huffmantable.h"
#include "pdf/jpeginput.h"

#include <QImage>
#include <QtEndian>

#include <array>
#include <bit>
#include <cstdlib>
#include <vector>

namespace {

constexpr int mostBlocks = 10; // of a unit; ITU-T T.81, B.2.3
constexpr int largestSize = 15; // of the first coefficient, in bits
constexpr int largestSymbol = 255;

enum Marker : uchar {
    BaselineFrame = 0xc0,
    ExtendedFrame = 0xc1,
    HuffmanTables = 0xc4,
    StartOfScan = 0xda,
    QuantizationTables = 0xdb,
    Profile = 0xe2,
};

// They tell decoders of PDF files as well as libjpeg what the channels are.
constexpr QByteArrayView startOfGrayOrYcc("\xff\xd8\xff\xe0\x00\x10JFIF\x00\x01\x01\x00\x00\x01\x00\x01\x00\x00", 20);
constexpr QByteArrayView startOfRgb("\xff\xd8\xff\xee\x00\x0e"
                                    "Adobe\x00\x64\x00\x00\x00\x00\x00",
                                    18);
constexpr QByteArrayView endOfImage("\xff\xd9", 2);

/// How far a code of one of the later coefficients of a block leads.
struct CoefficientStep
{
    uchar bits = 0; ///< with those of the value; 0 if there is no such code
    uchar coefficients = 0;
};

CoefficientStep stepOf(HuffmanTable::Found found)
{
    const int zeros = found.symbol >> 4;
    const int size = found.symbol & 15;
    const bool isEnd = size == 0 && zeros != 15;
    return {uchar(found.length == 0 ? 0 : found.length + size), uchar(isEnd ? DCTSIZE2 : zeros + 1)};
}

/// The codes of one channel.
struct ChannelCodes
{
    ChannelCodes(HuffmanTable firstCoefficients, const HuffmanTable &others)
        : first(std::move(firstCoefficients))
        , steps(size_t(1) << unsigned(HuffmanTable::longestCode))
    {
        for (unsigned next = 0; next < steps.size(); ++next) {
            steps[next] = stepOf(others.find(next));
        }
    }

    HuffmanTable first;
    std::vector<CoefficientStep> steps; // for each value of the next 16 bits
};

/// The number that is stored as \a bits, of which there are \a size.
int valueOf(unsigned bits, int size)
{
    return bits >> unsigned(size - 1) != 0 ? int(bits) : int(bits) - (1 << size) + 1;
}

int sizeOf(int value)
{
    return int(std::bit_width(unsigned(std::abs(value))));
}

/// Reads the first coefficient of a block, and adds it to \a value. False if there is no
/// such code.
bool readFirst(EntropyReader &reader, const ChannelCodes &codes, int &value)
{
    reader.fill();
    const HuffmanTable::Found found = codes.first.find(reader.top(HuffmanTable::longestCode));
    if (found.length == 0) {
        return false;
    }
    reader.skip(found.length);
    if (found.symbol > 0) {
        value += valueOf(reader.top(found.symbol), found.symbol);
        reader.skip(found.symbol);
    }
    return true;
}

/// Skips the other coefficients.
bool skipOthers(EntropyReader &reader, const ChannelCodes &codes)
{
    for (int at = 1; at < DCTSIZE2;) {
        reader.fill();
        const CoefficientStep step = codes.steps[reader.top(HuffmanTable::longestCode)];
        if (step.bits == 0) {
            return false;
        }
        reader.skip(step.bits);
        at += step.coefficients;
    }
    return true;
}

void writeFirst(EntropyWriter &writer, const ChannelCodes &codes, int value)
{
    const int size = sizeOf(value);
    const HuffmanTable::Code code = codes.first.codeOf(size);
    const int bits = value < 0 ? value - 1 : value;
    writer.append(code.bits, code.length);
    writer.append(unsigned(bits) & ((1U << unsigned(size)) - 1), size);
}

/// Whether all channels of \a info are in one scan that only needs to be cut.
bool isPlainScan(const jpeg_decompress_struct &info)
{
    const bool isSequential = info.progressive_mode == FALSE && info.arith_code == FALSE && info.restart_interval == 0;
    const bool isWhole = info.Ss == 0 && info.Se == DCTSIZE2 - 1 && info.Ah == 0 && info.Al == 0;
    return isSequential && isWhole && info.comps_in_scan == info.num_components
        && (info.num_components > 1 || (info.max_h_samp_factor == 1 && info.max_v_samp_factor == 1));
}

/// Table \a number of \a tables; null if there is none.
template <typename Table, size_t Count>
const Table *tableIn(Table *const (&tables)[Count], int number)
{
    return size_t(number) < Count ? tables[number] : nullptr;
}

/// The segments of \a jpeg with one of \a markers before \a end.
QByteArray segmentsOf(const QByteArray &jpeg, qsizetype end, std::initializer_list<Marker> markers)
{
    QByteArray found;
    for (qsizetype at = 2; at + 4 <= end;) {
        const auto marker = uchar(jpeg.at(at + 1));
        if (uchar(jpeg.at(at)) != 0xff || marker == 0xff) {
            ++at; // padding
            continue;
        }
        const qsizetype size = 2 + qFromBigEndian<quint16>(jpeg.constData() + at + 2);
        if (std::find(markers.begin(), markers.end(), marker) != markers.end()) {
            found.append(jpeg.mid(at, size));
        }
        at += size;
    }
    return found;
}

} // namespace

/// The scan of a file, and where its rows of units begin.
class JpegBits::Scan
{
public:
    /// Whether the whole file was read; otherwise the object is of no use.
    bool read(const JpegInput &input);

    QByteArray copy(int first, int end, const QByteArray &otherSegments) const;

    QByteArray profile; ///< the segments of the color profile

private:
    struct Block
    {
        size_t channel = 0;
        bool isFirst = true; ///< of its channel in the unit
    };

    struct Row
    {
        qint64 position = 0; ///< of its first bit
        std::array<int, 3> before{}; ///< the last first coefficient of each channel
    };

    bool readCodes(const jpeg_decompress_struct &info);
    void splitHeader(const JpegInput &input, qsizetype end);
    bool readRows(int units, int unitsAcross);
    bool readUnit(EntropyReader &reader, std::array<int, 3> &values, bool canBegin) const;

    std::vector<ChannelCodes> codes; // of each channel
    std::vector<Block> blocks; // of a unit
    std::vector<Row> rows; // of units, and the end of the last one
    std::optional<EntropyBits> bits;
    QByteArray start;
    QByteArray frame; // its segment
    QByteArray tables; // what precedes the scan besides
    int unitRows = 0;
};

bool JpegBits::Scan::read(const JpegInput &input)
{
    const jpeg_decompress_struct &info = input.info;
    if (!isPlainScan(info) || !readCodes(info)) {
        return false;
    }
    const qsizetype at = input.content().size() - qsizetype(info.src->bytes_in_buffer);
    bits.emplace(input.content(), at);
    if (!bits->isEnded()) {
        return false;
    }
    splitHeader(input, at);
    unitRows = unitHeight(info);
    const int width = DCTSIZE * info.max_h_samp_factor;
    return readRows((int(info.image_height) + unitRows - 1) / unitRows, (int(info.image_width) + width - 1) / width);
}

bool JpegBits::Scan::readCodes(const jpeg_decompress_struct &info)
{
    for (int i = 0; i < info.comps_in_scan; ++i) {
        const jpeg_component_info &channel = *info.cur_comp_info[i];
        const JHUFF_TBL *first = tableIn(info.dc_huff_tbl_ptrs, channel.dc_tbl_no);
        const JHUFF_TBL *others = tableIn(info.ac_huff_tbl_ptrs, channel.ac_tbl_no);
        if (first == nullptr || others == nullptr || tableIn(info.quant_tbl_ptrs, channel.quant_tbl_no) == nullptr) {
            return false;
        }
        const auto firstTable = HuffmanTable::read(*first, largestSize);
        const auto otherTable = HuffmanTable::read(*others, largestSymbol);
        if (!firstTable || !otherTable) {
            return false;
        }
        codes.emplace_back(*firstTable, *otherTable);
        for (int block = 0; block < channel.h_samp_factor * channel.v_samp_factor; ++block) {
            blocks.push_back({size_t(i), block == 0});
        }
    }
    return blocks.size() <= mostBlocks;
}

void JpegBits::Scan::splitHeader(const JpegInput &input, qsizetype end)
{
    const QByteArray &jpeg = input.content();
    start = (input.info.jpeg_color_space == JCS_RGB ? startOfRgb : startOfGrayOrYcc).toByteArray();
    frame = segmentsOf(jpeg, end, {BaselineFrame, ExtendedFrame});
    tables = segmentsOf(jpeg, end, {QuantizationTables, HuffmanTables}) + segmentsOf(jpeg, end, {StartOfScan});
    profile = segmentsOf(jpeg, end, {Profile});
}

bool JpegBits::Scan::readRows(int units, int unitsAcross)
{
    EntropyReader reader(*bits, 0);
    Row row;
    for (int y = 0; y < units; ++y) {
        rows.push_back(row);
        for (int x = 0; x < unitsAcross; ++x) {
            if (!readUnit(reader, row.before, x == 0)) {
                return false;
            }
        }
        row.position = reader.position();
        if (row.position > bits->size()) {
            return false;
        }
    }
    rows.push_back(row);
    return bits->size() - row.position < 8;
}

/// Reads a unit, and \a values of its last blocks. False unless there are codes for it,
/// also, where \a canBegin is set, for one that begins a file.
bool JpegBits::Scan::readUnit(EntropyReader &reader, std::array<int, 3> &values, bool canBegin) const
{
    for (const Block &block : blocks) {
        const ChannelCodes &channel = codes[block.channel];
        int &value = values[block.channel];
        if (!readFirst(reader, channel, value)) {
            return false;
        }
        if (canBegin && block.isFirst
            && (sizeOf(value) > largestSize || channel.first.codeOf(sizeOf(value)).length == 0)) {
            return false;
        }
        if (!skipOthers(reader, channel)) {
            return false;
        }
    }
    return true;
}

QByteArray JpegBits::Scan::copy(int first, int end, const QByteArray &otherSegments) const
{
    constexpr qsizetype heightAt = 5; // of the frame segment
    const Row &row = rows[size_t(first / unitRows)];
    const qint64 last = rows[size_t((end + unitRows - 1) / unitRows)].position;
    QByteArray file = start + otherSegments + frame + tables;
    qToBigEndian(quint16(end - first), file.data() + start.size() + otherSegments.size() + heightAt);
    file.reserve(file.size() + qsizetype((last - row.position) / 8 * 65 / 64) + 64);
    EntropyWriter writer(file);
    EntropyReader reader(*bits, row.position);
    std::array<int, 3> values = row.before;
    for (const Block &block : blocks) {
        qint64 position = reader.position();
        readFirst(reader, codes[block.channel], values[block.channel]);
        if (block.isFirst) {
            writeFirst(writer, codes[block.channel], values[block.channel]);
            position = reader.position();
        }
        skipOthers(reader, codes[block.channel]);
        writer.append(*bits, position, reader.position());
    }
    writer.append(*bits, reader.position(), last);
    writer.finish();
    return file.append(endOfImage);
}

std::shared_ptr<const JpegBits> JpegBits::read(const QByteArray &jpeg)
{
    JpegInput input(jpeg);
    auto found = std::make_unique<Scan>();
    if (!input.readHeader() || !found->read(input)) {
        return nullptr;
    }
    const jpeg_decompress_struct &info = input.info;
    const Frame frame{QSize(int(info.image_width), int(info.image_height)), info.num_components, unitHeight(info),
                      contextRows(info)};
    return std::shared_ptr<const JpegBits>(new JpegBits(frame, std::move(found)));
}

JpegBits::JpegBits(const Frame &frame, std::unique_ptr<const Scan> found)
    : JpegBands(frame)
    , scan(std::move(found))
{
}

JpegBits::~JpegBits() = default;

QColorSpace JpegBits::colorSpace() const
{
    const int end = std::min(size().height(), DCTSIZE);
    return QImage::fromData(scan->copy(0, end, scan->profile), "jpeg").colorSpace();
}

QByteArray JpegBits::copyRows(int first, int end) const
{
    return scan->copy(first, end, {});
}
