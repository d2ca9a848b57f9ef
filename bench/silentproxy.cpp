// When linked into a program, sends its network traffic to a proxy on this machine
// if QUILLMARCH_BENCH_PROXY is set to a port.

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
