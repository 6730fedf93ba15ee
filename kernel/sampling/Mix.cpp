#include "kernel/sampling/Mix.h"

namespace vk::sampling {

namespace {

const uint8_t* cell_at(const Patch& patch, const CellKind& kind, int32_t i) noexcept
{
    const auto row = static_cast<size_t>((patch.y[i] >> kFractionBits) - patch.top);
    const auto column = static_cast<size_t>((patch.x[i] >> kFractionBits) - patch.left);
    return patch.origin + row * patch.stride + column * static_cast<size_t>(kind.size);
}

Fractions fractions_of(const Patch& patch, int32_t i) noexcept
{
    constexpr uint32_t kMask = (1u << kFractionBits) - 1;
    return {static_cast<uint32_t>(patch.x[i]) & kMask, static_cast<uint32_t>(patch.y[i]) & kMask};
}

template <class Lane, int kChannels, bool kAlpha>
void linear(const Patch& patch, const CellKind& kind, uint8_t* out) noexcept
{
    const auto size = static_cast<size_t>(kind.size);
    for (int32_t i = 0; i < patch.count; ++i, out += size) {
        const uint8_t* const cell = cell_at(patch, kind, i);
        const uint8_t* const cells[4] = {cell, cell + size, cell + patch.stride, cell + patch.stride + size};
        mix_linear<Lane, kChannels, kAlpha>(cells, fractions_of(patch, i), kind, out);
    }
}

template <class Lane, int kChannels, bool kAlpha>
void cubic(const Patch& patch, const CellKind& kind, uint8_t* out) noexcept
{
    const auto size = static_cast<size_t>(kind.size);
    for (int32_t i = 0; i < patch.count; ++i, out += size) {
        const uint8_t* const cell = cell_at(patch, kind, i) - patch.stride - size;
        const uint8_t* cells[16];
        for (size_t k = 0; k < 16; ++k)
            cells[k] = cell + k / 4 * patch.stride + k % 4 * size;
        mix_cubic<Lane, kChannels, kAlpha>(cells, fractions_of(patch, i), kind, out);
    }
}

} // namespace

MixLoops plain_mix(const CellKind& kind) noexcept
{
    if (kind.is_real)
        return plain_real_mix(kind);
    return with_kind(kind, []<class Lane, int kChannels, bool kAlpha>() noexcept {
        return MixLoops{linear<Lane, kChannels, kAlpha>, cubic<Lane, kChannels, kAlpha>};
    });
}

} // namespace vk::sampling
