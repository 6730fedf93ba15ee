// The record of a running operation lies on the heap, owned by the calling thread and by each ticket that the pool has;
// what a ticket touches besides is there while somebody is `inside`, which the calling thread waits for once it has
// closed the operation. A ticket that comes later finds it closed.
#include "kernel/threading/Bands.h"

#include "Vkthread.h"
#include "kernel/system/ThreadState.h"
#include "kernel/threading/Tools.h"
#include "platform/platform.h"

#include <algorithm>
#include <new>

namespace vk {

namespace {

/// More threads than that do not pay, and bands for each of them, so that none waits long for the last.
constexpr uint32_t kMostThreads = 256;
constexpr int64_t kBandsEach = 8;

} // namespace

class BandJob {
public:
    BandJob(int32_t height, int32_t rows, BandWork work, void* context) noexcept
        : height_(height), rows_(rows), work_(work), context_(context), settings_(state_to_hand_over())
    {
        settings_.status_callback = nullptr;
        settings_.workers = 1;
    }

    static int run(int32_t height, int32_t rows, uint32_t threads, Progress& progress, int64_t before, BandWork work,
                   void* context) noexcept
    {
        if (threads > 1)
            if (BandJob* const job = make(height, rows, work, context)) {
                job->invite(threads - 1);
                const int result = job->work_here(progress, before);
                job->let_go();
                return result;
            }
        BandJob alone(height, rows, work, context);
        return alone.work_here(progress, before);
    }

    bool take(Band& band) noexcept
    {
        if (result_.load(std::memory_order_relaxed) != V_SUCCESS)
            return false;
        const int64_t row = next_.fetch_add(rows_, std::memory_order_relaxed);
        if (row >= height_)
            return false;
        band.row = static_cast<int32_t>(row);
        band.rows = static_cast<int32_t>(std::min<int64_t>(rows_, height_ - row));
        return true;
    }

    /// Returns the rows that are done by now.
    int64_t done(const Band& band) noexcept
    {
        return done_.fetch_add(band.rows, std::memory_order_relaxed) + band.rows;
    }

    void fail(int result) noexcept
    {
        int expected = V_SUCCESS;
        result_.compare_exchange_strong(expected, result, std::memory_order_relaxed);
    }

private:
    static BandJob* make(int32_t height, int32_t rows, BandWork work, void* context) noexcept
    {
        void* const block = platform::heap_alloc(sizeof(BandJob));
        if (!block)
            return nullptr;
        auto* const job = new (block) BandJob(height, rows, work, context);
        if (platform::event_create(false, false, &job->left_) == Status::ok)
            return job;
        platform::heap_free(block);
        return nullptr;
    }

    void invite(uint32_t workers) noexcept
    {
        for (uint32_t i = 0; i < workers; ++i) {
            owners_.fetch_add(1, std::memory_order_relaxed);
            if (platform::pool_queue(&run_ticket, this, false, &drop_ticket) != Status::ok) {
                let_go();
                return;
            }
        }
    }

    int work_here(Progress& progress, int64_t before) noexcept
    {
        Bands bands(*this, &progress, before);
        const int own = work_(context_, bands);
        if (own != V_SUCCESS)
            fail(own);
        closed_.store(true);
        while (inside_.load() != 0)
            if (platform::event_wait(left_, kForever) != Waited::signalled)
                platform::sleep_for(1);
        const int result = result_.load(std::memory_order_relaxed);
        return result == V_SUCCESS ? progress.update(before + height_) : result;
    }

    void work_as_guest() noexcept
    {
        inside_.fetch_add(1);
        if (!closed_.load()) {
            const FreshThreadState fresh;
            thread_state_for_set() = settings_;
            Bands bands(*this, nullptr, 0);
            static_cast<void>(work_(context_, bands));
        }
        if (inside_.fetch_sub(1) == 1 && closed_.load())
            platform::event_set(left_);
    }

    void let_go() noexcept
    {
        if (owners_.fetch_sub(1, std::memory_order_acq_rel) != 1)
            return;
        platform::event_close(left_);
        platform::heap_free(this);
    }

    static V_THREADRESULT run_ticket(void* job) noexcept
    {
        static_cast<BandJob*>(job)->work_as_guest();
        static_cast<BandJob*>(job)->let_go();
        return 0;
    }
    static void drop_ticket(void* job) noexcept { static_cast<BandJob*>(job)->let_go(); }

    const int32_t height_;
    const int32_t rows_; ///< of a band
    const BandWork work_;
    void* const context_;
    ThreadState settings_; ///< of workers
    void* left_ = nullptr; ///< event: the last of those inside has left
    std::atomic<int64_t> next_{0};
    std::atomic<int64_t> done_{0};
    std::atomic<int> result_{V_SUCCESS};
    std::atomic<uint32_t> inside_{0}; ///< workers that have begun and not ended
    std::atomic<uint32_t> owners_{1};
    std::atomic<bool> closed_{false};
};

bool Bands::take(Band& band) noexcept
{
    return job_.take(band);
}

void Bands::done(const Band& band, int result) noexcept
{
    if (result == V_SUCCESS) {
        const int64_t rows = job_.done(band);
        if (progress_)
            result = progress_->update(before_ + rows);
    }
    if (result != V_SUCCESS)
        job_.fail(result);
}

uint32_t workers_allowed() noexcept
{
    const int32_t workers = thread_state().workers;
    return std::min(workers == 0 ? count_processors() : static_cast<uint32_t>(workers), kMostThreads);
}

int run_bands(int32_t height, int32_t multiple, uint32_t threads, Progress& progress, int64_t before, BandWork work,
              void* context) noexcept
{
    const int64_t wanted = (height + threads * kBandsEach - 1) / (threads * kBandsEach);
    const int64_t rows = std::min<int64_t>((wanted + multiple - 1) / multiple * multiple, height);
    const auto bands = static_cast<uint32_t>((height + rows - 1) / rows);
    return BandJob::run(height, static_cast<int32_t>(rows), std::min(threads, bands), progress, before, work, context);
}

} // namespace vk
