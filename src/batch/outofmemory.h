#pragma once

#include <functional>

/// Makes an uncaught std::bad_alloc remove the unfinished files of this process,
/// call \a lastWords, and end the process with the code of
/// BatchFailure::TooLarge.
///
/// Do not catch one that passed through Qt: its painters can crash during
/// unwinding, and its locks can stay locked.
void exitWhenOutOfMemory(std::function<void()> lastWords);
