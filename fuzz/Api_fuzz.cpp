// Sequences of exported functions on a handful of bitmaps of all kinds, against plain models where one is simple, and
// otherwise against what holds for every bitmap: results have a meaning, records are sound, a failure leaves the bitmap
// as it was, nothing stays. On the way callbacks cancel and refuse, and system calls fail.
//
// An input is a list of actions: a byte that chooses one, then the bytes that it takes.
#include "fuzz/ApiMoves.h"
#include "fuzz/Subject.h"

#include "Vkcolorres.h"
#include "Vkcombine.h"
#include "Vkdib.h"
#include "Vkdisplay.h"
#include "Vkdither.h"
#include "Vkfill.h"
#include "Vklist.h"
#include "Vkoverlay.h"
#include "Vkpalette.h"
#include "Vkpixel.h"
#include "Vkresample.h"
#include "Vkresize.h"
#include "Vkrotate.h"
#include "Vkview.h"
#include "Vkwarp.h"
#include "Vkwindow.h"

#include <set>

namespace vk::fuzz {

namespace {

// ---------------------------------------------------------------------------------------------------------------------
// Pixels changed
// ---------------------------------------------------------------------------------------------------------------------

uint64_t combined(uint32_t operation, uint64_t s, uint64_t d)
{
    const uint64_t results[] = {s,        s & d,    s | d,    s ^ d, ~s & d, s & ~d, ~s | d, s | ~d,
                                ~(s & d), ~(s | d), ~(s ^ d), ~s,    ~d,     0,      ~0ull,  d};
    return results[operation];
}

void combine(Session& session)
{
    Slot& to = session.pick();
    Slot& from = session.pick();
    const auto operation = static_cast<uint32_t>(session.in.below(23));
    const bool is_raw = operation < 16 && session.in.byte() % 2 != 0;
    const Box box = session.box();
    const int32_t col = session.place(), row = session.place();
    const bool is_foretold =
        is_raw && to.model.bits == from.model.bits && to.bitmap->ViewPerspective == from.bitmap->ViewPerspective;
    const int64_t code = session.attempt([&] {
        return V_CombineBitmap(to.bitmap, box.col, box.row, box.width, box.height, from.bitmap, col, row,
                               operation | (is_raw ? COMBINE_RAW : 0));
    });
    if (!is_foretold)
        return session.accept(to, code);
    const uint64_t mask = to.model.bits == 64 ? ~0ull : (1ull << to.model.bits) - 1;
    const Model source = from.model;
    session.settle(to, code, to.model.made(to.model.width, to.model.height, [&](int32_t x, int32_t y) {
        const int64_t sx = int64_t{x} - box.col + col, sy = int64_t{y} - box.row + row;
        const bool is_met = box.has(x, y) && sx >= 0 && sy >= 0 && sx < source.width && sy < source.height;
        return is_met && to.is_inside(x, y) ? combined(operation, source.at(sx, sy), to.model.at(x, y)) & mask
                                            : to.model.at(x, y);
    }));
}

void blend(Session& session)
{
    Slot& to = session.pick();
    Slot& from = session.pick();
    Slot& mask = session.pick();
    const Box box = session.box();
    const int32_t col = session.place(), row = session.place();
    const uint32_t mode = static_cast<uint32_t>(session.in.below(24)) | (session.in.take<uint32_t>() & 0x0F00u);
    const uint32_t opacity = session.in.take<uint16_t>();
    const bool has_mask = session.in.byte() % 2 != 0;
    const int64_t code = session.attempt([&] {
        return V_BlendBitmap(to.bitmap, box.col, box.row, box.width, box.height, from.bitmap, col, row,
                             has_mask ? static_cast<BITMAPHANDLE*>(mask.bitmap) : nullptr, 0, 0, mode, opacity);
    });
    const Model before = to.model;
    session.accept(to, code);
    for (int32_t y = 0; y < before.height; ++y)
        for (int32_t x = 0; x < before.width; ++x)
            require((box.has(x, y) && to.is_inside(x, y)) || to.model.at(x, y) == before.at(x, y));
}

void fill(Session& session)
{
    Slot& slot = session.pick();
    const RECT rect = session.rect();
    const COLORREF color = session.color();
    const int64_t code = session.attempt([&] { return V_FillBitmapRect(slot.bitmap, &rect, color); });
    const Model before = slot.model;
    session.accept(slot, code);
    const uint64_t* filled = nullptr;
    for (int32_t y = 0; code == V_SUCCESS && y < before.height; ++y)
        for (int32_t x = 0; x < before.width; ++x) {
            const bool is_met =
                x >= rect.left && y >= rect.top && x < rect.right && y < rect.bottom && slot.is_inside(x, y);
            const uint64_t& pixel = slot.model.at(x, y);
            require(is_met ? !filled || *filled == pixel : pixel == before.at(x, y));
            filled = is_met ? &pixel : filled;
        }
}

void flood(Session& session)
{
    Slot& slot = session.pick();
    const int32_t col = session.place(), row = session.place();
    const COLORREF color = session.color(), border = session.color();
    const uint32_t tolerance = session.in.byte(), flags = session.in.byte() % 4u;
    const int64_t code =
        session.attempt([&] { return V_FloodFillBitmap(slot.bitmap, col, row, color, border, tolerance, flags); });
    session.accept(slot, code);
}

void scramble(Session& session)
{
    Slot& slot = session.pick();
    const Box box = session.box();
    const uint32_t key = session.in.take<uint32_t>();
    const Model before = slot.model;
    const int64_t code = session.attempt([&] {
        return V_ScrambleBitmap(slot.bitmap, slot.bitmap, 0, box.col, box.row, box.width, box.height, key,
                                SCRAMBLE_HIDE);
    });
    session.accept(slot, code);
    if (code != V_SUCCESS || V_BitmapHasRegion(slot.bitmap) == 1)
        return;
    require(V_ScrambleBitmap(slot.bitmap, slot.bitmap, 0, box.col, box.row, box.width, box.height, key,
                             SCRAMBLE_SHOW) == V_SUCCESS);
    session.settle(slot, V_SUCCESS, before);
}

void alpha(Session& session)
{
    Slot& slot = session.pick();
    Slot& other = session.pick();
    const int way = session.in.below(4);
    const uint32_t value = session.in.take<uint16_t>();
    const int64_t code = session.attempt([&] {
        return way == 0   ? V_SetBitmapAlphaValue(slot.bitmap, value)
               : way == 1 ? V_SetBitmapAlpha(slot.bitmap, other.bitmap)
               : way == 2 ? V_PremultiplyBitmap(slot.bitmap)
                          : V_UnpremultiplyBitmap(slot.bitmap);
    });
    require(slot.model.bits == 32 || slot.model.bits == 64 || code <= 0);
    session.accept(slot, code);
}

// ---------------------------------------------------------------------------------------------------------------------
// Formats
// ---------------------------------------------------------------------------------------------------------------------

void change_colors(Session& session)
{
    Slot& slot = session.pick();
    const int32_t bits = session.in.one_of(kDepths);
    const uint32_t flags = static_cast<uint32_t>(session.in.byte()) & 0x17Fu;
    const bool gains = slot.model.bits <= 8 && bits == 24 && (flags & COLORRES_ORDER_MASK) <= COLORRES_ORDER_BGR;
    std::vector<COLORREF> colors;
    for (int32_t i = 0; gains && i < slot.model.width; ++i)
        colors.push_back(V_GetPixelColor(slot.bitmap, 0, i));
    const int64_t code =
        session.attempt([&] { return V_ColorResBitmap(slot.bitmap, nullptr, 0, bits, flags, nullptr, nullptr, 0); });
    session.accept(slot, code);
    for (int32_t i = 0; code == V_SUCCESS && gains && i < slot.model.width; ++i)
        require(colors[static_cast<size_t>(i)] == V_GetPixelColor(slot.bitmap, 0, i));
}

void gray(Session& session)
{
    constexpr int32_t kGrays[] = {8, 12, 16, 0};
    Slot& slot = session.pick();
    const int32_t bits = session.in.one_of(kGrays);
    session.accept(slot, session.attempt([&] { return V_GrayScaleBitmap(slot.bitmap, bits); }));
}

void count_colors(Session& session)
{
    Slot& slot = session.pick();
    uint64_t count = 0;
    const int64_t code = session.attempt([&] { return V_CountBitmapColors(slot.bitmap, &count); });
    const bool is_plain = slot.model.bits == 24 || slot.model.bits == 48 || slot.model.bits == 64;
    const std::set<uint64_t> values(slot.model.pixels.begin(), slot.model.pixels.end());
    require(code != V_SUCCESS || !is_plain || count == values.size());
    session.settle(slot);
}

/// Out to a DIB and back: nothing is lost where the depth is one that DIBs have.
void exchange(Session& session)
{
    Slot& slot = session.pick();
    Slot& back = session.pick();
    const uint32_t type = static_cast<uint32_t>(session.in.below(3));
    if (&slot == &back)
        return;
    void* dib = nullptr;
    session.attempt([&] { return (dib = V_ConvertToDIB(slot.bitmap, type)) != nullptr; });
    session.settle(slot);
    if (!dib)
        return;
    V_FreeBitmap(back.bitmap);
    const int64_t code = session.attempt([&] { return V_ChangeFromDIB(back.bitmap, BITMAPHANDLE_SIZE, dib); });
    session.take_made(back, code);
    if (code != V_SUCCESS)
        require(GlobalFree(dib) == nullptr);
    const int32_t bits = slot.model.bits;
    const bool stays = bits == 1 || bits == 4 || bits == 8 || bits == 24;
    const bool is_plain = slot.bitmap->Order == COLORORDER_BGR && slot.bitmap->Order == back.bitmap->Order;
    require(code != V_SUCCESS || !stays || !is_plain || slot.shown() == back.shown());
}

void palette(Session& session)
{
    Slot& slot = session.pick();
    RGBQUAD entries[256] = {};
    const auto count = static_cast<uint32_t>(session.in.below(257));
    for (RGBQUAD& entry : entries)
        entry = session.in.take<RGBQUAD>();
    if (slot.model.bits > 8)
        return;
    const int64_t code = session.attempt([&] {
        return count == 1u << slot.model.bits ? V_SetBitmapNewPalette(slot.bitmap, entries, count)
                                              : V_CreateBitmapGrayPalette(slot.bitmap);
    });
    if (code == V_FAILURE) // it has none now
        require(V_CreateBitmapGrayPalette(slot.bitmap) == V_SUCCESS);
    session.settle(slot, code, slot.model);
}

// ---------------------------------------------------------------------------------------------------------------------
// What hangs on bitmaps, and what nobody foretells
// ---------------------------------------------------------------------------------------------------------------------

void region(Session& session)
{
    Slot& slot = session.pick();
    Slot& other = session.pick();
    const RECT rect = session.rect();
    const uint32_t mode = static_cast<uint32_t>(session.in.below(5));
    const int way = session.in.below(8);
    const int64_t code = session.attempt([&] {
        return way == 0   ? V_SetBitmapRegionRect(slot.bitmap, &rect, mode)
               : way == 1 ? V_SetBitmapRegionEllipse(slot.bitmap, &rect, mode)
               : way == 2 ? V_SetBitmapRegionMask(slot.bitmap, other.bitmap, mode)
               : way == 3 ? V_SetBitmapRegionColor(slot.bitmap, 0, 0x00FF80FF, mode)
               : way == 4 ? V_InvertBitmapRegion(slot.bitmap)
               : way == 5 ? V_OffsetBitmapRegion(slot.bitmap, rect.left, rect.top)
               : way == 6 ? V_CopyBitmapRegion(slot.bitmap, other.bitmap)
                          : V_FreeBitmapRegion(slot.bitmap);
    });
    uint64_t area = 0, counted = 0;
    require(V_GetBitmapRegionArea(slot.bitmap, &area) == V_SUCCESS);
    for (int32_t y = 0; y < slot.model.height; ++y)
        for (int32_t x = 0; x < slot.model.width; ++x)
            counted += slot.is_inside(x, y);
    require(area == counted);
    session.settle(slot, code, slot.model);
}

void overlay(Session& session)
{
    Slot& slot = session.pick();
    Slot& mark = session.pick();
    const int32_t index = session.in.below(17);
    const int way = session.in.below(5);
    const int64_t code = session.attempt([&]() -> int {
        if (way == 0)
            return V_SetBitmapOverlay(slot.bitmap, index, mark.bitmap, OVERLAY_COPY);
        if (way == 1)
            return V_RemoveBitmapOverlay(slot.bitmap, index);
        if (way == 2)
            return V_LoadBitmapOverlayBits(slot.bitmap, index);
        if (way == 3)
            return V_FlattenBitmapOverlays(nullptr, slot.bitmap, 0);
        V_OVERLAYATTRIBUTES said{sizeof said, OVERLAYFLAG_VISIBLE, 0x00FF00, 1, 2, 3, ""};
        return V_SetBitmapOverlayAttributes(slot.bitmap, index, &said);
    });
    session.accept(slot, code);
    require(way == 3 || code <= 0 || index < OVERLAY_SLOTS);
}

void resample(Session& session)
{
    Slot& slot = session.pick();
    const int32_t width = session.in.between(1, 64), height = session.in.between(1, 64);
    const uint32_t flags = session.in.byte() % 64u;
    const int64_t code = session.attempt([&] { return V_SizeBitmap(slot.bitmap, width, height, flags); });
    session.accept(slot, code);
    require(code != V_SUCCESS || (slot.model.width == width && slot.model.height == height));
}

void rotate(Session& session)
{
    Slot& slot = session.pick();
    const int32_t angle = session.in.take<int16_t>();
    const uint32_t flags = session.in.byte();
    if (slot.model.width > 80 || slot.model.height > 80)
        return;
    session.accept(slot, session.attempt([&] { return V_RotateBitmap(slot.bitmap, angle, flags, 0x00FF8040); }));
}

void shear(Session& session)
{
    Slot& slot = session.pick();
    const int32_t angle = session.in.between(-4000, 4000);
    if (slot.model.width > 80 || slot.model.height > 80)
        return;
    session.accept(slot, session.attempt([&] { return V_ShearBitmap(slot.bitmap, angle, session.in.byte(), 0); }));
}

void show(Session& session)
{
    Slot& slot = session.pick();
    Slot& made = session.pick();
    const int32_t width = session.in.between(0, 64), height = session.in.between(0, 64);
    const uint32_t flags = static_cast<uint32_t>(session.in.below(3)) | (session.in.byte() & RENDER_32BITS);
    if (&slot == &made)
        return;
    V_FreeBitmap(made.bitmap);
    const int64_t code = session.attempt(
        [&] { return V_RenderBitmap(made.bitmap, slot.bitmap, BITMAPHANDLE_SIZE, nullptr, width, height, flags); });
    session.take_made(made, code);
    session.settle(slot);
}

void look_through_window(Session& session)
{
    Slot& slot = session.pick();
    const V_WINDOW window{sizeof window,          static_cast<uint32_t>(session.in.below(3)),
                          session.in.byte() % 4u, 0,
                          session.in.number(),    session.in.number()};
    const int way = session.in.below(4);
    const int64_t code = session.attempt([&] {
        return way == 0   ? V_SetBitmapWindow(slot.bitmap, &window)
               : way == 1 ? V_WindowBitmap(nullptr, slot.bitmap, 0, &window, 8)
               : way == 2 ? V_GetBitmapMinMax(slot.bitmap)
                          : V_SetBitmapPaint(slot.bitmap, session.in.take<int8_t>(), session.in.take<int8_t>(), 180);
    });
    session.accept(slot, code);
}

void list(Session& session)
{
    Slot& slot = session.pick();
    HBITMAPLIST items = nullptr, copies = nullptr;
    require(V_CreateBitmapList(&items) == V_SUCCESS);
    const int64_t put = session.attempt([&] { return V_InsertBitmapListItem(items, 0, slot.bitmap); });
    if (put == V_SUCCESS) {
        session.attempt([&] { return V_CopyBitmapListItems(&copies, items, 0, 1); });
        RGBQUAD entries[256];
        uint32_t colors = 16;
        session.attempt([&] { return V_CreateBitmapListOptPal(items, entries, &colors, 0); });
        require(V_RemoveBitmapListItem(items, 0, slot.bitmap) == V_SUCCESS);
    }
    if (copies)
        require(V_DestroyBitmapList(copies) == V_SUCCESS);
    require(V_DestroyBitmapList(items) == V_SUCCESS);
    session.settle(slot);
}

void dither(Session& session)
{
    Slot& slot = session.pick();
    slot.bitmap->DitheringMethod = session.in.below(9);
    Bytes row(slot.bitmap->BytesPerLine), made(static_cast<size_t>(slot.model.width));
    const int64_t code = session.attempt([&] { return V_StartDithering(slot.bitmap, nullptr, 16); });
    for (int i = 0; code == V_SUCCESS && i < 3; ++i)
        require_known(V_DitherLine(slot.bitmap, row.data(), made.data()));
    require(V_StopDithering(slot.bitmap) == V_SUCCESS);
    session.settle(slot);
}

constexpr Action kActions[] = {
    remake,  repaint,  put_row, put_segments,  put_color,     flip_stored,         turn,     see_from, flip_view,
    copy,    cut,      extend,  size,          change_height, change_storage,      combine,  blend,    fill,
    flood,   scramble, alpha,   change_colors, gray,          count_colors,        exchange, palette,  region,
    overlay, resample, rotate,  shear,         show,          look_through_window, list,     dither,
};

} // namespace

} // namespace vk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    constexpr int kMostActions = 40;
    using namespace vk::fuzz;
    const NothingStays nothing;
    ByteSource source(data, size);
    Session session(source);
    for (int i = 0; i < kMostActions && !source.is_empty(); ++i)
        source.one_of(kActions)(session);
    return 0;
}
