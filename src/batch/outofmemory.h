#pragma once

#include <QString>

#include <functional>

/// Makes an uncaught std::bad_alloc remove the unfinished files of this process,
/// call \a lastWords, and end the process with the code of
/// BatchFailure::TooLarge.
///
/// Do not catch one that passed through Qt: its painters can crash during
/// unwinding, and its locks can stay locked.
void exitWhenOutOfMemory(std::function<void()> lastWords);

/// Ends the process in the same way if \a warning, of Qt, says that a thread could not be
/// started: Qt gives parts of an image to threads, and would wait for this one forever.
void exitIfThreadIsMissing(const QString &warning);
