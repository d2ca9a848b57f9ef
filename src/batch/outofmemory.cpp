#include "batch/outofmemory.h"

#include "batch/batcherror.h"
#include "batch/capturederrors.h"
#include "batch/partfile.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <new>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

std::function<void()> lastCall;
std::unique_ptr<char[]> reserve; // memory for the last call
constexpr size_t reserveSize = 128 << 10;
std::terminate_handler usualEnd = nullptr;

[[noreturn]] void endForWantOfMemory()
{
    removePartFiles();
    CapturedErrors::restore();
    reserve.reset();
    try {
        lastCall();
    } catch (const std::bad_alloc &) { // it needs more than the reserve
        std::fputs("quillmarch-batch: there is not enough memory\n", stderr);
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
        reserve = std::make_unique<char[]>(reserveSize);
    }
}

void exitIfThreadIsMissing(const QString &warning)
{
    if (warning.startsWith("QThread::start: Thread creation error"_L1)) {
        endForWantOfMemory();
    }
}
