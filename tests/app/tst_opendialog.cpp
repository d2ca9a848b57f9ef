#include "app/mainwindow.h"
#include "app/settings.h"
#include "page/pageitem.h"
#include "support/configvalues.h"
#include "support/dialoganswer.h"
#include "support/englishcatalogue.h"
#include "support/imagecomparison.h"
#include "support/pictures.h"
#include "support/testmain.h"
#include "support/windowprobe.h"

#include <QDir>
#include <QFileDialog>

using namespace Qt::StringLiterals;

class TestOpenDialog : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void asksInChinese();
    void asksInEnglish();
    void startsInTheFolderOfTheExecutable();
    void startsInTheRememberedFolder();
    void cancelIsSilent();
    void opensTheChosenFile();
    void remembersTheFolder();
    void damagedFileChangesTheFolderToo_data();
    void damagedFileChangesTheFolderToo();
    void nextDialogStartsInTheFolderOfThePreviousOne();
};

void TestOpenDialog::initTestCase()
{
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
}

void TestOpenDialog::init()
{
    clearConfigValues();
}

void TestOpenDialog::asksInChinese()
{
    MainWindow window;
    const NextDialog next = onNextDialog<QFileDialog>([&](QFileDialog *dialog) {
        QCOMPARE(dialog->windowTitle(), u"打开图像或PDF文件"_s);
        QCOMPARE(dialog->nameFilters(), QStringList(u"文件(*.pdf *.jpg *.png *.jpeg)"_s));
        QCOMPARE(dialog->acceptMode(), QFileDialog::AcceptOpen);
        QCOMPARE(dialog->fileMode(), QFileDialog::ExistingFile);
        QCOMPARE(dialog->parentWidget(), &window);
    });
    trigger(window, "openAction");
    QVERIFY(next.wasMet());
}

void TestOpenDialog::asksInEnglish()
{
    const EnglishCatalogue english;
    QVERIFY(english.isLoaded());
    MainWindow window;
    const NextDialog next = onNextDialog<QFileDialog>([&](QFileDialog *dialog) {
        QCOMPARE(dialog->windowTitle(), u"open an image or pdf file"_s);
        QCOMPARE(dialog->nameFilters(), QStringList(u"files(*.pdf *.jpg *.png *.jpeg)"_s));
    });
    trigger(window, "openAction");
    QVERIFY(next.wasMet());
}

void TestOpenDialog::startsInTheFolderOfTheExecutable()
{
    MainWindow window;
    QString folder;
    const NextDialog next =
        onNextDialog<QFileDialog>([&](QFileDialog *dialog) { folder = dialog->directory().absolutePath(); });
    trigger(window, "openAction");
    QCOMPARE(folder, QCoreApplication::applicationDirPath());
}

void TestOpenDialog::startsInTheRememberedFolder()
{
    QVERIFY(QDir::current().mkpath(u"pictures 图"_s));
    const QString wanted = QDir::current().absoluteFilePath(u"pictures 图"_s);
    writeConfigValue(configFilePath(), u"imagedir"_s, wanted);
    MainWindow window;
    QString folder;
    const NextDialog next =
        onNextDialog<QFileDialog>([&](QFileDialog *dialog) { folder = dialog->directory().absolutePath(); });
    trigger(window, "openAction");
    QCOMPARE(folder, wanted);
}

void TestOpenDialog::cancelIsSilent()
{
    MainWindow window;
    window.loadImageFile(savedPicture(blockPicture(70, 450), u"five.png"_s));
    const QList<PageItem *> strips = stripsOf(window);
    const NextDialog next = onNextDialog<QFileDialog>([](QFileDialog *dialog) {
        typePath(dialog, u"/somewhere/else.png"_s);
        static_cast<QDialog *>(dialog)->reject();
    });
    trigger(window, "openAction");
    QCOMPARE(toastText(window), QString());
    QCOMPARE(configValue(u"imagedir"_s), QString());
    QCOMPARE(stripsOf(window), strips);
}

void TestOpenDialog::opensTheChosenFile()
{
    const QImage image = blockPicture(70, 60);
    const QString path = savedPicture(image, u"名 with blanks, 100%.png"_s);
    MainWindow window;
    const NextDialog next = onNextDialog<QFileDialog>([&](QFileDialog *dialog) { choosePath(dialog, path); });
    trigger(window, "openAction");
    QCOMPARE(toastText(window), QString());
    QCOMPARE(firstDifference(shownPicture(window, image.size()), image), QString());
}

void TestOpenDialog::remembersTheFolder()
{
    QVERIFY(QDir::current().mkpath(u"a/b c"_s));
    const QString path = savedPicture(blockPicture(70, 60), u"a/b c/one.png"_s);
    MainWindow window;
    const NextDialog next = onNextDialog<QFileDialog>([&](QFileDialog *dialog) { choosePath(dialog, path); });
    trigger(window, "openAction");
    QCOMPARE(configValue(u"imagedir"_s), QDir::current().absoluteFilePath(u"a/b c"_s));
}

void TestOpenDialog::damagedFileChangesTheFolderToo_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("damaged") << u"damaged/one.png"_s;
    QTest::newRow("PDF") << u"damaged/one.pdf"_s;
}

void TestOpenDialog::damagedFileChangesTheFolderToo()
{
    QFETCH(QString, name);
    QVERIFY(QDir::current().mkpath(u"damaged"_s));
    const QString path = savedBytes("no image", name);
    MainWindow window;
    const NextDialog next = onNextDialog<QFileDialog>([&](QFileDialog *dialog) { choosePath(dialog, path); });
    trigger(window, "openAction");
    QCOMPARE(toastText(window), u"不支持的图片格式或文件已损坏"_s);
    QCOMPARE(configValue(u"imagedir"_s), QDir::current().absoluteFilePath(u"damaged"_s));
    QVERIFY(stripsOf(window).isEmpty());
}

void TestOpenDialog::nextDialogStartsInTheFolderOfThePreviousOne()
{
    QVERIFY(QDir::current().mkpath(u"last"_s));
    const QString path = savedPicture(blockPicture(70, 60), u"last/one.png"_s);
    MainWindow window;
    const NextDialog next = onNextDialog<QFileDialog>([&](QFileDialog *dialog) { choosePath(dialog, path); });
    trigger(window, "openAction");
    QString folder;
    const NextDialog afterwards =
        onNextDialog<QFileDialog>([&](QFileDialog *dialog) { folder = dialog->directory().absolutePath(); });
    trigger(window, "openAction");
    QCOMPARE(folder, QDir::current().absoluteFilePath(u"last"_s));
}

QUILLMARCH_TEST_MAIN(TestOpenDialog)
#include "tst_opendialog.moc"
