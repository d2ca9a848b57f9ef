#include "jsonmutations.h"

#include <algorithm>

/// The changes of libFuzzer itself.
extern "C" size_t LLVMFuzzerMutate(uint8_t *data, size_t size, size_t maxSize);

/// Called by libFuzzer for each new input. Half of the changes leave JSON as it is: others
/// are mostly refused by the parser, before a reader sees them.
extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t maxSize, unsigned int seed)
{
    std::mt19937 random(seed);
    const QByteArray input(reinterpret_cast<const char *>(data), qsizetype(size));
    const QByteArray output = seed % 2 == 0 ? mutatedJson(input, random) : QByteArray();
    if (output.isEmpty() || size_t(output.size()) > maxSize) {
        return LLVMFuzzerMutate(data, size, maxSize);
    }
    std::copy(output.begin(), output.end(), data);
    return size_t(output.size());
}
