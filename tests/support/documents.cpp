#include "support/documents.h"

#include "app/mainwindow.h"
#include "app/settings.h"
#include "output/previewitem.h"
#include "page/pageitem.h"
#include "ui/leftview.h"
#include "ui/mainview.h"
#include "ui/popup.h"

#include <QAction>
#include <QDir>
#include <QFile>
#include <QGraphicsScene>
#include <QLabel>
#include <QPainter>
#include <QProcess>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <cstdlib>

using namespace Qt::StringLiterals;

namespace {

constexpr int blockSide = 32;
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

template <typename Item>
QList<Item *> itemsOf(const QGraphicsView *view)
{
    QList<Item *> found;
    const QList<QGraphicsItem *> items = view->scene()->items();
    for (QGraphicsItem *item : items) {
        if (auto *wanted = dynamic_cast<Item *>(item)) {
            found.append(wanted);
        }
    }
    return found;
}

} // namespace

QImage blockPicture(int width, int height, quint32 seed)
{
    QRandomGenerator random(seed);
    QImage image(width, height, QImage::Format_RGB32);
    QPainter painter(&image);
    for (int y = 0; y < height; y += blockSide) {
        for (int x = 0; x < width; x += blockSide) {
            const auto level = [&random] { return random.bounded(60, 230); };
            painter.fillRect(x, y, blockSide, blockSide, QColor(level(), level(), level()));
        }
    }
    return image;
}

QImage textPicture(int width, int height, int pitch)
{
    QRandomGenerator random(7);
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(QColor(250, 250, 245));
    QPainter painter(&image);
    for (int y = pitch / 2; y < height; y += pitch) {
        for (int x = width / 10; x < width * 9 / 10; x += 14) {
            painter.fillRect(x, y, random.bounded(4, 12), pitch / 2, QColor(30, 30, 60));
        }
    }
    return image;
}

QString savedPicture(const QImage &image, const QString &name, const char *format)
{
    const QString path = QDir::current().absoluteFilePath(name);
    if (!image.save(path, format)) {
        qFatal("Cannot write %s", qPrintable(path));
    }
    return path;
}

QString savedBytes(const QByteArray &bytes, const QString &name)
{
    const QString path = QDir::current().absoluteFilePath(name);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
        qFatal("Cannot write %s", qPrintable(path));
    }
    return path;
}

void clearConfigValues()
{
    for (const QString &key :
         {u"language"_s, u"autopage"_s, u"cutrule"_s, u"marginsc"_s, u"imagedir"_s, u"savepath"_s}) {
        if (!configValue(key).isEmpty()) {
            writeConfigValue(configFilePath(), key, QString());
        }
    }
}

QString configValue(const QString &key)
{
    QString value;
    readConfigValue(configFilePath(), key, value);
    return value;
}

MainView *mainViewOf(const MainWindow &window)
{
    return window.findChild<MainView *>(u"mainView"_s);
}

LeftView *leftViewOf(const MainWindow &window)
{
    return window.findChild<LeftView *>(u"leftView"_s);
}

void trigger(const MainWindow &window, const char *name)
{
    auto *action = window.findChild<QAction *>(QLatin1StringView(name));
    if (action == nullptr || !action->isEnabled()) {
        qFatal("No enabled action %s", name);
    }
    action->trigger();
}

QList<PageItem *> stripsOf(const MainWindow &window)
{
    QList<PageItem *> strips = itemsOf<PageItem>(mainViewOf(window));
    std::sort(strips.begin(), strips.end(),
              [](const PageItem *a, const PageItem *b) { return a->pageIndex() < b->pageIndex(); });
    return strips;
}

QList<PreviewItem *> pagesOf(const MainWindow &window)
{
    QList<PreviewItem *> pages = itemsOf<PreviewItem>(leftViewOf(window));
    std::sort(pages.begin(), pages.end(),
              [](const PreviewItem *a, const PreviewItem *b) { return a->pageNumber() < b->pageNumber(); });
    return pages;
}

QImage shownPicture(const MainWindow &window, QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::magenta);
    QPainter painter(&image);
    const QList<PageItem *> strips = stripsOf(window);
    for (PageItem *strip : strips) {
        strip->drawSource(&painter, strip->sourceRect());
    }
    return image;
}

QString toastText(const MainWindow &window)
{
    const auto *toast = window.findChild<PopUp *>();
    return toast->isVisible() ? toast->findChild<QLabel *>()->text() : QString();
}

void dropToast(const MainWindow &window)
{
    window.findChild<PopUp *>()->QWidget::hide();
}

QString firstDifference(const QImage &actual, const QImage &expected, int tolerance)
{
    if (actual.size() != expected.size()) {
        return u"sizes: %1 x %2 instead of %3 x %4"_s.arg(actual.width())
            .arg(actual.height())
            .arg(expected.width())
            .arg(expected.height());
    }
    for (int y = 0; y < actual.height(); ++y) {
        for (int x = 0; x < actual.width(); ++x) {
            const QRgb a = actual.pixel(x, y);
            const QRgb b = expected.pixel(x, y);
            const int distance = std::max({std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)),
                                           std::abs(qBlue(a) - qBlue(b)), std::abs(qAlpha(a) - qAlpha(b))});
            if (distance > tolerance) {
                return u"pixel (%1, %2): #%3 instead of #%4"_s.arg(x)
                    .arg(y)
                    .arg(a, 8, 16, QLatin1Char('0'))
                    .arg(b, 8, 16, QLatin1Char('0'));
            }
        }
    }
    return {};
}

void onNextModalWidget(std::function<void(QWidget *)> handle)
{
    QTimer::singleShot(0, qApp, [handle] {
        if (QWidget *widget = QApplication::activeModalWidget()) {
            handle(widget);
        } else {
            onNextModalWidget(handle);
        }
    });
}

PdfFacts pdfFacts(const QString &path)
{
    const QString text = QString::fromUtf8(runTool(u"pdfinfo"_s, {path}));
    PdfFacts facts;
    const auto pages = QRegularExpression(uR"(Pages:\s+(\d+))"_s).match(text);
    const auto size = QRegularExpression(uR"(Page size:\s+([\d.]+) x ([\d.]+) pts)"_s).match(text);
    if (pages.hasMatch() && size.hasMatch()) {
        facts.pages = pages.captured(1).toInt();
        facts.pageSize = QSizeF(size.captured(1).toDouble(), size.captured(2).toDouble());
    }
    return facts;
}

QList<QImage> pdfPictures(const QString &path, int dotsPerInch)
{
    QTemporaryDir dir;
    runTool(u"pdftoppm"_s, {u"-r"_s, QString::number(dotsPerInch), path, dir.filePath(u"page"_s)});
    QList<QImage> pictures;
    const QStringList names = QDir(dir.path()).entryList(QDir::Files, QDir::Name);
    for (const QString &name : names) {
        pictures.append(QImage(dir.filePath(name)).convertToFormat(QImage::Format_RGB32));
    }
    return pictures;
}
