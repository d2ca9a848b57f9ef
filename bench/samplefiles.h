#pragma once

#include "samples/sampleimage.h"

#include <QSize>
#include <QString>

#include <string>
#include <vector>

/// A sample image in a file.
struct SampleFile
{
    std::string name; ///< as in the table
    SampleKind kind = SampleKind::Chat;
    QSize size;
    bool lightPage = false; ///< most rows lie on light paper
    QString path;
};

enum class SampleSet { Quick, Usual, Large };

/// The samples that the steps are measured with, one after the other. Files
/// that are not there yet are painted into \a folder, which takes minutes.
std::vector<SampleFile> sampleFiles(SampleSet set, const QString &folder);

/// The path of a chat in \a folder that stands \a times one below the other,
/// each 1080 x \a height pixels, so that every row costs the same in all.
QString repeatedChat(int times, int height, const QString &folder);
