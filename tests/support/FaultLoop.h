// The fault loop: runs a scenario with its n-th system call failing, for n = 1, 2, ... until it runs clean, first with
// that one call failing, then with that call and all behind it. After each round everything must have been given back.
//
// A scenario makes its objects, uses them and frees them again, and copes with any failure in between; `check` may look
// at what it left behind. Both run on the calling thread.
#pragma once

#include "platform/fault/fault.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>

namespace vk::testing {

/// One round of the loop.
struct FaultRound {
    uint64_t call = 0;       ///< the call that fails, counted from 1
    bool persistent = false; ///< the calls behind it fail too
    bool fired = false;      ///< the scenario got as far as that call
};

inline void expect_same_live(const fault::Live& before, const fault::Live& after)
{
    EXPECT_EQ(before.heap, after.heap);
    EXPECT_EQ(before.sections, after.sections);
    EXPECT_EQ(before.movables, after.movables);
    EXPECT_EQ(before.locks, after.locks);
    EXPECT_EQ(before.files, after.files);
    EXPECT_EQ(before.views, after.views);
    EXPECT_EQ(before.events, after.events);
    EXPECT_EQ(before.rw_locks, after.rw_locks);
    EXPECT_EQ(before.modules, after.modules);
}

/// Runs one round; `check` sees it before the leak check. Returns whether the fault fired.
inline bool run_fault_round(uint64_t call, bool persistent, const std::function<void()>& scenario,
                            const std::function<void(const FaultRound&)>& check)
{
    SCOPED_TRACE("call " + std::to_string(call) + (persistent ? " and all behind it fail" : " fails once"));
    const fault::Live before = fault::live();
    fault::arm(call, persistent);
    scenario();
    const FaultRound round{call, persistent, fault::fired()};
    fault::disarm();
    if (check) {
        check(round);
    }
    expect_same_live(before, fault::live());
    return round.fired;
}

/// The loop. The scenario runs once without faults first, so that what is made once per process does not count as lost.
/// Returns the number of calls that were made to fail. Stops at the first round with a failed expectation.
inline uint64_t for_each_fault(const std::function<void()>& scenario,
                               const std::function<void(const FaultRound&)>& check = {})
{
    constexpr uint64_t kMostCalls = 20000;
    scenario();
    uint64_t failures = 0;
    for (const bool persistent : {false, true}) {
        uint64_t call = 1;
        while (!::testing::Test::HasFailure() && run_fault_round(call, persistent, scenario, check)) {
            ++failures;
            if (++call > kMostCalls) {
                ADD_FAILURE() << "the scenario still meets the fault at call " << call;
                return failures;
            }
        }
    }
    EXPECT_GT(failures, 0u) << "the scenario makes no call that can fail";
    return failures;
}

} // namespace vk::testing
