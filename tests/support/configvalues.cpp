#include "support/configvalues.h"

#include "app/settings.h"

using namespace Qt::StringLiterals;

void clearConfigValues()
{
    for (const QString &key :
         {u"language"_s, u"autopage"_s, u"cutrule"_s, u"marginsc"_s, u"imagedir"_s, u"savepath"_s}) {
        if (!configValue(key).isEmpty()) {
            writeConfigValue(configFilePath(), key, QString());
        }
    }
}

QString configValue(const QString &key)
{
    QString value;
    readConfigValue(configFilePath(), key, value);
    return value;
}
