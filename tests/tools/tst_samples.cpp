#include "samples/chatscript.h"
#include "samples/sampleimage.h"
#include "support/imagecomparison.h"
#include "support/testmain.h"

#include <QDir>
#include <QImageReader>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <set>

using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(SampleKind)

namespace {

/// Whether all pixels of row \a y from \a left to \a right are equal.
bool isPlain(const QImage &image, int y, int left, int right)
{
    const QRgb first = image.pixel(left, y);
    for (int x = left + 1; x <= right; ++x) {
        if (image.pixel(x, y) != first) {
            return false;
        }
    }
    return true;
}

/// What is wrong with a recorded line of text: its first and last row must have
/// ink, and the rows directly above and below must not. Reducing to a palette
/// loses faint edges, so there any row may be the first one with ink.
QByteArray lineFault(const QImage &image, const QRect &line)
{
    const QRgb ground = image.pixel(line.left(), line.top() - 1);
    const auto hasInk = [&](int y) {
        return image.pixel(line.left(), y) != ground || !isPlain(image, y, line.left(), line.right());
    };
    int first = line.top();
    int last = line.bottom();
    if (image.format() == QImage::Format_Indexed8) {
        while (first < last && !hasInk(first)) {
            ++first;
        }
        last = first;
    }
    if (!hasInk(first) || !hasInk(last)) {
        return "no ink in the first or last row of the line at y " + QByteArray::number(line.top());
    }
    if (hasInk(line.top() - 1) || hasInk(line.bottom() + 1)) {
        return "ink next to the line at y " + QByteArray::number(line.top());
    }
    return {};
}

bool isNear(QRgb a, QRgb b)
{
    return std::abs(qRed(a) - qRed(b)) < 25 && std::abs(qGreen(a) - qGreen(b)) < 25
        && std::abs(qBlue(a) - qBlue(b)) < 25;
}

struct ToolRun
{
    int code = -1;
    QString message;
};

ToolRun runTool(const QStringList &arguments, const QString &folder, const QProcessEnvironment &environment)
{
    QProcess tool;
    tool.setWorkingDirectory(folder);
    tool.setProcessEnvironment(environment);
    tool.start(QString::fromUtf8(MAKE_SAMPLE), arguments);
    if (!tool.waitForFinished() || tool.exitStatus() != QProcess::NormalExit) {
        return {};
    }
    return {tool.exitCode(), QString::fromUtf8(tool.readAllStandardError())};
}

} // namespace

class TestSamples : public QObject
{
    Q_OBJECT

private slots:
    void knowsEveryKindByName();
    void hasSizeAndFormat_data();
    void hasSizeAndFormat();
    void repeatsItself_data();
    void repeatsItself();
    void refusesSizesOutOfRange_data();
    void refusesSizesOutOfRange();
    void paintsAnySmallSize_data();
    void paintsAnySmallSize();
    void usesTheTransparentEntryNextToThePage();
    void hasThreeLevelsOfAlpha();
    void recordsLinesOfText_data();
    void recordsLinesOfText();
    void leavesNoInkBetweenGrayLines();
    void recordsAllTextOfTheChat_data();
    void recordsAllTextOfTheChat();
    void paintsBelowThePaintersLimit_data();
    void paintsBelowThePaintersLimit();
    void readsBack_data();
    void readsBack();
    void turnsUpright_data();
    void turnsUpright();
    void toolWritesTheImage();
    void toolAddsABorder();
    void toolReducesColors();
    void toolPaintsEnglishTexts_data();
    void toolPaintsEnglishTexts();
    void englishChatHasOnlyEnglishTexts();
    void toolNeedsNoScreen();
    void toolRefuses_data();
    void toolRefuses();
};

void TestSamples::knowsEveryKindByName()
{
    const QStringList names{
        u"chat"_s,  u"web"_s,      u"dark"_s, u"palette"_s, u"gray"_s, u"alpha"_s, u"jpeg-orientation"_s,
        u"noise"_s, u"gradient"_s, u"table"_s};
    QCOMPARE(sampleKindNames(), names);
    std::set<SampleKind> kinds;
    for (const QString &name : names) {
        QVERIFY(sampleKindByName(name));
        kinds.insert(*sampleKindByName(name));
    }
    QCOMPARE(kinds.size(), size_t(names.size()));
    QVERIFY(!sampleKindByName(u"Chat"_s));
    QVERIFY(!sampleKindByName(QString()));
}

