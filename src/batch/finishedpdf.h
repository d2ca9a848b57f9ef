#pragma once

#include <QString>

/// Why the file \a path is not a complete PDF file of \a pages pages as this
/// program writes them; empty if it is one.
///
/// Checks the end of the file, the offset of every object in the cross-reference
/// table and the page count of the catalog, but not the pages.
QString pdfError(const QString &path, int pages);
