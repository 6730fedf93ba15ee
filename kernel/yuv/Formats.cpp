#include "kernel/yuv/Formats.h"

namespace vk::yuv {

namespace {

constexpr Format packed(uint32_t code, const Groups& groups, int32_t bitmap_bits = 24) noexcept
{
    return {code, Layout::groups, 8, groups.chroma_step, 1, false, bitmap_bits, &groups};
}

constexpr Format planar(uint32_t code, uint8_t x, uint8_t y, bool v_first) noexcept
{
    return {code, Layout::planes, 8, x, y, v_first, 24};
}

constexpr Format kFormats[] = {
    packed(code_of("YUY2"), kYuy2),
    packed(code_of("UYVY"), kUyvy),
    packed(code_of("cyuv"), kUyvy),
    packed(code_of("Y42T"), kUyvy),
    packed(code_of("YVYU"), kYvyu),
    packed(code_of("Y41P"), kY41p),
    packed(code_of("Y41T"), kY41p),
    packed(code_of("Y211"), kY211),
    packed(code_of("AYUV"), kAyuv, 32),
    planar(code_of("I420"), 2, 2, false),
    planar(code_of("IYUV"), 2, 2, false),
    planar(code_of("YV12"), 2, 2, true),
    planar(code_of("I422"), 2, 1, false),
    planar(code_of("YV16"), 2, 1, true),
    planar(code_of("I444"), 1, 1, false),
    planar(code_of("YVU9"), 4, 4, true),
    planar(code_of("IF09"), 4, 4, true),
    {code_of("NV12"), Layout::pairs, 8, 2, 2, false, 24},
    {code_of("NV21"), Layout::pairs, 8, 2, 2, true, 24},
    {code_of("P010"), Layout::pairs, 10, 2, 2, false, 48},
    {code_of("P016"), Layout::pairs, 16, 2, 2, false, 48},
    {code_of("Y410"), Layout::y410, 10, 1, 1, false, 64},
    {code_of("Y416"), Layout::y416, 16, 1, 1, false, 64},
    {code_of("Y800"), Layout::gray, 8, 0, 0, false, 8},
    {code_of("Y16 "), Layout::gray, 16, 0, 0, false, 16},
};

} // namespace

uint64_t Format::row_bytes(int32_t plane, uint32_t width) const noexcept
{
    const uint64_t sample = deep() ? 2 : 1;
    switch (layout) {
    case Layout::planes:
        return plane == 0 ? width : chroma_width(width);
    case Layout::pairs:
        return sample * (plane == 0 ? width : uint64_t{chroma_width(width)} * 2);
    case Layout::groups:
        return (uint64_t{width} + groups->pixels - 1) / groups->pixels * groups->bytes;
    case Layout::y410:
        return uint64_t{width} * 4;
    case Layout::y416:
        return uint64_t{width} * 8;
    case Layout::gray:
        break;
    }
    return sample * width;
}

const Format* find_format(uint32_t code) noexcept
{
    for (const Format& format : kFormats)
        if (format.code == code)
            return &format;
    return nullptr;
}

} // namespace vk::yuv
