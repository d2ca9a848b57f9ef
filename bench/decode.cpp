#include "decode/imagedecoder.h"
#include "leasttimes.h"
#include "samplefiles.h"

#include <QCommandLineParser>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QImageReader>
#include <QPainter>
#include <QProcess>

#include <algorithm>
#include <cstdio>
#include <functional>

using namespace Qt::StringLiterals;

namespace {

constexpr double mebibyte = 1024.0 * 1024.0;

/// What a file is measured against: ratios to QImageReader.
struct Targets
{
    double processor = 0.0; ///< of one thread
    double elapsed = 0.0; ///< of two
    double memoryFactor = 1.02; ///< of the bytes of the pixels, and 8 MiB
};

constexpr Targets colorPng{0.42, 0.28, 1.02};
constexpr Targets bytePng{0.48, 0.40, 1.02};
constexpr Targets colorJpeg{0.85, 0.50, 1.05};
constexpr Targets turnedJpeg{0.90, 0.75, 1.05};
constexpr Targets grayJpeg{1.03, 1.03, 1.05}; // the same library at work: no slower
constexpr Targets fallback{1.03, 1.03, 1.05};

struct Case
{
    QString name;
    QString path;
    Targets targets;
};

QImage readByQt(const QString &path)
{
    QImageReader reader(path);
    reader.setAutoTransform(true);
    return reader.read();
}

/// As the program opens a file.
QImage readByDecoder(const QString &path, DecodeThreads threads)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        return {};
    }
    const auto decoder = makeImageDecoder(file, QImageReader(path).format());
    const QImage image = decoder ? decoder->read(threads) : QImage();
    return image.isNull() ? readByQt(path) : image;
}

/// The peak memory of this process in bytes.
double peakBytes()
{
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly)) {
        return 0.0;
    }
    const QList<QByteArray> lines = status.readAll().split('\n');
    const auto line = std::find_if(lines.begin(), lines.end(), [](const auto &l) { return l.startsWith("VmHWM:"); });
    return line == lines.end() ? 0.0 : line->simplified().split(' ').value(1).toDouble() * 1024;
}

/// What reading takes in a process of its own, beyond what it has at its start.
double memoryOf(const QString &path, const QString &how)
{
    QProcess process;
    process.start(QCoreApplication::applicationFilePath(), {u"--memory"_s, how, path});
    process.waitForFinished(-1);
    return process.readAllStandardOutput().trimmed().toDouble();
}

int printMemory(const QString &path, const QString &how)
{
    const double before = peakBytes();
    const QImage image = how == "qt"_L1
        ? readByQt(path)
        : readByDecoder(path, how == "two"_L1 ? DecodeThreads::Two : DecodeThreads::One);
    std::printf("%.0f\n", peakBytes() - before);
    return image.isNull() ? EXIT_FAILURE : EXIT_SUCCESS;
}

const char *mark(bool isReached)
{
    return isReached ? " " : "!";
}

void report(const Case &each, int repetitions)
{
    LeastTimes qt;
    LeastTimes one;
    LeastTimes two;
    for (int i = 0; i < repetitions; ++i) {
        qt.measure([&each] { return readByQt(each.path); });
        one.measure([&each] { return readByDecoder(each.path, DecodeThreads::One); });
        two.measure([&each] { return readByDecoder(each.path, DecodeThreads::Two); });
    }
    const bool isEqual = readByDecoder(each.path, DecodeThreads::Two) == readByQt(each.path);
    const auto pixels = double(readByQt(each.path).sizeInBytes());
    const double memory = memoryOf(each.path, u"two"_s);
    const double allowed = each.targets.memoryFactor * pixels + 8 * mebibyte;
    const double processor = one.processor / qt.processor;
    const double elapsed = two.elapsed / qt.elapsed;
    std::printf("| %-16s | %7.1f | %5.2f%s/ %4.2f | %5.2f | %5.2f | %5.2f%s/ %4.2f | %6.1f%s/ %6.1f | %6.1f |%s\n",
                qPrintable(each.name), 1000 * qt.processor, processor, mark(processor <= each.targets.processor),
                each.targets.processor, one.elapsed / qt.elapsed, two.processor / qt.processor, elapsed,
                mark(elapsed <= each.targets.elapsed), each.targets.elapsed, memory / mebibyte, mark(memory <= allowed),
                allowed / mebibyte, memoryOf(each.path, u"qt"_s) / mebibyte, isEqual ? "" : " not equal");
    std::fflush(stdout);
}

