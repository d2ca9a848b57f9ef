#include "redpicture.h"
#include "support/files.h"
#include "support/openedurls.h"
#include "support/pictures.h"
#include "support/testmain.h"
#include "update/updatedialog.h"
#include "updatechecks.h"

#include <QBuffer>
#include <QImage>
#include <QLabel>
#include <QLayout>
#include <QPointer>
#include <QPushButton>
#include <QSettings>
#include <QSignalSpy>
#include <QTextBlock>
#include <QTextBrowser>
#include <QUrl>

#include <array>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

ReleaseInfo someRelease()
{
    ReleaseInfo release;
    release.version = u"3.0.1"_s;
    release.title = u"大版本"_s;
    release.description = u"更快<br>更稳"_s;
    release.downloadUrl = u"https://packages.example/q.zip?x=1"_s;
    release.releaseDate = u"2024/03/05"_s;
    return release;
}

QVariant skippedVersion()
{
    return QSettings().value(u"updater/skippedVersion"_s);
}

using Inside = bool (*)(double x, double y);

bool inDisc(double x, double y)
{
    return std::hypot(x - 32, y - 32) <= 24;
}

/// Whether a point is on a line of width 3 with square caps, which extend it by
/// 1.5 at each end.
bool onLine(double x, double y, double x1, double y1, double x2, double y2)
{
    const double length = std::hypot(x2 - x1, y2 - y1);
    const double along = ((x - x1) * (x2 - x1) + (y - y1) * (y2 - y1)) / length;
    const double across = ((x - x1) * (y2 - y1) - (y - y1) * (x2 - x1)) / length;
    return along >= -1.5 && along <= length + 1.5 && std::abs(across) <= 1.5;
}

double coverage(int column, int row, Inside inside)
{
    constexpr int steps = 16;
    int hits = 0;
    for (int i = 0; i < steps; ++i) {
        for (int j = 0; j < steps; ++j) {
            hits += inside(column + (i + 0.5) / steps, row + (j + 0.5) / steps) ? 1 : 0;
        }
    }
    return double(hits) / (steps * steps);
}

/// The expected red, green, blue (premultiplied) and alpha of a pixel of the icon.
std::array<double, 4> iconPixel(int column, int row)
{
    std::array<double, 4> pixel{};
    const auto paint = [&](Inside inside, const std::array<double, 4> &color) {
        const double share = coverage(column, row, inside);
        for (size_t i = 0; i < pixel.size(); ++i) {
            pixel[i] = color[i] * share + pixel[i] * (1 - share);
        }
    };
    const std::array<double, 4> blue{0x4A, 0x90, 0xE2, 255};
    const std::array<double, 4> white{255, 255, 255, 255};
    paint(inDisc, blue);
    paint([](double x, double y) { return onLine(x, y, 32, 20, 32, 44); }, white);
    paint([](double x, double y) { return onLine(x, y, 20, 32, 32, 20); }, white);
    paint([](double x, double y) { return onLine(x, y, 44, 32, 32, 20); }, white);
    return pixel;
}

} // namespace

class TestUpdateDialog : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void writesNotesAsHtml_data();
    void writesNotesAsHtml();
    void showsTheRelease();
    void showsHtmlOfTheDocument();
    void showsNoLocalFile_data();
    void showsNoLocalFile();
    void showsEmbeddedPictures_data();
    void showsEmbeddedPictures();
    void showsNestedTags_data();
    void showsNestedTags();
    void keepsTheNotesWhenALinkIsClicked_data();
    void keepsTheNotesWhenALinkIsClicked();
    void opensWithoutTitleAndDescription();
    void laysOutItsWidgets();
    void laysOutItsButtons();
    void drawsTheIcon();
    void hasItsFontsAndColors();
    void downloadsInTheWebBrowser();
    void closesWithoutAnAddress();
    void storesNothingWhenRemindedLater();
    void storesNothingWhenClosedByItsFrame();
    void storesTheSkippedVersion();
    void offersAllButtonsForAForcedRelease();
    void deletesItselfOnCloseIfRequested_data();
    void deletesItselfOnCloseIfRequested();
};

