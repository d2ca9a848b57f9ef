#include "batch/inputs.h"

#include "batch/filename.h"
#include "batch/listfile.h"
#include "batch/picturefile.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

bool isDigitAt(const QString &text, qsizetype at)
{
    return at < text.size() && text.at(at) >= u'0' && text.at(at) <= u'9';
}

/// Takes the digits at \a at of \a text, without leading zeros, and moves \a at behind
/// them.
QStringView takeNumber(const QString &text, qsizetype &at)
{
    while (isDigitAt(text, at) && text.at(at) == u'0') {
        ++at;
    }
    const qsizetype first = at;
    while (isDigitAt(text, at)) {
        ++at;
    }
    return QStringView(text).mid(first, at - first);
}

/// Below 0 if \a left is less than \a right, above 0 if it is greater.
int compareNaturally(const QString &left, const QString &right)
{
    qsizetype l = 0;
    qsizetype r = 0;
    while (l < left.size() && r < right.size()) {
        const bool areNumbers = isDigitAt(left, l) && isDigitAt(right, r);
        const QStringView a = areNumbers ? takeNumber(left, l) : QStringView(left).mid(l++, 1);
        const QStringView b = areNumbers ? takeNumber(right, r) : QStringView(right).mid(r++, 1);
        const int order = a.size() != b.size() ? int(a.size() - b.size()) : a.compare(b, Qt::CaseInsensitive);
        if (order != 0) {
            return order;
        }
    }
    return int((left.size() - l) - (right.size() - r));
}

/// Calls \a visit with each entry of \a folder, or below it.
template <typename Iterator, typename Visit>
void visitEntries(const QString &folder, Visit visit)
{
    std::error_code failure;
    std::filesystem::path read = nativePath(folder); // the folder that is read next
    for (Iterator entry(read, failure); !failure && entry != Iterator(); entry.increment(failure)) {
        std::error_code unknown;
        read = entry->is_directory(unknown) ? entry->path() : read;
        visit(entry->path());
    }
    if (failure) {
        throw unreadable(nameFromNative(read), QString::fromStdString(failure.message()));
    }
}

/// Whether \a path is a file, or nobody knows what it is: then its job says why.
bool mayBeFile(const std::filesystem::path &path)
{
    std::error_code failure;
    const std::filesystem::file_status status = std::filesystem::status(path, failure);
    return !std::filesystem::exists(status) || std::filesystem::is_regular_file(status);
}

QStringList imagesIn(const QString &folder, bool isRecursive)
{
    QStringList images;
    const auto take = [&images](const std::filesystem::path &path) {
        const QString name = nameFromNative(path);
        if (isImageName(name) && !nameFromNative(path.filename()).startsWith(u'.') && mayBeFile(path)) {
            images.append(name);
        }
    };
    if (isRecursive) {
        visitEntries<std::filesystem::recursive_directory_iterator>(folder, take);
    } else {
        visitEntries<std::filesystem::directory_iterator>(folder, take);
    }
    if (images.isEmpty()) {
        throw BatchError(BatchFailure::WrongUse, u"there is no image in the folder \"%1\""_s.arg(printable(folder)));
    }
    std::sort(images.begin(), images.end(), isNaturallyBefore);
    return images;
}

QStringList namesFrom(const QString &list, bool isNulSeparated)
{
    const QByteArray bytes = readListFile(list);
    if (!isNulSeparated && bytes.contains('\0')) {
        throw BatchError(BatchFailure::WrongUse,
                         u"there are zero bytes in \"%1\": use -0 if they separate the names"_s.arg(printable(list)));
    }
    QStringList names;
    for (QByteArray name : bytes.split(isNulSeparated ? '\0' : '\n')) {
        if (!isNulSeparated && name.endsWith('\r')) {
            name.chop(1);
        }
        if (!name.isEmpty()) {
            names.append(nameFromBytes(name));
        }
    }
    if (names.isEmpty()) {
        throw BatchError(BatchFailure::WrongUse, u"there is no name in \"%1\""_s.arg(printable(list)));
    }
    return names;
}

/// Throws if several of \a names and the lists of \a options are standard input.
void refuseSecondInput(const QStringList &names, const BatchOptions &options)
{
    if ((names + QStringList{options.filesFrom, options.cutsFrom}).count(u"-"_s) > 1) {
        throw BatchError(BatchFailure::WrongUse, u"standard input can be read only once"_s);
    }
}

} // namespace

QStringList findImages(const BatchOptions &options)
{
    QStringList names = options.operands;
    refuseSecondInput(names, options);
    if (!options.filesFrom.isEmpty()) {
        names += namesFrom(options.filesFrom, options.isNulSeparated);
    }
    refuseSecondInput(names, options);
    QStringList images;
    for (const QString &name : std::as_const(names)) {
        std::error_code failure;
        const bool isFolder = name != "-"_L1 && std::filesystem::is_directory(nativePath(name), failure);
        images += isFolder ? imagesIn(name, options.recursive) : QStringList(name);
    }
    return images;
}

bool isNaturallyBefore(const QString &left, const QString &right)
{
    const int order = compareNaturally(left, right);
    return order != 0 ? order < 0 : left < right;
}
