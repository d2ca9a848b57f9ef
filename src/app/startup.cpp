#include "app/startup.h"

#include "app/settings.h"

#include <QTranslator>

using namespace Qt::StringLiterals;

QString languageNamed(const QString &value)
{
    return value == "en"_L1 ? value : u"zh"_s;
}

QString interfaceLanguage(const QString &config)
{
    QString language;
    readConfigValue(config, u"language"_s, language);
    return languageNamed(language);
}

bool loadEnglishTexts(QTranslator &translator)
{
    return translator.load(u"zrnw480_en.qm"_s, u":/i18n"_s, QString(), QString());
}

bool isAutoPageValue(const QString &value)
{
    const QString lower = value.toLower();
    return lower != "false"_L1 && lower != "0"_L1;
}

bool isAutoPageWanted(const QString &config)
{
    QString autoPage;
    readConfigValue(config, u"autopage"_s, autoPage);
    return isAutoPageValue(autoPage);
}

CutRule chosenCutRule(const QString &config)
{
    QString rule;
    readConfigValue(config, u"cutrule"_s, rule);
    return cutRuleNamed(rule).value_or(CutRule::Bright);
}