void TestUpdateDialog::initTestCase()
{
    nameApplication();
}

void TestUpdateDialog::init()
{
    QSettings().clear();
}

void TestUpdateDialog::writesNotesAsHtml_data()
{
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("date");
    QTest::addColumn<QString>("description");
    QTest::addColumn<QString>("html");
    QTest::newRow("all") << u"T"_s << u"2024/03/05"_s << u"D"_s
                         << u"<h3>T</h3><p><b>发布日期：</b>2024/03/05</p><p>D</p>"_s;
    QTest::newRow("no date") << u"T"_s << QString() << u"D"_s << u"<h3>T</h3><p>D</p>"_s;
    QTest::newRow("nothing") << QString() << QString() << QString() << u"<h3></h3><p></p>"_s;
    QTest::newRow("HTML") << u"<i>T</i>"_s << u"a & b"_s << u"<ul><li>1</li></ul>"_s
                          << u"<h3><i>T</i></h3><p><b>发布日期：</b>a & b</p><p><ul><li>1</li></ul></p>"_s;
    QTest::newRow("place markers") << u"100%1"_s << u"%1"_s << u"%2%1"_s
                                   << u"<h3>100%1</h3><p><b>发布日期：</b>%1</p><p>%2%1</p>"_s;
}

void TestUpdateDialog::writesNotesAsHtml()
{
    QFETCH(QString, title);
    QFETCH(QString, date);
    QFETCH(QString, description);
    ReleaseInfo release;
    release.title = title;
    release.releaseDate = date;
    release.description = description;
    QTEST(releaseHtml(release), "html");
}

void TestUpdateDialog::showsTheRelease()
{
    const UpdateDialog dialog(someRelease());
    QCOMPARE(dialog.windowTitle(), u"Quillmarch 软件更新"_s);
    QCOMPARE(childOf<QLabel>(dialog, "titleLabel")->text(), u"发现新版本 3.0.1"_s);
    QCOMPARE(childOf<QTextBrowser>(dialog, "notesBrowser")->toPlainText(),
             u"大版本\n发布日期：2024/03/05\n更快\n更稳"_s);
    QCOMPARE(childOf<QPushButton>(dialog, "downloadButton")->text(), u"立即下载"_s);
    QCOMPARE(childOf<QPushButton>(dialog, "remindLaterButton")->text(), u"稍后提醒"_s);
    QCOMPARE(childOf<QPushButton>(dialog, "skipVersionButton")->text(), u"跳过此版本"_s);
    QVERIFY(!dialog.isModal());
    QCOMPARE(dialog.parentWidget(), nullptr);
}

void TestUpdateDialog::showsHtmlOfTheDocument()
{
    ReleaseInfo release = someRelease();
    release.releaseDate.clear();
    release.description = u"<ul><li>one</li><li>two</li></ul>"_s;
    const UpdateDialog dialog(release);
    QCOMPARE(childOf<QTextBrowser>(dialog, "notesBrowser")->toPlainText(), u"大版本\none\ntwo"_s);
}

