#include "app/mainwindow.h"
#include "fuzzing.h"
#include "support/pictures.h"
#include "update/downloadupdatedialog.h"
#include "update/updatedocuments.h"
#include "usedwindow.h"

#include <QJsonDocument>

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

UpdateReport readReport(const QJsonObject &object, const QString &platform)
{
    const UpdateReport report = parseUpdateReport(object, installed, platform);
    if (report.hasUpdate && report.latestVersion != UpdateVersion()) {
        require(report.latestVersion > report.currentVersion, "an update is a later version");
        require(report.forceUpdate == (report.latestVersion.major > report.currentVersion.major),
                "only a higher major number forces an update");
    }
    return report;
}

void showReport(const UpdateReport &report, const QString &version, const QByteArray &package)
{
    usedWindow().onVersionInfoReceived(version, report.hasUpdate, report.downloadUrl, report.updateLog, report.hash,
                                       report.size);
    DownloadRequestInfo request;
    request.latestVersion = version;
    request.currentVersion = installed;
    request.updateLog = report.updateLog;
    request.fileSize = formatSizeText(report.size);
    request.checksumMD5 = report.hash;
    request.isForced = report.forceUpdate;
    DownloadUpdateDialog dialog(request, &usedWindow());
    draw(dialog);
    dialog.onDownloadProgress(50, package.size(), report.size.toLongLong());
    dialog.onDownloadError(report.hash);
    dialog.onDownloadFinished(savedBytes(package, u"package"_s));
    draw(dialog);
    draw(usedWindow());
    settle();
}

} // namespace

/// The reader of version reports and of the texts in them, and their display in the
/// window and in the download dialog.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray body = bytesOf(data, size);
    readVocabulary(QString::fromUtf8(body));
    const QJsonObject object = QJsonDocument::fromJson(body).object();
    const QString version = object["latestVersion"_L1].toString();
    readVocabulary(version);
    for (const QString &platform : {u"macos"_s, u"linux"_s}) {
        readReport(object, platform);
    }
    const UpdateReport report = readReport(object, u"windows"_s);
    if (report.hasUpdate) {
        showReport(report, version, body);
    }
    return 0;
}
