#include "kernel/colorres/Refine.h"

#include "kernel/system/Progress.h"
#include "kernel/system/WordMutex.h"
#include "kernel/threading/Bands.h"
#include "kernel/threading/Pause.h"

#include <algorithm>
#include <atomic>
#include <mutex>

namespace vk::quantize {

namespace {

constexpr int kMostPasses = 40;
/// Fewer points are done before another thread has begun.
constexpr uint32_t kSharedPoints = 2048;

int32_t squared(int32_t a, int32_t b, int32_t c) noexcept
{
    return a * a + b * b + c * c;
}

int32_t distance(const Center& a, const Center& b) noexcept
{
    return squared(a.at[0] - b.at[0], a.at[1] - b.at[1], a.at[2] - b.at[2]);
}

int32_t distance(const Point& a, const Center& b) noexcept
{
    return squared(a.at[0] - b.at[0], a.at[1] - b.at[1], a.at[2] - b.at[2]);
}

uint64_t near_entry(const Center& from, const Center* centers, uint32_t to) noexcept
{
    return static_cast<uint64_t>(distance(from, centers[to])) << 8 | to;
}

/// Each centre's list of all centres, the nearest first; of centres `first` to `end` - 1.
void order_centers(const Center* centers, uint32_t count, RefineTables& tables, uint32_t first, uint32_t end) noexcept
{
    for (uint32_t i = first; i < end; ++i) {
        for (uint32_t j = 0; j < count; ++j)
            tables.nearby[i][j] = near_entry(centers[i], centers, j);
        std::sort(tables.nearby[i], tables.nearby[i] + count);
    }
}

/// The same after the centres have moved. The order changes little from pass to pass, which suits this way of sorting.
void reorder_centers(const Center* centers, uint32_t count, RefineTables& tables, uint32_t first, uint32_t end) noexcept
{
    for (uint32_t i = first; i < end; ++i) {
        uint64_t* const nearby = tables.nearby[i];
        for (uint32_t j = 0; j < count; ++j) {
            const uint64_t entry = near_entry(centers[i], centers, nearby[j] & 0xFFu);
            uint32_t at = j;
            for (; at != 0 && nearby[at - 1] > entry; --at)
                nearby[at] = nearby[at - 1];
            nearby[at] = entry;
        }
    }
}

/// The centre nearest to a point, from the one it had on: a centre more than twice as far from that one as the point is
/// cannot be nearer. Writes the squared distance.
int16_t nearest(const Point& point, const Center* centers, uint32_t count, const RefineTables& tables,
                int32_t* error) noexcept
{
    const auto from = static_cast<uint32_t>(point.owner);
    int32_t best = distance(point, centers[from]);
    const uint64_t reach = static_cast<uint64_t>(best) << 10; // four times the squared distance
    const uint64_t* const nearby = tables.nearby[from];
    int16_t owner = point.owner;
    for (uint32_t i = 0; i < count && nearby[i] < reach; ++i) {
        const auto other = static_cast<uint32_t>(nearby[i] & 0xFFu);
        const int32_t there = distance(point, centers[other]);
        if (there < best) {
            best = there;
            owner = static_cast<int16_t>(other);
        }
    }
    *error = best;
    return owner;
}

/// What a pass finds out about the points of each centre.
struct Pass {
    int64_t weights[256] = {};
    int64_t sums[256][3] = {};
    uint64_t error = 0;
    uint64_t worst = 0;                 ///< largest weighted error of a point
    const Point* worst_point = nullptr; ///< the first of several

