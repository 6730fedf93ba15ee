// Every exported function that takes no bitmap record, for OtherFaults_test.cpp: small scenarios that make what they
// need, use it and give it back. Whatever call in them fails, they give back what there is and return the failure. The
// rows stand in OtherOperations_<what>.cpp; a test sees to it that no exported name is left out.
#pragma once

#include "Vkkrnx.h"

#include <cstdint>
#include <vector>

namespace vk::testing {

/// Whether a scenario calls anything that can fail; the test finds out.
enum class Calls : uint8_t {
    can_fail,
    none,
    here_only, ///< only where the system's part in it goes through the library
};

struct OtherOperation {
    const char* name; ///< the functions it is there for
    intptr_t (*run)();
    Calls calls = Calls::can_fail;
};
using OtherFamily = std::vector<OtherOperation>;

extern const OtherFamily bitmap_scenarios, file_scenarios, memory_scenarios, pixel_scenarios, geometry_scenarios,
    thread_scenarios, settings_scenarios;

/// SUCCESS or FAILURE.
inline intptr_t result_of(bool went_well)
{
    return went_well ? V_SUCCESS : V_FAILURE;
}

} // namespace vk::testing
