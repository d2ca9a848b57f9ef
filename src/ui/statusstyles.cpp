#include "ui/statusstyles.h"

using namespace Qt::StringLiterals;

QString plainVersionStyle()
{
    return u"QLabel {     color: #8E8E93;     font-size: 12px;     font-weight: 500;     padding: 2px 6px;     "
           u"background-color: rgba(142, 142, 147, 0.1);     border-radius: 4px; }"_s;
}
