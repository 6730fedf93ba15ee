// One operation on the threads that its caller allows (V_SetWorkers): its rows in bands, which the calling thread and
// workers of the pool take from a shared counter.
//
// The calling thread works like the others and waits at the end for those that have begun, never for one that has not;
// so items of the pool may do it, too, however busy the pool is. It alone reports progress. Workers have its settings,
// but for the status callback, and work on no more threads themselves. Who does a band must not change what comes out.
#pragma once

#include "kernel/system/Progress.h"

#include <atomic>
#include <cstdint>

namespace vk {

/// The threads that an operation of the calling thread may use, at least 1.
uint32_t workers_allowed() noexcept;

struct Band {
    int32_t row;
    int32_t rows;
};

/// The bands of an operation as one of its threads sees them.
class Bands {
public:
    /// Takes the next band; false when there is none or the operation is to stop.
    bool take(Band& band) noexcept;

    /// Says what became of a band that was taken.
    void done(const Band& band, int result) noexcept;

    /// The same of a part that makes so many steps of progress, where bands are cut up or put together otherwise.
    void done_steps(int64_t steps, int result) noexcept;

    /// The operation has failed, or its callback has refused.
    bool has_stopped() const noexcept;

    /// This is the thread that called the operation.
    bool is_caller() const noexcept { return progress_ != nullptr; }

private:
    friend class BandJob;
    explicit Bands(class BandJob& job, Progress* progress) noexcept : job_(job), progress_(progress) {}

    BandJob& job_;
    Progress* progress_; ///< of the calling thread
};

/// What each of the threads runs once: gets its own means, then takes bands and does them. A result other than SUCCESS
/// counts from the calling thread; a worker that cannot begin leaves the bands to the others.
using BandWork = int (*)(void* context, Bands& bands) noexcept;

/// How an operation is cut up.
struct BandPlan {
    int32_t height = 0; ///< rows of the operation
    int32_t rows = 1;   ///< of a band, the last one aside
    uint32_t threads = 1;
    int64_t before = 0; ///< steps of progress before the first row
    int64_t steps = 1;  ///< of a row
};

/// Bands of a multiple of `multiple` rows, enough of them for `threads` threads.
BandPlan plan_bands(int32_t height, int32_t multiple, uint32_t threads) noexcept;

/// Runs an operation, whose progress has begun. The bands are taken from the first on, and the first failure, or the
/// callback's refusal, stops all and is the result.
int run_bands(const BandPlan& plan, Progress& progress, BandWork work, void* context) noexcept;

/// The same for a callable that takes the bands.
template <class Work> int run_bands(const BandPlan& plan, Progress& progress, Work& work) noexcept
{
    const BandWork call = [](void* context, Bands& bands) noexcept { return (*static_cast<Work*>(context))(bands); };
    return run_bands(plan, progress, call, &work);
}

/// Bands that workers have done so far, in the whole process; for tests.
uint64_t bands_of_workers() noexcept;

} // namespace vk
