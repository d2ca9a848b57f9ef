#include "support/imagecomparison.h"
#include "support/testmain.h"
#include "support/windowprobe.h"
#include "ui/popup.h"

#include <QAnimationDriver>
#include <QElapsedTimer>
#include <QGridLayout>
#include <QLabel>
#include <QMetaProperty>
#include <QPainter>
#include <QWindow>

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

constexpr int waitTime = 15000; // milliseconds, for a busy machine
constexpr int minVisibleTime = 2850; // a coarse timer of 3000 ms may fire 5 % early
constexpr int maxVisibleTime = 3400; // or late, and then the fade-out shows

QLabel *labelOf(const PopUp &toast)
{
    return childOf<QLabel>(toast, "popupLabel");
}

QImage paintedPanel(PopUp &toast)
{
    QImage image(toast.size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    toast.render(&image, QPoint(), QRegion(), QWidget::RenderFlags());
    return image;
}

QImage expectedPanel(QSize size)
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QBrush(QColor(60, 60, 60, 180), Qt::SolidPattern));
    painter.drawRoundedRect(QRectF(5, 5, size.width() - 10, size.height() - 10), 10, 10, Qt::AbsoluteSize);
    return image;
}

/// A clock for animations that goes on only by its steps.
class StepDriver : public QAnimationDriver
{
public:
    StepDriver() { install(); }
    ~StepDriver() override { uninstall(); }
    Q_DISABLE_COPY_MOVE(StepDriver)

    qint64 elapsed() const override { return time; }

    void step(qint64 milliseconds)
    {
        QCoreApplication::processEvents(); // new animations wait for that
        time += milliseconds;
        advance();
        QCoreApplication::processEvents(); // as do those that step() lets start
    }

private:
    qint64 time = 0;
};

} // namespace

class TestPopUp : public QObject
{
    Q_OBJECT

private slots:
    void isAFramelessToolWindow();
    void labelHasItsStyle();
    void opacityIsAFloatProperty();
    void slotsAreDeclaredInOrder();
    void takesTheSizeOfItsText();
    void appearsOverTheCenter_data();
    void appearsOverTheCenter();
    void staysWhereItAppeared();
    void paintsThePanelInsideAMargin_data();
    void paintsThePanelInsideAMargin();
    void takesNoFocus();
    void hidesOnlyAtOpacityZero();
    void fadesInLinearly();
    void fadesOutLinearly();
    void fadesInStaysAndFadesOut();
    void fadesOutOnce();
    void showingAgainWhileVisibleRestarts();
    void showingAgainWhileFadingOutRestarts();
    void isDeletedWithItsParentWhileVisible();
};

void TestPopUp::isAFramelessToolWindow()
{
    QWidget parent;
    const PopUp toast(&parent);
    QCOMPARE(int(toast.windowFlags()), 264203);
    QVERIFY(toast.testAttribute(Qt::WA_TranslucentBackground));
    QVERIFY(toast.testAttribute(Qt::WA_ShowWithoutActivating));
    QVERIFY(toast.isHidden());
    QCOMPARE(toast.parentWidget(), &parent);
}

void TestPopUp::labelHasItsStyle()
{
    QWidget parent;
    const PopUp toast(&parent);
    QLabel *label = labelOf(toast);
    QCOMPARE(label->alignment(), Qt::AlignCenter);
    QCOMPARE(label->styleSheet(),
             u"QLabel { color : white; margin-top: 6px;margin-bottom: 6px;margin-left: 10px;margin-right: 10px; }"_s);
    auto *layout = qobject_cast<QGridLayout *>(toast.layout());
    QVERIFY(layout);
    QCOMPARE(layout->count(), 1);
    QCOMPARE(layout->itemAtPosition(0, 0)->widget(), label);
}

