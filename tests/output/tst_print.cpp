#include "app/mainwindow.h"
#include "output/previewitem.h"
#include "support/configvalues.h"
#include "support/dialoganswer.h"
#include "support/englishcatalogue.h"
#include "support/imagecomparison.h"
#include "support/pdffacts.h"
#include "support/pictures.h"
#include "support/testmain.h"
#include "support/windowprobe.h"

#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QPrintDialog>
#include <QPrinter>
#include <QRadioButton>
#include <QSpinBox>

using namespace Qt::StringLiterals;

namespace {

/// Selects printing to the file \a path in \a dialog.
void printToFile(QPrintDialog *dialog, const QString &path)
{
    auto *printers = dialog->findChild<QComboBox *>(u"printers"_s);
    printers->setCurrentIndex(printers->count() - 1); // the last entry prints to a PDF file
    dialog->findChild<QLineEdit *>(u"filename"_s)->setText(path);
}

} // namespace

class TestPrint : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void asksInChinese();
    void asksInEnglish();
    void asksAtScreenResolutionWithoutLimits();
    void rejectPrintsNothing();
    void printsAllPages_data();
    void printsAllPages();
    void rangeThatEndsEarlyHasABlankSheet();
    void saysNothingAfterwards();

private:
    QString path;
};

void TestPrint::init()
{
    clearConfigValues();
    path = QDir::current().absoluteFilePath(u"print.pdf"_s);
}

void TestPrint::cleanup()
{
    QFile::remove(path);
}

void TestPrint::asksInChinese()
{
    MainWindow window;
    window.loadImageFile(savedStrips(5));
    const NextDialog next = onNextDialog<QPrintDialog>([&](QPrintDialog *dialog) {
        QCOMPARE(dialog->windowTitle(), u"打印"_s);
        QCOMPARE(dialog->parentWidget(), &window);
    });
    trigger(window, "printAction");
    QVERIFY(next.wasMet());
}

void TestPrint::asksInEnglish()
{
    const EnglishCatalogue english;
    QVERIFY(english.isLoaded());
    MainWindow window;
    window.loadImageFile(savedStrips(5));
    QString title;
    const NextDialog next =
        onNextDialog<QPrintDialog>([&title](QPrintDialog *dialog) { title = dialog->windowTitle(); });
    trigger(window, "printAction");
    QCOMPARE(title, u"Print"_s);
}

void TestPrint::asksAtScreenResolutionWithoutLimits()
{
    MainWindow window;
    window.loadImageFile(savedStrips(5));
    const NextDialog next = onNextDialog<QPrintDialog>([&](QPrintDialog *dialog) {
        QCOMPARE(dialog->printer()->resolution(), QPrinter(QPrinter::ScreenResolution).resolution());
        QVERIFY(dialog->printer()->resolution() != QPrinter(QPrinter::HighResolution).resolution());
        const QPrintDialog untouched;
        QCOMPARE(dialog->minPage(), untouched.minPage());
        QCOMPARE(dialog->maxPage(), untouched.maxPage());
        QCOMPARE(dialog->fromPage(), 0);
        QCOMPARE(dialog->toPage(), 0);
        QCOMPARE(dialog->printer()->pageLayout(), QPrinter(QPrinter::ScreenResolution).pageLayout());
    });
    trigger(window, "printAction");
    QVERIFY(next.wasMet());
}

void TestPrint::rejectPrintsNothing()
{
    MainWindow window;
    window.loadImageFile(savedStrips(5));
    const NextDialog next = onNextDialog<QPrintDialog>([this](QPrintDialog *dialog) {
        printToFile(dialog, path);
        static_cast<QDialog *>(dialog)->reject();
    });
    trigger(window, "printAction");
    QVERIFY(!QFile::exists(path));
    QCOMPARE(toastText(window), QString());
}

void TestPrint::printsAllPages_data()
{
    QTest::addColumn<int>("strips");
    QTest::addColumn<bool>("twoColumns");
    QTest::addColumn<int>("sheets");
    QTest::newRow("1 strip") << 1 << false << 1;
    QTest::newRow("5 strips") << 5 << false << 5;
    QTest::newRow("5 strips, two columns") << 5 << true << 2;
}

void TestPrint::printsAllPages()
{
    QFETCH(int, strips);
    QFETCH(bool, twoColumns);
    QFETCH(int, sheets);
    MainWindow window;
    window.loadImageFile(savedStrips(strips));
    if (twoColumns) {
        trigger(window, "twoColsAction");
    }
    const NextDialog next = onNextDialog<QPrintDialog>([this](QPrintDialog *dialog) {
        printToFile(dialog, path);
        static_cast<QDialog *>(dialog)->accept();
    });
    trigger(window, "printAction");
    QCOMPARE(pdfFacts(path).pages, sheets);
    const QList<QImage> pictures = pdfPictures(path, 36);
    QCOMPARE(pictures.size(), sheets);
    for (const QImage &picture : pictures) {
        QVERIFY(!isBlank(picture));
    }
}

void TestPrint::rangeThatEndsEarlyHasABlankSheet()
{
    MainWindow window;
    window.loadImageFile(savedStrips(5));
    const NextDialog next = onNextDialog<QPrintDialog>([this](QPrintDialog *dialog) {
        printToFile(dialog, path);
        dialog->findChild<QRadioButton *>(u"printRange"_s)->setChecked(true);
        dialog->findChild<QSpinBox *>(u"from"_s)->setValue(2);
        dialog->findChild<QSpinBox *>(u"to"_s)->setValue(3);
        static_cast<QDialog *>(dialog)->accept();
    });
    trigger(window, "printAction");
    const QList<QImage> pictures = pdfPictures(path, 36);
    QCOMPARE(pictures.size(), 3);
    QVERIFY(!isBlank(pictures.at(0)));
    QVERIFY(!isBlank(pictures.at(1)));
    QVERIFY(isBlank(pictures.at(2)));
}

void TestPrint::saysNothingAfterwards()
{
    MainWindow window;
    window.loadImageFile(savedStrips(5));
    const NextDialog next = onNextDialog<QPrintDialog>([this](QPrintDialog *dialog) {
        printToFile(dialog, path);
        static_cast<QDialog *>(dialog)->accept();
    });
    trigger(window, "printAction");
    QVERIFY(QFile::exists(path));
    QCOMPARE(toastText(window), QString());
}

QUILLMARCH_TEST_MAIN(TestPrint)
#include "tst_print.moc"
