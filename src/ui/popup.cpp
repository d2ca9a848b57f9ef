#include "ui/popup.h"

#include <QPainter>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace {

constexpr int fadeInTime = 150; // milliseconds, as are the next two
constexpr int timeToFadeOut = 3000; // from show()
constexpr int fadeOutTime = 1000;
constexpr double rim = 5;
constexpr double cornerRadius = 10;

} // namespace

PopUp::PopUp(QWidget *parent)
    : QWidget(parent)
{
    setWindowFlags(Qt::FramelessWindowHint | Qt::Tool | Qt::WindowStaysOnTopHint);
    setAttribute(Qt::WA_TranslucentBackground, true);
    setAttribute(Qt::WA_ShowWithoutActivating, true);
    animation.setTargetObject(this);
    animation.setPropertyName("popupOpacity");
    connect(&animation, &QPropertyAnimation::finished, this, &PopUp::hide);
    label.setObjectName(u"popupLabel"_s);
    label.setAlignment(Qt::AlignCenter);
    label.setStyleSheet(
        u"QLabel { color : white; margin-top: 6px;margin-bottom: 6px;margin-left: 10px;margin-right: 10px; }"_s);
    m_layout.addWidget(&label, 0, 0);
    setLayout(&m_layout);
    timer = new QTimer; // has no parent; the destructor deletes it
    connect(timer, &QTimer::timeout, this, &PopUp::hideAnimation);
}

PopUp::~PopUp()
{
    delete timer;
}

void PopUp::setPopupOpacity(float opacity)
{
    m_popupOpacity = opacity;
    setWindowOpacity(double(opacity));
}

void PopUp::setPopupText(const QString &text)
{
    label.setText(text);
    adjustSize();
}

void PopUp::show()
{
    setWindowOpacity(0.0);
    const QRect over = parentWidget()->geometry();
    const int left = int(over.width() * 0.5 + over.x() - width() / 2);
    const int top = int(over.height() * 0.5 + over.y() - height() / 2);
    setGeometry(left, top, width(), height());
    QWidget::show();
    fade(fadeInTime, 0.0, 1.0);
    timer->start(timeToFadeOut);
}

void PopUp::hideAnimation()
{
    timer->stop();
    fade(fadeOutTime, 1.0, 0.0);
}

void PopUp::hide()
{
    if (m_popupOpacity == 0.0F) {
        QWidget::hide();
    }
}

void PopUp::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(60, 60, 60, 180));
    painter.drawRoundedRect(QRectF(rim, rim, width() - 2 * rim, height() - 2 * rim), cornerRadius, cornerRadius,
                            Qt::AbsoluteSize);
}

void PopUp::fade(int milliseconds, double from, double to)
{
    animation.stop(); // a running animation would not start over
    animation.setDuration(milliseconds);
    animation.setStartValue(from);
    animation.setEndValue(to);
    animation.start();
}
