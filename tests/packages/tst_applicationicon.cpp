#include "support/imagecomparison.h"
#include "support/testmain.h"

#include <QImageReader>

using namespace Qt::StringLiterals;

namespace {

const QString iconFolder = QStringLiteral(ICON_FOLDER);
constexpr int roundingError = 2; // between versions of Qt

QImage drawnIcon(int size)
{
    QImageReader reader(iconFolder + "/quillmarch.svg"_L1, "svg");
    reader.setScaledSize(QSize(size, size));
    reader.setBackgroundColor(Qt::transparent);
    return reader.read().convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

} // namespace

class TestApplicationIcon : public QObject
{
    Q_OBJECT

private slots:
    void matchTheDrawing_data();
    void matchTheDrawing();
};

void TestApplicationIcon::matchTheDrawing_data()
{
    QTest::addColumn<int>("size");
    for (const int size : {16, 24, 32, 48, 64, 128, 256}) {
        QTest::addRow("%d", size) << size;
    }
}

void TestApplicationIcon::matchTheDrawing()
{
    QFETCH(int, size);
    const QImage drawn = drawnIcon(size);
    QVERIFY(!drawn.isNull());
    QVERIFY(qAlpha(drawn.pixel(size * 150 / 256, size * 100 / 256)) == 255); // the drawing is not empty
    const QImage icon(u"%1/quillmarch-%2.png"_s.arg(iconFolder).arg(size));
    QCOMPARE(firstDifference(icon.convertToFormat(QImage::Format_ARGB32_Premultiplied), drawn, roundingError),
             QString());
}

QUILLMARCH_TEST_MAIN(TestApplicationIcon)
#include "tst_applicationicon.moc"
