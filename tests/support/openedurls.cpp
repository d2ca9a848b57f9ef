#include "support/openedurls.h"

#include <QDesktopServices>

OpenedUrls::OpenedUrls(const QStringList &caughtSchemes)
    : schemes(caughtSchemes)
{
    for (const QString &scheme : schemes) {
        QDesktopServices::setUrlHandler(scheme, this, "open");
    }
}

OpenedUrls::~OpenedUrls()
{
    for (const QString &scheme : schemes) {
        QDesktopServices::unsetUrlHandler(scheme);
    }
}

void OpenedUrls::open(const QUrl &url)
{
    opened.append(url);
}
