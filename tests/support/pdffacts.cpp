#include "support/pdffacts.h"

#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <cstring>

using namespace Qt::StringLiterals;

namespace {

constexpr int processTime = 60000; // milliseconds

QByteArray runTool(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(processTime) || process.exitCode() != 0) {
        qWarning("%s: %s", qPrintable(program), process.readAllStandardError().constData());
        return {};
    }
    return process.readAllStandardOutput();
}

/// The images that \a program writes, which is called with \a arguments and the
/// prefix of its output files.
QList<QImage> imagesWrittenBy(const QString &program, const QStringList &arguments)
{
    QTemporaryDir dir;
    runTool(program, arguments + QStringList(dir.filePath(u"image"_s)));
    QList<QImage> images;
    const QStringList names = QDir(dir.path()).entryList(QDir::Files, QDir::Name);
    for (const QString &name : names) {
        images.append(QImage(dir.filePath(name)).convertToFormat(QImage::Format_RGB32));
    }
    return images;
}

} // namespace

PdfFacts pdfFacts(const QString &path)
{
    const QString text = QString::fromUtf8(runTool(u"pdfinfo"_s, {u"-f"_s, u"1"_s, u"-l"_s, u"-1"_s, path}));
    const auto pages = QRegularExpression(uR"(Pages:\s+(\d+))"_s).match(text);
    PdfFacts facts;
    if (pages.hasMatch()) {
        facts.pages = pages.captured(1).toInt();
    }
    for (const auto &size : QRegularExpression(uR"(Page\s+\d+ size:\s+([\d.]+) x ([\d.]+) pts)"_s).globalMatch(text)) {
        facts.pageSizes.append(QSizeF(size.captured(1).toDouble(), size.captured(2).toDouble()));
    }
    return facts;
}

QList<QImage> pdfPictures(const QString &path, int dotsPerInch)
{
    return imagesWrittenBy(u"pdftoppm"_s, {u"-r"_s, QString::number(dotsPerInch), path});
}

QList<QImage> pdfImages(const QString &path)
{
    return imagesWrittenBy(u"pdfimages"_s, {u"-png"_s, path});
}

QList<QByteArray> pdfStreams(const QByteArray &pdf)
{
    QList<QByteArray> streams;
    for (qsizetype at = pdf.indexOf("stream\n"); at >= 0; at = pdf.indexOf("stream\n", at)) {
        const qsizetype end = pdf.indexOf("endstream", at);
        streams.append(pdf.mid(at, end - at));
        at = end + qsizetype(std::strlen("endstream"));
    }
    return streams;
}
