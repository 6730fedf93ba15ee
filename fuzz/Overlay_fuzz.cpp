// Overlays laid over pictures of all kinds: what was put in comes out where it was put, and stays over the same pixels
// as the picture is turned.
#include "fuzz/Subject.h"

#include "Vkoverlay.h"
#include "Vkview.h"

namespace vk::fuzz {

namespace {

/// The slot's picture as shown, or an empty model.
Model overlay_of(BITMAPHANDLE* bitmap, int32_t slot)
{
    Subject taken;
    if (V_GetBitmapOverlay(bitmap, slot, taken, BITMAPHANDLE_SIZE, OVERLAY_COPY) != V_SUCCESS)
        return {};
    require_sound(taken);
    require(taken->Width == bitmap->Width && taken->Height == bitmap->Height);
    return read(taken).shown(taken->ViewPerspective);
}

void put(ByteSource& source, Subject& bitmap)
{
    Subject mark;
    const int32_t slot = source.below(OVERLAY_SLOTS);
    mark.make(source.one_of(kMemory), source.between(1, 40), source.between(1, 40), 1, COLORORDER_BGR,
              bitmap->ViewPerspective);
    mark.paint(source);
    V_OVERLAYATTRIBUTES said{sizeof said,
                             source.byte() & OVERLAYFLAG_VISIBLE,
                             source.take<uint32_t>() & 0xFFFFFF,
                             source.between(-20, 60),
                             source.between(-20, 60),
                             source.between(-1, 31),
                             "mark"};
    Refusals refusals(source);
    int code = V_SetBitmapOverlayAttributes(bitmap, slot, &said);
    const int laid = code == V_SUCCESS ? V_SetBitmapOverlay(bitmap, slot, mark, OVERLAY_COPY) : code;
    refusals.stop();
    require_known(laid);
    if (laid != V_SUCCESS)
        return;
    const Model picture = read(mark);
    const Model wanted = picture.made(bitmap->Width, bitmap->Height, [&](int32_t x, int32_t y) -> uint64_t {
        const int32_t mx = x - said.nOriginCol, my = y - said.nOriginRow;
        return mx >= 0 && my >= 0 && mx < picture.width && my < picture.height ? picture.at(mx, my) : 0;
    });
    require(overlay_of(bitmap, slot) == wanted.shown(bitmap->ViewPerspective));
}

void turn(ByteSource& source, Subject& bitmap)
{
    std::vector<Model> before;
    for (int32_t slot = 0; slot < OVERLAY_SLOTS; ++slot)
        before.push_back(overlay_of(bitmap, slot));
    const int way = source.below(4);
    Refusals refusals(source);
    const int code = way == 0   ? V_FlipBitmap(bitmap)
                     : way == 1 ? V_ReverseBitmap(bitmap)
                                : V_RotateBitmap90(bitmap, way - 2);
    refusals.stop();
    require_known(code);
    for (size_t slot = 0; slot < before.size() && (code == V_SUCCESS || !refusals.is_persistent()); ++slot) {
        const Model& was = before[slot];
        const Model turned = way == 0 ? was.flipped() : way == 1 ? was.mirrored() : was.turned_by(way == 2 ? 270 : 90);
        require(overlay_of(bitmap, static_cast<int32_t>(slot)) == (code == V_SUCCESS ? turned : was));
    }
}

/// Into bits of the samples and back.
void store(ByteSource& source, Subject& bitmap)
{
    const int32_t slot = source.below(OVERLAY_SLOTS);
    const Model before = overlay_of(bitmap, slot);
    Refusals refusals(source);
    const int stored = V_StoreBitmapOverlayBits(bitmap, slot);
    const int loaded = stored == V_SUCCESS ? V_LoadBitmapOverlayBits(bitmap, slot) : stored;
    refusals.stop();
    require_known(loaded);
    require(overlay_of(bitmap, slot) == before);
}

} // namespace

} // namespace vk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace vk::fuzz;
    const NothingStays nothing;
    ByteSource source(data, size);
    Subject bitmap;
    bitmap.make(source, 40);
    for (int i = 0; i < 12 && !source.is_empty(); ++i) {
        const int way = source.below(4);
        if (way == 0)
            turn(source, bitmap);
        else if (way == 1)
            store(source, bitmap);
        else
            put(source, bitmap);
        require_sound(bitmap);
    }
    Refusals refusals(source);
    Subject flat;
    require_known(V_FlattenBitmapOverlays(flat, bitmap, BITMAPHANDLE_SIZE));
    return 0;
}
