#include "shownwindow.h"

#include <QApplication>
#include <QFile>

#include <cstdio>

namespace {

/// The peak memory of this process in bytes; -1 if the system does not report it.
qint64 peakBytes()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly)) {
        return -1;
    }
    const QList<QByteArray> lines = status.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith("VmHWM:")) {
            return line.simplified().split(' ').value(1).toLongLong() * 1024;
        }
    }
    return -1;
}

} // namespace

/// Opens the image file of the first argument, exports it to the file of the second
/// one, and prints the peak memory in bytes.
int main(int argc, char *argv[])
{
    const QApplication app(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    ShownWindow shown;
    shown.open(arguments.value(1));
    if (shown.strips().isEmpty()) {
        return 1;
    }
    shown.exportPdf(arguments.value(2));
    const qint64 peak = peakBytes();
    std::printf("%lld\n", static_cast<long long>(peak));
    return peak > 0 && QFile::exists(arguments.value(2)) ? 0 : 1;
}
