#pragma once

#include "cutquality/longpicture.h"

/// A kind of long picture.
struct PictureKind
{
    enum Group {
        Tuned, ///< the rule was tuned by these
        HeldBack, ///< measured when the rule was finished, for the first time
        Blind, ///< made by somebody who had not seen the rule; some were looked at later
        Unseen, ///< made blind when the rule was finished, and not used to change it
    };

    const char *name;
    Group group;
    void (*paint)(LongPicture &page);
    QImage (*finish)(const LongPicture &page); ///< adds noise, changes the format
};

/// The name of \a kind without spaces.
QString fileName(const PictureKind &kind);

/// All kinds, group by group.
const QList<PictureKind> &pictureKinds();

// The pages; each file has some.
void paintLightChat(LongPicture &page);
void paintDarkChat(LongPicture &page);
void paintColoredChat(LongPicture &page);
void paintWallpaperChat(LongPicture &page);
void paintArticle(LongPicture &page);
void paintColumns(LongPicture &page);
void paintGrayText(LongPicture &page);
void paintTightText(LongPicture &page);
void paintSkewedText(LongPicture &page);
void paintTransparentText(LongPicture &page);
void paintGradientText(LongPicture &page);
void paintTextOverPhoto(LongPicture &page);
void paintCode(LongPicture &page);
void paintTable(LongPicture &page);
void paintForm(LongPicture &page);
void paintCards(LongPicture &page);
void paintSubtitles(LongPicture &page);
void paintWhiteComic(LongPicture &page);
void paintBlackComic(LongPicture &page);
void paintTallPhotos(LongPicture &page);
void paintLightGroup(LongPicture &page);
void paintDarkGroup(LongPicture &page);
void paintComments(LongPicture &page);
void paintForum(LongPicture &page);
void paintDarkFeed(LongPicture &page);
void paintEditor(LongPicture &page);
void paintTerminal(LongPicture &page);
void paintSpreadsheet(LongPicture &page);
void paintViewer(LongPicture &page);
void paintSlides(LongPicture &page);
void paintDirections(LongPicture &page);
void paintShop(LongPicture &page);
void paintStickers(LongPicture &page);
void paintWebArticle(LongPicture &page);
void paintNewspaper(LongPicture &page);
void paintPaperForm(LongPicture &page);
void paintBook(LongPicture &page);
void paintFax(LongPicture &page);
void paintReceipts(LongPicture &page);
void paintHandwriting(LongPicture &page);
void paintMathematics(LongPicture &page);
void paintScore(LongPicture &page);
void paintFilmFrames(LongPicture &page);
void paintCaptionStrips(LongPicture &page);
void paintIrregularComic(LongPicture &page);
void paintManga(LongPicture &page);
void paintWebtoon(LongPicture &page);
void paintMail(LongPicture &page);
void paintPhotoGrid(LongPicture &page);
void paintDashboard(LongPicture &page);
void paintLyrics(LongPicture &page);
