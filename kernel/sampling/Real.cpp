#include "kernel/sampling/Real.h"

namespace vk::sampling {

namespace {

template <class Lane, int kChannels, bool kAlpha, int kTaps>
void mix(const Patch& patch, const CellKind& kind, uint8_t* out) noexcept
{
    const auto size = static_cast<size_t>(kind.size);
    for (int32_t i = 0; i < patch.count; ++i, out += size) {
        const auto row = static_cast<size_t>((patch.y[i] >> kFractionBits) - patch.top);
        const auto column = static_cast<size_t>((patch.x[i] >> kFractionBits) - patch.left);
        const uint8_t* cell = patch.origin + row * patch.stride + column * size;
        if constexpr (kTaps == 4)
            cell -= patch.stride + size;
        const uint8_t* cells[kTaps * kTaps];
        for (size_t k = 0; k < kTaps * kTaps; ++k)
            cells[k] = cell + k / kTaps * patch.stride + k % kTaps * size;
        mix_real<Lane, kChannels, kAlpha, kTaps>(cells, patch.line.from(i), kind, out);
    }
}

} // namespace

MixLoops plain_real_mix(const CellKind& kind) noexcept
{
    return with_kind(kind, []<class Lane, int kChannels, bool kAlpha>() noexcept {
        return MixLoops{mix<Lane, kChannels, kAlpha, 2>, mix<Lane, kChannels, kAlpha, 4>};
    });
}

} // namespace vk::sampling
