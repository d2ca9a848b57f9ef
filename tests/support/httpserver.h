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

/// A request as it came in.
struct HttpRequest
{
    QByteArray method;
    QByteArray target;
    QList<QPair<QByteArray, QByteArray>> headers;

    /// The value of a header, in whatever case its name is. Empty if absent.
    QByteArray header(const QByteArray &name) const;
};

/// What the server answers, and how it misbehaves.
struct HttpResponse
{
    int status = 200;
    QList<QPair<QByteArray, QByteArray>> headers;
    QByteArray body;

    bool sendsLength = true; ///< false: the end of the connection ends the body
    bool pausesAtStart = false; ///< sends nothing before HttpServer::resume()
    qsizetype pauseAfter = -1; ///< bytes of the body that go out before HttpServer::resume(), -1 for all
    qsizetype cutAfter = -1; ///< bytes of the body after which the connection ends, -1 for none
    qsizetype chunkSize = 0; ///< bytes of the body that go out at a time, 0 for all
    int chunkInterval = 0; ///< ms between two of them

    static HttpResponse redirectTo(const QUrl &url, int code = 302);
};

/// An HTTP/1.1 server on a free port of 127.0.0.1, for one test.
///
/// Answers by path; a path without an answer is a 404. Each connection serves
/// one request.
class HttpServer : public QObject
{
    Q_OBJECT

public:
    HttpServer();

    /// A server that speaks TLS, with the certificate and key of \a tls.
    explicit HttpServer(const QSslConfiguration &tls);
    ~HttpServer() override;

    quint16 port() const;

    /// The address of \a path, which starts with a slash.
    QUrl url(const QString &path) const;

    void setResponse(const QByteArray &path, const HttpResponse &response);

    const QList<HttpRequest> &requests() const { return m_requests; }

    /// How many clients hold a connection.
    int connectionCount() const;

    /// Goes on with every answer that pauses, up to the byte \a pauseAfter of
    /// the body or, with -1, to its end.
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
