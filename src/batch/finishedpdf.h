#pragma once

#include <QString>

/// Why the file \a path is not a complete PDF file of \a pages pages as the
/// program writes them, in words; empty if it is one.
///
/// Looks at the end of the file, at the place of every object in the table, and
/// at the page count of the catalogue, but not into the pages.
QString pdfMistake(const QString &path, int pages);
