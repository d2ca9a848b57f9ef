#include "decodecomparison.h"
#include "jpegbytes.h"
#include "support/testmain.h"

#include <QBuffer>
#include <QRandomGenerator>

using namespace Qt::StringLiterals;

namespace {

constexpr int comment = 0xfe;

/// What is read of \a file if only \a length bytes are left once its header is known, as
/// when another program writes to it.
QImage readWhileItShrinks(const QByteArray &file, qsizetype length, DecodeThreads threads)
{
    QBuffer buffer;
    buffer.setData(file);
    buffer.open(QIODevice::ReadOnly);
    const auto decoder = makeImageDecoder(buffer, "jpeg");
    buffer.buffer().truncate(length);
    return decoder->read(threads);
}

} // namespace

/// Whatever the decoder does not leave to Qt must come out as from Qt.
class TestJpegDamage : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { silenceWarnings(); }

    void truncated_data() { addFiles(); }
    void truncated();
    void becomesShorter_data() { addFiles(); }
    void becomesShorter();
    void everyByteChanged_data() { addFiles(); }
    void everyByteChanged();
    void randomBits_data() { addFiles(); }
    void randomBits();
    void lowerHalfDamaged();
    void becomesShorterForBothThreads();

private:
    static void addFiles();
};

void TestJpegDamage::addFiles()
{
    QTest::addColumn<QByteArray>("file");
    const QImage image = jpegPicture({41, 27});
    QTest::newRow("color") << withSegment(jpegOf(image, {}), comment, "a comment");
    QTest::newRow("restart markers") << jpegOf(image, {.restartRows = 1});
    QTest::newRow("a scan for each channel") << jpegOf(image, {.hasOneScanAChannel = true});
    QTest::newRow("progressive") << jpegOf(image, {.isProgressive = true});
    QTest::newRow("gray") << jpegOf(image, {.channels = 1, .horizontal = 1, .vertical = 1});
}

void TestJpegDamage::truncated()
{
    QFETCH(QByteArray, file);
    QVERIFY(!readByDecoder(file, "jpeg").isNull());
    for (qsizetype length = 0; length < file.size(); ++length) {
        QVERIFY(readByDecoder(file.left(length), "jpeg").isNull());
    }
}

void TestJpegDamage::becomesShorter()
{
    QFETCH(QByteArray, file);
    QVERIFY(!readWhileItShrinks(file, file.size(), DecodeThreads::One).isNull());
    for (qsizetype length = 0; length < file.size(); length += 5) {
        QVERIFY(readWhileItShrinks(file, length, DecodeThreads::One).isNull());
    }
}

void TestJpegDamage::everyByteChanged()
{
    QFETCH(QByteArray, file);
    for (qsizetype at = 0; at < file.size(); ++at) {
        for (const int change : {0x01, 0x10, 0xff}) {
            QByteArray changed = file;
            changed[at] = char(uchar(file.at(at)) ^ change);
            QCOMPARE(differenceFromQt(changed, "jpeg"), QString());
        }
    }
}

void TestJpegDamage::randomBits()
{
    QFETCH(QByteArray, file);
    QRandomGenerator random(4);
    int decoded = 0;
    for (int i = 0; i < 2000; ++i) {
        const QByteArray changed = withFlippedBits(file, random, 3);
        QCOMPARE(differenceFromQt(changed, "jpeg"), QString());
        decoded += readByDecoder(changed, "jpeg").isNull() ? 0 : 1;
    }
    QVERIFY(decoded > 20); // changed coefficients are no reason to leave a file to Qt
}

/// The second thread meets the damage, or both do.
void TestJpegDamage::lowerHalfDamaged()
{
    const QByteArray file = jpegOf(jpegPicture({900, 700}), {});
    QRandomGenerator random(5);
    for (int i = 0; i < 30; ++i) {
        QByteArray changed = file;
        const auto at = 1000 + qsizetype(random.bounded(quint32(file.size() - 1000)));
        changed[at] = char(uchar(changed.at(at)) ^ (1U << random.bounded(8U)));
        QCOMPARE(differenceFromQt(changed, "jpeg", DecodeThreads::Two), QString());
    }
}

void TestJpegDamage::becomesShorterForBothThreads()
{
    const QByteArray file = jpegOf(jpegPicture({900, 700}), {});
    QVERIFY(!readWhileItShrinks(file, file.size(), DecodeThreads::Two).isNull());
    for (qsizetype length = 0; length < file.size(); length += file.size() / 20) {
        QVERIFY(readWhileItShrinks(file, length, DecodeThreads::Two).isNull());
    }
}

QUILLMARCH_TEST_MAIN(TestJpegDamage)
#include "tst_jpegdamage.moc"
