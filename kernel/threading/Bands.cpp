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

std::atomic<uint64_t> g_bands_of_workers{0};

} // namespace

class BandJob {
public:
    BandJob(const BandPlan& plan, BandWork work, void* context) noexcept
        : plan_(plan), work_(work), context_(context), settings_(state_to_hand_over()), done_(plan.before)
    {
        settings_.status_callback = nullptr;
        settings_.workers = 1;
    }

    static int run(const BandPlan& plan, Progress& progress, BandWork work, void* context) noexcept
    {
        if (plan.threads > 1)
            if (BandJob* const job = make(plan, work, context)) {
                job->invite(plan.threads - 1);
                const int result = job->work_here(progress);
                job->let_go();
                return result;
            }
        BandJob alone(plan, work, context);
        return alone.work_here(progress);
    }

    bool take(Band& band) noexcept
    {
        if (has_stopped())
            return false;
        const int64_t row = next_.fetch_add(plan_.rows, std::memory_order_relaxed);
        if (row >= plan_.height)
            return false;
        band.row = static_cast<int32_t>(row);
        band.rows = static_cast<int32_t>(std::min<int64_t>(plan_.rows, plan_.height - row));
        return true;
    }

    int64_t steps_of(const Band& band) const noexcept { return plan_.steps * band.rows; }

    /// Returns the steps of progress that are done by now.
    int64_t done(int64_t steps) noexcept { return done_.fetch_add(steps, std::memory_order_relaxed) + steps; }

    bool has_stopped() const noexcept { return result_.load(std::memory_order_acquire) != V_SUCCESS; }

    void fail(int result) noexcept
    {
        int expected = V_SUCCESS;
        result_.compare_exchange_strong(expected, result, std::memory_order_acq_rel);
    }

private:
    static BandJob* make(const BandPlan& plan, BandWork work, void* context) noexcept
    {
        void* const block = platform::heap_alloc(sizeof(BandJob));
        if (!block)
            return nullptr;
        auto* const job = new (block) BandJob(plan, work, context);
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

    int work_here(Progress& progress) noexcept
    {
        Bands bands(*this, &progress);
        const int own = work_(context_, bands);
        if (own != V_SUCCESS)
            fail(own);
        closed_.store(true);
        while (inside_.load() != 0)
            if (platform::event_wait(left_, kForever) != Waited::signalled)
                platform::sleep_for(1);
        const int result = result_.load(std::memory_order_relaxed);
        return result == V_SUCCESS ? progress.update(done(0)) : result;
    }

    void work_as_guest() noexcept
    {
        inside_.fetch_add(1);
        if (!closed_.load()) {
            const FreshThreadState fresh;
            thread_state_for_set() = settings_;
            Bands bands(*this, nullptr);
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

    const BandPlan plan_;
    const BandWork work_;
    void* const context_;
    ThreadState settings_; ///< of workers
    void* left_ = nullptr; ///< event: the last of those inside has left
    std::atomic<int64_t> next_{0};
    std::atomic<int64_t> done_; ///< steps of progress
    std::atomic<int> result_{V_SUCCESS};
    std::atomic<uint32_t> inside_{0}; ///< workers that have begun and not ended
    std::atomic<uint32_t> owners_{1};
    std::atomic<bool> closed_{false};
};

bool Bands::take(Band& band) noexcept
{
    if (!job_.take(band))
        return false;
    if (!is_caller())
        g_bands_of_workers.fetch_add(1, std::memory_order_relaxed);
    return true;
}

bool Bands::has_stopped() const noexcept
{
    return job_.has_stopped();
}

void Bands::done(const Band& band, int result) noexcept
{
    done_steps(job_.steps_of(band), result);
}

void Bands::done_steps(int64_t steps, int result) noexcept
{
    if (result == V_SUCCESS) {
        const int64_t all = job_.done(steps);
        if (progress_)
            result = progress_->update(all);
    }
    if (result != V_SUCCESS)
        job_.fail(result);
}

uint32_t workers_allowed() noexcept
{
    const int32_t workers = thread_state().workers;
    return std::min(workers == 0 ? count_processors() : static_cast<uint32_t>(workers), kMostThreads);
}

uint64_t bands_of_workers() noexcept
{
    return g_bands_of_workers.load(std::memory_order_relaxed);
}

BandPlan plan_bands(int32_t height, int32_t multiple, uint32_t threads) noexcept
{
    const int64_t wanted = (height + threads * kBandsEach - 1) / (threads * kBandsEach);
    const int64_t rows = std::min<int64_t>((wanted + multiple - 1) / multiple * multiple, height);
    return {height, static_cast<int32_t>(rows), threads};
}

int run_bands(const BandPlan& plan, Progress& progress, BandWork work, void* context) noexcept
{
    BandPlan settled = plan;
    const auto bands = static_cast<uint32_t>((int64_t{plan.height} + plan.rows - 1) / plan.rows);
    settled.threads = std::min(plan.threads, bands);
    return BandJob::run(settled, progress, work, context);
}

} // namespace vk
