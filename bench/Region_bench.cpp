// Regions: two of a million runs each combined, beside a copy of their runs: through the exported functions, where the
// second one is a mask that becomes runs first, and the sweep alone; one turned by a quarter; and fills inside of
// regions, beside the same rectangles filled one by one.
#include "BenchSupport.h"
#include "Vkkrnx.h"
#include "kernel/area/Combine.h"
#include "kernel/area/Transform.h"

namespace {

using namespace vk;
using namespace vk::bench;

/// A million runs of random lengths in `rows` rows.
void million_runs(AreaBuilder& built, int32_t rows, uint32_t seed)
{
    const int32_t per_row = 1000000 / rows;
    uint32_t noise = seed;
    for (int32_t y = 0; y < rows; ++y) {
        AreaRun* const runs = built.room(static_cast<uint64_t>(per_row));
        int32_t x = 0;
        for (int32_t i = 0; i < per_row; ++i) {
            noise = noise * 1664525u + 1013904223u;
            const int32_t first = x + 1 + static_cast<int32_t>(noise >> 29);
            x = first + 1 + static_cast<int32_t>(noise >> 26 & 7);
            runs[i] = {first, x};
        }
        built.add_band(y, y + 1, static_cast<uint64_t>(per_row));
    }
}

constexpr uint64_t kRunBytes = 2 * 1000000 * sizeof(AreaRun);

void combine(benchmark::State& state, AreaOp op)
{
    AreaBuilder a, b, built;
    million_runs(a, static_cast<int32_t>(state.range(0)), 1);
    million_runs(b, static_cast<int32_t>(state.range(0)), 2);
    against_memcpy(state, kRunBytes, kRunBytes, 2000000,
                   [&] { benchmark::DoNotOptimize(combine_areas(a.area(), b.area(), op, built)); });
    state.counters["runs"] = built.area().run_count;
}

void combine_both(benchmark::State& state)
{
    combine(state, AreaOp::both);
}
void combine_either(benchmark::State& state)
{
    combine(state, AreaOp::either);
}
void combine_one(benchmark::State& state)
{
    combine(state, AreaOp::one);
}

void transpose(benchmark::State& state)
{
    AreaBuilder a, built;
    million_runs(a, static_cast<int32_t>(state.range(0)), 1);
    against_memcpy(state, kRunBytes / 2, kRunBytes / 2, 1000000,
                   [&] { benchmark::DoNotOptimize(transpose_area(a.area(), built)); });
}

/// A 1-bit mask with a million runs in `rows` rows.
void make_mask(BITMAPHANDLE& mask, int32_t rows, uint32_t seed)
{
    AreaBuilder runs;
    million_runs(runs, rows, seed);
    const int32_t width = 1000000 / rows * 16 + 16;
    V_CreateBitmap(&mask, sizeof mask, TYPE_CONV, width, rows, 1, COLORORDER_RGB, nullptr, TOP_LEFT, nullptr, 0);
    V_AccessBitmap(&mask);
    for (int32_t y = 0; y < rows; ++y)
        for (const AreaRun& run : runs.area().row(y))
            for (int32_t x = run.first; x < run.end; ++x)
                mask.Data[static_cast<size_t>(y) * mask.BytesPerLine + static_cast<size_t>(x / 8)] |=
                    static_cast<uint8_t>(0x80 >> x % 8);
    V_ReleaseBitmap(&mask);
}

/// A region of a million runs and a mask of as many, again and again: a mode gives about as many each time.
void set_mask(benchmark::State& state)
{
    BITMAPHANDLE first = {}, second = {}, bitmap = {};
    const auto rows = static_cast<int32_t>(state.range(0));
    make_mask(first, rows, 1);
    make_mask(second, rows, 2);
    V_CreateBitmap(&bitmap, sizeof bitmap, TYPE_CONV, first.Width, rows, 1, COLORORDER_RGB, nullptr, TOP_LEFT, nullptr,
                   0);
    V_SetBitmapRegionMask(&bitmap, &first, REGION_SET);
    const auto mode = static_cast<uint32_t>(state.range(1));
    against_memcpy(state, kRunBytes, kRunBytes, 2000000, [&] { V_SetBitmapRegionMask(&bitmap, &second, mode); });
    for (BITMAPHANDLE* each : {&first, &second, &bitmap})
        V_FreeBitmap(each);
}

void copy_region(benchmark::State& state)
{
    BITMAPHANDLE from = {}, to = {};
    const auto rows = static_cast<int32_t>(state.range(0));
    make_mask(from, rows, 1);
    make_mask(to, rows, 1);
    V_SetBitmapRegionMask(&from, &from, REGION_SET);
    against_memcpy(state, kRunBytes / 2, kRunBytes / 2, 1000000, [&] { V_CopyBitmapRegion(&to, &from); });
    V_FreeBitmap(&from);
    V_FreeBitmap(&to);
}

/// A region as rectangles, a band's run each.
std::vector<RECT> rectangles_of(BITMAPHANDLE& bitmap)
{
    std::vector<RECT> made;
    std::vector<V_REGIONRUN> runs(static_cast<size_t>(bitmap.Width)), above;
    for (int32_t y = 0; y < bitmap.Height; ++y) {
        auto count = static_cast<int32_t>(runs.size());
        V_GetBitmapRegionRow(&bitmap, y, &count, runs.data());
        const std::vector<V_REGIONRUN> here(runs.begin(), runs.begin() + count);
        const auto same = [](const V_REGIONRUN& a, const V_REGIONRUN& b) {
            return a.nFirst == b.nFirst && a.nEnd == b.nEnd;
        };
        const bool goes_on = y > 0 && std::equal(here.begin(), here.end(), above.begin(), above.end(), same);
        for (size_t i = 0; i < here.size(); ++i) {
            if (goes_on)
                made[made.size() - here.size() + i].bottom = y + 1;
            else
                made.push_back({here[i].nFirst, y, here[i].nEnd, y + 1});
        }
        above = here;
    }
    return made;
}

/// What is filled: a rectangle, an ellipse, or the words of a page.
void set_shape(BITMAPHANDLE& bitmap, int64_t shape)
{
    const RECT rect = {100, 100, kPhotoWidth - 100, kPhotoHeight - 100};
    if (shape == 0)
        V_SetBitmapRegionRect(&bitmap, &rect, REGION_SET);
    else if (shape == 1)
        V_SetBitmapRegionEllipse(&bitmap, &rect, REGION_SET);
    if (shape < 2)
        return;
    BITMAPHANDLE mask = {};
    V_CreateBitmap(&mask, sizeof mask, TYPE_CONV, kPhotoWidth, kPhotoHeight, 1, COLORORDER_RGB, nullptr, TOP_LEFT,
                   nullptr, 0);
    const std::vector<uint8_t> rows = page(kPhotoWidth, kPhotoHeight, mask.BytesPerLine);
    V_AccessBitmap(&mask);
    V_PutBitmapRow(&mask, rows.data(), 0, rows.size());
    V_ReleaseBitmap(&mask);
    V_SetBitmapRegionMask(&bitmap, &mask, REGION_SET);
    V_FreeBitmap(&mask);
}

/// By one call inside of a region, or a call for each rectangle.
void fill(benchmark::State& state, bool by_rectangles)
{
    BITMAPHANDLE bitmap = {};
    const auto bits = static_cast<int32_t>(state.range(0));
    V_CreateBitmap(&bitmap, sizeof bitmap, TYPE_CONV, kPhotoWidth, kPhotoHeight, bits, COLORORDER_BGR, nullptr,
                   TOP_LEFT, nullptr, 0);
    set_shape(bitmap, state.range(1));
    uint64_t pixels = 0;
    V_GetBitmapRegionArea(&bitmap, &pixels);
    const std::vector<RECT> rectangles = rectangles_of(bitmap);
    if (by_rectangles)
        V_FreeBitmapRegion(&bitmap);
    against_memcpy(state, 0, pixels * static_cast<uint64_t>(bits) / 8, pixels, [&] {
        if (!by_rectangles)
            V_FillBitmap(&bitmap, 0x00336699);
        for (size_t i = 0; i < rectangles.size() && by_rectangles; ++i)
            V_FillBitmapRect(&bitmap, &rectangles[i], 0x00336699);
    });
    V_FreeBitmap(&bitmap);
}

void fill_inside(benchmark::State& state)
{
    fill(state, false);
}
void fill_rectangles(benchmark::State& state)
{
    fill(state, true);
}

BENCHMARK(set_mask)->Apply(settings)->ArgsProduct({{1000, 100000, 1000000},
                                                   {REGION_SET, REGION_AND, REGION_OR, REGION_XOR}});
BENCHMARK(copy_region)->Apply(settings)->Arg(1000)->Arg(100000)->Arg(1000000);
BENCHMARK(fill_inside)->Apply(settings)->ArgsProduct({{8, 24, 32}, {0, 1, 2}});
BENCHMARK(fill_rectangles)->Apply(settings)->ArgsProduct({{8, 24, 32}, {0, 1, 2}});
BENCHMARK(combine_both)->Apply(settings)->Arg(1000)->Arg(100000)->Arg(1000000);
BENCHMARK(combine_either)->Apply(settings)->Arg(1000)->Arg(100000)->Arg(1000000);
BENCHMARK(combine_one)->Apply(settings)->Arg(1000)->Arg(100000)->Arg(1000000);
BENCHMARK(transpose)->Apply(settings)->Arg(1000);

} // namespace
