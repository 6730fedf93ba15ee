// The built-in palettes, as constants made by their rules, and the making and freeing of palettes.
// Reserved bytes are 0 throughout.
#include "kernel/palette/Palette.h"

#include "platform/platform.h"

#include <array>
#include <cstring>

namespace vk {
namespace {

template <size_t N> using Entries = std::array<RGBQUAD, N>;

constexpr RGBQUAD entry(unsigned red, unsigned green, unsigned blue) noexcept
{
    return {static_cast<uint8_t>(blue), static_cast<uint8_t>(green), static_cast<uint8_t>(red), 0};
}

/// Level k of n equally spaced ones, rounded to nearest.
constexpr unsigned level(unsigned k, unsigned n) noexcept
{
    return (k * 255u * 2u + (n - 1u)) / ((n - 1u) * 2u);
}

/// A colour cube with the given number of levels per channel, blue fastest; entries past the cube are black.
template <size_t N> constexpr Entries<N> cube(unsigned reds, unsigned greens, unsigned blues) noexcept
{
    Entries<N> entries{};
    for (unsigned i = 0; i < reds * greens * blues; ++i) {
        entries[i] =
            entry(level(i / (greens * blues), reds), level(i / blues % greens, greens), level(i % blues, blues));
    }
    return entries;
}

constexpr RGBQUAD gray_entry(unsigned i, unsigned count) noexcept
{
    const unsigned gray = i * 255u / (count - 1u);
    return entry(gray, gray, gray);
}

template <size_t N> constexpr Entries<N> ramp() noexcept
{
    Entries<N> entries{};
    for (unsigned i = 0; i < N; ++i) {
        entries[i] = gray_entry(i, N);
    }
    return entries;
}

constexpr Entries<2> kFixed1 = ramp<2>();
constexpr Entries<4> kFixed2 = ramp<4>();
constexpr Entries<8> kFixed3 = cube<8>(2, 2, 2);
constexpr Entries<16> kFixed4 = {entry(0, 0, 0),       entry(128, 0, 0),   entry(0, 128, 0),   entry(128, 128, 0),
                                 entry(0, 0, 128),     entry(128, 0, 128), entry(0, 128, 128), entry(128, 128, 128),
                                 entry(192, 192, 192), entry(255, 0, 0),   entry(0, 255, 0),   entry(255, 255, 0),
                                 entry(0, 0, 255),     entry(255, 0, 255), entry(0, 255, 255), entry(255, 255, 255)};
constexpr Entries<32> kFixed5 = cube<32>(4, 4, 2);
constexpr Entries<64> kFixed6 = cube<64>(4, 4, 4);
constexpr Entries<128> kFixed7 = cube<128>(4, 8, 4);
constexpr Entries<256> kFixed8 = cube<256>(8, 8, 4);
constexpr Entries<256> kGrays = ramp<256>();
constexpr Entries<256> kNetscape = cube<256>(6, 6, 6);

constexpr std::array<const RGBQUAD*, 9> kFixed = {nullptr,        kFixed1.data(), kFixed2.data(),
                                                  kFixed3.data(), kFixed4.data(), kFixed5.data(),
                                                  kFixed6.data(), kFixed7.data(), kFixed8.data()};

/// Zeroed entries in movable memory that stays locked.
RGBQUAD* allocate_palette(uint32_t count) noexcept
{
    void* handle = platform::movable_alloc(GMEM_MOVEABLE | GMEM_ZEROINIT, count * sizeof(RGBQUAD));
    if (handle == nullptr) {
        return nullptr;
    }
    void* data = platform::movable_lock(handle);
    if (data == nullptr) {
        platform::movable_free(handle);
    }
    return static_cast<RGBQUAD*>(data);
}

} // namespace

const RGBQUAD* fixed_palette(int32_t bits) noexcept
{
    return is_indexed(bits) ? kFixed[static_cast<size_t>(bits)] : nullptr;
}

const RGBQUAD* gray_levels() noexcept
{
    return kGrays.data();
}

const RGBQUAD* netscape_palette() noexcept
{
    return kNetscape.data();
}

RGBQUAD* new_palette(const RGBQUAD* entries, uint32_t count) noexcept
{
    RGBQUAD* palette = allocate_palette(count);
    if (palette != nullptr) {
        std::memcpy(palette, entries, count * sizeof(RGBQUAD));
    }
    return palette;
}

RGBQUAD* new_gray_palette(int32_t bits) noexcept
{
    const uint32_t count = 1u << bits;
    RGBQUAD* palette = allocate_palette(count);
    for (uint32_t i = 0; palette != nullptr && i < count; ++i) {
        palette[i] = gray_entry(i, count);
    }
    return palette;
}

bool free_palette(RGBQUAD* palette) noexcept
{
    void* handle = palette != nullptr ? platform::movable_handle(palette) : nullptr;
    if (handle == nullptr) {
        return false;
    }
    platform::movable_unlock(handle);
    platform::movable_free(handle);
    return true;
}

} // namespace vk
