// Batches of empty items beside what people would write instead: a pool of standard threads with a queue of functions,
// and std::async. Reported: time of an item, from queueing the first to the end of the last.
#include "bench/BenchSupport.h"

#include "Vkthreading.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <mutex>
#include <thread>

namespace {

constexpr int kItems = 10000;
constexpr int kFutures = 1000; // a thread each

/// The plain pool: one mutex, one condition, one deque.
class PlainPool {
public:
    PlainPool()
    {
        for (unsigned i = 0; i < std::thread::hardware_concurrency(); ++i)
            threads_.emplace_back([this] { run(); });
    }
    ~PlainPool()
    {
        {
            const std::lock_guard guard(mutex_);
            stopping_ = true;
        }
        work_.notify_all();
        for (std::thread& thread : threads_)
            thread.join();
    }
    void queue(std::function<void()> item)
    {
        {
            const std::lock_guard guard(mutex_);
            items_.push_back(std::move(item));
            ++pending_;
        }
        work_.notify_one();
    }
    void wait()
    {
        std::unique_lock lock(mutex_);
        done_.wait(lock, [this] { return pending_ == 0; });
    }

private:
    void run()
    {
        std::unique_lock lock(mutex_);
        for (;;) {
            work_.wait(lock, [this] { return stopping_ || !items_.empty(); });
            if (items_.empty())
                return;
            const std::function<void()> item = std::move(items_.front());
            items_.pop_front();
            lock.unlock();
            item();
            lock.lock();
            if (--pending_ == 0)
                done_.notify_all();
        }
    }

    std::mutex mutex_;
    std::condition_variable work_;
    std::condition_variable done_;
    std::deque<std::function<void()>> items_;
    std::vector<std::thread> threads_;
    int pending_ = 0;
    bool stopping_ = false;
};

int empty_item(VKWorkItems*, void* runs)
{
    static_cast<std::atomic<int>*>(runs)->fetch_add(1, std::memory_order_relaxed);
    return V_SUCCESS;
}

template <class Op> void per_item(benchmark::State& state, int items, Op&& op)
{
    op(); // starts the threads
    std::vector<double> times;
    for ([[maybe_unused]] auto _ : state) {
        for (int i = 0; i < 15; ++i)
            times.push_back(vk::bench::seconds_per_run(op, 1));
        state.SetIterationTime(vk::bench::median(times));
        state.counters["ns/item"] = vk::bench::median(times) / items * 1e9;
        state.counters["best ns/item"] = *std::min_element(times.begin(), times.end()) / items * 1e9;
    }
}

void batch_of_empty_items(benchmark::State& state)
{
    std::atomic<int> runs{0};
    VKWorkItems batch;
    per_item(state, kItems, [&] {
        batch.Create(kItems, static_cast<uint32_t>(state.range(0)), 0);
        for (int i = 0; i < kItems; ++i)
            batch.QueueItem(&empty_item, &runs);
        batch.Wait();
    });
}

void plain_pool_of_empty_items(benchmark::State& state)
{
    std::atomic<int> runs{0};
    PlainPool pool;
    per_item(state, kItems, [&] {
        for (int i = 0; i < kItems; ++i)
            pool.queue([&runs] { runs.fetch_add(1, std::memory_order_relaxed); });
        pool.wait();
    });
}

void async_of_empty_items(benchmark::State& state)
{
    std::atomic<int> runs{0};
    per_item(state, kFutures, [&] {
        std::vector<std::future<void>> futures;
        for (int i = 0; i < kFutures; ++i)
            futures.push_back(
                std::async(std::launch::async, [&runs] { runs.fetch_add(1, std::memory_order_relaxed); }));
        for (std::future<void>& future : futures)
            future.get();
    });
}

BENCHMARK(batch_of_empty_items)
    ->Arg(0)
    ->Arg(VKWORKITEMS_LOCKCANCEL | VKWORKITEMS_STORERESULT)
    ->Apply(vk::bench::settings);
BENCHMARK(plain_pool_of_empty_items)->Apply(vk::bench::settings);
BENCHMARK(async_of_empty_items)->Apply(vk::bench::settings);

} // namespace
