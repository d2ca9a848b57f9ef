#include "mutations.h"

#include <algorithm>

/// The changes of libFuzzer itself.
extern "C" size_t LLVMFuzzerMutate(uint8_t *data, size_t size, size_t maxSize);

/// Called by libFuzzer for each new input. Three of four changes keep the structure of a
/// file: others are mostly refused before a reader sees them.
extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t maxSize, unsigned int seed)
{
    std::mt19937 random(seed);
    const QByteArray input(reinterpret_cast<const char *>(data), qsizetype(size));
    const QByteArray output = seed % 4 != 0 ? mutatedStructure(input, random) : QByteArray();
    if (output.isEmpty() || size_t(output.size()) > maxSize) {
        return LLVMFuzzerMutate(data, size, maxSize);
    }
    std::copy(output.begin(), output.end(), data);
    return size_t(output.size());
}
