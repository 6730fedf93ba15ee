// vk_endurance [--operations N] [--threads N] [--seconds S] [--seed N]: a random mix of small tasks in one process, for
// as many as it is told, or for so long. It fails when a result is wrong, and, on one thread, when more is held than
// after the first tenth: a handle, 64 KiB of the heap's blocks, or of resident memory 2 %. In a run of fewer than
// 100,000, when code is still being read in and threads' stacks are new, that is 2 MiB more than after its half. Before
// it looks, what is only kept in stock is given back.
#include "tests/endurance/Surroundings.h"
#include "tests/endurance/Tasks.h"

#include "Vkkrnx.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

namespace {

using namespace vk::endurance;

constexpr uint64_t kLong = 100000;      ///< operations
constexpr uint64_t kWarming = 2u << 20; ///< bytes
constexpr uint64_t kHeap = 64u << 10;   ///< bytes: tables that may double once more

struct Plan {
    uint64_t operations = 20000;
    uint64_t threads = 1;
    uint64_t seconds = 0; ///< instead of a number of operations
    uint64_t seed = 1;
};

bool read_plan(int count, char** words, Plan& plan)
{
    const struct {
        const char* name;
        uint64_t& number;
    } options[] = {{"--operations", plan.operations},
                   {"--threads", plan.threads},
                   {"--seconds", plan.seconds},
                   {"--seed", plan.seed}};
    for (int i = 1; i < count; i += 2) {
        bool is_known = false;
        for (const auto& option : options)
            if (i + 1 < count && std::strcmp(words[i], option.name) == 0) {
                option.number = std::strtoull(words[i + 1], nullptr, 10);
                is_known = true;
            }
        if (!is_known)
            return false;
    }
    return plan.threads > 0 && plan.operations > 0;
}

/// What the process holds when it has given back what it can.
struct Holding {
    uint64_t bytes, heap, handles;

    static Holding now()
    {
        V_TrimMemory();
        trim_heap();
        return {resident_bytes(), heap_bytes(), open_handles()};
    }
};

class Run {
public:
    explicit Run(const Plan& plan) : plan_(plan), start_(std::chrono::steady_clock::now()) {}

    bool go()
    {
        if (plan_.threads == 1)
            look(0); // so that looking itself is not new afterwards
        std::vector<std::thread> threads;
        for (uint64_t i = 1; i < plan_.threads; ++i)
            threads.emplace_back([this, i] { work(plan_.seed + i); });
        work(plan_.seed);
        for (std::thread& thread : threads)
            thread.join();
        return report();
    }

private:
    /// How many tenths of the run are over.
    uint64_t tenths(uint64_t done) const
    {
        const auto spent = std::chrono::steady_clock::now() - start_;
        return plan_.seconds != 0 ? static_cast<uint64_t>(spent / std::chrono::milliseconds(100 * plan_.seconds))
                                  : 10 * done / plan_.operations;
    }

    void work(uint64_t seed)
    {
        vk::testing::TestRandom random(seed);
        uint64_t seen = 0;
        for (uint64_t done = done_++, tenth = tenths(done); wrong_ == 0 && tenth < 10;
             done = done_++, tenth = tenths(done)) {
            if (plan_.threads == 1 && tenth > seen)
                look(seen = tenth);
            const NamedTask& task = kTasks[random.below(static_cast<uint64_t>(kTaskCount))];
            if (!task.run(random)) {
                std::printf("wrong: %s, operation %llu, seed %llu\n", task.name, static_cast<unsigned long long>(done),
                            static_cast<unsigned long long>(seed));
                ++wrong_;
            }
        }
    }

    /// At the start, and at the end of a tenth.
    void look(uint64_t tenth)
    {
        last_ = Holding::now();
        if (first_.bytes == 0 && tenth != 0)
            first_ = last_;
        if (tenth <= 5)
            half_ = last_;
        std::printf("%3llu %%: resident %llu KiB, heap %llu KiB, %llu handles\n",
                    static_cast<unsigned long long>(10 * tenth), static_cast<unsigned long long>(last_.bytes / 1024),
                    static_cast<unsigned long long>(last_.heap / 1024), static_cast<unsigned long long>(last_.handles));
        std::fflush(stdout);
    }

    bool report()
    {
        const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start_;
        if (plan_.threads == 1)
            look(10);
        std::printf("%llu operations, %llu threads, %.0f s, %d wrong\n",
                    static_cast<unsigned long long>(done_ - plan_.threads),
                    static_cast<unsigned long long>(plan_.threads), spent.count(), wrong_.load());
        // In a short run the process is still getting to its size.
        const uint64_t most = done_ < kLong ? half_.bytes + kWarming : first_.bytes + first_.bytes / 50;
        const bool is_flat =
            last_.bytes <= most && last_.heap <= first_.heap + kHeap && last_.handles <= first_.handles;
        if (!is_flat)
            std::printf("more is held than before\n");
        return wrong_ == 0 && is_flat;
    }

    const Plan plan_;
    const std::chrono::steady_clock::time_point start_;
    std::atomic<uint64_t> done_{0};
    std::atomic<int> wrong_{0};
    Holding first_{}, half_{}, last_{}; ///< after a tenth, after the half, and when it was last looked
};

} // namespace

int main(int count, char** words)
{
    start_again_with_bare_heap(words);
    Plan plan;
    if (!read_plan(count, words, plan)) {
        std::fprintf(stderr, "usage: %s [--operations N] [--threads N] [--seconds S] [--seed N]\n", words[0]);
        return 2;
    }
    return Run(plan).go() ? 0 : 1;
}
