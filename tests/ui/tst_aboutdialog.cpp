#include "base/buildconfig.h"
#include "support/imagecomparison.h"
#include "support/testmain.h"
#include "ui/aboutdialog.h"
#include "ui/windowaccess.h"

#include <QDesktopServices>
#include <QLabel>
#include <QMouseEvent>
#include <QPixmapCache>
#include <QPushButton>
#include <QSignalSpy>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

// Outside any namespace, because the macros declare functions of the global namespace.
static void unloadImages()
{
    Q_CLEANUP_RESOURCE(quillmarch_images);
    QPixmapCache::clear();
}

static void restoreImages()
{
    Q_INIT_RESOURCE(quillmarch_images);
}

/// The sizes that depend on the density, in points and pixels.
struct Sizes
{
    double title;
    double text;
    int button;
    const char *lineHeight;
};

class TestAboutDialog : public QObject
{
    Q_OBJECT

public slots:
    void receiveUrl(const QUrl &url) { receivedUrls.append(url); }

private slots:
    void initTestCase();
    void isModalAndOfFixedSize();
    void textsAreChineseInEveryLanguage_data();
    void textsAreChineseInEveryLanguage();
    void descriptionIsRichText();
    void sizesDependOnTheDensity();
    void fontsAndColorsAreSet();
    void hasItsStyleSheets();
    void createsTheLabelsInOrder();
    void laysOutFromTopToBottom();
    void showsTheLogoOnlyInEnglish_data();
    void showsTheLogoOnlyInEnglish();
    void followsAChangeOfTheLanguage();
    void reservesSpaceForAMissingLogo();
    void closesOnOk_data();
    void closesOnOk();
    void linkOpensTheBrowserAndKeepsTheDialog();

private:
    static Sizes sizesOfRun();

    QList<QUrl> receivedUrls;
};

void TestAboutDialog::initTestCase()
{
    QVERIFY(hasRequestedDensity());
}

/// Literal values for the densities that this test program runs with.
Sizes TestAboutDialog::sizesOfRun()
{
    switch (qRound(QGuiApplication::primaryScreen()->logicalDotsPerInchX())) {
    case 72:
    case 96:
        return {13, 9.5, 34, "1.2"};
    case 105:
        return {14, 10.390625, 37, "1.3125"};
    case 106:
        return {14, 9.5 * 106 / 96, 38, "1.325"};
    case 144:
        return {14, 10.5, 40, "1.8"};
    case 160:
    case 192:
        return {14, 10.5, 40, "1.92"};
    default:
        return {};
    }
}

void TestAboutDialog::isModalAndOfFixedSize()
{
    QWidget parent;
    const AboutDialog dialog(&parent);
    QCOMPARE(dialog.parentWidget(), &parent);
    QVERIFY(dialog.isModal());
    QCOMPARE(dialog.minimumSize(), QSize(480, 480));
    QCOMPARE(dialog.maximumSize(), QSize(480, 480));
    QCOMPARE(dialog.size(), QSize(480, 480));
}

void TestAboutDialog::textsAreChineseInEveryLanguage_data()
{
    QTest::addColumn<bool>("english");
    QTest::newRow("Chinese") << false;
    QTest::newRow("English") << true;
}

void TestAboutDialog::textsAreChineseInEveryLanguage()
{
    QFETCH(bool, english);
    std::unique_ptr<EnglishCatalogue> catalogue;
    if (english) {
        catalogue = std::make_unique<EnglishCatalogue>();
        QVERIFY(catalogue->isLoaded());
    }
    AboutDialog dialog(nullptr);
    dialog.setLanguage(english ? u"en"_s : u"zh"_s);
    QCOMPARE(dialog.windowTitle(), u"关于"_s);
    QCOMPARE(childOf<QLabel>(dialog, "titleLabel")->text(), u"Quillmarch - 墨舟卷轴翻页器"_s);
    QCOMPARE(childOf<QLabel>(dialog, "aboutVersionLabel")->text(), u"版本 2.7.1"_s);
    QCOMPARE(childOf<QPushButton>(dialog, "okButton")->text(), u"确定"_s);
    const QString site = webSite.toString();
    const QString contact = contactHandle.toString();
    QVERIFY(!site.isEmpty() && !contact.isEmpty());
    QCOMPARE(
        childOf<QLabel>(dialog, "infoLabel")->text(),
        u"智能识别长图片最佳分页点，一键转多页 PDF；支持单/双栏布局、300DPI 高质量输出，全部在本地处理，隐私安全。<br/><br/>"_s
        u"<b>主要功能：</b><br/>"_s
        u"• 智能分页：避免在文字/对话中间断开<br/>"_s
        u"• 双栏布局：一页显示 4 个页面，节省纸张<br/>"_s
        u"• 多格式：PNG/JPG/JPEG/GIF/BMP → PDF<br/>"_s
        u"• 本地处理：0 服务器上传，保护隐私<br/><br/>"_s
        u"在线使用：<a href=\""_s
            + site + u"\">"_s + site + u"</a><br/><br/>联系我们："_s + contact + u"<br/>"_s);
}

