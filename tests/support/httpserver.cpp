#include "support/httpserver.h"

#include <QPointer>
#include <QSslConfiguration>
#include <QSslServer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

using namespace Qt::StringLiterals;

/// Serves one request on one socket, which owns it.
class HttpConnection : public QObject
{
public:
    HttpConnection(QTcpSocket *client, HttpServer *owner)
        : QObject(client)
        , socket(client)
        , server(owner)
    {
        connect(socket, &QTcpSocket::readyRead, this, &HttpConnection::readRequest);
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        readRequest();
    }

    void resume(qsizetype pauseAfter)
    {
        if (isPaused) {
            isPaused = false;
            pausePoint = pauseAfter;
            send();
        }
    }

private:
    void readRequest()
    {
        received += socket->readAll();
        const qsizetype end = received.indexOf("\r\n\r\n");
        if (end < 0 || isAnswered) {
            return;
        }
        isAnswered = true;
        HttpRequest request;
        QList<QByteArray> lines = received.left(end).replace("\r\n", "\n").split('\n');
        const QList<QByteArray> words = lines.takeFirst().split(' ');
        request.method = words.value(0);
        request.target = words.value(1);
        for (const QByteArray &line : lines) {
            const qsizetype colon = line.indexOf(':');
            request.headers.append({line.left(colon), line.mid(colon + 1).trimmed()});
        }
        HttpResponse missing;
        missing.status = 404;
        response = server->responses.value(request.target, missing);
        pausePoint = response.pauseAfter;
        isPaused = response.pausesAtStart;
        server->m_requests.append(request);
        emit server->requestReceived();
        send();
    }

    void sendHead()
    {
        areHeadersSent = true;
        QByteArray head = "HTTP/1.1 " + QByteArray::number(response.status) + " Answer\r\nConnection: close\r\n";
        if (response.sendsLength) {
            head += "Content-Length: " + QByteArray::number(response.body.size()) + "\r\n";
        }
        for (const auto &[name, value] : response.headers) {
            head += name + ": " + value + "\r\n";
        }
        socket->write(head + "\r\n");
    }

    void send()
    {
        if (isPaused) {
            return;
        }
        if (!areHeadersSent) {
            sendHead();
        }
        qsizetype end = response.body.size();
        if (response.cutAfter >= 0) {
            end = qMin(end, response.cutAfter);
        }
        const bool pausesHere = pausePoint >= 0 && pausePoint < end;
        if (pausesHere) {
            end = pausePoint;
        }
        const qsizetype step = response.chunkSize > 0 ? qMin(response.chunkSize, end - sent) : end - sent;
        socket->write(response.body.mid(sent, step));
        sent += step;
        if (sent < end) {
            QTimer::singleShot(response.chunkInterval, this, [this] { send(); });
        } else if (pausesHere) {
            isPaused = true;
        } else {
            socket->disconnectFromHost(); // after everything is written
        }
    }

    QTcpSocket *socket = nullptr;
    HttpServer *server = nullptr;
    HttpResponse response;
    QByteArray received;
    qsizetype sent = 0; // bytes of the body
    qsizetype pausePoint = -1;
    bool isAnswered = false;
    bool isPaused = false;
    bool areHeadersSent = false;
};

QByteArray HttpRequest::header(const QByteArray &name) const
{
    for (const auto &[key, value] : headers) {
        if (key.compare(name, Qt::CaseInsensitive) == 0) {
            return value;
        }
    }
    return {};
}

HttpResponse HttpResponse::redirectTo(const QUrl &url, int code)
{
    HttpResponse response;
    response.status = code;
    response.headers = {{"Location", url.toEncoded()}};
    return response;
}

HttpServer::HttpServer()
    : listener(std::make_unique<QTcpServer>())
{
    listen();
}

HttpServer::HttpServer(const QSslConfiguration &tls)
    : isSecure(true)
{
    auto secure = std::make_unique<QSslServer>();
    secure->setSslConfiguration(tls);
    listener = std::move(secure);
    listen();
}

HttpServer::~HttpServer() = default;

quint16 HttpServer::port() const
{
    return listener->serverPort();
}

QUrl HttpServer::url(const QString &path) const
{
    return QUrl(u"%1://127.0.0.1:%2%3"_s.arg(isSecure ? u"https"_s : u"http"_s).arg(port()).arg(path));
}

void HttpServer::setResponse(const QByteArray &path, const HttpResponse &response)
{
    responses[path] = response;
}

int HttpServer::connectionCount() const
{
    int count = 0;
    const auto sockets = listener->findChildren<QTcpSocket *>();
    for (const QTcpSocket *socket : sockets) {
        count += socket->state() == QAbstractSocket::ConnectedState ? 1 : 0;
    }
    return count;
}

void HttpServer::resume(qsizetype pauseAfter)
{
    const auto sockets = listener->findChildren<QTcpSocket *>();
    for (const QTcpSocket *socket : sockets) {
        const auto &children = socket->children();
        for (QObject *child : children) {
            if (auto *connection = dynamic_cast<HttpConnection *>(child)) {
                connection->resume(pauseAfter);
            }
        }
    }
}

void HttpServer::listen()
{
    // Emitted for plain connections and, after the handshake, for TLS connections.
    connect(listener.get(), &QTcpServer::pendingConnectionAvailable, this, &HttpServer::acceptConnections);
    if (!listener->listen(QHostAddress::LocalHost, 0)) {
        qFatal("No port to listen on: %s", qPrintable(listener->errorString()));
    }
}

void HttpServer::acceptConnections()
{
    while (QTcpSocket *socket = listener->nextPendingConnection()) {
        new HttpConnection(socket, this); // owned by the socket
    }
}
