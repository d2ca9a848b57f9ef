#include "rudeserver.h"

#include <QTcpSocket>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 endlessBlock = qint64(256) * 1024;

QByteArray headFor(const QByteArray &length)
{
    return "HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: " + length + "\r\n\r\n";
}

QByteArray chunked(const QByteArray &body, const QByteArray &size)
{
    return "HTTP/1.1 200 OK\r\nConnection: close\r\nTransfer-Encoding: chunked\r\n\r\n" + size + "\r\n" + body
        + "\r\n0\r\n\r\n";
}

/// An invalid answer, or one whose headers are wrong. The receiver can never take
/// it for a complete answer with \a body.
QByteArray invalidAnswer(const QByteArray &body, QRandomGenerator &random)
{
    const QByteArray length = QByteArray::number(body.size());
    switch (random.bounded(10)) {
    case 0:
        return "HTTP/1.1 503 Later\r\nContent-Length: " + length + "\r\n\r\n" + body;
    case 1:
        return "HTTP/9.9 banana\r\n\r\n" + body;
    case 2:
        return "\r\n\r\n" + body;
    case 3:
        return headFor(QByteArray::number(body.size() + 1)) + body;
    case 4:
        return headFor("99999999999999999999") + body.left(body.size() / 2);
    case 5:
        return headFor("none") + body.left(body.size() / 2);
    case 6:
        return chunked(body, "zz");
    case 7:
        return chunked(body, QByteArray::number(body.size() + 1000, 16));
    case 8:
        return "HTTP/1.1 302 Found\r\nContent-Length: 0\r\nLocation: "
            + QByteArray(random.bounded(2) == 0 ? "http://[" : "/elsewhere") + "\r\n\r\n";
    default:
        QByteArray noise(random.bounded(1, 5000), '\0');
        for (char &byte : noise) {
            byte = char(random.bounded(256));
        }
        return noise;
    }
}

} // namespace

RudeServer::RudeServer(quint32 seed, int share)
    : random(seed)
    , validShare(share)
{
    connect(&listener, &QTcpServer::newConnection, this, [this] {
        while (QTcpSocket *socket = listener.nextPendingConnection()) {
            connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            if (validShare < 100 && random.bounded(20) == 0) {
                socket->abort(); // before any request
                socket->deleteLater();
                continue;
            }
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] {
                if (!socket->property("isAnswered").toBool() && socket->peek(100000).contains("\r\n\r\n")) {
                    socket->setProperty("isAnswered", true);
                    ++requests;
                    answer(socket);
                }
            });
        }
    });
    if (!listener.listen(QHostAddress::LocalHost, 0)) {
        qFatal("No port to listen on: %s", qPrintable(listener.errorString()));
    }
}

QString RudeServer::address(const QString &path) const
{
    return u"http://127.0.0.1:%1%2"_s.arg(listener.serverPort()).arg(path);
}

int RudeServer::connectionCount() const
{
    int count = 0;
    const auto sockets = listener.findChildren<QTcpSocket *>();
    for (const QTcpSocket *socket : sockets) {
        count += socket->state() == QAbstractSocket::ConnectedState ? 1 : 0;
    }
    return count;
}

void RudeServer::answer(QTcpSocket *socket)
{
    if (isEndless) {
        socket->write("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n");
        connect(socket, &QTcpSocket::bytesWritten, this, [this, socket] { answerEndlessly(socket); });
        answerEndlessly(socket);
        return;
    }
    const QByteArray complete = headFor(QByteArray::number(body.size())) + body;
    if (random.bounded(100) < validShare) {
        socket->write(complete);
        socket->disconnectFromHost();
    } else if (random.bounded(3) == 0) {
        socket->write(invalidAnswer(body, random));
        socket->disconnectFromHost();
    } else { // the start of the answer, at least one byte short
        const int part = random.bounded(2) == 0 ? random.bounded(200) : random.bounded(int(complete.size()));
        socket->write(complete.left(qMin(qsizetype(part), complete.size() - 1)));
        end(socket);
    }
}

void RudeServer::answerEndlessly(QTcpSocket *socket)
{
    if (socket->bytesToWrite() < endlessBlock) {
        socket->write(QByteArray(endlessBlock, ' '));
        sentEndless += endlessBlock;
    }
}

void RudeServer::end(QTcpSocket *socket)
{
    switch (random.bounded(3)) {
    case 0:
        socket->disconnectFromHost();
        break;
    case 1:
        socket->flush();
        socket->abort();
        socket->deleteLater();
        break;
    default: // after a delay
        QTimer::singleShot(random.bounded(60), socket, [socket] { socket->abort(); });
    }
}
