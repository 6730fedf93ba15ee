// Blends of pictures with alpha, through regions and masks: each channel within one rounding of the formula, worked out
// in double precision, and nothing changed outside of the rectangle and the region.
#include "fuzz/Subject.h"

#include "Vkcombine.h"
#include "Vkfill.h"

#include <array>
#include <cmath>

namespace vk::fuzz {

namespace {

/// The parts of source and destination that an operator of Porter and Duff takes.
struct Parts {
    double source, destination;
};

Parts parts_of(uint32_t mode, double as, double ad)
{
    const std::array<Parts, 13> all{{{1, 1 - as},
                                     {0, 0},
                                     {1, 0},
                                     {0, 1},
                                     {1 - ad, 1},
                                     {ad, 0},
                                     {0, as},
                                     {1 - ad, 0},
                                     {0, 1 - as},
                                     {ad, 1 - as},
                                     {1 - ad, as},
                                     {1 - ad, 1 - as},
                                     {1, 1}}};
    return all[mode];
}

bool is_near(double wanted, uint64_t seen)
{
    return std::abs(wanted - static_cast<double>(seen)) <= 0.5 + 1e-6;
}

/// One pixel of 32 bits, straight alpha on both sides; `share` is mask times opacity.
void require_blended(uint32_t mode, uint64_t s, uint64_t d, double share, uint64_t seen)
{
    const auto channel = [](uint64_t pixel, int i) { return static_cast<double>(pixel >> (8 * i) & 0xFF); };
    const double as = channel(s, 3) / 255 * share, ad = channel(d, 3) / 255;
    Parts parts = parts_of(mode, as, ad);
    const double alpha = std::min(1.0, as * parts.source + ad * parts.destination);
    require(is_near(255 * alpha, seen >> 24 & 0xFF));
    for (int i = 0; i < 3; ++i) {
        const double mixed =
            alpha > 0 ? (as * parts.source * channel(s, i) + ad * parts.destination * channel(d, i)) / alpha : 0;
        require(is_near(std::min(mixed, 255.0), seen >> (8 * i) & 0xFF) || (seen >> 24 & 0xFF) == 0);
    }
}

} // namespace

} // namespace vk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace vk::fuzz;
    const NothingStays nothing;
    ByteSource source(data, size);
    Subject to, from, mask;
    const uint32_t memory = source.one_of(kMemory);
    to.make(memory, source.between(1, 40), source.between(1, 40), 32, COLORORDER_BGR);
    from.make(TYPE_CONV, source.between(1, 40), source.between(1, 40), 32, COLORORDER_BGR);
    mask.make(TYPE_CONV, source.between(1, 40), source.between(1, 40), 8, COLORORDER_GRAY);
    for (Subject* bitmap : {&to, &from, &mask})
        bitmap->paint(source);
    const bool has_region = source.one_in(3), has_mask = source.one_in(2);
    const RECT ellipse{source.below(40), source.below(40), source.below(40), source.below(40)};
    require(!has_region || V_SetBitmapRegionEllipse(to, &ellipse, REGION_SET) == V_SUCCESS);
    const auto mode = static_cast<uint32_t>(source.below(13));
    const uint32_t opacity = source.one_in(2) ? source.take<uint16_t>() : 65535;
    const int32_t col = source.between(-8, 40), row = source.between(-8, 40);
    const Model before = read(to), over = read(from), veil = read(mask);
    Refusals refusals(source);
    const int code = V_BlendBitmap(to, col, row, 40, 40, from, 0, 0,
                                   has_mask ? static_cast<BITMAPHANDLE*>(mask) : nullptr, 0, 0, mode, opacity);
    refusals.stop();
    require_known(code);
    const Model after = read(to);
    require(code == V_SUCCESS || after == before || refusals.is_persistent());
    for (int32_t y = 0; code == V_SUCCESS && y < before.height; ++y)
        for (int32_t x = 0; x < before.width; ++x) {
            const int32_t sx = x - col, sy = y - row;
            const bool is_met = sx >= 0 && sy >= 0 && sx < over.width && sy < over.height &&
                                (!has_mask || (sx < veil.width && sy < veil.height)) &&
                                V_IsPointInBitmapRegion(to, x, y) == 1;
            if (!is_met) {
                require(after.at(x, y) == before.at(x, y));
                continue;
            }
            const double veiled = has_mask ? static_cast<double>(veil.at(sx, sy)) / 255 : 1;
            require_blended(mode, over.at(sx, sy), before.at(x, y), veiled * opacity / 65535, after.at(x, y));
        }
    return 0;
}
