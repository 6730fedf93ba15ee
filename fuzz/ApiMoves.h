// The actions of Api_fuzz.cpp that models foretell to the pixel: rows and pixels put, pictures turned, copied, cut, and
// stored in other ways.
#pragma once

#include "fuzz/Session.h"

#include "Vkcombine.h"
#include "Vkpixel.h"
#include "Vkresize.h"
#include "Vkrows.h"
#include "Vkview.h"

namespace vk::fuzz {

inline void remake(Session& session)
{
    session.remake(session.pick());
}

inline void repaint(Session& session)
{
    Slot& slot = session.pick();
    slot.bitmap.paint(session.in);
    slot.model = read(slot.bitmap);
}

inline void put_row(Session& session)
{
    Slot& slot = session.pick();
    const int32_t y = session.in.below(slot.bitmap->Height + 1);
    Bytes row(slot.bitmap->BytesPerLine);
    for (uint8_t& byte : row)
        byte = session.in.byte();
    require(V_AccessBitmap(slot.bitmap) == V_SUCCESS);
    const int64_t code = session.attempt([&] { return V_PutBitmapRow(slot.bitmap, row.data(), y, row.size()); });
    require(V_ReleaseBitmap(slot.bitmap) == V_SUCCESS);
    require((y < slot.bitmap->Height) || code == V_ERROR_INVALID_PARAMETER);
    Model wanted = slot.model;
    for (int32_t x = 0; code > 0 && x < wanted.width; ++x)
        wanted.at(x, y) = pixel_of(row.data(), wanted.bits, x);
    session.settle(slot, code, wanted);
}

inline void put_segments(Session& session)
{
    Slot& slot = session.pick();
    const int32_t y = session.in.below(slot.bitmap->Height);
    Bytes row(slot.bitmap->BytesPerLine, session.in.byte());
    const int32_t first = session.in.below(slot.bitmap->Width),
                  count = session.in.below(slot.bitmap->Width - first + 1);
    const ROWSEGMENT segment{first, count};
    require(V_AccessBitmap(slot.bitmap) == V_SUCCESS);
    const int64_t code =
        session.attempt([&] { return V_PutBitmapRowSegments(slot.bitmap, row.data(), y, &segment, 1); });
    require(V_ReleaseBitmap(slot.bitmap) == V_SUCCESS);
    Model wanted = slot.model;
    int64_t put = 0;
    for (int32_t x = first; x < first + count; ++x)
        if (slot.is_inside(x, y)) {
            wanted.at(x, y) = pixel_of(row.data(), wanted.bits, x);
            ++put;
        }
    require(code < 0 || code == put);
    session.settle(slot, code < 0 ? code : 1, wanted);
}

inline void put_color(Session& session)
{
    Slot& slot = session.pick();
    const int32_t x = session.in.below(slot.bitmap->Width), y = session.in.below(slot.bitmap->Height);
    const COLORREF color = session.color();
    const int64_t code = session.attempt([&] { return V_PutPixelColor(slot.bitmap, y, x, color); });
    Model wanted = slot.model;
    wanted.at(x, y) = read(slot.bitmap).at(x, y);
    session.settle(slot, code, wanted);
    const COLORREF seen = V_GetPixelColor(slot.bitmap, y, x);
    const bool has_channels = wanted.bits == 24 || (wanted.bits == 32 && slot.bitmap->Order != COLORORDER_GRAY);
    require(code != V_SUCCESS || !has_channels || color > 0xFFFFFF || seen == color);
}

inline void flip_stored(Session& session)
{
    Slot& slot = session.pick();
    const bool mirrors = session.in.byte() % 2 != 0;
    const int64_t code =
        session.attempt([&] { return mirrors ? V_IntReverseBitmap(slot.bitmap) : V_IntFlipBitmap(slot.bitmap); });
    session.settle(slot, code, mirrors ? slot.model.mirrored() : slot.model.flipped());
}

/// What is shown changes as a function says; how that is stored is the library's affair.
inline void settle_shown(Session& session, Slot& slot, int64_t code, const Model& shown)
{
    if (code == V_SUCCESS) {
        slot.model = read(slot.bitmap);
        require(slot.shown() == shown);
    }
    session.settle(slot, code, slot.model);
}

inline void turn(Session& session)
{
    Slot& slot = session.pick();
    const int way = session.in.below(4);
    const Model shown = slot.shown();
    const int64_t code = session.attempt([&] {
        return way == 0   ? V_FlipBitmap(slot.bitmap)
               : way == 1 ? V_ReverseBitmap(slot.bitmap)
                          : V_RotateBitmap90(slot.bitmap, way - 2);
    });
    settle_shown(session, slot, code,
                 way == 0   ? shown.flipped()
                 : way == 1 ? shown.mirrored()
                            : shown.turned_by(way == 2 ? 270 : 90));
}

inline void see_from(Session& session)
{
    Slot& slot = session.pick();
    Slot& other = session.pick();
    const Model shown = slot.shown();
    const int32_t perspective = session.in.below(8) + 1;
    if (&slot == &other) {
        // A turn that fails behind a flip leaves the flip, in perspective 1.
        const int64_t code =
            session.attempt([&] { return V_ChangeBitmapViewPerspective(nullptr, slot.bitmap, 0, perspective); });
        slot.model = read(slot.bitmap);
        require(slot.shown() == shown || code != V_SUCCESS);
        require_sound(slot.bitmap);
        return;
    }
    V_FreeBitmap(other.bitmap);
    const int64_t code = session.attempt(
        [&] { return V_ChangeBitmapViewPerspective(other.bitmap, slot.bitmap, BITMAPHANDLE_SIZE, perspective); });
    session.take_made(other, code);
    require(code != V_SUCCESS || other.shown() == shown);
    session.settle(slot);
}

inline void flip_view(Session& session)
{
    Slot& slot = session.pick();
    const bool mirrors = session.in.byte() % 2 != 0;
    const Model shown = slot.shown();
    require((mirrors ? V_ReverseBitmapViewPerspective(slot.bitmap) : V_FlipBitmapViewPerspective(slot.bitmap)) ==
            V_SUCCESS);
    require(slot.shown() == (mirrors ? shown.mirrored() : shown.flipped()));
    session.settle(slot);
}

inline void copy(Session& session)
{
    Slot& from = session.pick();
    Slot& to = session.pick();
    if (&from == &to)
        return;
    V_FreeBitmap(to.bitmap);
    const int64_t code = session.attempt([&] { return V_CopyBitmap(to.bitmap, from.bitmap, BITMAPHANDLE_SIZE); });
    session.take_made(to, code);
    require(code != V_SUCCESS ||
            (to.model == from.model && to.bitmap->ViewPerspective == from.bitmap->ViewPerspective));
    session.settle(from);
}

inline Box clipped(const Box& box, const Model& model)
{
    const auto low = [](int64_t value, int64_t most) {
        return static_cast<int32_t>(std::clamp<int64_t>(value, 0, most));
    };
    const int32_t left = low(box.col, model.width), top = low(box.row, model.height);
    const int32_t right = low(int64_t{box.col} + box.width, model.width);
    const int32_t bottom = low(int64_t{box.row} + box.height, model.height);
    return {left, top, std::max(right - left, 0), std::max(bottom - top, 0)};
}

inline void cut(Session& session)
{
    Slot& from = session.pick();
    Slot& to = session.pick();
    const Box box = session.box(), kept = clipped(box, from.model);
    const bool leaves_some = kept.width > 0 && kept.height > 0;
    const Model wanted = leaves_some ? from.model.cut(kept.col, kept.row, kept.width, kept.height) : from.model;
    if (&from == &to) {
        const int64_t code =
            session.attempt([&] { return V_TrimBitmap(from.bitmap, box.col, box.row, box.width, box.height); });
        session.settle(from, code, wanted);
        return;
    }
    V_FreeBitmap(to.bitmap);
    const int64_t code = session.attempt([&] {
        return V_CopyBitmapRect(to.bitmap, from.bitmap, BITMAPHANDLE_SIZE, box.col, box.row, box.width, box.height);
    });
    session.take_made(to, code);
    require(code != V_SUCCESS || (leaves_some ? to.model == wanted : !to.bitmap.is_there()));
    session.settle(from);
}

inline void extend(Session& session)
{
    Slot& slot = session.pick();
    const int32_t left = session.in.below(5), top = session.in.below(5), right = session.in.below(5),
                  bottom = session.in.below(5);
    if (slot.model.width > 80 || slot.model.height > 80)
        return;
    const Model before = slot.model;
    const uint32_t flags = static_cast<uint32_t>(session.in.below(4));
    const COLORREF color = session.color();
    const int64_t code =
        session.attempt([&] { return V_ExtendBitmap(slot.bitmap, left, top, right, bottom, flags, color); });
    session.accept(slot, code);
    require(code != V_SUCCESS || slot.model.cut(left, top, before.width, before.height) == before);
}

inline void size(Session& session)
{
    Slot& slot = session.pick();
    const int32_t width = session.in.between(1, 64), height = session.in.between(1, 64);
    const int64_t code = session.attempt([&] { return V_SizeBitmap(slot.bitmap, width, height, SIZEFLAG_NORMAL); });
    session.settle(slot, code, slot.model.sized(width, height));
}

inline void change_height(Session& session)
{
    Slot& slot = session.pick();
    const int32_t height = session.in.between(1, 64);
    const int64_t code = session.attempt([&] { return V_ChangeBitmapHeight(slot.bitmap, height); });
    session.settle(slot, code, slot.model.made(slot.model.width, height, [&](int32_t x, int32_t y) {
        return y < slot.model.height ? slot.model.at(x, y) : 0;
    }));
}

inline void change_storage(Session& session)
{
    Slot& slot = session.pick();
    const uint32_t memory = session.in.one_of(kMemory);
    const int32_t compression = session.in.below(4);
    const int64_t code = session.attempt([&] {
        return compression < 3 ? V_ChangeBitmapCompression(slot.bitmap, compression)
                               : V_SetBitmapMemoryInfo(slot.bitmap, memory, 300, 0, 1, 0, 1,
                                                       MEMORYINFO_MEMORY | MEMORYINFO_TILESIZE | MEMORYINFO_CONVTILES);
    });
    session.settle(slot, code, slot.model);
}

} // namespace vk::fuzz