void TestSamples::hasSizeAndFormat_data()
{
    QTest::addColumn<SampleKind>("kind");
    QTest::addColumn<QImage::Format>("format");
    QTest::newRow("chat") << SampleKind::Chat << QImage::Format_RGB32;
    QTest::newRow("web") << SampleKind::Web << QImage::Format_RGB32;
    QTest::newRow("dark") << SampleKind::Dark << QImage::Format_RGB32;
    QTest::newRow("palette") << SampleKind::Palette << QImage::Format_Indexed8;
    QTest::newRow("gray") << SampleKind::Gray << QImage::Format_Grayscale8;
    QTest::newRow("alpha") << SampleKind::Alpha << QImage::Format_ARGB32;
    QTest::newRow("jpeg-orientation") << SampleKind::JpegOrientation << QImage::Format_RGB32;
    QTest::newRow("noise") << SampleKind::Noise << QImage::Format_RGB32;
    QTest::newRow("gradient") << SampleKind::Gradient << QImage::Format_RGB32;
    QTest::newRow("table") << SampleKind::Table << QImage::Format_RGB32;
}

void TestSamples::hasSizeAndFormat()
{
    QFETCH(SampleKind, kind);
    QFETCH(QImage::Format, format);
    const QImage image = makeSampleImage({kind, 321, 1234});
    QCOMPARE(image.size(), QSize(321, 1234));
    QCOMPARE(image.format(), format);
    QCOMPARE(image.colorCount(), kind == SampleKind::Palette ? 249 : 0);
}

void TestSamples::repeatsItself_data()
{
    hasSizeAndFormat_data();
}

void TestSamples::repeatsItself()
{
    QFETCH(SampleKind, kind);
    const Sample first = makeSample({kind, 540, 2000, 7});
    const Sample second = makeSample({kind, 540, 2000, 7});
    QCOMPARE(firstDifference(second.image, first.image), QString());
    QCOMPARE(second.textLines, first.textLines);
    QVERIFY(makeSampleImage({kind, 540, 2000, 8}) != first.image);
}

void TestSamples::refusesSizesOutOfRange_data()
{
    QTest::addColumn<QSize>("size");
    for (const QSize size : {QSize(0, 10), QSize(10, 0), QSize(-1, 10), QSize(10, -1), QSize(10001, 10)}) {
        QTest::addRow("%dx%d", size.width(), size.height()) << size;
    }
}

void TestSamples::refusesSizesOutOfRange()
{
    QFETCH(QSize, size);
    QVERIFY(makeSampleImage({SampleKind::Gradient, size.width(), size.height()}).isNull());
}

void TestSamples::paintsAnySmallSize_data()
{
    hasSizeAndFormat_data();
}

void TestSamples::paintsAnySmallSize()
{
    QFETCH(SampleKind, kind);
    for (const QSize size : {QSize(1, 1), QSize(1, 300), QSize(300, 1), QSize(17, 90), QSize(200, 71)}) {
        const Sample sample = makeSample({kind, size.width(), size.height()});
        QCOMPARE(sample.image.size(), size);
        for (const QRect &line : sample.textLines) {
            QVERIFY(sample.image.rect().contains(line));
        }
    }
}

void TestSamples::usesTheTransparentEntryNextToThePage()
{
    const QImage image = makeSampleImage({SampleKind::Palette, 540, 3000});
    const QList<QRgb> table = image.colorTable();
    QCOMPARE(std::count_if(table.begin(), table.end(), [](QRgb color) { return qAlpha(color) == 0; }), 1);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const int alpha = x < 20 || x >= 520 ? 0 : 255;
            if (qAlpha(image.pixel(x, y)) != alpha) {
                QFAIL(qPrintable(u"alpha at %1,%2"_s.arg(x).arg(y)));
            }
        }
    }
}

