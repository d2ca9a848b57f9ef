#include "decode/decodethreads.h"

#include <QThread>

#include <optional>

namespace {

std::optional<DecodeThreads> chosen;

} // namespace

DecodeThreads decodeThreads()
{
    return chosen.value_or(QThread::idealThreadCount() > 1 ? DecodeThreads::Two : DecodeThreads::One);
}

void setDecodeThreads(DecodeThreads threads)
{
    chosen = threads;
}
