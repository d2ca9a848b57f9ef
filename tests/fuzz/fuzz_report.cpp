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

/// The display of version reports in the window and in the download dialog.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray body = bytesOf(data, size);
    const QJsonObject object = QJsonDocument::fromJson(body).object();
    const UpdateReport report = parseUpdateReport(object, installed, u"windows"_s);
    if (report.hasUpdate) {
        showReport(report, object["latestVersion"_L1].toString(), body);
    }
    return 0;
}
