// Packed samples of a byte from their groups into rows of their own, and back; the DIB functions unpack with it too.
#pragma once

#include "kernel/yuv/Formats.h"

#include <cstddef>
#include <cstdint>

namespace vk::yuv {

/// Rows of samples; null where there are none.
struct SampleRows {
    uint8_t* y = nullptr;
    uint8_t* u = nullptr;
    uint8_t* v = nullptr;
    uint8_t* alpha = nullptr;
};

/// Unpacks `count` whole groups. Chroma rows get a sample for each chroma_step pixels; alpha, where the groups have
/// some, needs a row.
void unpack_groups(const Groups& groups, const uint8_t* from, size_t count, const SampleRows& to) noexcept;

/// The other way round. Of pixels that share a place the last one is stored.
void pack_groups(const Groups& groups, const SampleRows& from, size_t count, uint8_t* to) noexcept;

} // namespace vk::yuv