void TestPopUp::opacityIsAFloatProperty()
{
    QWidget parent;
    PopUp toast(&parent);
    const QMetaObject *meta = toast.metaObject();
    const QMetaProperty property = meta->property(meta->indexOfProperty("popupOpacity"));
    QCOMPARE(property.metaType(), QMetaType::fromType<float>());
    QVERIFY(property.isReadable() && property.isWritable());
    for (const float opacity : {0.6F, 1.0F, 0.0F}) {
        QVERIFY(toast.setProperty("popupOpacity", opacity));
        QCOMPARE(toast.property("popupOpacity").toFloat(), opacity);
        QCOMPARE(toast.popupOpacity(), opacity);
        QVERIFY(std::abs(toast.windowOpacity() - double(opacity)) <= 1.0 / 255); // stored in a byte
    }
}

void TestPopUp::slotsAreDeclaredInOrder()
{
    const QMetaObject &meta = PopUp::staticMetaObject;
    QList<QByteArray> names;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        QCOMPARE(meta.method(i).methodType(), QMetaMethod::Slot);
        names.append(meta.method(i).methodSignature());
    }
    QCOMPARE(names, (QList<QByteArray>{"setPopupText(QString)", "show()", "hideAnimation()", "hide()"}));
}

void TestPopUp::takesTheSizeOfItsText()
{
    QWidget parent;
    PopUp toast(&parent);
    toast.setPopupText(u"short"_s);
    const QSize oneLine = toast.size();
    QCOMPARE(labelOf(toast)->text(), u"short"_s);
    QCOMPARE(oneLine, toast.sizeHint());
    // The label adds margins of 10 and 6 pixels on each side of the text.
    const QSize text = labelOf(toast)->fontMetrics().size(0, u"short"_s);
    const QSize hint = labelOf(toast)->sizeHint();
    QVERIFY(hint.width() >= text.width() + 20);
    QVERIFY(hint.height() >= text.height() + 12);

    toast.setPopupText(u"a text that is quite a bit longer"_s);
    QVERIFY(toast.width() > oneLine.width());
    QCOMPARE(toast.height(), oneLine.height());
    toast.setPopupText(u"two\nlines"_s);
    QVERIFY(toast.height() > oneLine.height());
    QCOMPARE(labelOf(toast)->alignment(), Qt::AlignCenter);
    toast.setPopupText(u"short"_s);
    QCOMPARE(toast.size(), oneLine);
}

void TestPopUp::appearsOverTheCenter_data()
{
    QTest::addColumn<QRect>("over");
    QTest::newRow("even") << QRect(100, 80, 600, 400);
    QTest::newRow("odd") << QRect(101, 83, 601, 433);
    QTest::newRow("narrower than the toast") << QRect(300, 300, 21, 11);
    QTest::newRow("left of the origin") << QRect(-301, -203, 301, 201);
}

void TestPopUp::appearsOverTheCenter()
{
    QFETCH(QRect, over);
    QWidget parent;
    parent.setGeometry(over);
    PopUp toast(&parent);
    for (const QString &text : {u"odd"_s, u"a longer message"_s, u"two\nlines"_s}) {
        toast.setPopupText(text);
        const QSize size = toast.size();
        toast.show();
        const int left = int(over.width() * 0.5 + over.x() - double(size.width() / 2));
        const int top = int(over.height() * 0.5 + over.y() - double(size.height() / 2));
        QVERIFY(toast.isVisible());
        QCOMPARE(toast.geometry(), QRect(QPoint(left, top), size));
    }
}

void TestPopUp::staysWhereItAppeared()
{
    QWidget parent;
    parent.setGeometry(100, 80, 600, 400);
    parent.show();
    PopUp toast(&parent);
    toast.setPopupText(u"message"_s);
    toast.show();
    const QRect place = toast.geometry();
    parent.move(150, 200);
    QTRY_COMPARE(parent.pos(), QPoint(150, 200));
    QCOMPARE(toast.geometry(), place);
    toast.show();
    QVERIFY(toast.geometry() != place);
}

void TestPopUp::paintsThePanelInsideAMargin_data()
{
    QTest::addColumn<QSize>("size");
    for (const QSize size : {QSize(120, 40), QSize(61, 33), QSize(300, 90), QSize(24, 24)}) {
        QTest::addRow("%dx%d", size.width(), size.height()) << size;
    }
}

