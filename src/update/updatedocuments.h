#pragma once

#include "update/updatevocabulary.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <optional>

/// What a release document tells of one release on the platform of this build.
struct ReleaseInfo
{
    QString version; ///< as the document has it
    QString title;
    QString description; ///< may hold HTML
    QString downloadUrl;
    QString releaseDate; ///< as the document has it
    bool isForced = false; ///< carried along, nothing acts on it
    QString platform;
    qint64 fileSize = 0; ///< bytes
};

/// What a version report tells.
struct UpdateReport
{
    bool hasUpdate = false;
    bool forceUpdate = false;
    UpdateVersion currentVersion;
    UpdateVersion latestVersion;
    QString downloadUrl;
    QString size; ///< for formatSizeText()
    QString updateLog;
    QString publishTime;
    QString hash;
    QString platform;
    QString minSystemVersion;

    /// True if \a version reads as exactly the version on offer. False for an
    /// empty text.
    bool isLatestVersion(const QString &version) const;
};

/// The address of the release document for \a language: "zh" has one of its
/// own, and every other language has the English one.
QString releaseDocumentUrl(const QString &language);

/// The address that an interactive check asks.
QString checkEndpoint();

/// Reads a release document: the first release in it that lists \a platform.
///
/// Releases are not sorted, so the document has to list the newest one first.
/// Nothing comes back for malformed JSON, for a document without releases and
/// for one in which no release lists the platform.
std::optional<ReleaseInfo> readReleaseDocument(const QByteArray &body, const QString &platform);

/// Reads a version report. Missing keys leave the defaults.
///
/// The flags are corrected by comparing the versions: no update is left if
/// the version on offer is not later than \a currentVersion, and an update is
/// forced exactly if its major number is higher, whatever the report says.
/// With no readable version on offer the flags stay as they are.
UpdateReport parseUpdateReport(const QJsonObject &report, const QString &currentVersion, const QString &platform);

/// The package of \a platform in a version report: its entry in "packages",
/// even if that is empty, otherwise an object made of the flat keys.
QJsonObject selectPackage(const QJsonObject &report, const QString &platform);

/// Release notes, trimmed and cut to 500 characters and an ellipsis.
QString formatReleaseNotes(const QString &notes);

/// The file name of a package, such as "Quillmarch_v2.7.1_Windows.zip".
QString packageFileName(const UpdateVersion &version, const QString &platform);

/// The address of a package in the folder \a base, which may end in a slash.
QString packageUrl(const QString &base, const UpdateVersion &version, const QString &platform);

/// The name of a package whose address gives none. It is that of the macOS
/// package on every platform.
QString fallbackPackageName(const QString &version);

/// The address of a package for which a version report gives none.
QString fallbackPackageUrl(const QString &version);