void TestSamples::hasThreeLevelsOfAlpha()
{
    const QImage image = makeSampleImage({SampleKind::Alpha, 300, 600});
    QCOMPARE(qAlpha(image.pixel(50, 100)), 255);
    QCOMPARE(qAlpha(image.pixel(150, 100)), 128);
    QCOMPARE(image.pixel(250, 100), 0U);
    QCOMPARE(qAlpha(image.pixel(50, 300)), 128);
    QCOMPARE(image.pixel(150, 300), 0U);
    QCOMPARE(qAlpha(image.pixel(250, 300)), 255);
}

void TestSamples::recordsLinesOfText_data()
{
    QTest::addColumn<SampleKind>("kind");
    QTest::newRow("chat") << SampleKind::Chat;
    QTest::newRow("web") << SampleKind::Web;
    QTest::newRow("dark") << SampleKind::Dark;
    QTest::newRow("palette") << SampleKind::Palette;
    QTest::newRow("gray") << SampleKind::Gray;
    QTest::newRow("table") << SampleKind::Table;
}

void TestSamples::recordsLinesOfText()
{
    QFETCH(SampleKind, kind);
    const Sample sample = makeSample({kind, 1080, 9000});
    QCOMPARE_GE(sample.textLines.size(), 60);
    QVERIFY(std::is_sorted(sample.textLines.begin(), sample.textLines.end(),
                           [](const QRect &a, const QRect &b) { return a.top() < b.top(); }));
    for (const QRect &line : sample.textLines) {
        QCOMPARE(lineFault(sample.image, line), QByteArray());
    }
}

void TestSamples::leavesNoInkBetweenGrayLines()
{
    const Sample sample = makeSample({SampleKind::Gray, 1080, 6000});
    for (int y = 0; y < sample.image.height(); ++y) {
        const bool inked = std::any_of(sample.textLines.begin(), sample.textLines.end(),
                                       [y](const QRect &line) { return line.top() <= y && y <= line.bottom(); });
        const uchar *row = sample.image.constScanLine(y);
        const bool white = std::all_of(row, row + 1080, [](uchar level) { return level == 255; });
        // An "i" has a row without ink below its dot.
        if (!inked && !white) {
            QFAIL(qPrintable(u"ink in row %1"_s.arg(y)));
        }
    }
}

void TestSamples::recordsAllTextOfTheChat_data()
{
    QTest::addColumn<SampleKind>("kind");
    QTest::addColumn<QRgb>("textColor");
    QTest::newRow("others, light") << SampleKind::Chat << 0xff1b1d21U;
    QTest::newRow("own, light") << SampleKind::Chat << 0xff12263fU;
    QTest::newRow("names and times, light") << SampleKind::Chat << 0xff878d97U;
    QTest::newRow("others, dark") << SampleKind::Dark << 0xffe6e8ebU;
    QTest::newRow("own, dark") << SampleKind::Dark << 0xfff2f6fbU;
}

void TestSamples::recordsAllTextOfTheChat()
{
    QFETCH(SampleKind, kind);
    QFETCH(QRgb, textColor);
    const Sample sample = makeSample({kind, 1080, 12000});
    int inked = 0;
    for (int y = 212; y < 12000 - 196; ++y) { // without the bars, which have icons of the same color
        for (int x = 0; x < 1080; ++x) {
            if (sample.image.pixel(x, y) != textColor) {
                continue;
            }
            ++inked;
            if (std::none_of(sample.textLines.begin(), sample.textLines.end(),
                             [x, y](const QRect &line) { return line.contains(x, y); })) {
                QFAIL(qPrintable(u"unrecorded text at %1,%2"_s.arg(x).arg(y)));
            }
        }
    }
    QCOMPARE_GE(inked, 1000);
}

void TestSamples::paintsBelowThePaintersLimit_data()
{
    QTest::addColumn<SampleKind>("kind"); // not the table: at this width its rows are too low for text
    QTest::newRow("chat") << SampleKind::Chat;
    QTest::newRow("web") << SampleKind::Web;
    QTest::newRow("dark") << SampleKind::Dark;
    QTest::newRow("palette") << SampleKind::Palette;
    QTest::newRow("gray") << SampleKind::Gray;
}

