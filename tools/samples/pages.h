#pragma once

#include "samples/sampleimage.h"

// The kinds of samples with text. The image of the sample must be allocated; the
// functions paint it and add its text lines.

enum class ChatTheme { Light, Dark };
void paintChat(Sample &sample, const SampleParams &params, ChatTheme theme);

enum class ArticleStyle {
    Illustrated, ///< with pictures, quotes and code
    Cutout, ///< the same, with transparent columns on the left and right
    TextOnly,
};
void paintArticle(Sample &sample, const SampleParams &params, ArticleStyle style);

void paintTable(Sample &sample, quint32 seed);
