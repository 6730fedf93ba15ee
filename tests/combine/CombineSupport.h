// What the tests of combining share: rectangles, and a way to combine
// pictures one pixel at a time.
#pragma once

#include "Vkcombine.h"
#include "tests/support/FaultLoop.h"
#include "tests/support/Levels.h"
#include "tests/support/TestTurn.h"

#include <string>

namespace vk::testing {

/// A rectangle in a destination and in a source.
struct Place {
    int32_t column, row, width, height, source_column, source_row;

    std::string text() const
    {
        std::string all = "place";
        for (const int32_t number : {column, row, width, height, source_column, source_row})
            all += " " + std::to_string(number);
        return all;
    }
    static Place random(TestRandom& random, int32_t reach)
    {
        const auto any = [&] { return random.between(-3, reach); };
        return {any(), any(), random.between(0, reach), random.between(0, reach), any(), any()};
    }
};

inline Picture part_of(Picture of, int32_t column, int32_t row, int32_t width, int32_t height)
{
    Picture part = Picture::blank(width, height);
    for (int32_t y = 0; y < height; ++y)
        for (int32_t x = 0; x < width; ++x)
            part.at(x, y) = of.at(column + x, row + y);
    return part;
}

/// Calls `rule(source, destination)` for every pair of pixels that a place brings together; the pictures may be one.
template <class Rule> Picture combined(Picture to, Picture from, const Place& place, Rule rule)
{
    Picture made = to;
    const auto has = [](const Picture& p, int64_t x, int64_t y) {
        return x >= 0 && y >= 0 && x < p.width && y < p.height;
    };
    for (int64_t y = std::max<int64_t>(0, -int64_t{place.row}); y < place.height && place.row + y < to.height; ++y)
        for (int64_t x = std::max<int64_t>(0, -int64_t{place.column}); x < place.width && place.column + x < to.width;
             ++x) {
            const int64_t u = place.source_column + x;
            const int64_t v = place.source_row + y;
            if (!has(to, place.column + x, place.row + y) || !has(from, u, v))
                continue;
            const auto column = static_cast<int32_t>(place.column + x);
            const auto row = static_cast<int32_t>(place.row + y);
            made.at(column, row) = rule(from.at(static_cast<int32_t>(u), static_cast<int32_t>(v)), to.at(column, row));
        }
    return made;
}

inline int put(TestBitmap& to, TestBitmap& from, const Place& place, uint32_t flags)
{
    return V_CombineBitmap(to.get(), place.column, place.row, place.width, place.height, from.get(),
                           place.source_column, place.source_row, flags);
}

/// A status callback for the length of a scope, that refuses from a percentage on.
class Listener {
public:
    explicit Listener(int refuse_at = 1000) : refuse_at_(refuse_at)
    {
        V_SetStatusCallback(
            [](int percent, void* self) {
                auto& listener = *static_cast<Listener*>(self);
                listener.heard.push_back(percent);
                return percent >= listener.refuse_at_ ? ERROR_USER_ABORT : SUCCESS;
            },
            this, nullptr, nullptr);
    }
    ~Listener() { V_SetStatusCallback(nullptr, nullptr, nullptr, nullptr); }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    std::vector<int> heard;

private:
    int refuse_at_;
};

/// Runs an operation under a callback that refuses at 0, at the middle and at the end, and under none of that; what it
/// changes must be as before, or done.
template <class Run> void expect_stops(BITMAPHANDLE* bitmap, int32_t rows, Run run)
{
    const Picture before = read(bitmap);
    for (const int refuse_at : {0, 50, 100}) {
        const Listener listener(refuse_at);
        EXPECT_EQ(ERROR_USER_ABORT, run());
        EXPECT_EQ(before, read(bitmap)) << "refused at " << refuse_at;
    }
    const Listener listener;
    EXPECT_EQ(SUCCESS, run());
    EXPECT_EQ(0, listener.heard.front());
    EXPECT_EQ(100, listener.heard.back());
    EXPECT_LE(listener.heard.size(), static_cast<size_t>(rows) + 1);
    EXPECT_TRUE(std::is_sorted(listener.heard.begin(), listener.heard.end()));
    EXPECT_EQ(listener.heard.end(), std::adjacent_find(listener.heard.begin(), listener.heard.end()));
}

/// Fails every call that an operation makes, one at a time. Where it reports a failure, what it changes is as before;
/// storage that goes on failing cannot be put back, but `is_memory` says that there is none. Whoever made the bitmaps
/// sees to it that nothing is lost (NothingLost), since storage may keep more or less at hand in between.
template <class Run> void expect_survives_faults(BITMAPHANDLE* bitmap, bool is_memory, Run run)
{
    const Picture before = read(bitmap);
    int result = run();
    EXPECT_EQ(SUCCESS, result);
    uint64_t failures = 0;
    for (const bool persistent : {false, true})
        for (uint64_t call = 1; !::testing::Test::HasFailure(); ++call) {
            SCOPED_TRACE("call " + std::to_string(call) + (persistent ? " and all behind it fail" : " fails once"));
            paint(bitmap, before);
            fault::arm(call, persistent);
            result = run();
            const bool has_fired = fault::fired();
            fault::disarm();
            if (result != SUCCESS && (!persistent || is_memory)) {
                EXPECT_EQ(before, read(bitmap)) << "after " << result;
            }
            if (!has_fired)
                break;
            ++failures;
        }
    EXPECT_GT(failures, 0u) << "the operation makes no call that can fail";
    EXPECT_EQ(SUCCESS, result);
}

/// Expects at the end of its scope that everything made in it was freed.
struct NothingLost {
    NothingLost() = default;
    ~NothingLost() { expect_same_live(before, fault::live()); }
    NothingLost(const NothingLost&) = delete;
    NothingLost& operator=(const NothingLost&) = delete;

    const fault::Live before = fault::live();
};

} // namespace vk::testing
