#pragma once

#include "samples/sampleimage.h"

#include <QImage>
#include <QSize>
#include <QString>

#include <string>
#include <vector>

/// A sample image in a file.
struct SampleFile
{
    std::string name; ///< in the table
    SampleKind kind = SampleKind::Chat;
    QSize size;
    bool lightPage = false; ///< most rows have a light background
    QString path;
};

enum class SampleSet { Quick, Usual, Large };

/// The samples with which the steps are measured, in order. Missing files are
/// created in \a folder, which takes minutes.
std::vector<SampleFile> sampleFiles(SampleSet set, const QString &folder);

/// The path of an image in \a folder that repeats a chat of 1080 x \a height pixels
/// \a times times from top to bottom, so that the cost of a row is independent of
/// \a times. Created if it does not exist.
QString repeatedChat(int times, int height, const QString &folder);

/// Gray noise on dark and light ground, as from a scanner.
QImage noisyScan(QSize size);
