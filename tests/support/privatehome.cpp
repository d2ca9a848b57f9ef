#include "support/privatehome.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

using namespace Qt::StringLiterals;

PrivateHome::PrivateHome()
{
    if (!dir.isValid()) {
        qFatal("No temporary directory: %s", qPrintable(dir.errorString()));
    }
    const auto pointTo = [this](const char *variable, const QString &folder) {
        QDir(dir.path()).mkpath(folder);
        qputenv(variable, QFile::encodeName(dir.filePath(folder)));
    };
    pointTo("HOME", u"home"_s);
    pointTo("XDG_CONFIG_HOME", u"home/.config"_s);
    pointTo("XDG_DATA_HOME", u"home/.local/share"_s);
    pointTo("XDG_CACHE_HOME", u"home/.cache"_s);
    pointTo("XDG_RUNTIME_DIR", u"run"_s);
    QFile::setPermissions(dir.filePath(u"run"_s), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    QDir(dir.path()).mkpath(u"home/Downloads"_s);
    QDir(dir.path()).mkpath(u"work"_s);
    QDir::setCurrent(dir.filePath(u"work"_s));
    for (const char *proxy : {"http_proxy", "https_proxy", "all_proxy", "HTTP_PROXY", "HTTPS_PROXY", "ALL_PROXY"}) {
        qunsetenv(proxy); // test servers are local
    }
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
}

PrivateHome::~PrivateHome()
{
    QDir::setCurrent(QDir::rootPath()); // some systems cannot remove the current directory
}

void PrivateHome::removeConfigFile()
{
    QFile::remove(QCoreApplication::applicationDirPath() + "/user.ini"_L1);
}
