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

private:
    friend class BandJob;
    explicit Bands(class BandJob& job, Progress* progress, int64_t before) noexcept
        : job_(job), progress_(progress), before_(before)
    {}

    BandJob& job_;
    Progress* progress_; ///< of the calling thread
    int64_t before_;     ///< steps before the first row
};

/// What each of the threads runs once: gets its own means, then takes bands and does them. A result other than SUCCESS
/// counts from the calling thread; a worker that cannot begin leaves the bands to the others.
using BandWork = int (*)(void* context, Bands& bands) noexcept;

/// Runs an operation of `height` rows in bands of a multiple of `multiple` rows, the last one aside, on up to `threads`
/// threads. `progress` has begun; a step is a row, with `before` steps before the first. The first failure, or the
/// callback's refusal, stops all and is the result.
int run_bands(int32_t height, int32_t multiple, uint32_t threads, Progress& progress, int64_t before, BandWork work,
              void* context) noexcept;

/// The same for a callable that takes the bands.
template <class Work>
int run_bands(int32_t height, int32_t multiple, uint32_t threads, Progress& progress, int64_t before,
              Work& work) noexcept
{
    const BandWork call = [](void* context, Bands& bands) noexcept { return (*static_cast<Work*>(context))(bands); };
    return run_bands(height, multiple, threads, progress, before, call, &work);
}

} // namespace vk
