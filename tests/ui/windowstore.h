#pragma once

#include <QGuiApplication>
#include <QRect>
#include <QScreen>
#include <QSettings>
#include <QStringList>

// The store of the window state, and the geometry of a window without one.

inline QSettings openStore()
{
    return QSettings(QStringLiteral("Quillmarch"), QStringLiteral("Settings"));
}

[[nodiscard]] inline QByteArray stored(const QString &key)
{
    return openStore().value(key).toByteArray();
}

/// All keys that a window stores, sorted.
inline const QStringList allKeys{QStringLiteral("splitterState"), QStringLiteral("windowGeometry"),
                                 QStringLiteral("windowState")};

/// Two thirds of the primary screen in each direction, centered.
[[nodiscard]] inline QRect firstGeometry()
{
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    const int w = 2 * screen.width() / 3;
    const int h = 2 * screen.height() / 3;
    return QRect((screen.width() - w) / 2 + screen.x(), (screen.height() - h) / 2 + screen.y(), w, h);
}
