// Every exported function that takes no record, with every call to the system in it failing by turns, as in
// RecordFaults_test.cpp.
#include "tests/faults/Failures.h"
#include "tests/faults/OtherOperations.h"
#include "tests/support/FaultLoop.h"

#include "Vkloader.h"

#include <ostream>

namespace vk::testing {

void PrintTo(const OtherOperation& operation, std::ostream* out)
{
    *out << operation.name;
}

namespace {

class OtherFaults : public ::testing::TestWithParam<OtherOperation> {};

TEST_P(OtherFaults, EveryCall)
{
    const auto run = GetParam().run;
    const Calls calls = GetParam().calls;
    const intptr_t wanted = run();
    EXPECT_GE(wanted, 0);
    fault::arm(0, false);
    EXPECT_EQ(wanted, run());
    fault::disarm();
#if defined(_WIN32)
    const bool is_here = false;
#else
    const bool is_here = true;
#endif
    EXPECT_EQ(calls == Calls::can_fail || (calls == Calls::here_only && is_here), fault::calls() != 0);
    if (fault::calls() == 0)
        return;
    for_each_fault_in([&](FaultRound& round) {
        const intptr_t result = round(run);
        EXPECT_TRUE(result == wanted || (round.fired && is_failure(result))) << result << " in place of " << wanted;
        EXPECT_EQ(wanted, run()) << "when nothing fails any more";
    });
}

OtherFamily all_scenarios()
{
    OtherFamily all;
    for (const OtherFamily& family : {bitmap_scenarios, file_scenarios, memory_scenarios, pixel_scenarios,
                                      geometry_scenarios, thread_scenarios, settings_scenarios})
        all.insert(all.end(), family.begin(), family.end());
    return all;
}

INSTANTIATE_TEST_SUITE_P(Exports, OtherFaults, ::testing::ValuesIn(all_scenarios()));

} // namespace
} // namespace vk::testing
