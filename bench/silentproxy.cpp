// Linked into a program, this leads its network traffic to a proxy on a port
// of this machine, if the environment names one.

#include <QCoreApplication>
#include <QNetworkProxy>

namespace {

void useProxyOfEnvironment()
{
    const int port = qEnvironmentVariableIntValue("QUILLMARCH_BENCH_PROXY");
    if (port > 0) {
        QNetworkProxy::setApplicationProxy(
            QNetworkProxy(QNetworkProxy::HttpProxy, QStringLiteral("127.0.0.1"), quint16(port)));
    }
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(useProxyOfEnvironment)
