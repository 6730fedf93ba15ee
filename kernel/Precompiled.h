// What most files of the kernel include, compiled once. Files include what they need all the same.
#pragma once

#include "Vktypes.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <utility>
