#include "app/mainwindow.h"
#include "app/settings.h"
#include "app/startup.h"
#include "fuzzing.h"
#include "support/documents.h"
#include "usedwindow.h"

#include <QDir>
#include <QFile>
#include <QTranslator>

using namespace Qt::StringLiterals;

namespace {

/// What a start would make of the configuration file \a path.
struct Start
{
    QString language;
    bool autoPage = true;

    bool operator==(const Start &) const = default;
};

Start startWith(const QString &path)
{
    Start start{interfaceLanguage(path), isAutoPageWanted(path)};
    require(start.language == "en"_L1 || start.language == "zh"_L1, "there are two languages");
    return start;
}

/// As the next start reads it: from the disk, not as this process knows it.
Start nextStart()
{
    const QString copy = QDir::current().absoluteFilePath(u"copy.ini"_s);
    QFile file(configFilePath());
    require(file.open(QIODevice::ReadOnly), "the configuration file is there after a write");
    writeChanged(copy, file.readAll());
    return startWith(copy);
}

} // namespace

/// The configuration file: what a start, a rebuild and the margin commands make
/// of it, and what is left of it after a write.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const QString picture = savedPicture(textPicture(120, 500), u"picture.png"_s);
    writeChanged(configFilePath(), bytesOf(data, size));
    const Start start = startWith(configFilePath());
    QTranslator translator;
    require(start.language == "zh"_L1 || loadEnglishTexts(translator), "the English texts are there");

    MainWindow &window = usedWindow();
    window.setLanguage(start.language);
    window.setAutoPage(start.autoPage);
    window.loadImageFile(picture);
    requireWholeDocument(window);
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
    require(nextStart() == start, "a write leaves the other keys alone");
    return 0;
}
