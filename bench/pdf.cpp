#include "leasttimes.h"
#include "pdf/pdfwriter.h"
#include "samplefiles.h"

#include <QBuffer>
#include <QCommandLineParser>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QImageReader>
#include <QPainter>
#include <QPdfWriter>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <functional>

using namespace Qt::StringLiterals;

namespace {

constexpr QSizeF sheetSize(595.3, 841.9); // A4, in points
constexpr int quality = 94;

int rowsOfSheet(const QImage &image)
{
    return int(image.width() * sheetSize.height() / sheetSize.width());
}

QList<PdfSheet> sheetsOf(const QImage &image)
{
    QList<PdfSheet> sheets;
    const int rows = rowsOfSheet(image);
    const double scale = sheetSize.width() / image.width();
    for (int y = 0; y < image.height(); y += rows) {
        const int end = std::min(image.height(), y + rows);
        sheets.append({sheetSize, {{y, end, QRectF(0, 0, sheetSize.width(), (end - y) * scale)}}, {}, {}});
    }
    return sheets;
}

qint64 write(const QImage &image, const QByteArray &jpeg, bool lossless, int threads)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    PdfOptions options;
    options.lossless = lossless;
    options.quality = quality;
    options.threads = threads;
    PdfWriter writer(&buffer, options);
    writer.addPicture({image, lossless ? JpegBands::read(jpeg) : nullptr, {}}, sheetsOf(image));
    writer.finish();
    return buffer.size();
}

/// The same pages by Qt.
qint64 writeByQt(const QImage &image)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QPdfWriter writer(&buffer);
    writer.setPageSize(QPageSize(QPageSize::A4));
    writer.setPageMargins({});
    writer.setResolution(1200);
    QPainter painter(&writer);
    const int rows = rowsOfSheet(image);
    for (int y = 0; y < image.height(); y += rows) {
        if (y > 0) {
            writer.newPage();
        }
        const int height = std::min(rows, image.height() - y);
        const QRectF target(0, 0, writer.width(), double(writer.width()) * height / image.width());
        painter.drawImage(target, image.copy(0, y, image.width(), height));
    }
    painter.end();
    return buffer.size();
}

/// The size of the PDF file that img2pdf makes of PNG files with the same bands; -1 if
/// it is not installed.
qint64 sizeByImg2pdf(const QImage &image)
{
    QTemporaryDir folder;
    QStringList names;
    const int rows = rowsOfSheet(image);
    for (int y = 0; y < image.height(); y += rows) {
        names.append(folder.filePath(u"%1.png"_s.arg(names.size())));
        image.copy(0, y, image.width(), std::min(rows, image.height() - y)).save(names.last());
    }
    const QString output = folder.filePath(u"all.pdf"_s);
    const int status = QProcess::execute(u"img2pdf"_s, QStringList{u"-o"_s, output} + names);
    return status == 0 ? QFileInfo(output).size() : -1;
}

double ratio(double one, double other)
{
    return other > 0 ? one / other : 0.0;
}

const char *mark(double value, double most)
{
    return value <= most ? " " : "!";
}

/// Prints a row; `!` marks what is above its target.
void report(const char *name, const QImage &image, const QByteArray &jpeg, int repetitions)
{
    LeastTimes qt;
    LeastTimes small;
    LeastTimes exact;
    LeastTimes both;
    qint64 qtBytes = 0;
    qint64 smallBytes = 0;
    qint64 exactBytes = 0;
    for (int i = 0; i < repetitions; ++i) {
        qtBytes = qt.measure([&] { return writeByQt(image); });
        smallBytes = small.measure([&] { return write(image, {}, false, 1); });
        exactBytes = exact.measure([&] { return write(image, jpeg, true, 1); });
        both.measure([&] { return write(image, jpeg, true, 2); });
    }
    const bool isCopied = !jpeg.isEmpty();
    const auto other = double(isCopied ? jpeg.size() : sizeByImg2pdf(image));
    const double time = ratio(exact.processor, small.processor);
    const double size = ratio(double(exactBytes), other);
    const bool isGray = image.format() == QImage::Format_Grayscale8;
    const double jpegTime = ratio(small.processor, qt.processor);
    const double jpegSize = ratio(double(smallBytes), double(qtBytes));
    std::printf("| %-12s | %6.1f | %5.2f%s | %5.3f%s | %6.1f | %5.2f%s / %4.2f | %5.3f%s / %4.2f | %5.2f |\n", name,
                1000 * small.processor, jpegTime, isGray ? mark(jpegTime, 0.7) : " ", jpegSize,
                isGray ? mark(jpegSize, 0.98) : " ", 1000 * exact.processor, time, mark(time, isCopied ? 0.6 : 1.3),
                isCopied ? 0.6 : 1.3, size, mark(size, isCopied ? 1.03 : 1.0), isCopied ? 1.03 : 1.0,
                ratio(both.elapsed, exact.elapsed));
    std::fflush(stdout);
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

/// Measures the layer that writes PDF files, without opening the pictures: the least
/// processor time of several runs on one thread.
int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication app(argc, argv);
    QImageReader::setAllocationLimit(0);
    QCommandLineParser parser;
    const QCommandLineOption large(u"large"_s, u"Measure with images of 1080 x 50000 pixels."_s);
    const QCommandLineOption only(u"only"_s, u"Measure the files whose name contains <text>."_s, u"text"_s);
    const QCommandLineOption count(u"repetitions"_s, u"Run each <count> times."_s, u"count"_s, u"5"_s);
    parser.addOptions({large, only, count});
    parser.addHelpOption();
    parser.process(app);
    const int repetitions = parser.value(count).toInt();
    const QString folder = QCoreApplication::applicationDirPath() + "/samples"_L1;
    std::printf(
        "JPEG: time in ms, its ratio to Qt's, ratio of the sizes. Lossless: time in ms, ratio to JPEG's and\n"
        "its target, size to that of img2pdf (of the file for a JPEG file), elapsed time of two threads to one.\n\n"
        "| Picture      |   JPEG |  time |  size |    ms  | time         | size           | 2/1   |\n"
        "|:-------------|-------:|------:|------:|-------:|-------------:|---------------:|------:|\n");
    QSize size;
    for (const SampleFile &file : sampleFiles(parser.isSet(large) ? SampleSet::Usual : SampleSet::Quick, folder)) {
        size = file.kind == SampleKind::Chat ? file.size : size;
        if (QString::fromStdString(file.name).contains(parser.value(only))) {
            const bool isJpeg = file.path.endsWith(".jpg"_L1);
            report(file.name.c_str(), QImage(file.path), isJpeg ? contentOf(file.path) : QByteArray(), repetitions);
        }
    }
    if (u"scan"_s.contains(parser.value(only))) {
        report("scan", noisyScan(size), {}, repetitions);
    }
    return EXIT_SUCCESS;
}