    /// Adds what another thread has found out about other points.
    void add(const Pass& other) noexcept
    {
        for (int i = 0; i < 256; ++i) {
            weights[i] += other.weights[i];
            for (int axis = 0; axis < 3; ++axis)
                sums[i][axis] += other.sums[i][axis];
        }
        error += other.error;
        if (other.worst > worst || (other.worst == worst && other.worst_point < worst_point)) {
            worst = other.worst;
            worst_point = other.worst_point;
        }
    }
};

void assign(Point* points, uint32_t count, const Center* centers, uint32_t center_count, const RefineTables& tables,
            Pass& pass) noexcept
{
    for (Point* point = points; point != points + count; ++point) {
        int32_t error = 0;
        point->owner = nearest(*point, centers, center_count, tables, &error);
        pass.weights[point->owner] += point->weight;
        for (int axis = 0; axis < 3; ++axis)
            pass.sums[point->owner][axis] += int64_t{point->at[axis]} * point->weight;
        const uint64_t weighted = static_cast<uint64_t>(error) * point->weight;
        pass.error += weighted;
        if (weighted > pass.worst) {
            pass.worst = weighted;
            pass.worst_point = point;
        }
    }
}

/// A pass: the centres' lists, and behind them the points, which look into all lists.
class Passing {
public:
    Passing(Point* points, uint32_t count, const Center* centers, uint32_t center_count, RefineTables& tables) noexcept
        : points_(points), count_(count), centers_(centers), center_count_(center_count), tables_(tables)
    {}

    void run(bool is_first, uint32_t threads, Pass& pass) noexcept
    {
        is_first_ = is_first;
        if (threads > 1 && count_ >= kSharedPoints)
            return run_together(threads, pass);
        order(0, center_count_);
        assign(points_, count_, centers_, center_count_, tables_, pass);
    }

private:
    static constexpr uint32_t kCenters = 8; ///< whose lists a thread takes at a time

    void order(uint32_t first, uint32_t end) noexcept
    {
        is_first_ ? order_centers(centers_, center_count_, tables_, first, end)
                  : reorder_centers(centers_, center_count_, tables_, first, end);
    }

    /// Takes lists until there are none left, and waits for those that others have taken.
    void order_some() noexcept
    {
        for (uint32_t first; (first = taken_.fetch_add(kCenters, std::memory_order_relaxed)) < center_count_;) {
            const uint32_t end = std::min(first + kCenters, center_count_);
            order(first, end);
            ordered_.fetch_add(end - first, std::memory_order_release);
        }
        for (Pause pause; ordered_.load(std::memory_order_acquire) < center_count_;)
            pause.wait();
    }

    void run_together(uint32_t threads, Pass& pass) noexcept
    {
        WordMutex mutex;
        Progress silent(0);
        taken_.store(0, std::memory_order_relaxed);
        ordered_.store(0, std::memory_order_relaxed);
        auto work = [&](Bands& bands) noexcept {
            order_some();
            Pass own;
            for (Band band{}; bands.take(band); bands.done(band, V_SUCCESS))
                assign(points_ + band.row, static_cast<uint32_t>(band.rows), centers_, center_count_, tables_, own);
            const std::lock_guard guard(mutex);
            pass.add(own);
            return V_SUCCESS;
        };
        static_cast<void>(run_bands(plan_bands(static_cast<int32_t>(count_), 1, threads), silent, work)); // cannot fail
    }

    Point* const points_;
    const uint32_t count_;
    const Center* const centers_;
    const uint32_t center_count_;
    RefineTables& tables_;
    bool is_first_ = true;
    std::atomic<uint32_t> taken_{0};   ///< centres whose lists somebody has begun
    std::atomic<uint32_t> ordered_{0}; ///< those that are done
};

/// Moves each centre to its points; one that has lost all of them goes to the point that is worst off.
void move_centers(const Pass& pass, Center* centers, uint32_t count) noexcept
{
    bool has_moved = false;
    for (uint32_t i = 0; i < count; ++i) {
        if (pass.weights[i] != 0) {
            centers[i] = mean_of(pass.sums[i], pass.weights[i]);
        } else if (pass.worst_point && !has_moved) {
            const Point& point = *pass.worst_point;
            centers[i] = {{point.at[0], point.at[1], point.at[2]}};
            has_moved = true;
        }
    }
}

} // namespace

void refine(Point* points, uint32_t count, Center* centers, uint32_t center_count, RefineTables& tables,
            uint32_t threads) noexcept
{
    Passing passing(points, count, centers, center_count, tables);
    uint64_t before = UINT64_MAX;
    for (int i = 0; i < kMostPasses; ++i) {
        Pass pass;
        passing.run(i == 0, threads, pass);
        if (pass.error >= before - before / 2000) // hardly better: done
            return;
        before = pass.error;
        move_centers(pass, centers, center_count);
    }
}

} // namespace vk::quantize
