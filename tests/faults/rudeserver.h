#pragma once

#include <QByteArray>
#include <QObject>
#include <QRandomGenerator>
#include <QString>
#include <QTcpServer>

class QTcpSocket;

/// An HTTP server on 127.0.0.1 that answers every request with one body, and
/// with some fault or none: it closes or resets the connection at any point,
/// stalls, or sends what is no answer. A seed fixes what it does in which
/// order.
class RudeServer : public QObject
{
    Q_OBJECT

public:
    /// The server of \a seed. A share of \a soundShare percent of its answers
    /// is whole.
    RudeServer(quint32 seed, int soundShare);

    void setBody(const QByteArray &bytes) { body = bytes; }

    /// From now on a body never ends.
    void setEndless() { isEndless = true; }

    /// From now on every answer is whole.
    void setSound() { soundShare = 100; }

    QString address(const QString &path) const;

    int requestCount() const { return requests; }

    /// How many clients hold a connection.
    int connectionCount() const;

    /// How many bytes went out in endless bodies.
    qint64 endlessBytes() const { return sentEndless; }

private:
    void answer(QTcpSocket *socket);
    void answerEndlessly(QTcpSocket *socket);
    void end(QTcpSocket *socket);

    QTcpServer listener;
    QRandomGenerator random;
    int soundShare = 0;
    QByteArray body;
    bool isEndless = false;
    int requests = 0;
    qint64 sentEndless = 0;
};