void TestAboutDialog::descriptionIsRichText()
{
    const AboutDialog dialog(nullptr);
    const QLabel *label = childOf<QLabel>(dialog, "infoLabel");
    QCOMPARE(label->textFormat(), Qt::RichText);
    QVERIFY(label->openExternalLinks());
    QVERIFY(label->wordWrap());
    QCOMPARE(label->alignment() & Qt::AlignHorizontal_Mask, Qt::AlignLeft);
}

void TestAboutDialog::sizesDependOnTheDensity()
{
    const Sizes sizes = sizesOfRun();
    QVERIFY2(sizes.button != 0, "no sizes are listed for this density");
    const AboutDialog dialog(nullptr);
    QCOMPARE(childOf<QLabel>(dialog, "titleLabel")->font().pointSizeF(), sizes.title);
    QCOMPARE(childOf<QLabel>(dialog, "aboutVersionLabel")->font().pointSizeF(), sizes.text);
    const QLabel *info = childOf<QLabel>(dialog, "infoLabel");
    QCOMPARE(info->font().pointSizeF(), sizes.text);
    QCOMPARE(info->styleSheet(), u"QLabel { line-height: %1; }"_s.arg(QLatin1String(sizes.lineHeight)));
    const QPushButton *button = childOf<QPushButton>(dialog, "okButton");
    QCOMPARE(button->minimumSize(), QSize(80, sizes.button));
    QCOMPARE(button->maximumSize(), QSize(80, sizes.button));
}

void TestAboutDialog::fontsAndColorsAreSet()
{
    const AboutDialog dialog(nullptr);
    QCOMPARE(dialog.font().pointSize(), 14);
    QVERIFY(dialog.autoFillBackground());
    for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        QCOMPARE(dialog.palette().brush(group, QPalette::Window), QBrush(QColor(236, 236, 236), Qt::SolidPattern));
    }
    const QLabel *title = childOf<QLabel>(dialog, "titleLabel");
    QCOMPARE(title->font().weight(), 700);
    QCOMPARE(title->alignment(), Qt::AlignCenter);
    QCOMPARE(title->minimumHeight(), 40);
    const QLabel *version = childOf<QLabel>(dialog, "aboutVersionLabel");
    QCOMPARE(version->alignment(), Qt::AlignCenter);
    QVERIFY(version->font().weight() < 700);
    const QLabel *logo = childOf<QLabel>(dialog, "logoLabel");
    QCOMPARE(logo->alignment(), Qt::AlignCenter);
    QCOMPARE(logo->font().pointSize(), 14);
    const QPushButton *button = childOf<QPushButton>(dialog, "okButton");
    QVERIFY(button->isDefault());
    button->ensurePolished();
    QCOMPARE(button->font().pointSizeF(), 12.0);
}