void TestSamples::paintsBelowThePaintersLimit()
{
    QFETCH(SampleKind, kind);
    const Sample sample = makeSample({kind, 200, 70000});
    QCOMPARE(sample.image.size(), QSize(200, 70000));
    int below = 0;
    int end = 32767;
    for (const QRect &line : sample.textLines) {
        if (line.bottom() <= 32767) {
            continue;
        }
        QCOMPARE(lineFault(sample.image, line), QByteArray());
        QCOMPARE_LE(line.top() - end, 200); // no long gap without text
        end = line.bottom();
        ++below;
    }
    QCOMPARE_GE(below, 1000);
    QCOMPARE_GE(end, 69800);
}

void TestSamples::readsBack_data()
{
    hasSizeAndFormat_data();
}

void TestSamples::readsBack()
{
    QFETCH(SampleKind, kind);
    QFETCH(QImage::Format, format);
    const QTemporaryDir dir;
    const SampleParams params{kind, 360, 900};
    const QImage image = makeSampleImage(params);
    QString error;
    QVERIFY2(writeSampleImage(image, params, dir.filePath(u"sample"_s), &error), qPrintable(error));

    QImageReader reader(dir.filePath(u"sample"_s));
    reader.setAutoTransform(true);
    const QByteArray fileFormat = reader.format();
    const QImage read = reader.read();
    if (kind == SampleKind::JpegOrientation) {
        QCOMPARE(fileFormat, QByteArray("jpeg"));
        QCOMPARE(read.size(), image.size()); // turnsUpright() compares the pixels
        return;
    }
    QCOMPARE(fileFormat, QByteArray("png"));
    QCOMPARE(read.format(), format);
    QCOMPARE(read.colorTable(), image.colorTable());
    QCOMPARE(firstDifference(read, image), QString());
}

void TestSamples::turnsUpright_data()
{
    QTest::addColumn<int>("orientation");
    QTest::addColumn<QImageIOHandler::Transformations>("tag");
    QTest::addColumn<QSize>("storedSize");
    using Handler = QImageIOHandler;
    const auto add = [](int orientation, Handler::Transformations tag, QSize storedSize) {
        QTest::addRow("orientation %d", orientation) << orientation << tag << storedSize;
    };
    add(1, Handler::TransformationNone, {160, 480});
    add(2, Handler::TransformationMirror, {160, 480});
    add(3, Handler::TransformationRotate180, {160, 480});
    add(4, Handler::TransformationFlip, {160, 480});
    add(5, Handler::TransformationFlipAndRotate90, {480, 160});
    add(6, Handler::TransformationRotate90, {480, 160});
    add(7, Handler::TransformationMirrorAndRotate90, {480, 160});
    add(8, Handler::TransformationRotate270, {480, 160});
}

void TestSamples::turnsUpright()
{
    QFETCH(int, orientation);
    QFETCH(QImageIOHandler::Transformations, tag);
    QFETCH(QSize, storedSize);
    const QTemporaryDir dir;
    const QString file = dir.filePath(u"turned.jpg"_s);
    const SampleParams params{SampleKind::JpegOrientation, 160, 480, 1, orientation};
    QVERIFY(writeSampleImage(makeSampleImage(params), params, file));

    QImageReader plainReader(file);
    QCOMPARE(plainReader.size(), storedSize);
    QCOMPARE(plainReader.transformation(), tag);
    const QImage stored = plainReader.read();
    QCOMPARE(stored.size(), storedSize);

    QImageReader reader(file);
    reader.setAutoTransform(true);
    const QImage image = reader.read();
    QCOMPARE(image.size(), QSize(160, 480));
    QVERIFY(isNear(image.pixel(10, 10), qRgb(220, 30, 30)));
    QVERIFY(isNear(image.pixel(150, 10), qRgb(30, 180, 30)));
    QVERIFY(isNear(image.pixel(10, 470), qRgb(30, 30, 220)));
    QVERIFY(isNear(image.pixel(150, 470), qRgb(230, 220, 30)));
    QCOMPARE(isNear(stored.pixel(10, 10), qRgb(220, 30, 30)), orientation == 1 || orientation == 5);
}

