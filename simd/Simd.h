// The vector layer, for the set that the including file is compiled for. docs/simd.md says how kernels use it.
#pragma once

#include "simd/Mask.h"
#include "simd/Order.h"

#if !VK_SIMD_X86
namespace vk::simd::inline VK_SIMD_SET {

using plain::fence;

} // namespace vk::simd::inline VK_SIMD_SET
#endif
