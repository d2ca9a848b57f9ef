#pragma once

#include "batch/batchevent.h"
#include "batch/batchoptions.h"
#include "batch/picturefile.h"
#include "pdf/pdfsheet.h"

/// A picture on its sheets.
struct LaidOutPicture
{
    QList<PdfSheet> sheets;
    PictureFacts facts; // without what only the file knows: index, offset, remark
};

/// Divides \a picture as \a options say, with the cuts \a wanted if there are some. Pages
/// are numbered from \a firstPage on, if at all. Throws BatchError for cuts outside the
/// picture.
[[nodiscard]] LaidOutPicture layOut(const FilePicture &picture, const PageOptions &options,
                                    const std::optional<QList<int>> &wanted, int firstPage);
