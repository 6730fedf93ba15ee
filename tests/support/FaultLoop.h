// The fault loop: has the n-th system call fail, for n = 1, 2, ... until the fault is not met any more, first with that
// one call failing, then with that call and all behind it. After each round everything must have been given back.
//
// It runs on the calling thread, either around a whole scenario that makes its objects, uses them, frees them again and
// copes with any failure in between, or around a single operation of one.
#pragma once

#include "platform/fault/fault.h"
#include "tests/support/Environment.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace vk::testing {

/// One round of the loop.
struct FaultRound {
    uint64_t call = 0;       ///< the call that fails, counted from 1
    bool persistent = false; ///< the calls behind it fail too
    bool fired = false;      ///< that call was met

    /// Does the operation with the fault set, and gives its result.
    template <class Operation> auto operator()(Operation&& operation)
    {
        fault::arm(call, persistent);
        const auto result = operation();
        fired = fault::fired();
        fault::disarm();
        return result;
    }
};

enum class FaultLoop {
    each,
    may_be_none, ///< there may be no call that can fail
    sparse       ///< nor are all tried: of later calls, every few
};

inline void expect_same_live(const fault::Live& before, const fault::Live& after)
{
    const auto figures = [](const fault::Live& live) {
        return std::vector{live.heap,  live.sections, live.movables, live.locks,  live.files,
                           live.views, live.events,   live.rw_locks, live.modules};
    };
    EXPECT_EQ(figures(before), figures(after)) << "in the order of fault::Live";
}

/// The loop around one operation, which `body(round)` prepares, has done by calling the round with it, and checks.
/// Returns the number of calls that were made to fail. Stops at the first round with a failed expectation.
template <class Body> uint64_t for_each_fault_in(Body&& body, FaultLoop kind = FaultLoop::each)
{
    constexpr uint64_t kMostCalls = 20000;
    uint64_t failures = 0;
    for (const bool persistent : {false, true})
        for (FaultRound round{1, persistent, true}; round.fired && !::testing::Test::HasFailure();
             round.call += kind == FaultLoop::sparse ? 1 + round.call / 4 : 1) {
            SCOPED_TRACE("call " + std::to_string(round.call) +
                         (persistent ? " and all behind it fail" : " fails once"));
            const fault::Live before = fault::live();
            round.fired = false;
            body(round);
            expect_same_live(before, fault::live());
            if (persistent && temporary_files() != 0) // those that may not be deleted either cannot be helped
                remove_temporary_files();
            EXPECT_EQ(0u, temporary_files()) << "a file is left behind";
            failures += round.fired;
            EXPECT_LT(round.call, kMostCalls) << "the fault is met again and again";
        }
    EXPECT_TRUE(kind != FaultLoop::each || failures > 0 || ::testing::Test::HasFailure())
        << "no call that can fail is made";
    return failures;
}

/// The loop around a scenario; `check`, if any, sees each round before what is held is compared. The scenario runs once
/// without faults first, so that what is made once per process does not count as lost.
inline uint64_t for_each_fault(const std::function<void()>& scenario,
                               const std::function<void(const FaultRound&)>& check = {})
{
    scenario();
    return for_each_fault_in([&](FaultRound& round) {
        round([&] { return scenario(), 0; });
        if (check)
            check(round);
    });
}

} // namespace vk::testing
