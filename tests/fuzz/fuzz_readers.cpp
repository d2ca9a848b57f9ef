#include "app/startup.h"
#include "batch/batcherror.h"
#include "batch/batchevent.h"
#include "batch/cutlist.h"
#include "batch/filename.h"
#include "batch/inputs.h"
#include "batch/paper.h"
#include "fuzzing.h"
#include "update/updatedocuments.h"

#include <QJsonDocument>

#include <algorithm>
#include <array>
#include <functional>

using namespace Qt::StringLiterals;

namespace {

const QString installed = u"2.7.1"_s;

void readVocabulary(const QString &text)
{
    const UpdateVersion version = UpdateVersion::fromString(text);
    require(version.major >= 0 && version.minor >= 0 && version.patch >= 0, "no number of a version is negative");
    require(UpdateVersion::fromString(version.toString()) == version, "a written version reads as the same version");
    require(!(isVersionNewer(text, installed) && isVersionNewer(installed, text)), "only one of two versions is newer");
    require(formatPublishTime(text).isEmpty() == text.isEmpty(), "a time is empty only if its text is");
    require(formatReleaseNotes(text).size() <= 503, "release notes are shortened");
    static_cast<void>(formatSizeText(text));
    static_cast<void>(platformDisplayName(text));
}

/// The platform is chosen by the length.
void readRelease(const QByteArray &body)
{
    const QString platform = std::array{u"macos"_s, u"linux"_s, QString()}.at(size_t(body.size()) % 3);
    const std::optional<ReleaseInfo> release = readReleaseDocument(body, platform);
    require(!release || release->platform == platform, "a release is for the requested platform");
}

void readReport(const QJsonObject &object)
{
    readVocabulary(object["latestVersion"_L1].toString());
    for (const QString &platform : {u"macos"_s, u"linux"_s, u"windows"_s}) {
        const UpdateReport report = parseUpdateReport(object, installed, platform);
        if (report.hasUpdate && report.latestVersion != UpdateVersion()) {
            require(report.latestVersion > report.currentVersion, "an update is a later version");
            require(report.forceUpdate == (report.latestVersion.major > report.currentVersion.major),
                    "only a higher major number forces an update");
        }
    }
}

/// A message that \a read finds in \a line stays the same if it is written and read again.
template <typename Read>
void requireSurvival(const QByteArray &line, Read read)
{
    if (const auto message = read(line)) {
        const QByteArray written = jsonLine(toJson(*message));
        const auto again = read(written);
        require(again && jsonLine(toJson(*again)) == written, "a message survives its JSON");
    }
}

bool rises(const QList<int> &rows)
{
    return std::adjacent_find(rows.begin(), rows.end(), std::greater_equal<>()) == rows.end()
        && (rows.isEmpty() || rows.first() > 0);
}

void readCuts(const QByteArray &text)
{
    try {
        for (const FileCuts &file : parseCutList(text, u"cuts"_s)) {
            for (const QList<int> &rows : file) {
                require(rises(rows), "cuts follow each other");
            }
        }
    } catch (const BatchError &) {
        // The list is refused.
    }
}

void compare(const QString &left, const QString &right)
{
    require(!isNaturallyBefore(left, right) || !isNaturallyBefore(right, left), "only one of two names is the first");
}

/// The lines of \a text are the arguments.
void readArguments(const QByteArray &text)
{
    QStringList arguments{u"quillmarch-batch"_s};
    for (const QByteArray &line : text.split('\n')) {
        const QString argument = nameFromBytes(line);
        require(bytesOfName(argument) == line, "a name keeps its bytes");
        compare(arguments.last(), argument);
        arguments.append(argument);
    }
    try {
        const BatchOptions options = readCommandLine(arguments).options;
        require(options.pages.columns >= 1 && options.pages.columns <= 4, "there are 1 to 4 columns");
        require(options.pages.quality >= 1 && options.pages.quality <= 100, "the quality is 1 to 100");
        require(options.jobs >= 0 && options.jobs <= 64, "there are at most 64 processes");
    } catch (const BatchError &) {
        // The arguments are refused.
    }
}

/// The values of settings and options that a text alone decides.
void readSetting(const QString &text)
{
    const QString language = languageNamed(text);
    require(language == "en"_L1 || language == "zh"_L1, "there are two languages");
    require(cutRuleNamed(text).has_value() == (text == "bright"_L1 || text == "calm"_L1),
            "there are two rules for cuts");
    const QByteArray lower = text.toUtf8().toLower();
    require(isAutoPageValue(text) == (lower != "0" && lower != "false"), "two values turn automatic cuts off");
    const std::optional<Paper> paper = paperNamed(text);
    require(!paper || paper->isStrip() || std::min(paper->size.width(), paper->size.height()) > 28,
            "paper is at least 10 mm wide");
    const std::optional<Margin> margin = marginNamed(text);
    require(!margin || (margin->value >= 0 && margin->value <= 100), "a margin is at most 100 mm");
}

/// A JSON document, or lines of them, goes to the readers that look for one of its keys.
void readJson(const QByteArray &bytes)
{
    if (bytes.contains("\"releases\"")) {
        readRelease(bytes);
    }
    if (bytes.contains("\"event\"")) {
        requireSurvival(bytes, eventFromJson);
    }
    if (bytes.contains("\"images\"")) {
        requireSurvival(bytes, jobFromJson);
    }
    if (bytes.contains("\"cuts\"")) {
        readCuts(bytes);
    }
    if (!bytes.contains("\"event\"")) {
        readReport(QJsonDocument::fromJson(bytes).object());
    }
}

bool isJson(const QByteArray &bytes)
{
    const QByteArray text = bytes.startsWith("\xef\xbb\xbf") ? bytes.mid(3) : bytes.trimmed();
    return text.startsWith('{') || text.startsWith('[');
}

} // namespace

/// All readers of texts that need no window: release documents, version reports and the
/// values in them; settings; the jobs and events, lists of cuts and command lines of the
/// batch program. How a text begins decides who reads it, or most of the time would be
/// spent on refusing it.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes = bytesOf(data, size);
    if (isJson(bytes)) {
        readJson(bytes);
    } else if (bytes.startsWith('-') || bytes.contains('\n')) {
        readArguments(bytes);
    } else {
        readVocabulary(QString::fromUtf8(bytes));
        readSetting(QString::fromUtf8(bytes));
    }
    return 0;
}
