#pragma once

#include <QString>

#include <cstdio>

/// Collects what is written to the standard error stream while this object exists:
/// some decoders write there themselves. Only one object may exist at a time. Collects
/// nothing where streams cannot be redirected, or if too many files are open.
class CapturedErrors
{
public:
    CapturedErrors();
    ~CapturedErrors();
    CapturedErrors(const CapturedErrors &) = delete;
    CapturedErrors &operator=(const CapturedErrors &) = delete;

    /// The first line that was written, or empty.
    QString firstLine() const;

    /// Ends the collection early, as before the end of the process.
    static void restore();

private:
    std::FILE *file = nullptr;
};
