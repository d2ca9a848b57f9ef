#include "pdf/bandqueue.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <map>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace {

constexpr int waitingForEachThread = 2;

class BandQueue
{
public:
    BandQueue(int bands, int threads, const std::function<PackedBand(int)> &packBand)
        : count(bands)
        , window(waitingForEachThread * threads)
        , pack(packBand)
    {
        for (int i = 1; i < std::min(threads, bands) && addHelper();) {
            ++i;
        }
    }

    ~BandQueue()
    {
        stop(nullptr);
        for (std::thread &helper : helpers) {
            helper.join();
        }
    }

    Q_DISABLE_COPY_MOVE(BandQueue)

    /// The next band; throws what packing it threw.
    PackedBand takeNext()
    {
        std::unique_lock lock(mutex);
        while (!ready.contains(taken)) {
            if (error) {
                std::rethrow_exception(error);
            }
            if (mayStart()) {
                packNext(lock); // rather than wait
            } else {
                changed.wait(lock);
            }
        }
        PackedBand band = std::move(ready.extract(taken).mapped());
        ++taken;
        changed.notify_all();
        return band;
    }

private:
    /// Whether there is a thread to be had; the others do its work.
    bool addHelper()
    {
        try {
            helpers.emplace_back([this] { help(); });
            return true;
        } catch (const std::system_error &) {
            return false;
        }
    }

    bool mayStart() const { return started < count && started < taken + window; }

    void help()
    {
        std::unique_lock lock(mutex);
        while (!isStopped && started < count) {
            if (mayStart()) {
                packNext(lock);
            } else {
                changed.wait(lock);
            }
        }
    }

    /// Packs a band while \a lock is open.
    void packNext(std::unique_lock<std::mutex> &lock)
    {
        const int index = started++;
        lock.unlock();
        try {
            PackedBand band = pack(index);
            lock.lock();
            ready.emplace(index, std::move(band));
        } catch (...) {
            if (lock.owns_lock()) {
                lock.unlock();
            }
            stop(std::current_exception());
            lock.lock();
        }
        changed.notify_all();
    }

    void stop(const std::exception_ptr &reason)
    {
        const std::lock_guard guard(mutex);
        isStopped = true;
        if (!error) {
            error = reason;
        }
        changed.notify_all();
    }

    const int count;
    const int window;
    const std::function<PackedBand(int)> &pack;
    std::mutex mutex; // of all that follows but the threads
    std::condition_variable changed;
    std::map<int, PackedBand> ready;
    int started = 0;
    int taken = 0;
    bool isStopped = false;
    std::exception_ptr error;
    std::vector<std::thread> helpers;
};

} // namespace

void packInOrder(int count, int threads, const std::function<PackedBand(int)> &pack,
                 const std::function<void(int, PackedBand)> &take)
{
    BandQueue queue(count, threads, pack);
    for (int i = 0; i < count; ++i) {
        take(i, queue.takeNext());
    }
}
