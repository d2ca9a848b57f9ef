#include "batch/partfile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <system_error>

#ifdef Q_OS_UNIX
#include <unistd.h>
#endif

using namespace Qt::StringLiterals;

namespace {

constexpr int namesToTry = 100;

#ifdef Q_OS_UNIX

// The file that a signal removes; plain memory, since a handler reads it.
char doomedPath[4096] = "";

void endBySignal(int number)
{
    if (doomedPath[0] != '\0') {
        ::unlink(doomedPath);
    }
    std::signal(number, SIG_DFL);
    std::raise(number);
}

void setDoomedPath(const QString &path)
{
    doomedPath[0] = '\0';
    const QByteArray name = QFile::encodeName(QFileInfo(path).absoluteFilePath());
    if (!path.isEmpty() && size_t(name.size()) < sizeof doomedPath) {
        std::memcpy(doomedPath + 1, name.constData() + 1, size_t(name.size())); // with the final zero
        std::atomic_signal_fence(std::memory_order_release);
        doomedPath[0] = name.at(0); // last, or a signal could find half a name
    }
}

bool syncToDisk(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadWrite) && ::fsync(file.handle()) == 0;
}

#else

void setDoomedPath(const QString &)
{
}

bool syncToDisk(const QString &)
{
    return true;
}

#endif

/// \a path, or what it leads to if it is a symbolic link, be that there or not.
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
        QFile::remove(m_path);
        setDoomedPath(QString());
    }
}

bool PartFile::commit()
{
    errno = 0;
    if (!syncToDisk(m_path)) {
        m_error = qt_error_string(errno);
        return false;
    }
    if (QFile::exists(target)) {
        QFile::setPermissions(m_path, QFile::permissions(target));
    }
    std::error_code failure;
    std::filesystem::rename(QFileInfo(m_path).filesystemFilePath(), QFileInfo(target).filesystemFilePath(), failure);
    if (failure) {
        m_error = QString::fromStdString(failure.message());
        return false;
    }
    m_path.clear();
    setDoomedPath(QString());
    return true;
}

/// Whether the target is a file that may be replaced, or nothing yet.
bool PartFile::mayReplaceTarget()
{
    const QFileInfo file(target);
    if (file.exists() && !file.isFile()) {
        m_error = u"it is no regular file"_s;
    } else if (file.exists() && !file.isWritable()) {
        m_error = u"the file that is there is protected"_s;
    }
    return m_error.isEmpty();
}

void PartFile::create()
{
    const QDir folder = QFileInfo(target).dir();
    for (int i = 0; i < namesToTry && m_path.isEmpty(); ++i) {
        const QString name = u"quillmarch-%1.pdf.part"_s.arg(QRandomGenerator::global()->generate());
        QFile file(folder.filePath(name));
        if (file.open(QIODevice::WriteOnly | QIODevice::NewOnly)) {
            m_path = file.fileName();
            setDoomedPath(m_path);
        } else {
            m_error = file.errorString();
        }
    }
}

void removePartFileOnSignals()
{
#ifdef Q_OS_UNIX
    for (const int number : {SIGHUP, SIGINT, SIGPIPE, SIGTERM}) {
        if (std::signal(number, endBySignal) == SIG_IGN) {
            std::signal(number, SIG_IGN); // as under nohup
        }
    }
    std::signal(SIGXFSZ, SIG_IGN);
#endif
}
