#include "batch/batcherror.h"
#include "batch/batchevent.h"
#include "batch/cutlist.h"
#include "batch/filename.h"
#include "batch/inputs.h"
#include "fuzzing.h"
#include "update/updatedocuments.h"

#include <QBuffer>
#include <QJsonDocument>

#include <algorithm>
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

void readRelease(const QByteArray &body)
{
    for (const QString &platform : {u"macos"_s, u"linux"_s, QString()}) {
        const std::optional<ReleaseInfo> release = readReleaseDocument(body, platform);
        require(!release || release->platform == platform, "a release is for the requested platform");
    }
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

void readCuts(QByteArray text)
{
    QBuffer buffer(&text);
    buffer.open(QIODevice::ReadOnly);
    try {
        for (const FileCuts &file : readCutList(buffer, u"cuts"_s)) {
            for (const std::optional<QList<int>> &rows : file) {
                require(!rows || rises(*rows), "cuts follow each other");
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

} // namespace

/// All readers of texts that need no window: release documents, version reports and the
/// values in them; the jobs and events, lists of cuts and command lines of the batch program.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes = bytesOf(data, size);
    readVocabulary(QString::fromUtf8(bytes));
    readRelease(bytes);
    readReport(QJsonDocument::fromJson(bytes).object());
    requireSurvival(bytes, eventFromJson);
    requireSurvival(bytes, jobFromJson);
    readCuts(bytes);
    readArguments(bytes);
    return 0;
}
