#include "app/startup.h"

#include "app/settings.h"

#include <QTranslator>

using namespace Qt::StringLiterals;

QString interfaceLanguage(const QString &config)
{
    QString language;
    readConfigValue(config, u"language"_s, language);
    return language == "en"_L1 ? language : u"zh"_s;
}

bool loadEnglishTexts(QTranslator &translator)
{
    return translator.load(u"zrnw480_en.qm"_s, u":/i18n"_s, QString(), QString());
}

bool isAutoPageWanted(const QString &config)
{
    QString autoPage;
    readConfigValue(config, u"autopage"_s, autoPage);
    autoPage = autoPage.toLower();
    return autoPage != "false"_L1 && autoPage != "0"_L1;
}

CutRule chosenCutRule(const QString &config)
{
    QString rule;
    readConfigValue(config, u"cutrule"_s, rule);
    return cutRuleNamed(rule).value_or(CutRule::Bright);
}
