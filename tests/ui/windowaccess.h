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

/// Clears what a window reads at its construction: the window state and the
/// configuration file.
inline void forgetEverything()
{
    QSettings(QStringLiteral("Quillmarch"), QStringLiteral("Settings")).clear();
    PrivateHome::removeConfigFile();
}

/// Saves barPicture() in the working directory and returns its path.
inline QString writePicture(QSize size)
{
    return savedPicture(barPicture(size), QStringLiteral("%1x%2.png").arg(size.width()).arg(size.height()));
}

/// The logical dots per inch of the primary screen divided by 96.
inline double screenDensityOfRun()
{
    return QGuiApplication::primaryScreen()->logicalDotsPerInchX() / 96.0;
}

/// Whether the screen has the density that QT_FONT_DPI requests; true without
/// that variable.
inline bool hasRequestedDensity()
{
    bool isRequested = false;
    const int dotsPerInch = qEnvironmentVariableIntValue("QT_FONT_DPI", &isRequested);
    return !isRequested || qFuzzyCompare(QGuiApplication::primaryScreen()->logicalDotsPerInchX(), double(dotsPerInch));
}
