#pragma once

#include "support/httpserver.h"
#include "support/windowprobe.h"
#include "update/simpleupdater.h"
#include "update/updatedialog.h"

#include <QApplication>
#include <QLabel>
#include <QNetworkReply>

#include <algorithm>

/// Names organization and application as the program does: they select the
/// store of the skipped version.
inline void nameApplication()
{
    QCoreApplication::setOrganizationName(QStringLiteral("zrnw480"));
    QCoreApplication::setApplicationName(QStringLiteral("Quillmarch"));
}

/// A release document with one release for this platform.
[[nodiscard]] inline QByteArray documentFor(const QByteArray &version)
{
    return R"({"releases": [{"version": ")" + version + R"(", "title": "T", "description": "D", "releaseDate": "",)"
        + R"("platforms": [{"name": "windows", "downloadUrl": "https://packages.example/q.zip", "fileSize": 7}]}]})";
}

[[nodiscard]] inline HttpResponse jsonAnswer(const QByteArray &body, int status = 200)
{
    HttpResponse response;
    response.status = status;
    response.headers = {{"Content-Type", "application/json"}};
    response.body = body;
    return response;
}

[[nodiscard]] inline bool isChecking(const SimpleUpdater &updater)
{
    return !updater.findChildren<QNetworkReply *>().isEmpty();
}

/// The visible dialogs that offer a release.
[[nodiscard]] inline QList<UpdateDialog *> openDialogs()
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

/// Closes and deletes the dialogs that checks opened.
inline void closeOpenDialogs()
{
    const auto dialogs = openDialogs();
    for (UpdateDialog *dialog : dialogs) {
        dialog->close();
    }
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

/// Whether no window is visible.
[[nodiscard]] inline bool showsNothing()
{
    const auto widgets = QApplication::topLevelWidgets();
    return std::none_of(widgets.begin(), widgets.end(), [](const QWidget *widget) { return widget->isVisible(); });
}

[[nodiscard]] inline QString headlineOf(const UpdateDialog &dialog)
{
    return childOf<QLabel>(dialog, "titleLabel")->text();
}

/// Makes \a updater check at the address /doc of \a server.
inline void checkAt(const HttpServer &server, SimpleUpdater &updater)
{
    updater.setUpdateUrl(server.url(QStringLiteral("/doc")).toString());
}

/// Starts an interactive check from the event loop, as a click would: a message
/// box then runs a nested loop instead of the outermost one.
inline void startCheck(SimpleUpdater &updater)
{
    QMetaObject::invokeMethod(
        &updater, [&updater] { updater.checkForUpdates(); }, Qt::QueuedConnection);
    QCoreApplication::processEvents();
}
