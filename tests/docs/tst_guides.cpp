#include "app/settings.h"
#include "app/startup.h"
#include "output/pagelayout.h"
#include "output/previewitem.h"
#include "page/handledriver.h"
#include "page/pageitem.h"
#include "samples/sampleimage.h"
#include "support/englishcatalogue.h"
#include "support/pictures.h"
#include "support/testmain.h"
#include "support/windowprobe.h"
#include "ui/leftview.h"
#include "ui/mainview.h"
#include "ui/windowaccess.h"

#include <QAction>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QGraphicsView>
#include <QImageReader>
#include <QMenu>
#include <QMenuBar>
#include <QRegularExpression>
#include <QScrollBar>
#include <QSet>
#include <QTemporaryDir>
#include <QToolBar>

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(SampleKind)

namespace {

QString projectFile(const QString &name)
{
    return QStringLiteral(PROJECT_FOLDER) + u'/' + name;
}

QString textOf(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        qFatal("Cannot read %s", qPrintable(path));
    }
    return QString::fromUtf8(file.readAll());
}

/// All documents of the project, relative to the project folder.
QStringList documents()
{
    const QDir project(QStringLiteral(PROJECT_FOLDER));
    QStringList names = project.entryList({u"*.md"_s}, QDir::Files);
    for (const QString &folder : {u"docs"_s, u"samples"_s, u"bench"_s, u"packaging"_s, u"tests"_s, u"tools"_s}) {
        QDirIterator files(project.filePath(folder), {u"*.md"_s}, QDir::Files, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            names.append(project.relativeFilePath(files.next()));
        }
    }
    return names;
}

/// \a text without code blocks and inline code.
QString withoutCode(QString text)
{
    static const QRegularExpression fences(
        u"^```.*?^```"_s, QRegularExpression::MultilineOption | QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression indented(u"^    .*$"_s, QRegularExpression::MultilineOption);
    static const QRegularExpression quoted(u"`[^`]*`"_s);
    return text.remove(fences).remove(indented).remove(quoted);
}

/// The targets of the links and images in \a text.
QStringList targetsOf(const QString &text)
{
    static const QRegularExpression link(u"\\]\\(([^)\\s]+)\\)"_s);
    QStringList targets;
    for (const QRegularExpressionMatch &match : link.globalMatch(withoutCode(text))) {
        targets.append(match.captured(1));
    }
    return targets;
}

/// The anchors of the headings in \a text.
QStringList anchorsOf(const QString &text)
{
    static const QRegularExpression heading(u"^#+ (.*)$"_s, QRegularExpression::MultilineOption);
    static const QRegularExpression notInNames(u"[^\\w\\- ]"_s, QRegularExpression::UseUnicodePropertiesOption);
    QStringList anchors;
    for (const QRegularExpressionMatch &match : heading.globalMatch(text)) {
        anchors.append(match.captured(1).toLower().remove(notInNames).replace(u' ', u'-'));
    }
    return anchors;
}

/// The first table after the heading \a heading of any level in \a text: the rows
/// below the column titles, each cell without surrounding blanks and backticks.
QList<QStringList> tableBelow(const QString &text, const QString &heading)
{
    QList<QStringList> rows;
    const QStringList lines = text.mid(text.indexOf(u"# "_s + heading + u'\n')).split(u'\n');
    for (const QString &line : lines.mid(1)) {
        if (line.startsWith(u'|')) {
            QStringList cells;
            for (const QString &cell : line.mid(1).chopped(1).split(u'|')) {
                cells.append(cell.trimmed().remove(u'`'));
            }
            rows.append(cells);
        } else if (!rows.isEmpty() || line.startsWith(u'#')) {
            break;
        }
    }
    return rows.mid(2);
}

/// All menu entries of the window in one language: text, text in the other language,
/// shortcut and menu.
QList<QStringList> menuRows(bool english)
{
    const MainWindow chinese;
    const EnglishCatalogue catalogue;
    const MainWindow translated;
    const MainWindow &window = english ? translated : chinese;
    const MainWindow &other = english ? chinese : translated;
    QList<QStringList> rows;
    for (const QAction *title : window.menuBar()->actions()) {
        for (const QAction *action : title->menu()->actions()) {
            if (!action->isSeparator()) {
                rows.append({action->text(), actionOf(other, qPrintable(action->objectName()))->text(),
                             action->shortcut().toString(QKeySequence::PortableText), title->text()});
            }
        }
    }
    return rows;
}

QString allSources()
{
    QString text;
    QDirIterator files(projectFile(u"src"_s), {u"*.cpp"_s}, QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        text += textOf(files.next());
    }
    return text;
}

/// The number of cuts of \a window that slice one of \a lines, and the number of
/// all cuts. The outermost rows of a line do not count: smoothing makes them as
/// bright as paper.
std::pair<int, int> slicedLines(const MainWindow &window, const QList<QRect> &lines, int height)
{
    int sliced = 0;
    int cuts = 0;
    for (const PageItem *strip : stripsOf(window)) {
        const int row = int(strip->sourceRect().bottom()) - 1;
        if (row >= height - 1) {
            break;
        }
        ++cuts;
        sliced += std::any_of(lines.begin(), lines.end(),
                              [row](const QRect &line) { return line.top() < row && row < line.bottom() - 1; });
    }
    return {sliced, cuts};
}

/// The distinct content heights of the pages of \a window, which determine their
/// scales.
QSet<double> contentHeights(const MainWindow &window)
{
    QSet<double> heights;
    for (const PreviewItem *page : pagesOf(window)) {
        heights.insert(page->innerRect().height());
    }
    return heights;
}

/// The greatest overlap of the two columns on a page of \a window, in image
/// pixels.
double widestOverlap(const MainWindow &window)
{
    double widest = 0;
    double tallest = 0;
    QList<QList<QSizeF>> pages;
    for (const PreviewItem *page : pagesOf(window)) {
        QList<QSizeF> sizes;
        QList<double> heights;
        for (const PageItem *strip : page->shownStrips()) {
            sizes.append(strip->bodyRect().size());
            heights.append(strip->bodyRect().height());
        }
        tallest = tallestColumn(heights, tallest);
        pages.append(sizes);
    }
    for (qsizetype i = 0; i < pages.size(); ++i) {
        const QRectF content = pagesOf(window).at(i)->innerRect();
        const QList<QRectF> places = columnPlaces(content, pages.at(i), columnScale(content.height(), tallest));
        if (places.size() > 2) {
            widest = std::max(widest, places.at(0).right() - places.at(2).left());
        }
    }
    return widest;
}

} // namespace

