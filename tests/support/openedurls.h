#pragma once

#include <QList>
#include <QObject>
#include <QStringList>
#include <QUrl>

/// Intercepts the URLs of the given schemes that the program asks the system to
/// open, while this object lives. Nothing is opened.
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
