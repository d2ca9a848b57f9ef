#include "batch/outofmemory.h"

#include "batch/batcherror.h"
#include "batch/capturederrors.h"
#include "batch/partfile.h"

#include <cstdlib>
#include <exception>
#include <new>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

std::function<void()> lastCall;
std::terminate_handler usualEnd = nullptr;

[[noreturn]] void endForWantOfMemory()
{
    removePartFiles();
    CapturedErrors::restore();
    try {
        lastCall();
    } catch (const std::bad_alloc &) {
        // Not even enough memory for the message: the exit code must do.
    }
    std::_Exit(int(BatchFailure::TooLarge));
}

void onTerminate()
{
    if (std::current_exception()) {
        try {
            throw;
        } catch (const std::bad_alloc &) {
            endForWantOfMemory();
        } catch (...) { // the usual handler takes all others
        }
    }
    usualEnd();
}

} // namespace

void exitWhenOutOfMemory(std::function<void()> lastWords)
{
    lastCall = std::move(lastWords);
    if (usualEnd == nullptr) {
        usualEnd = std::set_terminate(onTerminate);
    }
}

void exitIfThreadIsMissing(const QString &warning)
{
    if (warning.startsWith("QThread::start: Thread creation error"_L1)) {
        endForWantOfMemory();
    }
}
