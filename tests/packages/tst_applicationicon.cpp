#include "support/testmain.h"

#include <QImageReader>

#include <algorithm>
#include <cstdlib>

using namespace Qt::StringLiterals;

namespace {

const QString iconFolder = QStringLiteral(ICON_FOLDER);

QImage drawnIcon(int size)
{
    QImageReader reader(iconFolder + "/quillmarch.svg"_L1, "svg");
    reader.setScaledSize(QSize(size, size));
    reader.setBackgroundColor(Qt::transparent);
    return reader.read().convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

int channelDistance(QRgb a, QRgb b)
{
    return std::max({std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)), std::abs(qBlue(a) - qBlue(b)),
                     std::abs(qAlpha(a) - qAlpha(b))});
}

/// The first pixel that differs by more than another version of Qt may round.
QByteArray difference(const QImage &actual, const QImage &expected)
{
    if (actual.size() != expected.size()) {
        return "sizes differ";
    }
    constexpr int roundingError = 2;
    for (int y = 0; y < actual.height(); ++y) {
        for (int x = 0; x < actual.width(); ++x) {
            const QRgb a = actual.pixel(x, y);
            const QRgb b = expected.pixel(x, y);
            if (channelDistance(a, b) > roundingError) {
                return QByteArray::number(x) + ',' + QByteArray::number(y) + " is " + QByteArray::number(a, 16)
                    + ", not " + QByteArray::number(b, 16);
            }
        }
    }
    return {};
}

} // namespace

class TestApplicationIcon : public QObject
{
    Q_OBJECT

private slots:
    void areWhatTheDrawingGives_data();
    void areWhatTheDrawingGives();
};

void TestApplicationIcon::areWhatTheDrawingGives_data()
{
    QTest::addColumn<int>("size");
    for (const int size : {16, 24, 32, 48, 64, 128, 256}) {
        QTest::addRow("%d", size) << size;
    }
}

void TestApplicationIcon::areWhatTheDrawingGives()
{
    QFETCH(int, size);
    const QImage drawn = drawnIcon(size);
    QVERIFY(!drawn.isNull());
    QVERIFY(qAlpha(drawn.pixel(size * 150 / 256, size * 100 / 256)) == 255); // there is something to compare
    const QImage icon(u"%1/quillmarch-%2.png"_s.arg(iconFolder).arg(size));
    QCOMPARE(difference(icon.convertToFormat(QImage::Format_ARGB32_Premultiplied), drawn), QByteArray());
}

QUILLMARCH_TEST_MAIN(TestApplicationIcon)
#include "tst_applicationicon.moc"
