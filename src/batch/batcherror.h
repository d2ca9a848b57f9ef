#pragma once

#include <QString>

#include <exception>

/// Why a run or a file failed. The values are exit codes; none is 0.
enum class BatchFailure {
    WrongUse = 2, ///< the command line
    Unreadable = 3,
    Unwritable = 4,
    TooLarge = 5, ///< or memory ran out, even if that ended the process
};

/// The only exception that this program throws itself. What it is about is not part
/// of `text`, except for WrongUse.
struct BatchError : std::exception
{
    BatchError(BatchFailure kind, const QString &words);
    const char *what() const noexcept override;

    BatchFailure failure;
    QString text;
};
