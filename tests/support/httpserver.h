#pragma once

#include <QByteArray>
#include <QHash>
#include <QHostAddress>
#include <QList>
#include <QObject>
#include <QPair>
#include <QUrl>

#include <memory>

class QSslConfiguration;
class QTcpServer;
class QTcpSocket;

/// A received request.
struct HttpRequest
{
    QByteArray method;
    QByteArray target;
    QList<QPair<QByteArray, QByteArray>> headers;

    /// The value of the header \a name, which is case-insensitive. Empty if absent.
    QByteArray header(const QByteArray &name) const;
};

/// The response of the server and its deliberate faults.
struct HttpResponse
{
    int status = 200;
    QList<QPair<QByteArray, QByteArray>> headers;
    QByteArray body;

    bool sendsLength = true; ///< false: the end of the connection ends the body
    bool pausesAtStart = false; ///< sends nothing before HttpServer::resume()
    qsizetype pauseAfter = -1; ///< bytes of the body sent before HttpServer::resume(), -1 for all
    qsizetype cutAfter = -1; ///< bytes of the body after which the connection ends, -1 for none
    qsizetype chunkSize = 0; ///< bytes of the body sent at a time, 0 for all
    int chunkInterval = 0; ///< ms between two chunks

    static HttpResponse redirectTo(const QUrl &url, int code = 302);
};

/// An HTTP/1.1 server on a free port of 127.0.0.1, for one test.
///
/// Responds by path, with 404 for an unknown one. Each connection serves one
/// request.
class HttpServer : public QObject
{
    Q_OBJECT

public:
    HttpServer();

    /// An HTTPS server with the certificate and key of \a tls.
    explicit HttpServer(const QSslConfiguration &tls);
    ~HttpServer() override;

    quint16 port() const;

    /// The address of \a path, which starts with a slash.
    QUrl url(const QString &path) const;

    void setResponse(const QByteArray &path, const HttpResponse &response);

    const QList<HttpRequest> &requests() const { return m_requests; }

    /// The number of open connections.
    int connectionCount() const;

    /// Continues every paused response up to byte \a pauseAfter of the body, or
    /// to its end if -1.
    void resume(qsizetype pauseAfter = -1);

signals:
    void requestReceived();

private:
    void listen();
    void acceptConnections();

    std::unique_ptr<QTcpServer> listener;
    bool isSecure = false;
    QHash<QByteArray, HttpResponse> responses;
    QList<HttpRequest> m_requests;
    friend class HttpConnection;
};
