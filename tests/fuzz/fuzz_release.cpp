#include "fuzzing.h"
#include "update/simpleupdater.h"
#include "update/updatedialog.h"

using namespace Qt::StringLiterals;

/// The reader of release documents, and the dialog that shows the release.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray body = bytesOf(data, size);
    static auto *updater = new SimpleUpdater; // lives as long as the program
    const QString before = updater->foundRelease().version;
    for (const QString &platform : {u"macos"_s, u"linux"_s, QString()}) {
        const std::optional<ReleaseInfo> release = readReleaseDocument(body, platform);
        require(!release || release->platform == platform, "a release is for the requested platform");
    }
    if (!updater->parseReleaseDocument(body)) {
        require(updater->foundRelease().version == before, "an unreadable document keeps the release");
        return 0;
    }
    static_cast<void>(updater->isNewerVersion(updater->foundRelease().version, u"2.7.1"_s));
    UpdateDialog dialog(updater->foundRelease());
    draw(dialog);
    settle();
    return 0;
}
