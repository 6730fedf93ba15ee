// Regions from shapes: combined with what is there they are what the sets say, and a region follows its picture. Each
// step draws a shape alone into one bitmap and combined into another of the same size.
#include "fuzz/Subject.h"

#include "Vkview.h"

namespace vk::fuzz {

namespace {

constexpr uint32_t kModes[] = {REGION_SET, REGION_AND, REGION_OR, REGION_XOR, REGION_ANDNOT};

using Mask = std::vector<bool>;

Mask mask_of(BITMAPHANDLE* bitmap)
{
    Mask mask;
    uint64_t area = 0, counted = 0;
    RECT box{};
    for (int32_t y = 0; y < bitmap->Height; ++y)
        for (int32_t x = 0; x < bitmap->Width; ++x)
            mask.push_back(V_IsPointInBitmapRegion(bitmap, x, y) == 1);
    require(V_GetBitmapRegionArea(bitmap, &area) == V_SUCCESS && V_GetBitmapRegionBounds(bitmap, &box) == V_SUCCESS);
    for (size_t i = 0; i < mask.size(); ++i) {
        const auto x = static_cast<int32_t>(i % static_cast<size_t>(bitmap->Width));
        const auto y = static_cast<int32_t>(i / static_cast<size_t>(bitmap->Width));
        counted += mask[i];
        require(!mask[i] || (x >= box.left && x < box.right && y >= box.top && y < box.bottom));
    }
    require(area == counted);
    return mask;
}

/// A shape, by the same bytes each time.
int draw(BITMAPHANDLE* bitmap, ByteSource shape, uint32_t mode)
{
    const auto place = [&] { return shape.one_in(16) ? shape.take<int32_t>() : shape.between(-10, 70); };
    const int kind = shape.below(4);
    if (kind == 0) {
        V_POINTD points[12];
        const auto count = static_cast<uint32_t>(shape.below(13));
        for (V_POINTD& point : points)
            point = {shape.number(), shape.number()};
        const uint32_t rule = shape.byte() % 2u;
        return V_SetBitmapRegionPolygon(bitmap, points, count, rule, mode);
    }
    const RECT rect{place(), place(), place(), place()};
    return kind == 1   ? V_SetBitmapRegionRect(bitmap, &rect, mode)
           : kind == 2 ? V_SetBitmapRegionEllipse(bitmap, &rect, mode)
                       : V_SetBitmapRegionRoundRect(bitmap, &rect, shape.below(40), shape.below(40), mode);
}

bool combined(uint32_t mode, bool there, bool shape)
{
    const bool results[] = {shape, there && shape, there || shape, there != shape, there && !shape};
    return results[mode];
}

void step(ByteSource& source, Subject& canvas, Subject& alone)
{
    const uint32_t mode = source.one_of(kModes);
    const bool has_region = V_BitmapHasRegion(canvas) == 1;
    const Mask before = mask_of(canvas);
    const ByteSource shape = source;
    for (int i = 0; i < 24; ++i) // behind what most shapes take
        source.byte();
    if (draw(alone, shape, REGION_SET) != V_SUCCESS)
        return;
    const Mask drawn = mask_of(alone);
    Refusals refusals(source);
    const int code = draw(canvas, shape, mode);
    refusals.stop();
    require_known(code);
    const Mask after = mask_of(canvas);
    // Without a region two of the modes start from the whole picture, the others from nothing.
    const bool starts_full = mode == REGION_AND || mode == REGION_ANDNOT;
    for (size_t i = 0; i < after.size(); ++i)
        require(after[i] ==
                (code == V_SUCCESS ? combined(mode, has_region ? before[i] : starts_full, drawn[i]) : before[i]));
}

void follow(ByteSource& source, Subject& canvas)
{
    const Mask before = mask_of(canvas);
    const bool had_region = V_BitmapHasRegion(canvas) == 1;
    if (source.byte() % 2 != 0) {
        require(V_InvertBitmapRegion(canvas) == V_SUCCESS);
        const Mask after = mask_of(canvas);
        for (size_t i = 0; i < after.size(); ++i)
            require(after[i] == (had_region && !before[i]));
        return;
    }
    require(V_IntFlipBitmap(canvas) == V_SUCCESS);
    const Mask after = mask_of(canvas);
    const auto width = static_cast<size_t>(canvas->Width), height = static_cast<size_t>(canvas->Height);
    for (size_t i = 0; i < after.size(); ++i)
        require(after[i] == before[(height - 1 - i / width) * width + i % width]);
}

} // namespace

} // namespace vk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace vk::fuzz;
    const NothingStays nothing;
    ByteSource source(data, size);
    const int32_t width = source.between(1, 64), height = source.between(1, 64);
    Subject canvas, alone;
    canvas.make(TYPE_CONV, width, height, 1, COLORORDER_BGR);
    alone.make(TYPE_CONV, width, height, 1, COLORORDER_BGR);
    for (int i = 0; i < 16 && !source.is_empty(); ++i)
        if (source.one_in(4))
            follow(source, canvas);
        else
            step(source, canvas, alone);
    return 0;
}
