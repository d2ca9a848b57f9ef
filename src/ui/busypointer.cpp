#include "ui/busypointer.h"

#include <QGuiApplication>

BusyPointer::BusyPointer()
{
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);
}

BusyPointer::~BusyPointer()
{
    QGuiApplication::restoreOverrideCursor();
}
