#include "pdf/pdferror.h"

PdfError::PdfError(const QString &reason)
    : std::runtime_error(reason.toStdString())
{
}

QString PdfError::reason() const
{
    return QString::fromUtf8(what());
}