void TestUpdateDialog::showsNoLocalFile_data()
{
    const QString path = savedPicture(redPicture(), u"red.png"_s);
    const QString address = QUrl::fromLocalFile(path).toString();
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("description");
    const auto imageOf = [](const QString &source) { return u"<img src=\"%1\">"_s.arg(source); };
    QTest::newRow("path in the notes") << u"3.0"_s << QString() << imageOf(path);
    QTest::newRow("address in the notes") << u"3.0"_s << QString() << imageOf(address);
    QTest::newRow("relative path in the notes") << u"3.0"_s << QString() << imageOf(u"red.png"_s);
    QTest::newRow("background of the notes")
        << u"3.0"_s << QString()
        << u"<table style=\"background-image:url(%1)\"><tr><td>wide</td></tr></table>"_s.arg(path);
    const QString sheet = savedBytes("p { background-color: #ff0000 }", u"red.css"_s);
    QTest::newRow("style sheet of the notes")
        << u"3.0"_s << QString() << u"<link type=\"text/css\" href=\"%1\"><p>red</p>"_s.arg(sheet);
    const QString svg = u"<svg xmlns='http://www.w3.org/2000/svg' xmlns:xlink='http://www.w3.org/1999/xlink' "
                        "width='80' height='50'><image width='80' height='50' xlink:href='%1'/></svg>"_s.arg(path);
    for (const QString &kind : {u"svg+xml"_s, u"png"_s}) {
        QTest::addRow("SVG in the notes as %s", qPrintable(kind))
            << u"3.0"_s << QString()
            << imageOf(u"data:image/%1;base64,%2"_s.arg(kind, QString::fromLatin1(svg.toUtf8().toBase64())));
    }
    QTest::newRow("title") << u"3.0"_s << imageOf(path) << QString();
    QTest::newRow("version") << u"3.0"_s + imageOf(path) << QString() << QString();
}

void TestUpdateDialog::showsNoLocalFile()
{
    QFETCH(QString, version);
    QFETCH(QString, title);
    QFETCH(QString, description);
    ReleaseInfo release = someRelease();
    release.version = version;
    release.title = title;
    release.description = description;
    UpdateDialog dialog(release);
    QVERIFY(!showsRed(dialog));
}

void TestUpdateDialog::showsEmbeddedPictures_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<bool>("isBase64"); // or percent-encoded
    QTest::addColumn<bool>("isShown");
    QTest::newRow("small") << QSize(40, 20) << true << true;
    QTest::newRow("percent-encoded") << QSize(40, 20) << false << true;
    QTest::newRow("largest") << QSize(4096, 4096) << true << true;
    QTest::newRow("too large") << QSize(4096, 4097) << true << false;
}

void TestUpdateDialog::showsEmbeddedPictures()
{
    QFETCH(QSize, size);
    QFETCH(bool, isBase64);
    QFETCH(bool, isShown);
    QByteArray png;
    QBuffer buffer(&png);
    QVERIFY(redPicture().scaled(size).save(&buffer, "PNG"));
    ReleaseInfo release = someRelease();
    const QByteArray data = isBase64 ? ";base64," + png.toBase64() : "," + png.toPercentEncoding();
    release.description = u"<img src=\"data:image/png%1\">"_s.arg(QString::fromLatin1(data));
    UpdateDialog dialog(release);
    QCOMPARE(showsRed(dialog), isShown);
}

void TestUpdateDialog::showsNestedTags_data()
{
    QTest::addColumn<QString>("tags");
    QTest::addColumn<int>("depth");
    QTest::addColumn<bool>("isHtml");
    const QString table = u"<table><tr><td>"_s;
    QTest::newRow("8 tables") << table << 8 << true;
    QTest::newRow("9 tables") << table << 9 << false;
    QTest::newRow("40 tables") << table << 40 << false;
    QTest::newRow("40 tables in capitals") << table.toUpper() << 40 << false;
    QTest::newRow("100000 tables") << table << 100000 << false;
    QTest::newRow("40 tables, closed in comments") << table + u"<!-- </table> -->"_s << 40 << false;
    QTest::newRow("40 tables, one after the other") << table + u"x</td></tr></table>"_s << 40 << true;
    QTest::newRow("300 lists") << u"<ul><li>"_s << 300 << true;
    QTest::newRow("100000 lists") << u"<ul><li>"_s << 100000 << false;
}

