// A screen of 1920 x 1080 of a 24-bit photograph: a part that is as large, and all of it,
// with fresh storage each time.
// Figures are for each pixel shown.
#include "BenchSupport.h"
#include "Vkkrnx.h"

namespace {

using namespace vk::bench;

constexpr int32_t kWidth = 1920;
constexpr int32_t kHeight = 1080;
constexpr uint64_t kShown = uint64_t{kWidth} * kHeight;

void render(benchmark::State& state)
{
    const std::vector<uint8_t> rows = photo(kPhotoWidth, kPhotoHeight, 3);
    const RECT part =
        state.range(0) ? RECT{0, 0, kPhotoWidth, kPhotoHeight} : RECT{1000, 1000, 1000 + kWidth, 1000 + kHeight};
    BITMAPHANDLE from = {};
    V_CreateBitmap(&from, sizeof from, TYPE_CONV, kPhotoWidth, kPhotoHeight, 24, COLORORDER_BGR, nullptr, TOP_LEFT,
                   nullptr, 0);
    V_AccessBitmap(&from);
    V_PutBitmapRow(&from, rows.data(), 0, rows.size());
    against_memcpy(state, 3 * kShown, 3 * kShown, kShown, [&] {
        BITMAPHANDLE to = {};
        V_RenderBitmap(&to, &from, sizeof to, &part, kWidth, kHeight, static_cast<uint32_t>(state.range(1)));
        V_FreeBitmap(&to);
    });
    V_ReleaseBitmap(&from);
    V_FreeBitmap(&from);
}

BENCHMARK(render)->Apply(settings)->ArgsProduct({{0, 1}, {RENDER_NEAREST, RENDER_AREA, RENDER_CUBIC}});

} // namespace