class TestGuides : public QObject
{
    Q_OBJECT

private slots:
    void init() { forgetEverything(); }

    void linkTargetsExist_data();
    void linkTargetsExist();
    void everyPictureIsShown();
    void listsEveryCommandWithItsKeys_data();
    void listsEveryCommandWithItsKeys();
    void listsEverySetting_data();
    void listsEverySetting();
    void sampleSettingsAreRead();
    void sampleNamesEverySetting();
    void listsEverySample();
    void placedCutsSliceFewerLines_data();
    void placedCutsSliceFewerLines();
    void marginStepsGivePagesTheirOwnScale();
    void largeMarginsMakeColumnsOverlap();
    void downwardDragGoesTwentyRowsBelowItsLine_data();
    void downwardDragGoesTwentyRowsBelowItsLine();
    void hiddenToolBarStaysHidden();
    void transparentRowsCountAsDark();
    void trimUsesTheColorOfTransparentPixels_data();
    void trimUsesTheColorOfTransparentPixels();
    void truncatedJpegEndsInGray();
    void scrollsByTheseKeys_data();
    void scrollsByTheseKeys();
};

void TestGuides::linkTargetsExist_data()
{
    QTest::addColumn<QString>("name");
    const QStringList names = documents();
    QCOMPARE_GE(names.size(), 8);
    for (const QString &name : names) {
        QTest::newRow(qPrintable(name)) << name;
    }
}

void TestGuides::linkTargetsExist()
{
    QFETCH(QString, name);
    const QFileInfo document(projectFile(name));
    for (const QString &target : targetsOf(textOf(document.filePath()))) {
        if (target.startsWith("https://"_L1) || target.startsWith("mailto:"_L1)) {
            continue;
        }
        const QString path = target.section(u'#', 0, 0);
        const QString anchor = target.section(u'#', 1);
        const QString file = path.isEmpty() ? document.filePath() : document.dir().filePath(path);
        QVERIFY2(QFileInfo::exists(file), qPrintable(target));
        if (!anchor.isEmpty()) {
            QVERIFY2(anchorsOf(textOf(file)).contains(anchor), qPrintable(target));
        }
    }
}

