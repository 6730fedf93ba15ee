#include "kernel/threading/Relay.h"

#include "kernel/threading/Pause.h"

#include <algorithm>

namespace vk {

void Relay::plan(int32_t pieces, uint32_t threads, int64_t before) noexcept
{
    const auto most = static_cast<uint32_t>(kMostSlots / 2);
    bands_ = {pieces, 1, std::min(threads, most), before, 0};
    slots_ = threads == 1
                 ? 1
                 : std::clamp<int64_t>(2 * int64_t{bands_.threads} + 1, 1, std::min<int64_t>(pieces, kMostSlots));
}

int64_t Relay::brought() const noexcept
{
    return brought_.load(std::memory_order_acquire) & ~kClosed;
}

/// Brings as many pieces as there is room for. False when that fails, or somebody has given up waiting.
bool Relay::bring_ahead(Bands& bands) noexcept
{
    int64_t next = brought();
    while (next < std::min<int64_t>(bands_.height, carried_ + slots_) && freight_.has_room(carried_)) {
        const int result = freight_.bring(next);
        if (result != V_SUCCESS) {
            bands.done_steps(0, result);
            return false;
        }
        if (!brought_.compare_exchange_strong(next, next + 1, std::memory_order_release, std::memory_order_relaxed))
            return false;
        ++next;
    }
    return true;
}

/// Carries away what is done and next.
void Relay::carry_done(Bands& bands) noexcept
{
    const auto is_done = [&] { return done_[slot(carried_)].load(std::memory_order_acquire) == carried_ + 1; };
    for (; carried_ < bands_.height && is_done() && !bands.has_stopped(); ++carried_) {
        const int64_t steps = freight_.steps(carried_);
        bands.done_steps(steps, freight_.carry(carried_));
    }
}

/// Moves pieces until so many have been brought and carried away, or the operation is to stop.
void Relay::serve(Bands& bands, int64_t brought_wanted, int64_t carried_wanted) noexcept
{
    Pause pause;
    for (;;) {
        carry_done(bands);
        if (bands.has_stopped() || !bring_ahead(bands))
            return;
        if (brought() >= brought_wanted && carried_ >= carried_wanted)
            return;
        pause.wait();
    }
}

/// Waits until a piece has been brought. Who gives up sees to it that no more are, so that all agree which have been.
void Relay::wait_for(const Bands& bands, int64_t piece) noexcept
{
    for (Pause pause; brought() <= piece; pause.wait())
        if (bands.has_stopped()) {
            brought_.fetch_or(kClosed, std::memory_order_relaxed);
            return;
        }
}

bool Relay::take(Bands& bands, int64_t& piece) noexcept
{
    Band band{};
    if (!bands.take(band)) {
        if (bands.is_caller())
            serve(bands, bands_.height, bands_.height);
        return false;
    }
    piece = band.row;
    if (bands.is_caller())
        serve(bands, piece + 1, 0);
    else
        wait_for(bands, piece);
    // Whatever has stopped: those that have pieces behind this one may wait for it, if it has been brought.
    return brought() > piece;
}

void Relay::done(Bands& bands, int64_t piece, int result) noexcept
{
    if (result != V_SUCCESS)
        return bands.done_steps(0, result);
    done_[slot(piece)].store(piece + 1, std::memory_order_release);
    if (bands.is_caller())
        carry_done(bands);
}

} // namespace vk