void TestUpdateDialog::showsNestedTags()
{
    QFETCH(QString, tags);
    QFETCH(int, depth);
    QFETCH(bool, isHtml);
    ReleaseInfo release = someRelease();
    release.title = u"大版本"_s;
    release.description = u"</table>"_s.repeated(100) + tags.repeated(depth) + u"in all of them"_s;
    UpdateDialog dialog(release);
    QVERIFY(!dialog.grab().isNull());
    const auto *notes = childOf<QTextBrowser>(dialog, "notesBrowser");
    QVERIFY(notes->toPlainText().contains(u"in all of them"_s));
    QVERIFY(!notes->toPlainText().contains(u'<'));
    QCOMPARE(notes->document()->firstBlock().blockFormat().headingLevel() == 3, isHtml); // the title
}

void TestUpdateDialog::keepsTheNotesWhenALinkIsClicked_data()
{
    QTest::addColumn<QString>("address");
    QTest::newRow("web page") << u"https://site.example/notes"_s;
    QTest::newRow("file") << u"file:///etc/hostname"_s;
    QTest::newRow("relative") << u"notes.html"_s;
    QTest::newRow("anchor in the notes") << u"#end"_s;
    QTest::newRow("data") << u"data:text/html,other"_s;
    QTest::newRow("none") << QString();
}

void TestUpdateDialog::keepsTheNotesWhenALinkIsClicked()
{
    QFETCH(QString, address);
    const OpenedUrls opened({u"https"_s, u"file"_s, u"data"_s});
    ReleaseInfo release = someRelease();
    release.description = u"<a href=\"%1\">WWWWWWWW</a><br>更快"_s.arg(address);
    UpdateDialog dialog(release);
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    auto *notes = childOf<QTextBrowser>(dialog, "notesBrowser");
    const QString before = notes->toHtml();
    QTextCursor inLink(notes->document()->find(u"WWWW"_s));
    const QPoint center = notes->cursorRect(inLink).center();
    QTest::mouseClick(notes->viewport(), Qt::LeftButton, {}, center);
    QCOMPARE(notes->toHtml(), before);
    QVERIFY(notes->toPlainText().contains(u"更快"_s));
    QCOMPARE(opened.urls(), QList<QUrl>());
    QVERIFY(dialog.isVisible());
}

void TestUpdateDialog::opensWithoutTitleAndDescription()
{
    UpdateDialog dialog{ReleaseInfo()};
    dialog.show();
    QVERIFY(dialog.isVisible());
    QCOMPARE(childOf<QLabel>(dialog, "titleLabel")->text(), u"发现新版本 "_s);
    QVERIFY(!childOf<QTextBrowser>(dialog, "notesBrowser")->toPlainText().contains(u"发布日期"_s));
}

void TestUpdateDialog::laysOutItsWidgets()
{
    UpdateDialog dialog(someRelease());
    dialog.show();
    QCOMPARE(dialog.minimumSize(), QSize(500, 400));
    QCOMPARE(dialog.maximumSize(), QSize(500, 400));

    const auto *layout = qobject_cast<QVBoxLayout *>(dialog.layout());
    QVERIFY(layout);
    QCOMPARE(layout->contentsMargins(), QMargins(40, 20, 40, 20));
    QCOMPARE(layout->spacing(), 15);
    QCOMPARE(layout->count(), 4);
    const QLabel *title = childOf<QLabel>(dialog, "titleLabel");
    const QLabel *icon = childOf<QLabel>(dialog, "iconLabel");
    auto *browser = childOf<QTextBrowser>(dialog, "notesBrowser");
    QCOMPARE(layout->itemAt(0)->widget(), title);
    QCOMPARE(layout->itemAt(1)->widget(), icon);
    QCOMPARE(layout->itemAt(2)->widget(), browser);
    QCOMPARE(layout->stretch(0), 0);
    QCOMPARE(layout->stretch(1), 0);
    QCOMPARE(layout->stretch(2), 1);
    QCOMPARE(layout->stretch(3), 0);
    QCOMPARE(title->alignment(), Qt::AlignCenter);
    QCOMPARE(icon->alignment(), Qt::AlignCenter);
    QCOMPARE(icon->size(), QSize(64, 64));
    QCOMPARE(browser->maximumHeight(), 200);
    QVERIFY(!browser->openExternalLinks());
    QCOMPARE(layout->itemAt(3)->widget(), childOf<QWidget>(dialog, "buttonRow"));
}

