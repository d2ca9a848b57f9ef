#include "batch/capturederrors.h"

#include <QList>

#include <utility>

#ifdef Q_OS_UNIX
#include <unistd.h>
#endif

namespace {

int realErrors = -1; // the error stream of the process while another one takes its place
bool hasRealFailure = false; // of that stream

} // namespace

#ifdef Q_OS_UNIX

CapturedErrors::CapturedErrors()
    : file(std::tmpfile())
{
    if (file == nullptr) {
        return;
    }
    std::fflush(stderr);
    hasRealFailure = std::ferror(stderr) != 0;
    realErrors = ::dup(STDERR_FILENO);
    if (realErrors >= 0) {
        ::dup2(::fileno(file), STDERR_FILENO);
    } else { // too many open files: the stream could not be restored
        std::fclose(std::exchange(file, nullptr));
    }
}

CapturedErrors::~CapturedErrors()
{
    restore();
    if (file != nullptr) {
        std::fclose(file);
    }
}

QString CapturedErrors::firstLine() const
{
    QByteArray line(200, '\0');
    const bool hasLine =
        file != nullptr && std::fflush(stderr) == 0 && ::pread(::fileno(file), line.data(), size_t(line.size()), 0) > 0;
    return hasLine ? QString::fromUtf8(line.left(line.indexOf('\0')).split('\n').first()).trimmed() : QString();
}

void CapturedErrors::restore()
{
    if (realErrors >= 0) {
        std::fflush(stderr);
        ::dup2(realErrors, STDERR_FILENO);
        ::close(realErrors);
        realErrors = -1;
        if (!hasRealFailure) {
            std::clearerr(stderr); // the collection may have failed, as on a full disk
        }
    }
}

#else

CapturedErrors::CapturedErrors() = default;
CapturedErrors::~CapturedErrors() = default;

QString CapturedErrors::firstLine() const
{
    return {};
}

void CapturedErrors::restore()
{
}

#endif
