#include "samplefiles.h"

#include <QDir>
#include <QFile>
#include <QImageWriter>
#include <QRandomGenerator>

#include <cstdio>
#include <cstring>
#include <functional>

using namespace Qt::StringLiterals;

namespace {

constexpr int phoneWidth = 1080;
constexpr int jpegQuality = 90;

/// Writes the image that \a paint returns to \a path unless that file exists. Writes
/// to a temporary name first, so that an interrupted run leaves no partial image.
void paintOnce(const QString &path, const std::function<QImage()> &paint)
{
    if (QFile::exists(path)) {
        return;
    }
    std::fprintf(stderr, "painting %s\n", qPrintable(path));
    const QString suffix = path.section(u'.', -1);
    const QString unfinished = path + ".part"_L1;
    QImageWriter writer(unfinished, suffix.toLatin1());
    if (suffix == "jpg"_L1) {
        writer.setQuality(jpegQuality);
    }
    if (!writer.write(paint()) || !QFile::rename(unfinished, path)) {
        qFatal("cannot write %s: %s", qPrintable(path), qPrintable(writer.errorString()));
    }
}

QImage stacked(const QImage &image, int times)
{
    QImage result(image.width(), image.height() * times, image.format());
    for (int i = 0; i < times; ++i) {
        std::memcpy(result.scanLine(i * image.height()), image.constBits(), size_t(image.sizeInBytes()));
    }
    return result;
}

} // namespace

std::vector<SampleFile> sampleFiles(SampleSet set, const QString &folder)
{
    const bool quick = set == SampleSet::Quick;
    const QSize phone(phoneWidth, quick ? 12000 : 50000);
    std::vector<SampleFile> files = {
        {"chat.png", SampleKind::Chat, phone, true, {}},
        {"chat.jpg", SampleKind::Chat, phone, true, {}},
        {"web.png", SampleKind::Web, quick ? phone : QSize(2000, 60000), true, {}},
        {"dark.png", SampleKind::Dark, phone, false, {}},
        {"gray.png", SampleKind::Gray, phone, true, {}},
        {"palette.png", SampleKind::Palette, phone, false, {}},
        {"alpha.png", SampleKind::Alpha, phone, false, {}},
    };
    if (set == SampleSet::Large) {
        files.push_back({"large.png", SampleKind::Web, QSize(4000, 100000), true, {}});
    }
    QDir().mkpath(folder);
    for (SampleFile &file : files) {
        file.path = u"%1/%2x%3-%4"_s.arg(folder)
                        .arg(file.size.width())
                        .arg(file.size.height())
                        .arg(QString::fromStdString(file.name));
        paintOnce(file.path, [&file] { return makeSampleImage({file.kind, file.size.width(), file.size.height()}); });
    }
    return files;
}

QString repeatedChat(int times, int height, const QString &folder)
{
    QDir().mkpath(folder);
    const QString path = u"%1/%2x%3-chat-x%4.png"_s.arg(folder).arg(phoneWidth).arg(height).arg(times);
    paintOnce(path, [=] { return stacked(makeSampleImage({SampleKind::Chat, phoneWidth, height}), times); });
    return path;
}

QImage noisyScan(QSize size)
{
    QImage image(size, QImage::Format_Grayscale8);
    QRandomGenerator random(1);
    for (int y = 0; y < size.height(); ++y) {
        uchar *row = image.scanLine(y);
        for (int x = 0; x < size.width(); ++x) {
            const int level = y / 20 % 2 == 0 && x / 12 % 3 != 0 ? 60 : 225;
            row[x] = uchar(level + int(random.bounded(24U)));
        }
    }
    return image;
}
