#include "batch/partfile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>

#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <vector>

#ifdef Q_OS_UNIX
#include <pthread.h>
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

/// Flushes the file \a path to disk. Returns the error message, or an empty string.
QString syncError(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadWrite | QIODevice::ExistingOnly)) {
        return file.errorString();
    }
    return ::fsync(file.handle()) == 0 ? QString() : qt_error_string(errno);
}

#else

/// Without signals there is nothing to block.
class SignalPause
{
public:
    SignalPause() {}
    Q_DISABLE_COPY_MOVE(SignalPause)
};

QString syncError(const QString &)
{
    return {};
}

#endif

/// \a path, or the target of a symbolic link, even if that does not exist.
QString withoutLinks(const QString &path)
{
    const QFileInfo file(path);
    if (!file.isSymLink()) {
        return path;
    }
    return file.exists() ? file.canonicalFilePath() : file.symLinkTarget();
}

} // namespace

PartFile::PartFile(const QString &path)
    : target(withoutLinks(path))
{
    if (mayReplaceTarget()) {
        create();
    }
}

PartFile::~PartFile()
{
    if (!m_path.isEmpty()) {
        const SignalPause pause;
        QFile::remove(m_path);
        std::erase(unfinishedFiles, &nativePath);
    }
}

bool PartFile::commit()
{
    m_error = syncError(m_path);
    if (!m_error.isEmpty()) {
        return false;
    }
    if (QFile::exists(target)) {
        QFile::setPermissions(m_path, QFile::permissions(target));
    }
    const SignalPause pause;
    std::error_code failure;
    std::filesystem::rename(nativePath, QFileInfo(target).filesystemFilePath(), failure);
    if (failure) {
        m_error = QString::fromStdString(failure.message());
        return false;
    }
    m_path.clear();
    std::erase(unfinishedFiles, &nativePath);
    return true;
}

/// Whether the target does not exist or is a file that may be replaced.
bool PartFile::mayReplaceTarget()
{
    const QFileInfo file(target);
    if (file.exists() && !file.isFile()) {
        m_error = u"not a regular file"_s;
    } else if (file.exists() && !file.isWritable()) {
        m_error = u"the existing file is write-protected"_s;
    }
    return m_error.isEmpty();
}

void PartFile::create()
{
    const SignalPause pause; // no signal between the open and the entry in the list
    unfinishedFiles.reserve(unfinishedFiles.size() + 1); // or adding the entry could fail for lack of memory
    const QDir folder = QFileInfo(target).dir();
    for (int i = 0; i < namesToTry && m_path.isEmpty(); ++i) {
        const QString name = u"quillmarch-%1.pdf.part"_s.arg(QRandomGenerator::global()->generate());
        QFile file(folder.filePath(name));
        nativePath = QFileInfo(file.fileName()).filesystemAbsoluteFilePath();
        if (file.open(QIODevice::WriteOnly | QIODevice::NewOnly)) {
            unfinishedFiles.push_back(&nativePath);
            m_path = file.fileName();
        } else {
            m_error = file.errorString();
        }
    }
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
