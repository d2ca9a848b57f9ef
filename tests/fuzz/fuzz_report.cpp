#include "app/mainwindow.h"
#include "fuzzing.h"
#include "support/documents.h"
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
    require(UpdateVersion::fromString(version.toString()) == version, "a version reads as it is written");
    require(!(isVersionNewer(text, installed) && isVersionNewer(installed, text)), "one version is the newer one");
    require(formatPublishTime(text).isEmpty() == text.isEmpty(), "a time stays a text");
    require(formatReleaseNotes(text).size() <= 503, "release notes are cut");
    formatSizeText(text);
    platformDisplayName(text);
}

UpdateReport readReport(const QJsonObject &object, const QString &platform)
{
    const UpdateReport report = parseUpdateReport(object, installed, platform);
    if (report.hasUpdate && report.latestVersion != UpdateVersion()) {
        require(report.latestVersion > report.currentVersion, "an update is a later version");
        require(report.forceUpdate == (report.latestVersion.major > report.currentVersion.major),
                "a higher major number forces");
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

/// The reader of version reports, the texts it is made of, and what the window
/// and the download dialog show of them.
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
