#pragma once

#include <QList>
#include <QMimeData>
#include <QPoint>
#include <QUrl>

class QWidget;

/// How a widget handled a drop.
struct DropOutcome
{
    bool entered = false; ///< the drag was accepted
    Qt::DropAction action = Qt::IgnoreAction; ///< accepted by the widget
};

/// Drags \a data to the center of \a target and drops it there.
DropOutcome drop(QWidget *target, const QMimeData &data, Qt::DropActions offered = Qt::CopyAction);

DropOutcome dropUrls(QWidget *target, const QList<QUrl> &urls);

/// Sends all events of a double click: press, release, double click, release.
void doubleClick(QWidget *widget, QPoint at);
