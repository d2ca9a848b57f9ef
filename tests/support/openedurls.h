#pragma once

#include <QList>
#include <QObject>
#include <QStringList>
#include <QUrl>

/// Catches what the program hands to the system to open, for the schemes
/// given, while this object lives. Nothing is opened.
class OpenedUrls : public QObject
{
    Q_OBJECT

public:
    explicit OpenedUrls(const QStringList &caughtSchemes);
    ~OpenedUrls() override;

    const QList<QUrl> &urls() const { return opened; }

public slots:
    void open(const QUrl &url);

private:
    QStringList schemes;
    QList<QUrl> opened;
};
