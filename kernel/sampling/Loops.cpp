#include "kernel/sampling/Loops.h"

namespace vk::sampling {

const PositionLoops& loops() noexcept
{
    const PositionLoops* const fast = position_loops_sets.best();
    return fast ? *fast : kPlainPositions;
}

Take fast_take(int32_t bits) noexcept
{
    const Taking* const fast = taking_sets.best();
    return fast ? fast->loop(bits) : nullptr;
}

TakeBits fast_take_bits() noexcept
{
    const Taking* const fast = taking_sets.best();
    return fast ? fast->bits : nullptr;
}

MixLoops fast_mix(const CellKind& kind) noexcept
{
    if (kind.is_real) {
        const RealMixing* const fast = real_mixing_sets.best();
        return fast ? fast->loops(kind) : MixLoops{};
    }
    const Mixing* const fast = mixing_sets.best();
    return fast ? fast->loops(kind) : MixLoops{};
}

} // namespace vk::sampling