void TestPopUp::paintsThePanelInsideAMargin()
{
    QFETCH(QSize, size);
    QWidget parent;
    PopUp toast(&parent);
    toast.layout()->setSizeConstraint(QLayout::SetNoConstraint); // sizes that no text requires
    toast.resize(size);
    const QImage panel = paintedPanel(toast);
    QCOMPARE(firstDifference(panel, expectedPanel(size)), QString());
    for (int x = 0; x < size.width(); ++x) {
        QCOMPARE(panel.pixelColor(x, 4).alpha(), 0);
        QCOMPARE(panel.pixelColor(x, size.height() - 5).alpha(), 0);
    }
    QCOMPARE(panel.pixelColor(4, size.height() / 2).alpha(), 0);
    QCOMPARE(panel.pixelColor(size.width() / 2, size.height() / 2).alpha(), 180);
}

void TestPopUp::takesNoFocus()
{
    QWidget parent;
    parent.setFocusPolicy(Qt::StrongFocus);
    parent.resize(400, 300);
    parent.show();
    parent.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&parent));
    parent.setFocus();
    QTRY_COMPARE(QApplication::focusWidget(), &parent);
    PopUp toast(&parent);
    toast.setPopupText(u"message"_s);
    toast.show();
    QVERIFY(QTest::qWaitForWindowExposed(&toast));
    // Window systems read this property; the offscreen platform activates any window.
    QCOMPARE(toast.windowHandle()->property("_q_showWithoutActivating").toBool(), true);
    QCOMPARE(toast.focusPolicy(), Qt::NoFocus);
    QVERIFY(!toast.hasFocus());
    QVERIFY(!labelOf(toast)->hasFocus());
}

void TestPopUp::hidesOnlyAtOpacityZero()
{
    QWidget parent;
    PopUp toast(&parent);
    toast.QWidget::show();
    for (const float opacity : {1.0F, 0.5F, 0.001F}) {
        toast.setPopupOpacity(opacity);
        toast.hide();
        QVERIFY(toast.isVisible());
    }
    toast.setPopupOpacity(0.0F);
    toast.hide();
    QVERIFY(!toast.isVisible());
}

void TestPopUp::fadesInLinearly()
{
    QWidget parent;
    parent.resize(400, 300);
    PopUp toast(&parent);
    StepDriver clock;
    toast.show();
    clock.step(0);
    QCOMPARE(toast.popupOpacity(), 0.0F);
    clock.step(75);
    QCOMPARE(toast.popupOpacity(), 0.5F);
    clock.step(74);
    QCOMPARE(toast.popupOpacity(), float(149.0 / 150));
    clock.step(1);
    QCOMPARE(toast.popupOpacity(), 1.0F);
}

void TestPopUp::fadesOutLinearly()
{
    QWidget parent;
    parent.resize(400, 300);
    PopUp toast(&parent);
    StepDriver clock;
    toast.QWidget::show();
    toast.hideAnimation();
    clock.step(0);
    QCOMPARE(toast.popupOpacity(), 1.0F);
    clock.step(500);
    QCOMPARE(toast.popupOpacity(), 0.5F);
    clock.step(499);
    QCOMPARE(toast.popupOpacity(), float(1 - 999.0 / 1000));
    QVERIFY(toast.isVisible());
    clock.step(1);
    QVERIFY(!toast.isVisible());
}

