#include "jpegbytes.h"

#include <QRandomGenerator>
#include <QtEndian>

#include <cstdio>
#include <cstdlib>
#include <jpeglib.h>

namespace {

void setUp(jpeg_compress_struct &info, const QImage &image, const JpegKind &kind)
{
    info.image_width = JDIMENSION(image.width());
    info.image_height = JDIMENSION(image.height());
    info.input_components = kind.channels == 1 ? 1 : 4;
    info.in_color_space = kind.channels == 1 ? JCS_GRAYSCALE : JCS_EXT_BGRX;
    jpeg_set_defaults(&info);
    if (kind.isRgb) {
        jpeg_set_colorspace(&info, JCS_RGB);
    }
    jpeg_set_quality(&info, kind.quality, TRUE);
    info.comp_info[0].h_samp_factor = kind.horizontal;
    info.comp_info[0].v_samp_factor = kind.vertical;
    info.restart_in_rows = kind.restartRows;
    info.optimize_coding = kind.hasOwnTables ? TRUE : FALSE;
    if (kind.isProgressive) {
        jpeg_simple_progression(&info);
    }
}

/// One scan for each of the three channels.
void setScans(jpeg_compress_struct &info, jpeg_scan_info (&scans)[3])
{
    for (int i = 0; i < 3; ++i) {
        scans[i] = {1, {i, 0, 0, 0}, 0, 63, 0, 0};
    }
    info.scan_info = scans;
    info.num_scans = 3;
}

} // namespace

QImage jpegPicture(QSize size, quint32 seed)
{
    QRandomGenerator random(seed);
    QImage image(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y) {
        auto *row = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < size.width(); ++x) {
            const int noise = int(random.bounded(24U));
            row[x] =
                qRgb((x * 3 + noise) % 256, (y * 2 + x / 9 * 40 + noise) % 256, (x / 13 + y / 7) % 2 * 200 + noise);
        }
    }
    return image;
}

QByteArray jpegOf(const QImage &image, const JpegKind &kind)
{
    const QImage source = image.convertToFormat(kind.channels == 1 ? QImage::Format_Grayscale8 : QImage::Format_RGB32);
    jpeg_compress_struct info{};
    jpeg_error_mgr errors{};
    jpeg_scan_info scans[3];
    unsigned char *bytes = nullptr;
    unsigned long length = 0;
    info.err = jpeg_std_error(&errors); // ends the program on an error
    jpeg_create_compress(&info);
    jpeg_mem_dest(&info, &bytes, &length);
    setUp(info, source, kind);
    if (kind.hasOneScanAChannel) {
        setScans(info, scans);
    }
    jpeg_start_compress(&info, TRUE);
    while (info.next_scanline < info.image_height) {
        auto *row = const_cast<uchar *>(source.constScanLine(int(info.next_scanline)));
        jpeg_write_scanlines(&info, &row, 1);
    }
    jpeg_finish_compress(&info);
    const QByteArray file(reinterpret_cast<const char *>(bytes), qsizetype(length));
    jpeg_destroy_compress(&info);
    std::free(bytes);
    return file;
}

QByteArray withSegment(const QByteArray &jpeg, int marker, const QByteArray &data)
{
    const bool hasJfif = jpeg.mid(2, 2) == "\xff\xe0";
    const qsizetype at = hasJfif ? 4 + qsizetype(qFromBigEndian<quint16>(jpeg.constData() + 4)) : 2;
    const auto length = quint16(data.size() + 2);
    return jpeg.left(at) + '\xff' + char(marker) + char(length >> 8) + char(length & 0xff) + data + jpeg.mid(at);
}
