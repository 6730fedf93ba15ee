// Pieces of an operation that its calling thread alone may move: it brings each to a slot, all threads work on them
// there, and it carries them away in order. There are more slots than threads, so that pieces are brought ahead while
// others are worked on. Storage that keeps a position, and callbacks, see the same as if there were one thread.
#pragma once

#include "kernel/threading/Bands.h"

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace vk {

/// What moves the pieces of an operation. The calling thread asks it, for one piece after the other.
class Freight {
public:
    /// Brings the next piece to its slot. SUCCESS or a code.
    virtual int bring(int64_t piece) noexcept = 0;

    /// Carries away the next one that is done. SUCCESS or a code.
    virtual int carry(int64_t piece) noexcept = 0;

    /// Whether the next piece finds room besides its slot, now that so many have been carried away. Where all that were
    /// brought have been, it must.
    virtual bool has_room(int64_t carried) const noexcept = 0;

    /// Steps of progress that a piece in its slot is.
    virtual int64_t steps(int64_t piece) const noexcept = 0;

protected:
    ~Freight() = default;
};

class Relay {
public:
    static constexpr int64_t kMostSlots = 64;

    explicit Relay(Freight& freight) noexcept : freight_(freight) {}

    /// Settles how many pieces there are, who works on them, and the steps of progress before the first.
    void plan(int32_t pieces, uint32_t threads, int64_t before = 0) noexcept;

    /// To run the operation with; its threads then take pieces here.
    const BandPlan& bands() const noexcept { return bands_; }

    int64_t slots() const noexcept { return slots_; }
    size_t slot(int64_t piece) const noexcept { return static_cast<size_t>(piece % slots_); }

    /// Takes the next piece, which lies in its slot; false when there is none or the operation is to stop. There are no
    /// gaps among the pieces that are taken, so a piece may wait for the one before it.
    bool take(Bands& bands, int64_t& piece) noexcept;

    /// Says what became of a piece that was taken.
    void done(Bands& bands, int64_t piece, int result) noexcept;

private:
    static constexpr int64_t kClosed = int64_t{1} << 62;

    int64_t brought() const noexcept;
    bool bring_ahead(Bands& bands) noexcept;
    void carry_done(Bands& bands) noexcept;
    void serve(Bands& bands, int64_t brought_wanted, int64_t carried_wanted) noexcept;
    void wait_for(const Bands& bands, int64_t piece) noexcept;

    Freight& freight_;
    BandPlan bands_;
    int64_t slots_ = 1;
    std::atomic<int64_t> brought_{0};            ///< pieces; with kClosed when there will be no more
    int64_t carried_ = 0;                        ///< pieces, for the calling thread
    std::atomic<int64_t> done_[kMostSlots] = {}; ///< one more than the number of the piece last done in a slot
};

} // namespace vk
