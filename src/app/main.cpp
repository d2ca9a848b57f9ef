#include "app/buildconfig.h"
#include "app/keptforever.h"
#include "app/mainwindow.h"
#include "app/settings.h"

#include <QApplication>
#include <QTranslator>

using namespace Qt::StringLiterals;

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    const QString config = QCoreApplication::applicationDirPath() + "/user.ini"_L1;
    QTranslator translator;

    QString language = u"zh"_s;
    if (readConfigValue(config, u"language"_s, language)) {
        if (language != "en"_L1) {
            language = u"zh"_s;
        } else if (translator.load(u"zrnw480_en.qm"_s, u":/i18n"_s, QString(), QString())) {
            QCoreApplication::installTranslator(&translator);
        }
    }

    QCoreApplication::setApplicationName(u"Quillmarch"_s);
    QCoreApplication::setApplicationVersion(programVersion.toString());
    QCoreApplication::setOrganizationName(u"zrnw480"_s);
    QCoreApplication::setOrganizationDomain(organizationDomain.toString());

    MainWindow window;
    window.setLanguage(language);

    QString autoPage = u"true"_s;
    if (readConfigValue(config, u"autopage"_s, autoPage)) {
        autoPage = autoPage.toLower();
        window.setAutoPage(autoPage != "false"_L1 && autoPage != "0"_L1);
    }
    window.show();
    return QApplication::exec();
}
