#pragma once

#include <QGuiApplication>

/// The busy pointer, for as long as this object lives. End it before a dialog or
/// the toast comes up.
class BusyPointer
{
public:
    BusyPointer() { QGuiApplication::setOverrideCursor(Qt::WaitCursor); }
    ~BusyPointer() { QGuiApplication::restoreOverrideCursor(); }
    Q_DISABLE_COPY_MOVE(BusyPointer)
};
