#pragma once

#include "support/httpserver.h"
#include "update/simpleupdater.h"
#include "update/updatedialog.h"

#include <QApplication>
#include <QLabel>
#include <QNetworkReply>

#include <algorithm>

/// A release document with one release for this platform.
inline QByteArray documentFor(const QByteArray &version)
{
    return R"({"releases": [{"version": ")" + version + R"(", "title": "T", "description": "D", "releaseDate": "",)"
        + R"("platforms": [{"name": "windows", "downloadUrl": "https://packages.example/q.zip", "fileSize": 7}]}]})";
}

inline HttpResponse answerWith(const QByteArray &body, int status = 200)
{
    HttpResponse response;
    response.status = status;
    response.headers = {{"Content-Type", "application/json"}};
    response.body = body;
    return response;
}

inline bool isChecking(const SimpleUpdater &updater)
{
    return !updater.findChildren<QNetworkReply *>().isEmpty();
}

inline QList<UpdateDialog *> openDialogs()
{
    QList<UpdateDialog *> dialogs;
    const auto widgets = QApplication::topLevelWidgets();
    for (QWidget *widget : widgets) {
        if (auto *dialog = qobject_cast<UpdateDialog *>(widget); dialog && dialog->isVisible()) {
            dialogs.append(dialog);
        }
    }
    return dialogs;
}

inline bool showsNothing()
{
    const auto widgets = QApplication::topLevelWidgets();
    return std::none_of(widgets.begin(), widgets.end(), [](const QWidget *widget) { return widget->isVisible(); });
}

inline QString headlineOf(const UpdateDialog &dialog)
{
    const auto labels = dialog.findChildren<QLabel *>();
    for (const QLabel *label : labels) {
        if (!label->text().isEmpty()) {
            return label->text();
        }
    }
    return {};
}

/// Starts an interactive check out of the event loop, as a click would: a
/// message box then runs a nested loop, and not the outermost one.
inline void startCheck(SimpleUpdater &updater)
{
    QMetaObject::invokeMethod(
        &updater, [&updater] { updater.checkForUpdates(); }, Qt::QueuedConnection);
    QCoreApplication::processEvents();
}
