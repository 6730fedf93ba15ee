// The bits and bytes behind the pixels of rows: one byte that tells whether any is set, and if so all of them.
#pragma once

#include "kernel/storage/codec/Codec.h"

namespace vk::codec {

/// Bytes written, or 0 when they do not fit.
size_t encode_tails(const Shape& shape, const uint8_t* rows, uint8_t* out, size_t room) noexcept;

/// Completes rows that hold their pixels and no bits behind them in the last byte. False when `room` bytes are not
/// what encode_tails writes.
bool decode_tails(const Shape& shape, const uint8_t* from, size_t room, uint8_t* rows) noexcept;

} // namespace vk::codec
