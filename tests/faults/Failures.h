// What exported functions say when the system refuses something.
#pragma once

#include "Vkrecord.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace vk::testing {

/// Whether a result is one: a code, or what stands for nothing made (null, FAILURE) and for no colour.
inline bool is_failure(intptr_t result)
{
    constexpr intptr_t kFailures[] = {V_FAILURE,
                                      V_ERROR_NO_MEMORY, // and -1 of file functions
                                      V_ERROR_FILE_SEEK,
                                      V_ERROR_FILE_WRITE,
                                      V_ERROR_FILE_READ,
                                      V_ERROR_FILE_OPEN,
                                      V_ERROR_FILE_NOT_FOUND,
                                      V_ERROR_INVALID_FILENAME,
                                      V_ERROR_NO_DISK_SPACE,
                                      0x80000000};
    return std::find(std::begin(kFailures), std::end(kFailures), result) != std::end(kFailures);
}

} // namespace vk::testing
