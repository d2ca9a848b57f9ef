#include "app/mainwindow.h"
#include "app/settings.h"
#include "app/startup.h"
#include "fuzzing.h"
#include "support/configvalues.h"
#include "support/pictures.h"
#include "usedwindow.h"

#include <QDir>
#include <QFile>
#include <QTranslator>

using namespace Qt::StringLiterals;

namespace {

/// What a start reads from a configuration file.
struct Start
{
    QString language;
    bool autoPage = true;
    CutRule cutRule = CutRule::Bright;

    bool operator==(const Start &) const = default;
};

Start startWith(const QString &path)
{
    Start start{interfaceLanguage(path), isAutoPageWanted(path), chosenCutRule(path)};
    require(start.language == "en"_L1 || start.language == "zh"_L1, "there are two languages");
    return start;
}

/// What the next start reads: from the disk, not from the cache of this process.
Start nextStart()
{
    const QString copy = QDir::current().absoluteFilePath(u"copy.ini"_s);
    QFile file(configFilePath());
    require(file.open(QIODevice::ReadOnly), "the configuration file exists after a write");
    writeChanged(copy, file.readAll());
    return startWith(copy);
}

} // namespace

/// The configuration file: reading it at a start, on a rebuild and by the margin
/// commands, and its contents after a write.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const QString picture = savedPicture(textPicture(120, 500), u"picture.png"_s);
    writeChanged(configFilePath(), bytesOf(data, size));
    const Start start = startWith(configFilePath());
    QTranslator translator;
    require(start.language == "zh"_L1 || loadEnglishTexts(translator), "the English texts can be loaded");

    MainWindow &window = usedWindow();
    window.setLanguage(start.language);
    window.setAutoPage(start.autoPage);
    window.setCutRule(start.cutRule);
    window.loadImageFile(picture);
    requireConsistentDocument(window);
    drawAndExport(window);
    window.onExtandClicked();
    window.onShrinkClicked();
    bool isNumber = false;
    configValue(u"marginsc"_s).toInt(&isNumber);
    require(isNumber, "a stored margin is a number");
    rememberFolderOf(u"/some/folder/a.png"_s, u"imagedir"_s);
    require(rememberedFolder(u"imagedir"_s) == "/some/folder"_L1, "a stored folder is read back");
    draw(window);
    settle();
    require(nextStart() == start, "a write keeps the other keys");
    return 0;
}