void TestGuides::everyPictureIsShown()
{
    QSet<QString> shown;
    for (const QString &name : documents()) {
        const QFileInfo document(projectFile(name));
        for (const QString &target : targetsOf(textOf(document.filePath()))) {
            shown.insert(QDir::cleanPath(document.dir().filePath(target)));
        }
    }
    const QDir pictures(projectFile(u"docs/images"_s));
    const QStringList names = pictures.entryList(QDir::Files);
    QCOMPARE_GE(names.size(), 10);
    for (const QString &name : names) {
        QVERIFY2(shown.contains(pictures.filePath(name)), qPrintable(name));
    }
}

void TestGuides::listsEveryCommandWithItsKeys_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("heading");
    QTest::addColumn<bool>("english");
    QTest::newRow("English") << u"docs/guide.md"_s << u"Keyboard"_s << true;
    QTest::newRow("Chinese") << u"docs/guide.zh.md"_s << u"键盘"_s << false;
}

void TestGuides::listsEveryCommandWithItsKeys()
{
    QFETCH(QString, name);
    QFETCH(QString, heading);
    QFETCH(bool, english);
    static const QRegularExpression gloss(u" \\([A-Za-z ]+\\)$"_s); // follows a command without an English text
    QList<QStringList> rows = tableBelow(textOf(projectFile(name)), heading);
    for (QStringList &row : rows) {
        row.first().remove(gloss);
    }
    QCOMPARE(rows, menuRows(english));
}

void TestGuides::listsEverySetting_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("heading");
    QTest::newRow("English") << u"docs/guide.md"_s << u"Settings"_s;
    QTest::newRow("Chinese") << u"docs/guide.zh.md"_s << u"设置"_s;
}

void TestGuides::listsEverySetting()
{
    QFETCH(QString, name);
    QFETCH(QString, heading);
    QStringList keys;
    for (const QStringList &row : tableBelow(textOf(projectFile(name)), heading)) {
        keys.append(row.value(1));
    }
    QCOMPARE(keys,
             (QStringList{u"language"_s, u"autopage"_s, u"cutrule"_s, u"marginsc"_s, u"imagedir"_s, u"savepath"_s,
                          u"windowGeometry"_s, u"windowState"_s, u"splitterState"_s, u"updater/skippedVersion"_s,
                          u"update/skippedVersion"_s}));
    const QString sources = allSources();
    for (const QString &key : keys) {
        QVERIFY2(sources.contains(u'"' + key + u'"'), qPrintable(key));
    }
}

void TestGuides::sampleSettingsAreRead()
{
    const QTemporaryDir dir;
    const QString file = dir.filePath(u"user.ini"_s);
    QString sample = textOf(projectFile(u"docs/user.ini.sample"_s));
    savedBytes(sample.toUtf8(), file);
    QCOMPARE(interfaceLanguage(file), u"en"_s);
    QVERIFY(isAutoPageWanted(file));
    QVERIFY(chosenCutRule(file) == CutRule::Bright);
    QString value;
    QVERIFY(readConfigValue(file, u"marginsc"_s, value));
    QCOMPARE(value, QString());

    const QString other = dir.filePath(u"other.ini"_s);
    sample.replace("autopage=true"_L1, "autopage=false"_L1).replace("language=en"_L1, "language=zh"_L1);
    sample.replace("\n;cutrule"_L1, "\ncutrule"_L1);
    sample.replace("\n;marginsc"_L1, "\nmarginsc"_L1).replace("\n;imagedir"_L1, "\nimagedir"_L1);
    savedBytes(sample.toUtf8(), other);
    QCOMPARE(interfaceLanguage(other), u"zh"_s);
    QVERIFY(!isAutoPageWanted(other));
    QVERIFY(chosenCutRule(other) == CutRule::Calm);
    QVERIFY(readConfigValue(other, u"marginsc"_s, value));
    QCOMPARE(value, u"10"_s);
    QVERIFY(readConfigValue(other, u"imagedir"_s, value));
    QCOMPARE(value, u"/home/me/Pictures"_s);
}

void TestGuides::sampleNamesEverySetting()
{
    static const QRegularExpression key(u"^;?([a-z]+)="_s, QRegularExpression::MultilineOption);
    QStringList keys;
    for (const QRegularExpressionMatch &match : key.globalMatch(textOf(projectFile(u"docs/user.ini.sample"_s)))) {
        keys.append(match.captured(1));
    }
    QCOMPARE(keys,
             (QStringList{u"language"_s, u"autopage"_s, u"cutrule"_s, u"marginsc"_s, u"imagedir"_s, u"savepath"_s}));
}

