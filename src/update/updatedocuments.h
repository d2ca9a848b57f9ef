#pragma once

#include "update/updatevocabulary.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <optional>

/// One release of a release document, for the platform of this build.
struct ReleaseInfo
{
    QString version; ///< as written in the document
    QString title;
    QString description; ///< may hold HTML
    QString downloadUrl;
    QString releaseDate; ///< as written in the document
    bool isForced = false; ///< stored, but has no effect
    QString platform;
    qint64 fileSize = 0; ///< bytes
};

/// The contents of a version report.
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

    /// True if \a version is the latest version. False for an empty text.
    [[nodiscard]] bool isLatestVersion(const QString &version) const;
};

/// The address of the release document for \a language: the Chinese one for
/// "zh", and the English one for every other language.
[[nodiscard]] QString releaseDocumentUrl(const QString &language);

/// The address that an interactive check requests.
[[nodiscard]] QString checkEndpoint();

/// Reads the first release that lists \a platform from a release document.
///
/// Releases are not sorted, so the document has to list the newest one first.
/// Returns nothing for malformed JSON, for a document without releases, and if
/// no release lists the platform.
[[nodiscard]] std::optional<ReleaseInfo> readReleaseDocument(const QByteArray &body, const QString &platform);

/// Reads a version report. Missing keys leave the defaults.
///
/// The flags are corrected by comparing the versions: there is no update if the
/// latest version is not later than \a currentVersion, and an update is forced
/// exactly if its major number is higher, whatever the report says. Without a
/// readable latest version the flags stay as reported.
[[nodiscard]] UpdateReport parseUpdateReport(const QJsonObject &report, const QString &currentVersion,
                                             const QString &platform);

/// The package of \a platform in a version report: its entry in "packages",
/// even an empty one, otherwise an object built from the flat keys.
[[nodiscard]] QJsonObject selectPackage(const QJsonObject &report, const QString &platform);

/// \a notes trimmed, and shortened to 500 characters and an ellipsis.
[[nodiscard]] QString formatReleaseNotes(const QString &notes);

/// The file name of a package, such as "Quillmarch_v2.7.1_Windows.zip".
[[nodiscard]] QString packageFileName(const UpdateVersion &version, const QString &platform);

/// The address of a package in the folder \a base, which may end in a slash.
[[nodiscard]] QString packageUrl(const QString &base, const UpdateVersion &version, const QString &platform);

/// The file name of a package whose address contains none: that of the macOS
/// package on every platform.
[[nodiscard]] QString fallbackPackageName(const QString &version);

/// The address of a package for which a version report contains none.
[[nodiscard]] QString fallbackPackageUrl(const QString &version);
