#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QSize>

/// PNG files byte for byte.

QByteArray bigEndian32(quint32 value);

/// A chunk with its length and checksum.
QByteArray pngChunk(const QByteArray &type, const QByteArray &data);

/// The zlib stream of \a bytes.
QByteArray zlibOf(const QByteArray &bytes, int level = 6);

/// How the pixels of an image are stored.
struct PngKind
{
    int colorType = 2;
    int depth = 8;
    int filter = -1; ///< of all rows; -1: another one in each row
    int interlace = 0;
};

/// The number of samples of a pixel.
int samplesOf(const PngKind &kind);

QByteArray pngHeader(QSize size, const PngKind &kind);

/// Random rows of \a size as they are stored, each with its filter in front.
/// Of indexes only those below 256.
QByteArray pngRows(QSize size, const PngKind &kind, quint32 seed = 1);

/// The chunk PLTE with \a count colors.
QByteArray pngPalette(int count);

/// A file with the chunk IHDR of \a header, \a before, \a packed in chunks IDAT
/// of \a piece bytes, \a after and IEND.
QByteArray pngOf(const QByteArray &header, const QByteArray &before, const QByteArray &packed,
                 const QByteArray &after = {}, qsizetype piece = 8192);

/// A file of random pixels, with a palette where it needs one.
QByteArray randomPng(QSize size, const PngKind &kind, const QByteArray &before = {}, const QByteArray &after = {});

/// The chunks of \a png without the signature, as far as they can be told apart.
QByteArrayList pngChunksOf(const QByteArray &png);

/// \a png with the right checksum in each chunk.
QByteArray withRightChecksums(const QByteArray &png);

extern const QByteArray pngSignature;