void TestGuides::listsEverySample()
{
    const QString text = textOf(projectFile(u"samples/README.md"_s));
    const QStringList files = QDir(projectFile(u"samples"_s)).entryList({u"*.png"_s}, QDir::Files);
    QCOMPARE_GE(files.size(), 6);
    for (const QString &file : files) {
        const QSize size = QImageReader(projectFile(u"samples/"_s + file)).size();
        QVERIFY2(text.contains(u"| `%1` | %2 x %3 |"_s.arg(file).arg(size.width()).arg(size.height())),
                 qPrintable(file));
    }
}

void TestGuides::placedCutsSliceFewerLines_data()
{
    QTest::addColumn<SampleKind>("kind");
    QTest::newRow("chat") << SampleKind::Chat;
    QTest::newRow("web") << SampleKind::Web;
    QTest::newRow("gray") << SampleKind::Gray;
}

/// docs/cuts.md quotes these numbers.
void TestGuides::placedCutsSliceFewerLines()
{
    QFETCH(SampleKind, kind);
    constexpr int height = 50000;
    const Sample sample = makeSample({kind, 1080, height});
    const QString path = savedPicture(sample.image, u"long.bmp"_s);
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(path);
    const auto [slicedBefore, cuts] = slicedLines(window, sample.textLines, height);
    window.setAutoPage(true);
    window.loadImageFile(path);
    const auto [slicedAfter, placed] = slicedLines(window, sample.textLines, height);
    qInfo("lines of text sliced by %d cuts: %d at regular distances, %d placed", cuts, slicedBefore, slicedAfter);
    QCOMPARE_GE(slicedBefore, 5);
    QCOMPARE(placed, cuts);
    QCOMPARE_LE(slicedAfter * 4, slicedBefore); // 0 with the fonts of Debian 12
}

void TestGuides::marginStepsGivePagesTheirOwnScale()
{
    const QString path = savedPicture(textPicture(700, 9500, 130), u"text.png"_s);
    MainWindow window;
    window.loadImageFile(path);
    QCOMPARE(contentHeights(window).size(), 1);
    trigger(window, "increaseMarginAction");
    QCOMPARE_GE(contentHeights(window).size(), 3);
    trigger(window, "decreaseMarginAction"); // restores the margin, but not the scale
    QCOMPARE_GE(contentHeights(window).size(), 3);
    trigger(window, "decreaseMarginAction");
    trigger(window, "decreaseMarginAction"); // margin 0
    QCOMPARE(contentHeights(window).size(), 1);
    trigger(window, "increaseMarginAction");
    window.loadImageFile(path);
    QCOMPARE(contentHeights(window).size(), 1);
}

void TestGuides::largeMarginsMakeColumnsOverlap()
{
    const QString path = projectFile(u"samples/dark-chat.png"_s);
    MainWindow window;
    window.loadImageFile(path);
    trigger(window, "twoColsAction");
    QCOMPARE_LE(widestOverlap(window), 0.0);
    for (int step = 0; step < 4; ++step) {
        trigger(window, "increaseMarginAction");
    }
    QCOMPARE_GT(widestOverlap(window), 20.0); // the image is 540 pixels wide
    window.loadImageFile(path);
    QCOMPARE_LE(widestOverlap(window), 0.0);
}

void TestGuides::downwardDragGoesTwentyRowsBelowItsLine_data()
{
    QTest::addColumn<int>("rows");
    QTest::addColumn<int>("below");
    QTest::newRow("down") << 100 << 20;
    QTest::newRow("up") << -100 << 0;
}

void TestGuides::downwardDragGoesTwentyRowsBelowItsLine()
{
    QFETCH(int, rows);
    QFETCH(int, below);
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(savedPicture(blockPicture(700, 3500), u"blocks.png"_s));
    PageItem *upper = stripsOf(window).at(0);
    PageItem *lower = stripsOf(window).at(1);
    const QPointF grab(350, upper->handleRect().y() + 10);
    const QPointF end(350, grab.y() + rows);
    handledriver::hover(upper, grab);
    handledriver::press(upper, grab);
    handledriver::move(upper, end);
    const PageItem *crossed = rows > 0 ? lower : upper;
    const double lineRow = crossed->sourceRect().y() + crossed->dragRect().y();
    handledriver::release(upper, end);
    QCOMPARE(upper->sourceRect().bottom(), lineRow + below);
}

