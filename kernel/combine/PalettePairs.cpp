#include "kernel/combine/PalettePairs.h"

#include "kernel/format/RowMath.h"
#include "kernel/format/Spread.h"

#include <cstring>

namespace vk::combine {

namespace {

/// Every index of a depth, as pixels.
void all_indices(uint8_t* packed, int32_t bits) noexcept
{
    uint8_t indices[256];
    const size_t count = size_t{1} << bits;
    for (size_t i = 0; i < count; ++i)
        indices[i] = static_cast<uint8_t>(i);
    if (bits == 8)
        std::memcpy(packed, indices, count);
    else
        gather_pixels(indices, packed, count, bits);
}

} // namespace

int PalettePairs::open(RowConverter& from, PaletteColors& to) noexcept
{
    colors_ = &to;
    from_bits_ = from.from().bits;
    to_bits_ = to.bits();
    if (!table_.allocate(sizeof(uint16_t) << (from_bits_ + to_bits_)))
        return V_ERROR_NO_MEMORY;
    uint8_t packed[256];
    all_indices(packed, from_bits_);
    from.run(packed, reinterpret_cast<uint8_t*>(from_colors_), size_t{1} << from_bits_);
    all_indices(packed, to_bits_);
    to.show(packed, reinterpret_cast<uint8_t*>(to_colors_), size_t{1} << to_bits_);
    return V_SUCCESS;
}

/// The indices on both sides, a byte each.
void PalettePairs::load(Line to, Line from, int32_t count) noexcept
{
    const auto take = [&](Line line, int32_t bits, uint8_t* indices) noexcept {
        const auto size = static_cast<uint32_t>(bits);
        if (bits == 8) {
            std::memcpy(indices, line.data + line.column, static_cast<size_t>(count));
            return;
        }
        copy_bits(packed_, 0, line.data, uint64_t{size} * static_cast<uint32_t>(line.column),
                  uint64_t{size} * static_cast<uint32_t>(count), BitOrder::high_first);
        spread_pixels(packed_, indices, static_cast<size_t>(count), bits);
    };
    take(from, from_bits_, from_);
    take(to, to_bits_, to_);
}

/// False when a pair is not known.
bool PalettePairs::look_up(int32_t count) noexcept
{
    const uint16_t* const known = table();
    bool is_all = true;
    for (int32_t i = 0; i < count; ++i) {
        const uint16_t made = known[pair(i)];
        is_all = is_all && made != 0;
        made_[i] = static_cast<uint8_t>(made - 1);
    }
    return is_all;
}

int32_t PalettePairs::gather_unknown(int32_t count) noexcept
{
    int32_t asked = 0;
    for (int32_t i = 0; i < count; ++i) {
        uint16_t& known = table()[pair(i)];
        if (known != 0)
            continue;
        known = kAsked;
        asked_[asked] = static_cast<uint16_t>(pair(i));
        std::memcpy(asked_from_ + 4 * static_cast<size_t>(asked), &from_colors_[from_[i]], 4);
        std::memcpy(asked_to_ + 4 * static_cast<size_t>(asked), &to_colors_[to_[i]], 4);
        ++asked;
    }
    return asked;
}

void PalettePairs::take_answers(int32_t count) noexcept
{
    constexpr uint32_t kColorBits = 0x00FFFFFFu;
    uint8_t indices[kChunk];
    colors_->find(asked_to_, indices, static_cast<size_t>(count));
    for (int32_t i = 0; i < count; ++i) {
        const uint32_t before = asked_[i] & ((1u << to_bits_) - 1);
        uint32_t color;
        std::memcpy(&color, asked_to_ + 4 * static_cast<size_t>(i), sizeof color);
        const bool is_changed = ((color ^ to_colors_[before]) & kColorBits) != 0;
        table()[asked_[i]] = static_cast<uint16_t>((is_changed ? indices[i] : before) + 1);
    }
}

void PalettePairs::save(Line to, int32_t count) noexcept
{
    const auto bits = static_cast<uint32_t>(to_bits_);
    if (to_bits_ == 8) {
        std::memcpy(to.data + to.column, made_, static_cast<size_t>(count));
        return;
    }
    gather_pixels(made_, packed_, static_cast<size_t>(count), to_bits_);
    copy_bits(to.data, uint64_t{bits} * static_cast<uint32_t>(to.column), packed_, 0,
              uint64_t{bits} * static_cast<uint32_t>(count), BitOrder::high_first);
}

} // namespace vk::combine
