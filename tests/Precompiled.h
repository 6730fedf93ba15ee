// What most test files include, compiled once for each program. Files include what they need all the same.
#pragma once

#include "Vktypes.h"

// Words that the system's header takes away.
#undef near
#undef far

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <numeric>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>