void TestSamples::toolWritesTheImage()
{
    const QTemporaryDir dir;
    const ToolRun run = runTool({u"--kind"_s, u"dark"_s, u"--size"_s, u"400x1500"_s, u"--seed"_s, u"3"_s, u"a.png"_s},
                                dir.path(), QProcessEnvironment::systemEnvironment());
    QCOMPARE(run.code, 0);
    QCOMPARE(firstDifference(QImage(dir.filePath(u"a.png"_s)), makeSampleImage({SampleKind::Dark, 400, 1500, 3})),
             QString());
    const ToolRun turned = runTool({u"--kind=jpeg-orientation"_s, u"--size=60x90"_s, u"--orientation=6"_s, u"b.jpg"_s},
                                   dir.path(), QProcessEnvironment::systemEnvironment());
    QCOMPARE(turned.code, 0);
    QCOMPARE(QImageReader(dir.filePath(u"b.jpg"_s)).size(), QSize(90, 60));
}

void TestSamples::toolAddsABorder()
{
    const QTemporaryDir dir;
    const ToolRun run = runTool({u"--kind=gray"_s, u"--size=300x700"_s, u"--rim=40"_s, u"a.png"_s}, dir.path(),
                                QProcessEnvironment::systemEnvironment());
    QCOMPARE(run.code, 0);
    const QImage image(dir.filePath(u"a.png"_s));
    QCOMPARE(image.size(), QSize(380, 780));
    QCOMPARE(firstDifference(image.copy(40, 40, 300, 700), makeSampleImage({SampleKind::Gray, 300, 700})), QString());
    const QRgb ground = image.pixel(0, 0);
    for (int y = 0; y < 780; ++y) {
        for (int x = 0; x < 380; ++x) {
            const bool inside = x >= 40 && x < 340 && y >= 40 && y < 740;
            if (!inside && image.pixel(x, y) != ground) {
                QFAIL(qPrintable(u"ink at %1,%2"_s.arg(x).arg(y)));
            }
        }
    }
}

void TestSamples::toolReducesColors()
{
    const QTemporaryDir dir;
    const ToolRun run = runTool({u"--kind=web"_s, u"--size=300x900"_s, u"--indexed"_s, u"a.png"_s}, dir.path(),
                                QProcessEnvironment::systemEnvironment());
    QCOMPARE(run.code, 0);
    const QImage image(dir.filePath(u"a.png"_s));
    QCOMPARE(image.format(), QImage::Format_Indexed8);
    const QImage full = makeSampleImage({SampleKind::Web, 300, 900});
    QCOMPARE(image.size(), full.size());
    for (int y = 0; y < 900; ++y) {
        for (int x = 0; x < 300; ++x) {
            const QRgb a = image.pixel(x, y);
            const QRgb b = full.pixel(x, y);
            const int most =
                std::max({std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)), std::abs(qBlue(a) - qBlue(b))});
            QVERIFY2(most <= 28,
                     qPrintable(u"%1 off at %2,%3"_s.arg(most).arg(x).arg(y))); // a pale color may become gray
        }
    }
}

void TestSamples::toolPaintsEnglishTexts_data()
{
    QTest::addColumn<SampleKind>("kind");
    QTest::newRow("chat") << SampleKind::Chat;
    QTest::newRow("gray") << SampleKind::Gray;
}

void TestSamples::toolPaintsEnglishTexts()
{
    QFETCH(SampleKind, kind);
    const QTemporaryDir dir;
    const ToolRun run = runTool(
        {u"--kind"_s, QString::fromUtf8(QTest::currentDataTag()), u"--size=300x900"_s, u"--english"_s, u"a.png"_s},
        dir.path(), QProcessEnvironment::systemEnvironment());
    QCOMPARE(run.code, 0);
    const QImage image(dir.filePath(u"a.png"_s));
    SampleParams params{kind, 300, 900};
    QVERIFY(image != makeSampleImage(params));
    params.english = true;
    QCOMPARE(firstDifference(image, makeSampleImage(params)), QString());
}