/// Inserts an EXIF segment with \a orientation behind the first marker.
QByteArray withOrientation(const QByteArray &jpeg, char orientation)
{
    QByteArray exif("Exif\0\0MM\0\x2a\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01\0\0\0\0\0\0\0\0", 32);
    exif[25] = orientation;
    const auto length = char(exif.size() + 2);
    return jpeg.left(2) + QByteArray("\xff\xe1\0", 3) + length + exif + jpeg.mid(2);
}

void writeTurned(const QString &from, const QString &to)
{
    QFile source(from);
    QFile target(to);
    if (!source.open(QIODevice::ReadOnly) || !target.open(QIODevice::WriteOnly)) {
        qFatal("Cannot write %s", qPrintable(to));
    }
    target.write(withOrientation(source.readAll(), 6));
}

void writeOnce(const QString &path, const std::function<QImage()> &paint)
{
    if (!QFile::exists(path) && !paint().save(path)) {
        qFatal("Cannot write %s", qPrintable(path));
    }
}

std::vector<Case> cases(SampleSet set, const QString &folder)
{
    std::vector<Case> all;
    QString chatJpeg;
    QSize size;
    for (const SampleFile &file : sampleFiles(set, folder)) {
        const bool isJpeg = file.path.endsWith(".jpg"_L1);
        const bool isByte = file.kind == SampleKind::Gray || file.kind == SampleKind::Palette;
        all.push_back({QString::fromStdString(file.name), file.path, isJpeg ? colorJpeg : isByte ? bytePng : colorPng});
        if (isJpeg) {
            chatJpeg = file.path;
            size = file.size;
        }
    }
    const QString base = chatJpeg.chopped(int(qstrlen("chat.jpg")));
    const auto paintedGray = [&] { return noisyScan(size); };
    writeOnce(base + "scan.png"_L1, paintedGray);
    writeOnce(base + "scan.jpg"_L1, paintedGray);
    writeOnce(base + "deep.png"_L1, [&] { return noisyScan(size / 2).convertToFormat(QImage::Format_Grayscale16); });
    writeTurned(chatJpeg, base + "turned.jpg"_L1);
    writeTurned(base + "scan.jpg"_L1, base + "scan-turned.jpg"_L1);
    all.push_back({u"scan.png"_s, base + "scan.png"_L1, bytePng});
    all.push_back({u"gray.jpg"_s, base + "scan.jpg"_L1, grayJpeg});
    all.push_back({u"orientation 6"_s, base + "turned.jpg"_L1, turnedJpeg});
    all.push_back({u"gray, orient. 6"_s, base + "scan-turned.jpg"_L1, turnedJpeg});
    all.push_back({u"16 bits, by Qt"_s, base + "deep.png"_L1, fallback});
    return all;
}

} // namespace

/// Measures how files are decoded beside QImageReader: the least of several runs.
int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication app(argc, argv);
    QImageReader::setAllocationLimit(0);
    QCommandLineParser parser;
    const QCommandLineOption quick(u"quick"_s, u"Measure with images of 1080 x 12000 pixels."_s);
    const QCommandLineOption only(u"only"_s, u"Measure the files whose name contains <text>."_s, u"text"_s);
    const QCommandLineOption count(u"repetitions"_s, u"Run each <count> times."_s, u"count"_s, u"5"_s);
    const QCommandLineOption memory(u"memory"_s, u"Print the bytes that reading a file takes: qt, one, two."_s,
                                    u"how"_s);
    parser.addOptions({quick, only, count, memory});
    parser.addHelpOption();
    parser.process(app);
    if (parser.isSet(memory)) {
        return printMemory(parser.positionalArguments().value(0), parser.value(memory));
    }
    const QString folder = QCoreApplication::applicationDirPath() + "/samples"_L1;
    std::printf(
        "| File             | Qt, ms  | 1 thread, CPU | elap. | 2 CPU | 2, elapsed    | peak MiB, most   | by Qt  |\n"
        "|:-----------------|--------:|--------------:|------:|------:|--------------:|-----------------:|-------:|\n");
    for (const Case &each : cases(parser.isSet(quick) ? SampleSet::Quick : SampleSet::Usual, folder)) {
        if (each.name.contains(parser.value(only))) {
            report(each, parser.value(count).toInt());
        }
    }
    return EXIT_SUCCESS;
}
