// The coding of one plane of residuals: what kernel/storage/codec/SampleCodec.cpp puts together from it.
#pragma once

#include "kernel/storage/codec/Predict.h"

#include <cstddef>
#include <cstdint>

namespace vk::codec {

/// Bytes of working memory for `encode_plane` and `decode_plane`.
size_t plane_workspace(uint32_t width, uint32_t rows) noexcept;

/// Codes the residuals of a plane; bytes written, or 0 when they would not fit.
size_t encode_plane(const Plane& residuals, uint8_t* out, size_t room, uint8_t* workspace) noexcept;

/// Reads residuals into a clear plane. The bytes used, or 0 when they are not what encode_plane writes. There must be
/// kStreamPadding bytes behind `room`.
size_t decode_plane(const Plane& residuals, const uint8_t* from, size_t room, uint8_t* workspace) noexcept;

} // namespace vk::codec
