#include "batch/batcherror.h"

BatchError::BatchError(BatchFailure kind, const QString &words)
    : failure(kind)
    , text(words)
{
}

const char *BatchError::what() const noexcept
{
    return "quillmarch-batch failed";
}
