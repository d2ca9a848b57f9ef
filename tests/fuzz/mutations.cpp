#include "mutations.h"

#include "jpegmutations.h"
#include "jsonmutations.h"
#include "pngmutations.h"
#include "support/pngbytes.h"

#include <algorithm>
#include <array>

namespace {

constexpr int maxChanges = 4;
constexpr qsizetype maxRunLength = 64;

QByteArray run(const QByteArray &bytes, std::mt19937 &random)
{
    return bytes.mid(below(random, bytes.size()), below(random, maxRunLength) + 1);
}

void changeOnce(QByteArray &bytes, const QByteArray &other, std::mt19937 &random)
{
    constexpr std::array<char, 8> values = {'\x00', '\x01', '\x7f', '\x80', '\xff', '0', '-', '\n'};
    const qsizetype at = below(random, bytes.size());
    const qsizetype length = below(random, maxRunLength) + 1;
    switch (below(random, 7)) {
    case 0:
        bytes[at] = char(bytes[at] ^ (1 << below(random, 8)));
        break;
    case 1:
        bytes[at] = values.at(size_t(below(random, values.size())));
        break;
    case 2:
        bytes.replace(at, std::min<qsizetype>(4, length), QByteArray(4, values.at(size_t(below(random, 5)))));
        break;
    case 3:
        bytes.remove(at, length);
        break;
    case 4:
        bytes.insert(at, run(bytes, random));
        break;
    case 5:
        bytes.replace(at, length, run(other, random));
        break;
    default:
        bytes.truncate(at);
        break;
    }
}

} // namespace

qsizetype below(std::mt19937 &random, qsizetype end)
{
    return end > 0 ? qsizetype(random() % quint32(end)) : 0;
}

QByteArray anyBytes(std::mt19937 &random, qsizetype most)
{
    QByteArray bytes(below(random, most + 1), '\0');
    const quint32 fill = quint32(below(random, 3));
    for (char &byte : bytes) {
        byte = char(below(random, 2) == 0 ? fill * 0xff : random());
    }
    return bytes;
}

QByteArray mutatedStructure(const QByteArray &input, std::mt19937 &random)
{
    if (input.startsWith(pngSignature)) {
        return mutatedPng(input, random);
    }
    return input.startsWith("\xff\xd8") ? mutatedJpeg(input, random) : mutatedJson(input, random);
}

QByteArray mutated(const QList<QByteArray> &corpus, qsizetype index, std::mt19937 &random)
{
    QByteArray bytes = below(random, 2) == 0 ? mutatedStructure(corpus.at(index), random) : QByteArray();
    if (!bytes.isEmpty()) {
        return bytes;
    }
    bytes = corpus.at(index);
    const qsizetype changes = below(random, maxChanges) + 1;
    for (qsizetype i = 0; i < changes && !bytes.isEmpty(); ++i) {
        changeOnce(bytes, corpus.at(below(random, corpus.size())), random);
    }
    return bytes;
}
