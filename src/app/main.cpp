#include "app/mainwindow.h"
#include "app/startup.h"
#include "base/buildconfig.h"
#include "base/keptforever.h"
#include "update/simpleupdater.h"

#include <QApplication>
#include <QTranslator>

using namespace Qt::StringLiterals;

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    const QString config = QCoreApplication::applicationDirPath() + "/user.ini"_L1;
    QTranslator translator;

    const QString language = interfaceLanguage(config);
    if (language == "en"_L1 && loadEnglishTexts(translator)) {
        QCoreApplication::installTranslator(&translator);
    }

    QCoreApplication::setApplicationName(u"Quillmarch"_s);
    QCoreApplication::setApplicationVersion(programVersion.toString());
    QCoreApplication::setOrganizationName(u"zrnw480"_s);
    QCoreApplication::setOrganizationDomain(organizationDomain.toString());

    SimpleUpdater *updater = keepForever(new SimpleUpdater);
    updater->setUpdateUrl(releaseDocumentUrl(language));
    updater->checkForUpdatesSilently();

    MainWindow window;
    window.setLanguage(language);
    window.setAutoPage(isAutoPageWanted(config));
    window.setCutRule(chosenCutRule(config));
    window.show();
    return QApplication::exec();
}
