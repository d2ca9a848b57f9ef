#include "update/updatevocabulary.h"

#include "base/buildconfig.h"

#include <QDateTime>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace {

constexpr double bytesPerKilobyte = 1024.0;
constexpr double bytesPerMegabyte = 1048576.0;
constexpr double bytesPerGigabyte = 1073741824.0;

bool carriesUnit(const QString &size)
{
    return size.contains("MB"_L1) || size.contains("GB"_L1) || size.contains("KB"_L1);
}

} // namespace

UpdateVersion UpdateVersion::fromString(const QString &text)
{
    static const QRegularExpression threeNumbers(u"^(\\d+)\\.(\\d+)\\.(\\d+)$"_s);
    const QRegularExpressionMatch match = threeNumbers.match(text);
    if (!match.hasMatch()) {
        return {};
    }
    return {match.captured(1).toInt(), match.captured(2).toInt(), match.captured(3).toInt()};
}

QString UpdateVersion::toString() const
{
    return u"%1.%2.%3"_s.arg(major).arg(minor).arg(patch);
}

QString UpdateVersion::toDisplayString() const
{
    return u"v%1.%2.%3"_s.arg(major).arg(minor).arg(patch);
}

bool isVersionNewer(const QString &reference, const QString &candidate)
{
    return UpdateVersion::fromString(candidate) > UpdateVersion::fromString(reference);
}

QString platformDisplayName()
{
    return platformDisplayName(buildPlatform.toString());
}

QString platformDisplayName(const QString &identifier)
{
    if (identifier == "windows"_L1) {
        return u"Windows"_s;
    }
    if (identifier == "macos"_L1) {
        return u"macOS"_s;
    }
    if (identifier == "linux"_L1) {
        return u"Linux"_s;
    }
    return u"未知平台"_s;
}

QString formatSizeText(const QString &size)
{
    if (carriesUnit(size)) {
        return size;
    }
    bool isNumber = false;
    const double bytes = size.toDouble(&isNumber);
    if (!isNumber) {
        return size;
    }
    if (bytes >= bytesPerGigabyte) {
        return u"%1GB"_s.arg(bytes / bytesPerGigabyte, 0, 'f', 1);
    }
    if (bytes >= bytesPerMegabyte) {
        return u"%1MB"_s.arg(bytes / bytesPerMegabyte, 0, 'f', 1);
    }
    if (bytes >= bytesPerKilobyte) {
        return u"%1KB"_s.arg(bytes / bytesPerKilobyte, 0, 'f', 1);
    }
    return u"%1B"_s.arg(bytes);
}

QString formatPublishTime(const QString &time)
{
    const QString shown = u"yyyy-MM-dd hh:mm"_s;
    if (time.isEmpty()) {
        return {};
    }
    if (const QDateTime read = QDateTime::fromString(time, Qt::ISODate); read.isValid()) {
        return read.toString(shown);
    }
    for (const QString &pattern :
         {u"yyyy-MM-dd hh:mm:ss"_s, u"yyyy-MM-dd"_s, u"yyyy/MM/dd hh:mm:ss"_s, u"yyyy/MM/dd"_s}) {
        if (const QDateTime read = QDateTime::fromString(time, pattern); read.isValid()) {
            return read.toString(shown);
        }
    }
    return time;
}
