#include "support/useractions.h"

#include <QApplication>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QTest>
#include <QWidget>

DropOutcome drop(QWidget *target, const QMimeData &data, Qt::DropActions offered)
{
    const QPoint center = target->rect().center();
    QDragEnterEvent enter(center, offered, &data, Qt::LeftButton, {});
    QApplication::sendEvent(target, &enter);
    const DropOutcome outcome{enter.isAccepted(), enter.dropAction()};
    QDropEvent dropped(center, offered, &data, Qt::LeftButton, {});
    QApplication::sendEvent(target, &dropped);
    return outcome;
}

DropOutcome dropUrls(QWidget *target, const QList<QUrl> &urls)
{
    QMimeData data;
    data.setUrls(urls);
    return drop(target, data);
}

void doubleClick(QWidget *widget, QPoint at)
{
    QTest::mouseClick(widget, Qt::LeftButton, {}, at);
    QTest::mouseDClick(widget, Qt::LeftButton, {}, at); // sends only the second press
    QTest::mouseRelease(widget, Qt::LeftButton, {}, at);
}
