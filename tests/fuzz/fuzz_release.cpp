#include "fuzzing.h"
#include "update/simpleupdater.h"
#include "update/updatedialog.h"

using namespace Qt::StringLiterals;

/// The display of release documents in their dialog.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray body = bytesOf(data, size);
    static auto *updater = new SimpleUpdater; // lives as long as the program
    const QString before = updater->foundRelease().version;
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
