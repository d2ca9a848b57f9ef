#pragma once

#include <QString>

#include <stdexcept>

/// A PDF file could not be written. The text is the reason, as the system
/// describes it ("No space left on device"), without the name of the file.
///
/// Where memory runs out, std::bad_alloc is thrown instead.
class PdfError : public std::runtime_error
{
public:
    explicit PdfError(const QString &reason);

    QString reason() const;
};
