#pragma once

#include "samples/sampleimage.h"

// The pages with text. The image of the sample is already allocated; the
// functions fill it and append the lines of text.

enum class ChatTheme { Light, Dark };
void paintChat(Sample &sample, quint32 seed, ChatTheme theme);

enum class ArticleStyle {
    Illustrated, ///< with pictures, quotes and code
    Cutout, ///< the same, with transparent columns left and right
    TextOnly,
};
void paintArticle(Sample &sample, quint32 seed, ArticleStyle style);

void paintTable(Sample &sample, quint32 seed);
