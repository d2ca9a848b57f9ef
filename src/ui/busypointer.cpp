#include "ui/busypointer.h"

#include <QCursor>
#include <QGuiApplication>

BusyPointer::BusyPointer()
{
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);
}

BusyPointer::~BusyPointer()
{
    QGuiApplication::restoreOverrideCursor();
}
