#pragma once

#include "support/httpserver.h"

#include <QNetworkProxy>

/// Redirects all network traffic to a local server while this object lives.
class LocalProxy
{
public:
    explicit LocalProxy(const HttpServer &server)
    {
        QNetworkProxy::setApplicationProxy(
            QNetworkProxy(QNetworkProxy::HttpProxy, QStringLiteral("127.0.0.1"), server.port()));
    }
    ~LocalProxy() { QNetworkProxy::setApplicationProxy(QNetworkProxy::NoProxy); }
    Q_DISABLE_COPY_MOVE(LocalProxy)
};
