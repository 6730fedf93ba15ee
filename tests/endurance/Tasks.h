// The tasks of the endurance program: small pieces of work with the library, each checked against a second way to the
// same result.
#pragma once

#include "tests/support/TestRandom.h"

namespace vk::endurance {

/// Whether the result was right.
using Task = bool (*)(testing::TestRandom& random);

struct NamedTask {
    const char* name;
    Task run;
};

extern const NamedTask kTasks[];
extern const int kTaskCount;

} // namespace vk::endurance
