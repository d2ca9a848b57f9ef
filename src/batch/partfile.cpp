#include "batch/partfile.h"

#include "batch/batcherror.h"
#include "batch/filename.h"

#include <QRandomGenerator>
#include <QScopeGuard>

#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <vector>

#ifdef Q_OS_UNIX
#include <pthread.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

using namespace Qt::StringLiterals;

namespace {

constexpr int namesToTry = 100;

// The unfinished files, which a signal handler removes. Changes only during a
// SignalPause, so that a handler never sees it half changed.
std::vector<const std::filesystem::path *> unfinishedFiles;

#ifdef Q_OS_UNIX

constexpr std::array endSignals{SIGHUP, SIGINT, SIGPIPE, SIGQUIT, SIGTERM, SIGXCPU};
constexpr std::array crashSignals{SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV};

pthread_t owner; // the thread that creates the files

/// Blocks the signals that end the process while this object exists.
class SignalPause
{
public:
    SignalPause()
    {
        sigset_t held;
        sigemptyset(&held);
        for (const int number : endSignals) {
            sigaddset(&held, number);
        }
        ::pthread_sigmask(SIG_BLOCK, &held, &before);
    }
    ~SignalPause() { ::pthread_sigmask(SIG_SETMASK, &before, nullptr); }
    Q_DISABLE_COPY_MOVE(SignalPause)

private:
    sigset_t before{};
};

void endByCrash(int number)
{
    removePartFiles();
    if (number == SIGQUIT) {
        const rlimit none{0, 0}; // somebody pressed Ctrl+\; nobody wants the memory in a file
        ::setrlimit(RLIMIT_CORE, &none);
    }
    std::signal(number, SIG_DFL);
    std::raise(number);
}

void endBySignal(int number)
{
    if (::pthread_equal(::pthread_self(), owner) == 0) {
        ::pthread_kill(owner, number); // a SignalPause blocks it only there
        return;
    }
    endByCrash(number);
}

/// Installs \a handler unless the signal is ignored, as under nohup, or already
/// handled, as under a sanitizer.
void handle(int number, void (*handler)(int))
{
    const auto before = std::signal(number, handler);
    if (before != SIG_DFL && before != SIG_ERR) {
        std::signal(number, before);
    }
}

/// Writes \a file to the disk. Returns whether that worked; otherwise `errno` says why.
bool sync(const QFile &file)
{
    return ::fsync(file.handle()) == 0 || errno == EINVAL || errno == EROFS; // some file systems cannot
}

/// The permissions that this process gives to a new file.
std::filesystem::perms usualPermissions()
{
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return std::filesystem::perms(0666 & ~mask);
}

#else

/// Without signals there is nothing to block.
class SignalPause
{
public:
    SignalPause() {}
    Q_DISABLE_COPY_MOVE(SignalPause)
};

bool sync(const QFile &)
{
    return true;
}

std::filesystem::perms usualPermissions()
{
    return std::filesystem::perms::owner_read | std::filesystem::perms::owner_write;
}

#endif

namespace fs = std::filesystem;

BatchError unwritable(const QString &reason)
{
    return {BatchFailure::Unwritable, reason};
}

/// Throws unless \a target does not exist or is a file that may be replaced.
void checkTarget(const fs::path &target)
{
    std::error_code failure;
    const fs::file_status status = fs::status(target, failure);
    if (fs::exists(status) && !fs::is_regular_file(status)) {
        throw unwritable(u"not a regular file"_s);
    }
#ifdef Q_OS_UNIX
    if (fs::exists(status) && ::access(target.c_str(), W_OK) != 0) {
        throw unwritable(u"the existing file is write-protected"_s);
    }
#endif
}

} // namespace

PartFile::PartFile(const QString &name)
    : target(targetOf(nativePath(name)))
{
    checkTarget(target);
    create();
}

PartFile::~PartFile()
{
    if (exists) {
        const SignalPause pause;
        std::error_code failure;
        fs::remove(path, failure);
        std::erase(unfinishedFiles, &path);
    }
}

QString PartFile::name() const
{
    return nameFromNative(path);
}

void PartFile::commit()
{
    if (!file.flush()) {
        throw unwritable(file.errorString());
    }
    if (!sync(file)) {
        throw unwritable(qt_error_string(errno));
    }
    std::error_code failure;
    const fs::file_status before = fs::status(target, failure);
    fs::permissions(path, fs::exists(before) ? before.permissions() : usualPermissions(), failure);
    const SignalPause pause;
    fs::rename(path, target, failure);
    if (failure) {
        throw unwritable(QString::fromStdString(failure.message()));
    }
    exists = false;
    std::erase(unfinishedFiles, &path);
    file.close();
}

void PartFile::create()
{
    const SignalPause pause; // no signal between the open and the entry in the list
    unfinishedFiles.reserve(unfinishedFiles.size() + 1); // or adding the entry could fail for lack of memory
    QString mistake;
    for (int i = 0; i < namesToTry; ++i) {
        const quint32 number = QRandomGenerator::global()->generate();
        path = target.parent_path() / u"quillmarch-%1.pdf.part"_s.arg(number).toStdString();
        unfinishedFiles.push_back(&path); // now: memory can also run out once the file is there
        auto undo = qScopeGuard([this] {
            std::error_code failure;
            fs::remove(path, failure);
            unfinishedFiles.pop_back();
        });
        mistake = openFile(file, name(), QIODevice::WriteOnly | QIODevice::NewOnly);
        undo.dismiss();
        if (mistake.isEmpty()) {
            exists = true;
            return;
        }
        unfinishedFiles.pop_back();
    }
    throw unwritable(mistake);
}

void removePartFileOnSignals()
{
#ifdef Q_OS_UNIX
    owner = ::pthread_self();
    for (const int number : endSignals) {
        handle(number, endBySignal);
    }
    for (const int number : crashSignals) {
        handle(number, endByCrash);
    }
    std::signal(SIGXFSZ, SIG_IGN);
#endif
}

void removePartFiles()
{
    for (const std::filesystem::path *path : unfinishedFiles) {
#ifdef Q_OS_WIN
        ::_wunlink(path->c_str());
#else
        ::unlink(path->c_str());
#endif
    }
}