void TestGuides::hiddenToolBarStaysHidden()
{
    {
        MainWindow window;
        window.setGeometry(50, 50, 600, 400);
        window.show();
        const std::unique_ptr<QMenu> menu(window.createPopupMenu());
        QCOMPARE(menu->actions().size(), 1);
        QCOMPARE(menu->actions().first()->text(), u"main"_s);
        menu->actions().first()->trigger();
        QVERIFY(childOf<QToolBar>(window, "mainToolbar")->isHidden());
        window.close();
    }
    MainWindow window;
    window.show();
    const auto *toolBar = childOf<QToolBar>(window, "mainToolbar");
    QVERIFY(toolBar->isHidden());
    const std::unique_ptr<QMenu> menu(window.createPopupMenu());
    menu->actions().first()->trigger();
    QVERIFY(!toolBar->isHidden());
}

void TestGuides::transparentRowsCountAsDark()
{
    QImage image(700, 2000, QImage::Format_ARGB32);
    image.fill(QColor(255, 255, 255, 0));
    for (int x = 0; x < 60; ++x) {
        image.setPixelColor(x, 1040, Qt::white); // the only bright pixels
    }
    MainWindow window;
    window.loadImageFile(savedPicture(image, u"transparent.png"_s));
    QCOMPARE(std::round(stripsOf(window).first()->sourceRect().bottom()), 1040.0);
}

void TestGuides::trimUsesTheColorOfTransparentPixels_data()
{
    QTest::addColumn<QColor>("border");
    QTest::addColumn<int>("width");
    QTest::newRow("black") << QColor(0, 0, 0, 0) << 400;
    QTest::newRow("white") << QColor(255, 255, 255, 0) << 200;
}

void TestGuides::trimUsesTheColorOfTransparentPixels()
{
    QFETCH(QColor, border);
    QFETCH(int, width);
    QImage image(400, 300, QImage::Format_ARGB32);
    image.fill(border);
    for (int y = 100; y < 200; ++y) {
        for (int x = 100; x < 300; ++x) {
            image.setPixelColor(x, y, (x + y) % 2 == 0 ? Qt::darkBlue : Qt::white);
        }
    }
    MainWindow window;
    window.loadImageFile(savedPicture(image, u"border.png"_s));
    trigger(window, "autoTrimAction");
    QCOMPARE(int(stripsOf(window).first()->sourceRect().width()), width);
}

void TestGuides::truncatedJpegEndsInGray()
{
    const QByteArray file = encodedPicture(blockPicture(700, 1600), "JPG");
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(savedBytes(file.first(file.size() / 2), u"half.jpg"_s));
    QCOMPARE(toastText(window), QString());
    const QImage shown = shownPicture(window, {700, 1600});
    for (const int x : {0, 350, 699}) {
        QCOMPARE(shown.pixelColor(x, 1590), QColor(128, 128, 128));
    }
}

void TestGuides::scrollsByTheseKeys_data()
{
    QTest::addColumn<Qt::Key>("key");
    QTest::addColumn<bool>("scrolls");
    QTest::newRow("Down") << Qt::Key_Down << true;
    QTest::newRow("Page Down") << Qt::Key_PageDown << true;
    QTest::newRow("Up") << Qt::Key_Up << true;
    QTest::newRow("Page Up") << Qt::Key_PageUp << true;
    QTest::newRow("Home") << Qt::Key_Home << false;
    QTest::newRow("End") << Qt::Key_End << false;
}

void TestGuides::scrollsByTheseKeys()
{
    QFETCH(Qt::Key, key);
    QFETCH(bool, scrolls);
    MainWindow window;
    window.show();
    window.loadImageFile(savedPicture(blockPicture(700, 5000), u"blocks.png"_s));
    for (QGraphicsView *view : {static_cast<QGraphicsView *>(leftViewOf(window)), //
                                static_cast<QGraphicsView *>(mainViewOf(window))}) {
        QScrollBar *bar = view->verticalScrollBar();
        const int middle = (bar->minimum() + bar->maximum()) / 2;
        bar->setValue(middle);
        QTest::keyClick(view, key);
        QCOMPARE(bar->value() != middle, scrolls);
    }
}

QUILLMARCH_TEST_MAIN(TestGuides)

#include "tst_guides.moc"
