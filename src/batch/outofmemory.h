#pragma once

#include <functional>

/// Makes a std::bad_alloc that nobody catches call \a lastWords, remove the
/// unfinished files of this process, and end it with the code of
/// BatchFailure::TooLarge.
///
/// Nobody should catch one that passed through Qt: its painters can crash while
/// they are unwound, and its locks can stay locked for good.
void exitWhenOutOfMemory(std::function<void()> lastWords);