void TestAboutDialog::hasItsStyleSheets()
{
    const AboutDialog dialog(nullptr);
    QCOMPARE(
        dialog.styleSheet(),
        u"\n        QDialog {\n            background-color: #F5F5F5;\n        }\n\n        QLabel {\n            color: #2C3E50;\n        }\n\n        QPushButton {\n            font-size: 12pt;\n            border-radius: 4px;\n            padding: 6px 16px;\n        }\n\n        QPushButton:hover {\n            opacity: 0.9;\n        }\n\n        QPushButton:pressed {\n            opacity: 0.8;\n        }\n    "_s);
    QCOMPARE(childOf<QLabel>(dialog, "titleLabel")->styleSheet(), QString());
    QCOMPARE(childOf<QLabel>(dialog, "aboutVersionLabel")->styleSheet(), u"QLabel { color: #666; }"_s);
    QCOMPARE(childOf<QLabel>(dialog, "logoLabel")->styleSheet(), QString());
    QCOMPARE(
        childOf<QPushButton>(dialog, "okButton")->styleSheet(),
        u"QPushButton {     background-color: #4A90E2;     color: white;     border: none;     border-radius: 4px;     padding: 6px 20px; }QPushButton:hover {     background-color: #357ABD; }QPushButton:pressed {     background-color: #2968A3; }"_s);
}

void TestAboutDialog::createsTheLabelsInOrder()
{
    const AboutDialog dialog(nullptr);
    QStringList names;
    for (const QLabel *label : dialog.findChildren<QLabel *>(Qt::FindDirectChildrenOnly)) {
        names.append(label->objectName());
    }
    QCOMPARE(names, (QStringList{u"titleLabel"_s, u"aboutVersionLabel"_s, u"logoLabel"_s, u"infoLabel"_s}));
}

void TestAboutDialog::laysOutFromTopToBottom()
{
    const AboutDialog dialog(nullptr);
    const auto *layout = qobject_cast<QVBoxLayout *>(dialog.layout());
    QVERIFY(layout);
    QCOMPARE(layout->contentsMargins(), QMargins(40, 20, 40, 20));
    QCOMPARE(layout->spacing(), 15);
    QCOMPARE(layout->count(), 7);
    QCOMPARE(layout->itemAt(0)->widget(), childOf<QLabel>(dialog, "titleLabel"));
    QCOMPARE(layout->itemAt(1)->widget(), childOf<QLabel>(dialog, "aboutVersionLabel"));
    QCOMPARE(layout->itemAt(2)->widget(), childOf<QLabel>(dialog, "logoLabel"));
    QVERIFY(layout->itemAt(3)->spacerItem());
    QCOMPARE(layout->itemAt(3)->sizeHint().height(), 10);
    QCOMPARE(layout->stretch(3), 0);
    QCOMPARE(layout->itemAt(4)->widget(), childOf<QLabel>(dialog, "infoLabel"));
    QVERIFY(layout->itemAt(5)->spacerItem());
    QCOMPARE(layout->stretch(5), 1);

    const QWidget *row = layout->itemAt(6)->widget();
    QVERIFY(row);
    const auto *rowLayout = qobject_cast<QHBoxLayout *>(row->layout());
    QVERIFY(rowLayout);
    QCOMPARE(rowLayout->contentsMargins(), QMargins());
    QCOMPARE(rowLayout->spacing(), 12);
    QCOMPARE(rowLayout->count(), 2);
    QVERIFY(rowLayout->itemAt(0)->spacerItem());
    QCOMPARE(rowLayout->stretch(0), 0);
    QCOMPARE(rowLayout->itemAt(1)->widget(), childOf<QPushButton>(dialog, "okButton"));
}

void TestAboutDialog::showsTheLogoOnlyInEnglish_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<bool>("shown");
    QTest::newRow("zh") << u"zh"_s << false;
    QTest::newRow("en") << u"en"_s << true;
    QTest::newRow("EN") << u"EN"_s << false;
    QTest::newRow("empty") << QString() << false;
    QTest::newRow("en_US") << u"en_US"_s << false;
}

void TestAboutDialog::showsTheLogoOnlyInEnglish()
{
    QFETCH(QString, language);
    QFETCH(bool, shown);
    AboutDialog dialog(nullptr);
    const QLabel *label = childOf<QLabel>(dialog, "logoLabel");
    QVERIFY(label->pixmap(Qt::ReturnByValue).isNull());
    QCOMPARE(label->minimumHeight(), 20);
    dialog.setLanguage(language);
    const QPixmap logo = label->pixmap(Qt::ReturnByValue);
    QCOMPARE(!logo.isNull(), shown);
    QCOMPARE(label->minimumHeight(), shown ? 60 : 20);
    QVERIFY(label->text().isEmpty());
    if (shown) {
        const QImage original(u":/images/sitelogo.png"_s);
        QVERIFY(logo.width() <= 120 && logo.height() <= 60);
        QVERIFY(logo.width() == 120 || logo.height() == 60);
        QCOMPARE(logo.width() * original.height(), logo.height() * original.width());
        QCOMPARE(
            firstDifference(
                logo.toImage(),
                QPixmap::fromImage(original).scaled(120, 60, Qt::KeepAspectRatio, Qt::SmoothTransformation).toImage()),
            QString());

        dialog.show();
        QVERIFY2(label->height() >= 60, "the logo is clipped"); // even if the text leaves no space
    }
}

