#pragma once

#include "app/mainwindow.h"
#include "support/privatehome.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QGuiApplication>
#include <QPainter>
#include <QScreen>
#include <QSettings>
#include <QTimer>
#include <QTranslator>

#include <functional>

/// Empties what a window finds at its construction: the window state and the
/// configuration file.
inline void forgetEverything()
{
    QSettings(QStringLiteral("Quillmarch"), QStringLiteral("Settings")).clear();
    PrivateHome::removeConfigFile();
}

/// The child of \a window with the object name \a name; null if there is none.
template <typename T>
T *childOf(const QWidget &window, const char *name)
{
    return window.findChild<T *>(QLatin1String(name));
}

inline QAction *actionOf(const MainWindow &window, const char *name)
{
    return childOf<QAction>(window, name);
}

/// Writes a picture of \a size, black bars on white within a white rim of 20
/// pixels, into the working directory. Returns its path.
inline QString writePicture(QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    for (int y = 20; y < size.height() - 30; y += 25) {
        painter.fillRect(20, y, size.width() - 40, 10, Qt::black);
    }
    painter.end();
    const QString path = QDir::current().filePath(QStringLiteral("%1x%2.png").arg(size.width()).arg(size.height()));
    return image.save(path) ? path : QString();
}

/// The English catalogue, for as long as this object lives.
class EnglishCatalogue
{
public:
    EnglishCatalogue()
    {
        loaded = translator.load(QStringLiteral("zrnw480_en.qm"), QStringLiteral(":/i18n"), QString(), QString())
            && QCoreApplication::installTranslator(&translator);
    }
    ~EnglishCatalogue() { QCoreApplication::removeTranslator(&translator); }
    Q_DISABLE_COPY_MOVE(EnglishCatalogue)

    bool isLoaded() const { return loaded; }

private:
    QTranslator translator;
    bool loaded = false;
};

/// Hands the next modal dialog to a function, which must close it.
class NextDialog
{
public:
    explicit NextDialog(std::function<void(QWidget *)> visit)
    {
        QObject::connect(&timer, &QTimer::timeout, &timer, [this, visit = std::move(visit)] {
            if (QWidget *dialog = QApplication::activeModalWidget()) {
                timer.stop();
                met = true;
                visit(dialog);
            }
        });
        timer.start(0);
    }

    bool wasMet() const { return met; }

private:
    QTimer timer;
    bool met = false;
};

/// The logical dots per inch of the primary screen divided by 96.
inline double densityOfRun()
{
    return QGuiApplication::primaryScreen()->logicalDotsPerInchX() / 96.0;
}

/// Whether the screen has the density that the run was asked for by
/// QT_FONT_DPI; true where none was asked for.
inline bool hasDensityAskedFor()
{
    bool asked = false;
    const int dotsPerInch = qEnvironmentVariableIntValue("QT_FONT_DPI", &asked);
    return !asked || qFuzzyCompare(QGuiApplication::primaryScreen()->logicalDotsPerInchX(), double(dotsPerInch));
}