void TestSamples::englishChatHasOnlyEnglishTexts()
{
    QStringList texts{QString::fromUtf16(englishChat.groupName), QString::fromUtf16(englishChat.prompt)};
    for (const char16_t *member : englishChat.members) {
        texts.append(QString::fromUtf16(member));
    }
    for (const Said &said : englishChat.conversation) {
        texts.append(QString::fromUtf16(said.text));
    }
    QCOMPARE_GE(texts.size(), 40);
    for (const QString &text : texts) {
        QVERIFY2(std::all_of(text.begin(), text.end(), [](QChar sign) { return sign <= u'\u00ff'; }), qPrintable(text));
    }
}

void TestSamples::toolNeedsNoScreen()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const QString &variable : {u"QT_QPA_PLATFORM"_s, u"DISPLAY"_s, u"WAYLAND_DISPLAY"_s}) {
        environment.remove(variable);
    }
    const QTemporaryDir dir;
    QCOMPARE(runTool({u"--size=100x300"_s, u"a.png"_s}, dir.path(), environment).code, 0);
    QCOMPARE(QImage(dir.filePath(u"a.png"_s)).size(), QSize(100, 300));
}

void TestSamples::toolRefuses_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("message");
    const auto add = [](const QString &arguments, int code, const QString &message) {
        QTest::newRow(qPrintable(arguments)) << arguments.split(u' ', Qt::SkipEmptyParts) << code << message;
    };
    add(u""_s, 2, u"name of one file"_s);
    add(u"a.png b.png"_s, 2, u"name of one file"_s);
    add(u"--colour red a.png"_s, 2, u"colour"_s);
    add(u"--kind cat a.png"_s, 2, u"unknown kind \"cat\""_s);
    add(u"--seed x a.png"_s, 2, u"bad seed \"x\""_s);
    add(u"--seed -1 a.png"_s, 2, u"bad seed \"-1\""_s);
    for (const QString &size : {u"10"_s, u"10x"_s, u"0x10"_s, u"10x0"_s, u"-5x5"_s, u"10001x5"_s, u"5x1000000"_s}) {
        add(u"--size %1 a.png"_s.arg(size), 2, u"bad size \"%1\""_s.arg(size));
    }
    for (const QString &rim : {u"x"_s, u"-1"_s, u"1001"_s}) {
        add(u"--rim %1 a.png"_s.arg(rim), 2, u"bad rim \"%1\""_s.arg(rim));
    }
    add(u"--kind palette --indexed a.png"_s, 2, u"already has 249 colors"_s);
    add(u"--kind table --english a.png"_s, 2, u"chat, dark, web, palette and gray"_s);
    add(u"--kind palette --rim 5 a.png"_s, 2, u"takes no rim"_s);
    add(u"--orientation 2 a.png"_s, 2, u"jpeg-orientation alone"_s);
    add(u"--kind jpeg-orientation --orientation 9 a.jpg"_s, 2, u"bad orientation \"9\""_s);
    add(u"--kind jpeg-orientation a.png"_s, 2, u"must end in .jpg"_s);
    add(u"a.bmp"_s, 2, u"must end in .png"_s);
    add(u"--size 20x20 absent/a.png"_s, 1, u"cannot write \"absent/a.png\""_s);
    add(u"--kind jpeg-orientation --size 4x66000 a.jpg"_s, 1, u"cannot write \"a.jpg\""_s);
}

void TestSamples::toolRefuses()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, code);
    QFETCH(QString, message);
    const QTemporaryDir dir;
    const ToolRun run = runTool(arguments, dir.path(), QProcessEnvironment::systemEnvironment());
    QCOMPARE(run.code, code);
    QVERIFY2(run.message.contains(message), qPrintable(run.message));
    QVERIFY(QDir(dir.path()).isEmpty());
}

QUILLMARCH_TEST_MAIN(TestSamples)

#include "tst_samples.moc"
