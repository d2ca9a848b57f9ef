#pragma once

#include <QtGlobal>

/// The busy pointer, for as long as this object lives. End it before a dialog or
/// the toast comes up.
class BusyPointer
{
public:
    BusyPointer();
    ~BusyPointer();
    Q_DISABLE_COPY_MOVE(BusyPointer)
};
