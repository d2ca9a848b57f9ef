#include "ui/spokenname.h"

#include <QCoreApplication>

using namespace Qt::StringLiterals;

QString spokenName(const QString &chinese, const QString &english)
{
    const bool isEnglish = QCoreApplication::translate("MainWindow", "就绪") == "Ready"_L1;
    return isEnglish ? english : chinese;
}