void TestUpdateDialog::laysOutItsButtons()
{
    UpdateDialog dialog(someRelease());
    dialog.show();
    const auto *row = qobject_cast<QHBoxLayout *>(childOf<QWidget>(dialog, "buttonRow")->layout());
    QVERIFY(row);
    QCOMPARE(row->count(), 4);
    QCOMPARE(row->itemAt(0)->widget(), childOf<QPushButton>(dialog, "skipVersionButton"));
    QVERIFY(row->itemAt(1)->spacerItem());
    QCOMPARE(row->itemAt(2)->widget(), childOf<QPushButton>(dialog, "remindLaterButton"));
    QCOMPARE(row->itemAt(3)->widget(), childOf<QPushButton>(dialog, "downloadButton"));
    for (const int i : {0, 2, 3}) {
        QCOMPARE(row->itemAt(i)->widget()->height(), 32);
    }
}

void TestUpdateDialog::drawsTheIcon()
{
    const UpdateDialog dialog(someRelease());
    const QImage icon =
        childOf<QLabel>(dialog, "iconLabel")->pixmap().toImage().convertToFormat(QImage::Format_ARGB32_Premultiplied);
    QCOMPARE(icon.size(), QSize(64, 64));
    for (int row = 0; row < 64; ++row) {
        for (int column = 0; column < 64; ++column) {
            const std::array<double, 4> expected = iconPixel(column, row);
            const QRgb pixel = reinterpret_cast<const QRgb *>(icon.constScanLine(row))[column];
            const std::array<int, 4> actual{qRed(pixel), qGreen(pixel), qBlue(pixel), qAlpha(pixel)};
            for (size_t i = 0; i < expected.size(); ++i) {
                // QPainter rounds outline and coverage differently.
                QVERIFY2(
                    std::abs(actual[i] - expected[i]) <= 32,
                    qPrintable(u"%1,%2 channel %3: %4 instead of %5"_s.arg(column).arg(row).arg(i).arg(actual[i]).arg(
                        expected[i])));
            }
        }
    }
    QCOMPARE(icon.pixelColor(12, 36), QColor(0x4A, 0x90, 0xE2));
    QCOMPARE(icon.pixelColor(32, 30), QColor(Qt::white));
    QCOMPARE(icon.pixelColor(0, 0).alpha(), 0);
}

void TestUpdateDialog::hasItsFontsAndColors()
{
    const UpdateDialog dialog(someRelease());
    QCOMPARE(dialog.font().pointSize(), 14);
    QVERIFY(dialog.autoFillBackground());
    for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        QCOMPARE(dialog.palette().brush(group, QPalette::Window), QBrush(QColor(0xEC, 0xEC, 0xEC)));
    }
    QCOMPARE(childOf<QLabel>(dialog, "titleLabel")->font().pointSize(), 16);
    QCOMPARE(childOf<QLabel>(dialog, "titleLabel")->font().weight(), 700);

    const QString download = childOf<QPushButton>(dialog, "downloadButton")->styleSheet().simplified();
    QCOMPARE(download,
             u"QPushButton { background-color: #4A90E2; color: white; border: none; border-radius: 4px; "
             "padding: 6px 20px; } QPushButton:hover { background-color: #357ABD; } "
             "QPushButton:pressed { background-color: #2968A3; }"_s);
    const QString quiet = u"QPushButton { background-color: #E0E0E0; color: #333; border: none; border-radius: 4px; "
                          "padding: 6px 16px; } QPushButton:hover { background-color: #D0D0D0; }"_s;
    QCOMPARE(childOf<QPushButton>(dialog, "remindLaterButton")->styleSheet().simplified(), quiet);
    QCOMPARE(childOf<QPushButton>(dialog, "skipVersionButton")->styleSheet().simplified(), quiet);
}

