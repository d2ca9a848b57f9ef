#pragma once

#include <QByteArray>
#include <QObject>
#include <QRandomGenerator>
#include <QString>
#include <QTcpServer>

class QTcpSocket;

/// An HTTP server on 127.0.0.1 that answers every request with the same body, but
/// often incorrectly: it closes or resets the connection at any point, stalls, or
/// sends an invalid answer. A seed determines the sequence.
class RudeServer : public QObject
{
    Q_OBJECT

public:
    /// \a validShare percent of the answers are correct and complete.
    RudeServer(quint32 seed, int validShare);

    void setBody(const QByteArray &bytes) { body = bytes; }

    /// Makes all later bodies endless.
    void setEndless() { isEndless = true; }

    /// Makes all later answers correct and complete.
    void setValid() { validShare = 100; }

    QString address(const QString &path) const;

    int requestCount() const { return requests; }

    /// The number of connected clients.
    int connectionCount() const;

    /// The number of bytes sent in endless bodies.
    qint64 endlessBytes() const { return sentEndless; }

private:
    void answer(QTcpSocket *socket);
    void answerEndlessly(QTcpSocket *socket);
    void end(QTcpSocket *socket);

    QTcpServer listener;
    QRandomGenerator random;
    int validShare = 0;
    QByteArray body;
    bool isEndless = false;
    int requests = 0;
    qint64 sentEndless = 0;
};