void TestPopUp::fadesInStaysAndFadesOut()
{
    QWidget parent;
    parent.resize(400, 300);
    PopUp toast(&parent);
    toast.setPopupText(u"message"_s);
    QElapsedTimer clock;
    clock.start();
    toast.show();
    QVERIFY(toast.isVisible());
    QCOMPARE(toast.popupOpacity(), 0.0F);
    QCOMPARE(toast.windowOpacity(), 0.0);

    QTRY_VERIFY_WITH_TIMEOUT(toast.popupOpacity() > 0.0F, waitTime);
    QTRY_COMPARE_WITH_TIMEOUT(toast.popupOpacity(), 1.0F, waitTime);
    const qint64 fadedIn = clock.elapsed();
    QVERIFY2(fadedIn >= 130 && fadedIn < 1500, qPrintable(QString::number(fadedIn)));
    QVERIFY(toast.isVisible());

    QTRY_VERIFY_WITH_TIMEOUT(toast.popupOpacity() < 1.0F, waitTime);
    const qint64 fadingOut = clock.elapsed();
    QVERIFY2(fadingOut >= minVisibleTime && fadingOut < 4500, qPrintable(QString::number(fadingOut)));
    QVERIFY(toast.isVisible());

    QTRY_VERIFY_WITH_TIMEOUT(!toast.isVisible(), waitTime);
    const qint64 gone = clock.elapsed();
    QVERIFY2(gone >= minVisibleTime + 950 && gone < 6500, qPrintable(QString::number(gone)));
    QCOMPARE(toast.popupOpacity(), 0.0F);

    toast.show(); // one instance shows every message
    QVERIFY(toast.isVisible());
    QTRY_COMPARE_WITH_TIMEOUT(toast.popupOpacity(), 1.0F, waitTime);
}

void TestPopUp::fadesOutOnce()
{
    QWidget parent;
    PopUp toast(&parent);
    QElapsedTimer clock;
    clock.start();
    toast.show();
    toast.hideAnimation(); // before its time, which still comes
    QTRY_VERIFY_WITH_TIMEOUT(toast.isHidden(), waitTime);
    while (clock.elapsed() < maxVisibleTime) {
        QTest::qWait(20);
        QCOMPARE(toast.popupOpacity(), 0.0F);
    }
}

void TestPopUp::showingAgainWhileVisibleRestarts()
{
    QWidget parent;
    parent.resize(400, 300);
    PopUp toast(&parent);
    toast.setPopupText(u"first"_s);
    QElapsedTimer clock;
    clock.start();
    toast.show();
    QTRY_VERIFY_WITH_TIMEOUT(clock.elapsed() > 1500, waitTime);
    QCOMPARE(toast.popupOpacity(), 1.0F);

    toast.setPopupText(u"second"_s);
    clock.restart();
    toast.show();
    QCOMPARE(toast.popupOpacity(), 0.0F);
    QVERIFY(toast.isVisible());
    QTRY_COMPARE_WITH_TIMEOUT(toast.popupOpacity(), 1.0F, waitTime);
    QTRY_VERIFY_WITH_TIMEOUT(toast.popupOpacity() < 1.0F, waitTime);
    QVERIFY2(clock.elapsed() >= minVisibleTime, qPrintable(QString::number(clock.elapsed())));
}

void TestPopUp::showingAgainWhileFadingOutRestarts()
{
    QWidget parent;
    parent.resize(400, 300);
    PopUp toast(&parent);
    toast.setPopupText(u"message"_s);
    toast.show();
    QTRY_COMPARE_WITH_TIMEOUT(toast.popupOpacity(), 1.0F, waitTime);
    toast.hideAnimation();
    QTRY_VERIFY_WITH_TIMEOUT(toast.popupOpacity() < 0.9F, waitTime);
    QVERIFY(toast.isVisible());

    QElapsedTimer clock;
    clock.start();
    toast.show();
    QCOMPARE(toast.popupOpacity(), 0.0F);
    QTRY_COMPARE_WITH_TIMEOUT(toast.popupOpacity(), 1.0F, waitTime);
    QTRY_VERIFY_WITH_TIMEOUT(toast.popupOpacity() < 1.0F, waitTime);
    QVERIFY(toast.isVisible());
    QVERIFY2(clock.elapsed() >= minVisibleTime, qPrintable(QString::number(clock.elapsed())));
}

void TestPopUp::isDeletedWithItsParentWhileVisible()
{
    auto parent = std::make_unique<QWidget>();
    parent->resize(400, 300);
    QPointer<PopUp> toast = new PopUp(parent.get());
    toast->setPopupText(u"message"_s);
    toast->show();
    QTRY_COMPARE_WITH_TIMEOUT(toast->popupOpacity(), 1.0F, waitTime);
    parent.reset();
    QVERIFY(toast.isNull());
    QCoreApplication::processEvents();
}

QUILLMARCH_TEST_MAIN(TestPopUp)
#include "tst_popup.moc"
