#include "base/keptforever.h"
#include "support/testmain.h"

#include <QObject>

class TestKeptForever : public QObject
{
    Q_OBJECT

private slots:
    void returnsTheObjectItKeeps();
};

void TestKeptForever::returnsTheObjectItKeeps()
{
    auto *first = new QObject;
    auto *second = new QObject;
    QCOMPARE(keepForever(first), first);
    QCOMPARE(keepForever(second), second);
}

QUILLMARCH_TEST_MAIN(TestKeptForever)
#include "tst_keptforever.moc"
