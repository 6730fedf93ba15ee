// A handful of bitmaps with their models, which the operations of Api_fuzz.cpp work on.
#pragma once

#include "fuzz/Subject.h"

#include <array>

namespace vk::fuzz {

struct Slot {
    Subject bitmap;
    Model model;

    Model shown() { return model.shown(bitmap->ViewPerspective); }
    bool is_inside(int32_t x, int32_t y) { return V_IsPointInBitmapRegion(bitmap, x, y) == 1; }
};

struct Box {
    int32_t col, row, width, height;
    bool has(int64_t x, int64_t y) const
    {
        return x >= col && y >= row && x < int64_t{col} + width && y < int64_t{row} + height;
    }
};

class Session {
public:
    explicit Session(ByteSource& source) : in(source) {}

    ByteSource& in;

    /// One of the bitmaps.
    Slot& pick()
    {
        Slot& slot = slots_[static_cast<size_t>(in.below(static_cast<int32_t>(slots_.size())))];
        if (!slot.bitmap.is_there())
            remake(slot);
        return slot;
    }
    void remake(Slot& slot)
    {
        slot.bitmap.make(in);
        slot.model = read(slot.bitmap);
    }
    /// Does a call while something may be refused.
    template <class Call> int64_t attempt(Call&& call)
    {
        Refusals refusals(in);
        const int64_t code = call();
        is_stuck_ = refusals.is_persistent();
        refusals.stop();
        require_known(code);
        return code;
    }
    /// After a call that leaves the bitmap as it was when it fails. What was moved within a file cannot be put back
    /// while the file takes nothing any more.
    void settle(Slot& slot, int64_t code, const Model& wanted)
    {
        require_sound(slot.bitmap);
        const Model seen = read(slot.bitmap);
        require(seen == (code > 0 ? wanted : slot.model) || (code <= 0 && is_stuck_));
        slot.model = seen;
    }
    void settle(Slot& slot) { settle(slot, V_SUCCESS, slot.model); }
    /// After one whose pixels nobody foretells; a failure left them alone.
    void accept(Slot& slot, int64_t code)
    {
        require_sound(slot.bitmap);
        settle(slot, code, code > 0 ? read(slot.bitmap) : slot.model);
    }
    /// A bitmap made by a call: it is there, or empty.
    void take_made(Slot& slot, int64_t code)
    {
        require(code == V_SUCCESS ? slot.bitmap.is_there() || is_empty(*slot.bitmap) : is_empty(*slot.bitmap));
        if (slot.bitmap.is_there()) {
            require_sound(slot.bitmap);
            slot.model = read(slot.bitmap);
        }
    }

    int32_t place() { return in.one_in(32) ? in.take<int32_t>() : in.between(-8, 70); }
    Box box() { return {place(), place(), place(), place()}; }
    RECT rect()
    {
        const Box b = box();
        return {b.col, b.row, b.width, b.height};
    }
    COLORREF color() { return in.take<uint32_t>() & 0x05FFFFFFu; }

private:
    std::array<Slot, 4> slots_;
    bool is_stuck_ = false;
};

using Action = void (*)(Session& session);

} // namespace vk::fuzz
