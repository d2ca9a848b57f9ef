#include "ui/iconframe.h"

QRect iconFrame(const QRect &outer, int margin)
{
    QRect inner = outer.adjusted(margin, margin, -margin, -margin);
    if ((inner.right() - inner.left()) % 2 != 0) {
        inner.setRight(inner.right() - 1);
    }
    if ((inner.bottom() - inner.top()) % 2 != 0) {
        inner.setBottom(inner.bottom() - 1);
    }
    return inner;
}
