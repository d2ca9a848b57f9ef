#pragma once

#include "app/mainwindow.h"
#include "support/dialoganswer.h"
#include "support/englishcatalogue.h"
#include "support/pictures.h"
#include "support/privatehome.h"
#include "support/windowprobe.h"

#include <QAction>
#include <QApplication>
#include <QGuiApplication>
#include <QScreen>
#include <QSettings>

/// Empties what a window finds at its construction: the window state and the
/// configuration file.
inline void forgetEverything()
{
    QSettings(QStringLiteral("Quillmarch"), QStringLiteral("Settings")).clear();
    PrivateHome::removeConfigFile();
}

/// Writes a picture of \a size, black bars on white within a white rim of 20
/// pixels, into the working directory. Returns its path.
inline QString writePicture(QSize size)
{
    return savedPicture(barPicture(size), QStringLiteral("%1x%2.png").arg(size.width()).arg(size.height()));
}

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