void TestAboutDialog::followsAChangeOfTheLanguage()
{
    AboutDialog dialog(nullptr);
    const QLabel *label = childOf<QLabel>(dialog, "logoLabel");
    dialog.setLanguage(u"en"_s);
    QVERIFY(!label->pixmap(Qt::ReturnByValue).isNull());
    dialog.setLanguage(u"zh"_s);
    QVERIFY(label->pixmap(Qt::ReturnByValue).isNull());
    QCOMPARE(label->minimumHeight(), 20);
}

void TestAboutDialog::reservesSpaceForAMissingLogo()
{
    AboutDialog dialog(nullptr);
    const QLabel *label = childOf<QLabel>(dialog, "logoLabel");
    unloadImages();
    const bool isUnloaded = QPixmap(u":/images/sitelogo.png"_s).isNull();
    dialog.setLanguage(u"en"_s);
    restoreImages();
    QVERIFY(isUnloaded);
    QVERIFY(label->pixmap(Qt::ReturnByValue).isNull());
    QVERIFY(label->text().isEmpty());
    QCOMPARE(label->minimumHeight(), 60);
}

void TestAboutDialog::closesOnOk_data()
{
    QTest::addColumn<bool>("byKey");
    QTest::newRow("click") << false;
    QTest::newRow("Return") << true;
}

void TestAboutDialog::closesOnOk()
{
    QFETCH(bool, byKey);
    AboutDialog dialog(nullptr);
    const NextDialog next([&](QWidget *widget) {
        if (byKey) {
            QTest::keyClick(widget, Qt::Key_Return);
        } else {
            QTest::mouseClick(childOf<QPushButton>(*widget, "okButton"), Qt::LeftButton);
        }
    });
    QCOMPARE(dialog.exec(), int(QDialog::Accepted));
    QVERIFY(next.wasMet());
    QVERIFY(!dialog.isVisible());
}

void TestAboutDialog::linkOpensTheBrowserAndKeepsTheDialog()
{
    AboutDialog dialog(nullptr);
    dialog.show();
    auto *const label = childOf<QLabel>(dialog, "infoLabel");
    label->resize(400, label->heightForWidth(400)); // on a dense screen the last lines do not fit
    QSignalSpy hovered(label, &QLabel::linkHovered);
    const auto mouse = [label](QEvent::Type type, QPoint at, Qt::MouseButton button, Qt::MouseButtons held) {
        QMouseEvent event(type, at, label->mapToGlobal(at), button, held, Qt::NoModifier);
        QApplication::sendEvent(label, &event);
    };
    QPoint at;
    for (int y = 0; y < label->height() && hovered.isEmpty(); y += 3) {
        for (int x = 0; x < label->width() && hovered.isEmpty(); x += 10) {
            at = QPoint(x, y);
            mouse(QEvent::MouseMove, at, Qt::NoButton, Qt::NoButton);
        }
    }
    QCOMPARE(hovered.size(), 1);
    QCOMPARE(hovered.first().first().toString(), webSite.toString());

    const QString scheme = QUrl(webSite.toString()).scheme();
    QDesktopServices::setUrlHandler(scheme, this, "receiveUrl");
    mouse(QEvent::MouseButtonPress, at, Qt::LeftButton, Qt::LeftButton);
    mouse(QEvent::MouseButtonRelease, at, Qt::LeftButton, Qt::NoButton);
    QDesktopServices::unsetUrlHandler(scheme);
    QCOMPARE(receivedUrls, QList<QUrl>{QUrl(webSite.toString())});
    QVERIFY(dialog.isVisible());
}

QUILLMARCH_TEST_MAIN(TestAboutDialog)
#include "tst_aboutdialog.moc"
