#include "cutquality/kinds.h"

#include "cutquality/finishes.h"

QString fileName(const PictureKind &kind)
{
    return QString::fromLatin1(kind.name).replace(u' ', u'_');
}

const QList<PictureKind> &pictureKinds()
{
    using enum PictureKind::Group;
    static const QList<PictureKind> kinds{
        {"light chat", Tuned, paintLightChat, asRgb},
        {"article with pictures", Tuned, paintArticle, asRgb},
        {"code, dark", Tuned, paintCode, asRgb},
        {"table", Tuned, paintTable, asRgb},
        {"skewed scan", Tuned, paintSkewedText, asScan},
        {"palette", Tuned, paintArticle, asPalette},
        {"wallpaper chat", Tuned, paintWallpaperChat, asRgb},
        {"subtitles", Tuned, paintSubtitles, asRgb},
        {"JPEG article", Tuned, paintArticle, asJpeg},
        {"comic on white", Tuned, paintWhiteComic, asRgb},
        {"transparent text", Tuned, paintTransparentText, asArgb},
        {"tall photos", Tuned, paintTallPhotos, asRgb},
        {"dark chat", HeldBack, paintDarkChat, asRgb},
        {"colored chat", HeldBack, paintColoredChat, asRgb},
        {"two columns", HeldBack, paintColumns, asRgb},
        {"form", HeldBack, paintForm, asRgb},
        {"gray text", HeldBack, paintGrayText, asRgb},
        {"1-bit", HeldBack, paintArticle, asMono},
        {"gradient ground", HeldBack, paintGradientText, asRgb},
        {"text over a photo", HeldBack, paintTextOverPhoto, asRgb},
        {"comic on black", HeldBack, paintBlackComic, asRgb},
        {"tight text", HeldBack, paintTightText, asRgb},
        {"JPEG wallpaper chat", HeldBack, paintWallpaperChat, asJpeg},
        {"cards", HeldBack, paintCards, asRgb},
        {"noisy scan of a table", HeldBack, paintTable, asNoisyScan},
        {"JPEG dark chat", HeldBack, paintDarkChat, asJpeg},
        {"group chat", Blind, paintLightGroup, asRgb},
        {"dark group chat", Blind, paintDarkGroup, asRgb},
        {"JPEG group chat", Blind, paintLightGroup, asJpeg},
        {"comments", Blind, paintComments, asRgb},
        {"forum", Blind, paintForum, asRgb},
        {"dark feed", Blind, paintDarkFeed, asRgb},
        {"palette feed", Blind, paintDarkFeed, asPalette},
        {"editor with a minimap", Blind, paintEditor, asRgb},
        {"terminal", Blind, paintTerminal, asRgb},
        {"spreadsheet", Blind, paintSpreadsheet, asRgb},
        {"viewer with sheets", Blind, paintViewer, asRgb},
        {"slides", Blind, paintSlides, asRgb},
        {"directions with maps", Blind, paintDirections, asRgb},
        {"shop", Blind, paintShop, asRgb},
        {"transparent stickers", Blind, paintStickers, asArgb},
        {"web article", Blind, paintWebArticle, asRgb},
        {"JPEG web article", Blind, paintWebArticle, asJpeg},
        {"newspaper", Blind, paintNewspaper, asRgb},
        {"paper form", Blind, paintPaperForm, asRgb},
        {"book scan", Blind, paintBook, asBookScan},
        {"fax", Blind, paintFax, asFax},
        {"receipts", Blind, paintReceipts, asCameraPicture},
        {"handwriting", Blind, paintHandwriting, asCameraPicture},
        {"mathematics", Blind, paintMathematics, asRgb},
        {"sheet music", Blind, paintScore, asRgb},
        {"film frames", Blind, paintFilmFrames, asRgb},
        {"strips of subtitles", Blind, paintCaptionStrips, asRgb},
        {"irregular comic", Blind, paintIrregularComic, asRgb},
        {"manga", Blind, paintManga, asJpeg},
        {"webtoon", Blind, paintWebtoon, asRgb},
        {"mail", Unseen, paintMail, asRgb},
        {"photo grid", Unseen, paintPhotoGrid, asRgb},
        {"dashboard", Unseen, paintDashboard, asRgb},
        {"JPEG lyrics", Unseen, paintLyrics, asJpeg},
    };
    return kinds;
}
