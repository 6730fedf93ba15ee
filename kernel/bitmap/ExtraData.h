// The block a caller may hang on a record.
#pragma once

#include "Vkkrnx.h"

namespace vk {

void free_extra_data(BITMAPHANDLE& bitmap) noexcept;

} // namespace vk
