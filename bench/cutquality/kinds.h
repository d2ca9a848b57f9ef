#pragma once

#include "cutquality/longpicture.h"

/// A kind of long picture.
struct PictureKind
{
    const char *name;
    bool heldBack; ///< was not looked at before the rule was finished
    void (*paint)(LongPicture &page);
    QImage (*finish)(const LongPicture &page); ///< adds noise, changes the format
};

/// All kinds: first those by which the rule was tuned, then those held back.
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
