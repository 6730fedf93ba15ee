// The codes of YUV pictures, once: what a code's planes are, how often its chroma is sampled, and how packed samples
// lie. The DIB functions unpack their rows by the same groups (Samples.h); which formula they use is their own affair.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vk::yuv {

constexpr uint32_t code_of(const char (&text)[5]) noexcept
{
    return static_cast<uint32_t>(static_cast<uint8_t>(text[0])) |
           static_cast<uint32_t>(static_cast<uint8_t>(text[1])) << 8 |
           static_cast<uint32_t>(static_cast<uint8_t>(text[2])) << 16 |
           static_cast<uint32_t>(static_cast<uint8_t>(text[3])) << 24;
}

/// How packed samples of a byte lie: groups of pixels, with the place of each pixel's luma and of the group's chroma.
struct Groups {
    static constexpr uint8_t kNone = 0xFF;
    static constexpr size_t kMost = 8;

    uint8_t pixels;
    uint8_t bytes;
    uint8_t chroma_step; ///< pixels that share chroma
    uint8_t luma[kMost];
    uint8_t u[2];
    uint8_t v[2]; ///< kNone: neutral
    uint8_t alpha = kNone;
};

inline constexpr Groups kYuy2{2, 4, 2, {0, 2}, {1}, {3}};
inline constexpr Groups kUyvy{2, 4, 2, {1, 3}, {0}, {2}};
inline constexpr Groups kYvyu{2, 4, 2, {0, 2}, {3}, {1}};
inline constexpr Groups kY41p{8, 12, 4, {1, 3, 5, 7, 8, 9, 10, 11}, {0, 4}, {2, 6}};
inline constexpr Groups kY41pShort{4, 6, 4, {1, 3, 4, 5}, {0}, {2}}; ///< what DIBs have for a row's last four pixels
inline constexpr Groups kY211{4, 4, 4, {0, 0, 2, 2}, {1}, {3}};
inline constexpr Groups kY211Short{2, 2, 4, {0, 0}, {1}, {Groups::kNone}}; ///< of DIBs, without red difference
inline constexpr Groups kAyuv{1, 4, 1, {2}, {1}, {0}, 3};

/// What is true of the ways that samples are laid out in.
enum class Layout : uint8_t {
    planes, ///< luma, blue and red difference
    pairs,  ///< luma, and chroma in pairs
    groups, ///< bytes, as Groups says
    y410,   ///< fields of 32 bits
    y416,   ///< words U Y V A
    gray
};

struct Format {
    uint32_t code;
    Layout layout;
    uint8_t bits;     ///< of a sample
    uint8_t chroma_x; ///< pixels for a chroma sample, 0 without
    uint8_t chroma_y;
    bool v_first;        ///< red difference before blue, in planes and pairs
    int32_t bitmap_bits; ///< of the bitmap it becomes
    const Groups* groups = nullptr;

    constexpr bool deep() const noexcept { return bits > 8; }
    constexpr bool has_chroma() const noexcept { return chroma_x != 0; }
    constexpr bool has_alpha() const noexcept { return bitmap_bits == 32 || bitmap_bits == 64; }
    constexpr int32_t planes() const noexcept { return layout == Layout::planes ? 3 : layout == Layout::pairs ? 2 : 1; }
    constexpr uint32_t chroma_width(uint32_t width) const noexcept { return (width + chroma_x - 1u) / chroma_x; }
    constexpr uint32_t chroma_height(uint32_t height) const noexcept { return (height + chroma_y - 1u) / chroma_y; }
    uint64_t row_bytes(int32_t plane, uint32_t width) const noexcept;
    uint32_t rows(int32_t plane, uint32_t height) const noexcept { return plane == 0 ? height : chroma_height(height); }
};

/// The format of a code; null for all others.
const Format* find_format(uint32_t code) noexcept;

} // namespace vk::yuv
