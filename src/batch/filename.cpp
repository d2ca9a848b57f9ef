#include "batch/filename.h"

#include <QScopeGuard>

#include <algorithm>
#include <cerrno>

#ifdef Q_OS_UNIX
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace {

constexpr ushort firstByteSign = 0xdc00; // plus the byte, 0x80 to 0xff
constexpr QByteArrayView byteOrderMark("\xef\xbb\xbf");
constexpr qsizetype longestCharacter = 4; // bytes of UTF-8

/// The length of the valid character at \a at of \a bytes; 0 for none and for a byte order mark.
qsizetype characterLength(const QByteArray &bytes, qsizetype at)
{
    if (QByteArrayView(bytes).sliced(at).startsWith(byteOrderMark)) {
        return 0;
    }
    for (qsizetype length = 1; length <= longestCharacter && at + length <= bytes.size(); ++length) {
        if (QUtf8StringView(bytes.constData() + at, length).isValidUtf8()) {
            return length;
        }
    }
    return 0;
}

bool isByteSign(QChar character)
{
    return character.unicode() >= firstByteSign + 0x80 && character.unicode() <= firstByteSign + 0xff;
}

} // namespace

QString nameFromBytes(const QByteArray &bytes)
{
    QString name;
    for (qsizetype at = 0; at < bytes.size();) {
        const qsizetype length = characterLength(bytes, at);
        if (length == 0) {
            name += QChar(ushort(firstByteSign + uchar(bytes.at(at))));
        } else if (length == 1) {
            name += QLatin1Char(bytes.at(at));
        } else {
            name += QString::fromUtf8(bytes.constData() + at, length);
        }
        at += std::max(length, qsizetype(1));
    }
    return name;
}

QByteArray bytesOfName(const QString &name)
{
    QByteArray bytes;
    for (qsizetype at = 0; at < name.size();) {
        const bool isPair = name.at(at).isHighSurrogate() && at + 1 < name.size();
        if (!isPair && isByteSign(name.at(at))) {
            bytes += char(name.at(at).unicode() - firstByteSign);
        } else if (name.at(at).unicode() < 0x80) {
            bytes += name.at(at).toLatin1();
        } else {
            bytes += QStringView(name).mid(at, isPair ? 2 : 1).toUtf8();
        }
        at += isPair ? 2 : 1;
    }
    return bytes;
}

std::filesystem::path nativePath(const QString &name)
{
#ifdef Q_OS_WIN
    return name.toStdWString();
#else
    return bytesOfName(name).toStdString();
#endif
}

QString nameFromNative(const std::filesystem::path &path)
{
#ifdef Q_OS_WIN
    return QString::fromStdWString(path.generic_wstring());
#else
    return nameFromBytes(QByteArray::fromStdString(path.native()));
#endif
}

std::filesystem::path targetOf(const std::filesystem::path &path)
{
    namespace fs = std::filesystem;
    constexpr int mostLinks = 40; // as Linux follows
    std::error_code failure;
    fs::path target = path;
    for (int i = 0; i < mostLinks && fs::is_symlink(target, failure); ++i) {
        const fs::path next = fs::read_symlink(target, failure);
        target = next.is_absolute() ? next : target.parent_path() / next;
    }
    const fs::path whole = fs::weakly_canonical(fs::absolute(target, failure), failure);
    return failure ? target : whole;
}

QString openFile(QFile &file, const QString &name, QIODevice::OpenMode mode)
{
#ifdef Q_OS_UNIX
    int flags = O_CLOEXEC | (mode.testFlag(QIODevice::WriteOnly) ? O_WRONLY | O_CREAT : O_RDONLY);
    flags |= mode.testFlag(QIODevice::NewOnly) ? O_EXCL : 0;
    const QByteArray path = bytesOfName(name);
    const int descriptor = ::open(path.constData(), flags, S_IRUSR | S_IWUSR);
    if (descriptor < 0) {
        return qt_error_string(errno);
    }
    auto close = qScopeGuard([&] {
        ::close(descriptor);
        if (mode.testFlag(QIODevice::NewOnly)) {
            ::unlink(path.constData());
        }
    });
    if (!file.open(descriptor, mode & QIODevice::ReadWrite, QFileDevice::AutoCloseHandle)) {
        return file.errorString();
    }
    close.dismiss();
    return {};
#else
    file.setFileName(name);
    return file.open(mode) ? QString() : file.errorString();
#endif
}

QString printable(const QString &name)
{
    QString result = name;
    for (QChar &character : result) {
        if (character.category() == QChar::Other_Control) {
            character = u'?';
        }
    }
    return result;
}
