#include "app/settings.h"

#include "base/keptforever.h"

#include <QCoreApplication>
#include <QEvent>
#include <QSettings>

using namespace Qt::StringLiterals;

namespace {

// Settings objects are never destroyed: a written value reaches the disk by
// the deferred synchronisation of an object that is still alive.
QSettings *openConfig(const QString &file)
{
    return keepForever(new QSettings(file, QSettings::IniFormat));
}

/// Lets \a settings write when what is to be painted has been: the disk can take
/// longer than a frame.
void writeAfterPainting(QSettings *settings)
{
    constexpr int afterPaintEvents = Qt::LowEventPriority - 1;
    QCoreApplication::removePostedEvents(settings, QEvent::UpdateRequest);
    QCoreApplication::postEvent(settings, new QEvent(QEvent::UpdateRequest), afterPaintEvents);
}

} // namespace

bool readConfigValue(const QString &file, const QString &key, QString &value)
{
    value.clear();
    if (file.isEmpty() || key.isEmpty()) {
        return false;
    }
    value = openConfig(file)->value("config/"_L1 + key).toString();
    return true;
}

bool writeConfigValue(const QString &file, const QString &key, const QString &value)
{
    if (file.isEmpty() || key.isEmpty()) {
        return false;
    }
    QSettings *settings = openConfig(file);
    settings->beginGroup("config"_L1);
    settings->setValue(key, QVariant(value));
    settings->endGroup();
    writeAfterPainting(settings);
    return true;
}

QString executableFolder()
{
    const QString path = QCoreApplication::applicationFilePath();
    return path.left(path.lastIndexOf(u'/'));
}

QString configFilePath()
{
    return executableFolder() + "/user.ini"_L1;
}

QString rememberedFolder(const QString &key)
{
    QString folder;
    readConfigValue(configFilePath(), key, folder);
    return folder.isEmpty() ? executableFolder() : folder;
}

void rememberFolderOf(const QString &path, const QString &key)
{
    const qsizetype slash = path.lastIndexOf(u'/');
    if (slash > 0) {
        writeConfigValue(configFilePath(), key, path.left(slash));
    }
}
