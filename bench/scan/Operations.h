// Operations on whole bitmaps that the scan times. Each gets a bitmap of its own, may change it, and gives a result
// code; what a depth has no such operation for is refused and left out.
#pragma once

#include "Vkkrnx.h"

#include <span>

namespace vk::scan {

struct Operation {
    const char* name;
    int (*run)(BITMAPHANDLE& bitmap);
};

std::span<const Operation> operations();

} // namespace vk::scan