void TestUpdateDialog::downloadsInTheWebBrowser()
{
    const OpenedUrls opened({u"https"_s});
    UpdateDialog dialog(someRelease());
    dialog.show();
    childOf<QPushButton>(dialog, "downloadButton")->click();
    QCOMPARE(opened.urls(), QList<QUrl>({QUrl(u"https://packages.example/q.zip?x=1"_s)}));
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QVERIFY(!dialog.isVisible());
    QVERIFY(!skippedVersion().isValid());
}

void TestUpdateDialog::closesWithoutAnAddress()
{
    const OpenedUrls opened({u"https"_s, u"http"_s, u"file"_s});
    ReleaseInfo release = someRelease();
    release.downloadUrl.clear();
    UpdateDialog dialog(release);
    dialog.show();
    childOf<QPushButton>(dialog, "downloadButton")->click();
    QCOMPARE(opened.urls(), QList<QUrl>());
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QVERIFY(!dialog.isVisible());
}

void TestUpdateDialog::storesNothingWhenRemindedLater()
{
    UpdateDialog dialog(someRelease());
    dialog.show();
    QSignalSpy rejected(&dialog, &QDialog::rejected);
    childOf<QPushButton>(dialog, "remindLaterButton")->click();
    QCOMPARE(rejected.count(), 1);
    QVERIFY(!dialog.isVisible());
    QVERIFY(!skippedVersion().isValid());
}

void TestUpdateDialog::storesNothingWhenClosedByItsFrame()
{
    UpdateDialog dialog(someRelease());
    dialog.show();
    QVERIFY(dialog.close());
    QVERIFY(!skippedVersion().isValid());
}

void TestUpdateDialog::storesTheSkippedVersion()
{
    UpdateDialog dialog(someRelease());
    dialog.show();
    QSignalSpy rejected(&dialog, &QDialog::rejected);
    childOf<QPushButton>(dialog, "skipVersionButton")->click();
    QCOMPARE(rejected.count(), 1);
    QCOMPARE(skippedVersion().toString(), u"3.0.1"_s);
    QCOMPARE(QSettings().allKeys(), QStringList({u"updater/skippedVersion"_s}));
}

void TestUpdateDialog::offersAllButtonsForAForcedRelease()
{
    ReleaseInfo release = someRelease();
    release.isForced = true;
    UpdateDialog dialog(release);
    dialog.show();
    for (const char *name : {"downloadButton", "remindLaterButton", "skipVersionButton"}) {
        QVERIFY2(childOf<QPushButton>(dialog, name)->isVisible(), name);
        QVERIFY2(childOf<QPushButton>(dialog, name)->isEnabled(), name);
    }
    QVERIFY(dialog.close());
}

void TestUpdateDialog::deletesItselfOnCloseIfRequested_data()
{
    QTest::addColumn<QByteArray>("button");
    QTest::newRow("download") << QByteArray("downloadButton");
    QTest::newRow("later") << QByteArray("remindLaterButton");
    QTest::newRow("skip") << QByteArray("skipVersionButton");
    QTest::newRow("frame") << QByteArray();
}

void TestUpdateDialog::deletesItselfOnCloseIfRequested()
{
    QFETCH(QByteArray, button);
    const OpenedUrls opened({u"https"_s});
    const QPointer<UpdateDialog> dialog = new UpdateDialog(someRelease());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->show();
    if (button.isEmpty()) {
        dialog->close();
    } else {
        childOf<QPushButton>(*dialog, button.constData())->click();
    }
    QTRY_VERIFY(dialog.isNull());
}

QUILLMARCH_TEST_MAIN(TestUpdateDialog)
#include "tst_updatedialog.moc"
