// A picture as checked: where its rows are, and what they mean.
#pragma once

#include "Vkyuv.h"
#include "kernel/yuv/Chroma.h"
#include "kernel/yuv/Formats.h"
#include "kernel/yuv/Formula.h"

#include <cstddef>
#include <cstdint>

namespace vk::yuv {

struct Picture {
    const Format* format = nullptr;
    uint32_t width = 0;
    uint32_t height = 0;
    Colors colors{};
    bool centered = false;
    uint8_t* planes[4] = {};
    ptrdiff_t strides[4] = {};

    uint8_t* row(int32_t plane, uint32_t row) const noexcept
    {
        return planes[plane] + strides[plane] * static_cast<ptrdiff_t>(row);
    }
    Siting across() const noexcept { return {format->chroma_x, centered}; }
    Siting down() const noexcept { return {format->chroma_y, true}; }
    /// Chroma samples in a row, and rows of them.
    uint32_t chroma_width() const noexcept { return format->chroma_width(width); }
    uint32_t chroma_height() const noexcept { return format->chroma_height(height); }
};

/// The checks of a picture that is not null and of the right size, and what it comes to. SUCCESS or a code.
int check_picture(const V_YUVPICTURE& given, Picture* picture) noexcept;

/// Lays a picture out; the bytes of all planes, or 0.
uint64_t lay_out(V_YUVPICTURE& picture) noexcept;

} // namespace vk::yuv
