#include "update/updatedocuments.h"

#include "base/buildconfig.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype longestNotes = 500;

ReleaseInfo releaseFrom(const QJsonObject &release, const QJsonObject &package, const QString &platform)
{
    ReleaseInfo info;
    info.version = release["version"_L1].toString();
    info.title = release["title"_L1].toString();
    info.description = release["description"_L1].toString();
    info.downloadUrl = package["downloadUrl"_L1].toString();
    info.releaseDate = release["releaseDate"_L1].toString();
    info.isForced = release["isForced"_L1].toBool(false);
    info.platform = platform;
    // By way of the variant, so that a size written as a text counts too.
    info.fileSize = package["fileSize"_L1].toVariant().toLongLong();
    return info;
}

void readPackage(const QJsonObject &package, UpdateReport &report)
{
    report.downloadUrl = package["downloadUrl"_L1].toString();
    report.size = package["size"_L1].toString();
    report.hash = package["hash"_L1].toString();
    report.minSystemVersion = package["minSystemVersion"_L1].toString();
}

void correctFlags(UpdateReport &report)
{
    if (!report.hasUpdate || report.latestVersion == UpdateVersion()) {
        return;
    }
    if (report.latestVersion > report.currentVersion) {
        report.forceUpdate = report.latestVersion.major > report.currentVersion.major;
    } else {
        report.hasUpdate = false;
    }
}

} // namespace

bool UpdateReport::isLatestVersion(const QString &version) const
{
    return !version.isEmpty() && UpdateVersion::fromString(version) == latestVersion;
}

QString releaseDocumentUrl(const QString &language)
{
    const QString path =
        language == "zh"_L1 ? u"/updates/update-config-zh.json"_s : u"/updates/update-config-en.json"_s;
    return u"%1%2"_s.arg(updateDocumentHost, path);
}

QString checkEndpoint()
{
    return u"%1/api/update/check"_s.arg(serviceHost);
}

std::optional<ReleaseInfo> readReleaseDocument(const QByteArray &body, const QString &platform)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(body, &error);
    if (error.error != QJsonParseError::NoError) {
        return std::nullopt;
    }
    const QJsonArray releases = document.object()["releases"_L1].toArray();
    for (const QJsonValue &entry : releases) {
        const QJsonObject release = entry.toObject();
        const QJsonArray packages = release["platforms"_L1].toArray();
        for (const QJsonValue &package : packages) {
            if (package["name"_L1].toString() == platform) {
                return releaseFrom(release, package.toObject(), platform);
            }
        }
    }
    return std::nullopt;
}

UpdateReport parseUpdateReport(const QJsonObject &report, const QString &currentVersion, const QString &platform)
{
    UpdateReport read;
    read.currentVersion = UpdateVersion::fromString(currentVersion);
    read.hasUpdate = report["hasUpdate"_L1].toBool(false);
    read.forceUpdate = report["forceUpdate"_L1].toBool(false);
    if (report.contains("latestVersion"_L1)) {
        read.latestVersion = UpdateVersion::fromString(report["latestVersion"_L1].toString());
    }
    readPackage(selectPackage(report, platform), read);
    read.updateLog = formatReleaseNotes(report["updateLog"_L1].toString());
    read.publishTime = formatPublishTime(report["publishTime"_L1].toString());
    read.platform = platform;
    correctFlags(read);
    return read;
}

QJsonObject selectPackage(const QJsonObject &report, const QString &platform)
{
    const QJsonObject packages = report["packages"_L1].toObject();
    if (packages.contains(platform)) {
        return packages[platform].toObject();
    }
    QJsonObject package;
    for (const auto &[flatKey, key] :
         {std::pair("updateUrl"_L1, "downloadUrl"_L1), std::pair("updateSize"_L1, "size"_L1),
          std::pair("checksumMD5"_L1, "hash"_L1), std::pair("minSystemVersion"_L1, "minSystemVersion"_L1)}) {
        if (report.contains(flatKey)) {
            package[key] = report[flatKey];
        }
    }
    return package;
}

QString formatReleaseNotes(const QString &notes)
{
    if (notes.isEmpty()) {
        return u"暂无更新说明"_s;
    }
    const QString trimmed = notes.trimmed();
    if (trimmed.size() > longestNotes) {
        return trimmed.left(longestNotes) + u"..."_s;
    }
    return trimmed;
}

QString packageFileName(const UpdateVersion &version, const QString &platform)
{
    // Every platform but one counts as macOS in the name, and every platform
    // but one is packed as zip. So Linux gets a name of its own making.
    const QString system = platform == "windows"_L1 ? u"Windows"_s : u"macOS"_s;
    const QString suffix = platform == "macos"_L1 ? u"dmg"_s : u"zip"_s;
    return u"Quillmarch_v%1_%2.%3"_s.arg(version.toString(), system, suffix);
}

QString packageUrl(const QString &base, const UpdateVersion &version, const QString &platform)
{
    const QString separator = base.endsWith(u'/') ? QString() : u"/"_s;
    return base + separator + packageFileName(version, platform);
}

QString fallbackPackageName(const QString &version)
{
    return u"Quillmarch_v%1_macOS.dmg"_s.arg(version);
}

QString fallbackPackageUrl(const QString &version)
{
    return u"%1/updates/quillmarch/%2"_s.arg(packageHost, fallbackPackageName(version));
}
