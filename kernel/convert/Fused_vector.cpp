// Fused paths of vectors. What a set of instructions does in its own way with pixels of three bytes, fields and tables
// is in the layer; the paths follow from there.
#include "kernel/convert/Fused.h"
#include "simd/Arrange.h"
#include "simd/Channels.h"
#include "simd/Fields.h"
#include "simd/Simd.h"
#include "simd/Tables.h"
#include "simd/Thirds.h"
#include "simd/Weigh.h"

namespace vk::pixel::VK_SIMD_SET {
namespace {

using namespace simd;

using Bytes = Wide<uint8_t>;
using Words = Wide<int16_t>;
using Words16 = Wide<uint16_t>;
using Pixels = Wide<uint32_t>;

constexpr size_t kPixels = Pixels::kLanes;
constexpr uint32_t kAlpha = 0xFF000000u;
constexpr bool kFetchesBits = kWidth == 64; ///< less than a line at a time it takes more than it gives

template <bool Stream, bool Swap> void widen_24(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    for (; count != 0; count -= kPixels, src += 3 * kPixels, dst += kWidth) {
        fetch_ahead<Stream, 3 * kPixels>(src);
        put<Stream>(dst, load_24<Swap>(src) | all<Pixels>(kAlpha));
    }
}

template <bool Stream, bool Swap> void narrow_32(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    for (; count != 0; count -= kWidth, src += 4 * kWidth, dst += 3 * kWidth) {
        fetch_ahead<Stream, 4 * kWidth>(src);
        const auto pixels = [&](size_t i) noexcept { return load<Pixels>(src + kWidth * i); };
        store_24<Swap, Stream>(dst, {pixels(0), pixels(1), pixels(2), pixels(3)});
    }
}

template <bool Stream> void swap_24(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    for (; count != 0; count -= kWidth, src += 3 * kWidth, dst += 3 * kWidth) {
        fetch_ahead<Stream, 3 * kWidth>(src);
        exchange_24<Stream>(dst, src);
    }
}

template <bool Stream> void swap_32(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    static constexpr auto kOrder = order_of<16>([](size_t i) { return i % 2 != 0 ? i : i ^ 2; });
    for (; count != 0; count -= kPixels, src += kWidth, dst += kWidth) {
        fetch_ahead<Stream, kWidth>(src);
        put<Stream>(dst, shuffle(load<Bytes>(src), in_blocks<Bytes>(kOrder)));
    }
}

/// Blue, five times green and twice red are eight times the gray. The multiplication is an eighth, rounded.
template <bool Bgr> using GrayWeights = Weights<Bgr ? 1 : 2, 5, Bgr ? 2 : 1>;
constexpr auto kEighth = [](Words sums) noexcept { return mul_rounded(sums, all<Words>(4096)); };

template <bool Stream, bool Bgr> void gray_of_24(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    for (; count != 0; count -= kWidth, src += 3 * kWidth, dst += kWidth) {
        fetch_ahead<Stream, 3 * kWidth>(src);
        put<Stream>(dst, GrayWeights<Bgr>::load_24(src, kEighth));
    }
}

template <bool Stream, bool Bgr> void gray_of_32(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    for (; count != 0; count -= kWidth, src += 4 * kWidth, dst += kWidth) {
        fetch_ahead<Stream, 4 * kWidth>(src);
        put<Stream>(dst, GrayWeights<Bgr>::load_32(src, kEighth));
    }
}

template <bool Stream> void gray_to_24(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    for (; count != 0; count -= kWidth, src += kWidth, dst += 3 * kWidth) {
        fetch_ahead<Stream, kWidth>(src);
        const Bytes gray = load<Bytes>(src);
        put<Stream>(dst, thrice<0>(gray));
        put<Stream>(dst + kWidth, thrice<1>(gray));
        put<Stream>(dst + 2 * kWidth, thrice<2>(gray));
    }
}

template <bool Stream> void gray_to_32(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    static constexpr auto kOrder = order_of<kWidth>([](size_t i) { return i % 4 == 3 ? kNone : i / 4; });
    for (; count != 0; count -= kPixels, src += kPixels, dst += kWidth) {
        fetch_ahead<Stream, kPixels>(src);
        const Bytes gray = repeat<Bytes>(load_first<Quad<uint8_t>, kPixels>(src));
        put<Stream>(dst, as<uint32_t>(shuffle(gray, kOrder.template load<Bytes>())) | all<Pixels>(kAlpha));
    }
}

template <bool Stream> void bytes_to_words(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    // Times 257 is the byte twice.
    for (size_t bytes = 3 * count; bytes != 0; bytes -= kWidth, src += kWidth, dst += 2 * kWidth) {
        fetch_ahead<Stream, kWidth>(src);
        const Bytes v = before_interleave(load<Bytes>(src));
        put<Stream>(dst, interleave_low(v, v));
        put<Stream>(dst + kWidth, interleave_high(v, v));
    }
}

template <bool Stream, bool Green6, bool Swap>
void fields_of_24(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    for (; count != 0; count -= kWidth, src += 3 * kWidth, dst += 2 * kWidth) {
        fetch_ahead<Stream, 3 * kWidth>(src);
        const Pairs24 pairs = pairs_24<Swap>(src);
        put<Stream>(dst, fields_of_pairs<Green6>(pairs.first[0], pairs.last[0]));
        put<Stream>(dst + kWidth, fields_of_pairs<Green6>(pairs.first[1], pairs.last[1]));
    }
}

template <bool Stream, bool Green6, bool Swap>
void fields_to_24(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    for (; count != 0; count -= kWidth, src += 2 * kWidth, dst += 3 * kWidth) {
        fetch_ahead<Stream, 2 * kWidth>(src);
        simd::fields_to_24<Green6, Swap, Stream>(dst, src);
    }
}

template <bool Stream> void bit_to_gray(const Plan& plan, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    const auto clear = all<Bytes>(plan.table[0]);
    const auto set = all<Bytes>(plan.table[1]);
    for (; count != 0; count -= kWidth, src += kWidth / 8, dst += kWidth) {
        fetch_ahead<Stream, kWidth / 8>(src);
        put<Stream>(dst, select(load_pixel_bits(src), set, clear));
    }
}

void gray_to_bit(const Plan& plan, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    const auto limit = all<Bytes>(plan.table[0]);
    const uint64_t flip = plan.table[1] != 0 ? ~uint64_t{0} : 0;
    for (; count != 0; count -= kWidth, src += kWidth, dst += kWidth / 8) {
        fetch_ahead<kFetchesBits, kWidth>(src);
        store_pixel_bits(dst, before_pixel_bits(load<Bytes>(src)) >= limit, flip);
    }
}

/// Indices to bits, or grays that no comparison tells apart.
void byte_to_bit(const Plan& plan, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    const BitTable table(plan.table);
    for (; count != 0; count -= kWidth, src += kWidth, dst += kWidth / 8) {
        fetch_ahead<kFetchesBits, kWidth>(src);
        store_pixel_bits(dst, table.at(before_pixel_bits(load<Bytes>(src))));
    }
}

template <bool Stream> void index_to_24(const Plan& plan, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    const bool red_first = plan.dst->order == COLORORDER_RGB;
    alignas(64) uint8_t channels[3][256];
    for (size_t i = 0; i < 256; ++i) {
        channels[red_first ? 2 : 0][i] = plan.table[4 * i];
        channels[1][i] = plan.table[4 * i + 1];
        channels[red_first ? 0 : 2][i] = plan.table[4 * i + 2];
    }
    const ByteTable first(channels[0]), second(channels[1]), last(channels[2]);
    for (; count != 0; count -= kWidth, src += kWidth, dst += 3 * kWidth) {
        fetch_ahead<Stream, kWidth>(src);
        const Bytes index = load<Bytes>(src);
        store_channels<Stream>(dst, first.at(index), second.at(index), last.at(index));
    }
}

/// A channel each in place of the lanes' bytes, and the lanes in order.
template <bool Stream> void index_to_32(const Plan& plan, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    const bool red_first = plan.dst->order == COLORORDER_RGB;
    alignas(64) uint8_t channels[4][256];
    for (size_t i = 0; i < 256; ++i)
        for (size_t k = 0; k < 4; ++k)
            channels[red_first && k < 3 ? 2 - k : k][i] = plan.table[4 * i + k];
    const ByteTable first(channels[0]), second(channels[1]), third(channels[2]), last(channels[3]);
    for (; count != 0; count -= kWidth, src += kWidth, dst += 4 * kWidth) {
        fetch_ahead<Stream, kWidth>(src);
        // Interleaved twice, each block has a part of every vector that comes of it.
        const Bytes index =
            as<uint8_t>(arrange<[](size_t i) { return i % 4 * kWideBlocks + i / 4; }>(as<uint32_t>(load<Bytes>(src))));
        const auto words = [](Bytes v) noexcept { return as<uint16_t>(v); };
        const Bytes a = first.at(index), b = second.at(index), c = third.at(index), d = last.at(index);
        const Words16 ab[] = {words(interleave_low(a, b)), words(interleave_high(a, b))};
        const Words16 cd[] = {words(interleave_low(c, d)), words(interleave_high(c, d))};
        for (size_t i = 0; i < 2; ++i) {
            put<Stream>(dst + 2 * kWidth * i, interleave_low(ab[i], cd[i]));
            put<Stream>(dst + 2 * kWidth * i + kWidth, interleave_high(ab[i], cd[i]));
        }
    }
}

/// The loops of a path.
struct Loops {
    Kernel* run;
    Kernel* stream;
};
template <bool Swap> constexpr Loops kWiden = {widen_24<false, Swap>, widen_24<true, Swap>};
template <bool Swap> constexpr Loops kNarrow = {narrow_32<false, Swap>, kStreams24 ? narrow_32<true, Swap> : nullptr};
constexpr Loops kSwap24 = {swap_24<false>, kStreams24 ? swap_24<true> : nullptr};
constexpr Loops kSwap32 = {swap_32<false>, swap_32<true>};
template <bool Bgr> constexpr Loops kGrayOf24 = {gray_of_24<false, Bgr>, gray_of_24<true, Bgr>};
template <bool Bgr> constexpr Loops kGrayOf32 = {gray_of_32<false, Bgr>, gray_of_32<true, Bgr>};
constexpr Loops kGrayTo24 = {gray_to_24<false>, gray_to_24<true>};
constexpr Loops kGrayTo32 = {gray_to_32<false>, gray_to_32<true>};
constexpr Loops kToWords = {bytes_to_words<false>, bytes_to_words<true>};
template <bool Green6, bool Swap>
constexpr Loops kToFields = {fields_of_24<false, Green6, Swap>, fields_of_24<true, Green6, Swap>};
template <bool Green6, bool Swap>
constexpr Loops kOfFields = {fields_to_24<false, Green6, Swap>,
                             kStreams24 ? fields_to_24<true, Green6, Swap> : nullptr};
constexpr Loops kBitToGray = {bit_to_gray<false>, bit_to_gray<true>};
constexpr Loops kIndexTo24 = {kLooksUpBytes ? index_to_24<false> : nullptr,
                              kLooksUpBytes ? index_to_24<true> : nullptr};

constexpr Loops kIndexTo32 = {kLooksUpBytes ? index_to_32<false> : nullptr,
                              kLooksUpBytes ? index_to_32<true> : nullptr};

constexpr int32_t kBgr = COLORORDER_BGR;
constexpr int32_t kRgb = COLORORDER_RGB;
constexpr int32_t kGray = COLORORDER_GRAY;
constexpr int32_t k565 = COLORORDER_RGB565;

constexpr FusedPath path(const char* name, int32_t src_bits, int32_t src_order, int32_t dst_bits, int32_t dst_order,
                         Loops loops, size_t step = kWidth, size_t slack = 0,
                         bool (*serves)(Plan&) noexcept = nullptr) noexcept
{
    return {name, src_bits, src_order, dst_bits, dst_order, step, slack, loops.run, loops.stream, serves};
}

/// Pixels of four bytes a vector, and eight at least, as steps begin with a byte of pixels of any depth.
constexpr size_t kStep32 = kPixels < 8 ? 8 : kPixels;

constexpr FusedPath kPaths[] = {
    path("24 to 32", 24, kBgr, 32, kBgr, kWiden<false>, kStep32, kLoadSlack24),
    path("24 to 32", 24, kRgb, 32, kRgb, kWiden<false>, kStep32, kLoadSlack24),
    path("24 to 32 swapped", 24, kBgr, 32, kRgb, kWiden<true>, kStep32, kLoadSlack24),
    path("24 to 32 swapped", 24, kRgb, 32, kBgr, kWiden<true>, kStep32, kLoadSlack24),
    path("24 swapped", 24, kBgr, 24, kRgb, kSwap24, kWidth, kStoreSlack24),
    path("24 swapped", 24, kRgb, 24, kBgr, kSwap24, kWidth, kStoreSlack24),
    path("32 to 24", 32, kBgr, 24, kBgr, kNarrow<false>, kWidth, kStoreSlack24),
    path("32 to 24", 32, kRgb, 24, kRgb, kNarrow<false>, kWidth, kStoreSlack24),
    path("32 to 24 swapped", 32, kBgr, 24, kRgb, kNarrow<true>, kWidth, kStoreSlack24),
    path("32 to 24 swapped", 32, kRgb, 24, kBgr, kNarrow<true>, kWidth, kStoreSlack24),
    path("32 swapped", 32, kBgr, 32, kRgb, kSwap32),
    path("32 swapped", 32, kRgb, 32, kBgr, kSwap32),
    path("24 to gray", 24, kBgr, 0, kAnyOrder, kGrayOf24<true>, kWidth, kWeighSlack24),
    path("24 to gray", 24, kRgb, 0, kAnyOrder, kGrayOf24<false>, kWidth, kWeighSlack24),
    path("24 to gray", 24, kBgr, 8, kGray, kGrayOf24<true>, kWidth, kWeighSlack24),
    path("24 to gray", 24, kRgb, 8, kGray, kGrayOf24<false>, kWidth, kWeighSlack24),
    path("32 to gray", 32, kBgr, 0, kAnyOrder, kGrayOf32<true>),
    path("32 to gray", 32, kRgb, 0, kAnyOrder, kGrayOf32<false>),
    path("32 to gray", 32, kBgr, 8, kGray, kGrayOf32<true>),
    path("32 to gray", 32, kRgb, 8, kGray, kGrayOf32<false>),
    path("gray to 24", 0, kAnyOrder, 24, kBgr, kGrayTo24),
    path("gray to 24", 0, kAnyOrder, 24, kRgb, kGrayTo24),
    path("gray to 24", 8, kGray, 24, kBgr, kGrayTo24),
    path("gray to 24", 8, kGray, 24, kRgb, kGrayTo24),
    path("gray to 32", 0, kAnyOrder, 32, kBgr, kGrayTo32),
    path("gray to 32", 0, kAnyOrder, 32, kRgb, kGrayTo32),
    path("gray to 32", 8, kGray, 32, kBgr, kGrayTo32),
    path("gray to 32", 8, kGray, 32, kRgb, kGrayTo32),
    path("24 to 48", 24, kBgr, 48, kBgr, kToWords),
    path("24 to 48", 24, kRgb, 48, kRgb, kToWords),
    path("24 to 5-6-5", 24, kBgr, 16, k565, kToFields<true, false>, kWidth, kPairSlack24),
    path("24 to 5-6-5", 24, kRgb, 16, k565, kToFields<true, true>, kWidth, kPairSlack24),
    path("24 to 5-5-5", 24, kBgr, 16, kBgr, kToFields<false, false>, kWidth, kPairSlack24),
    path("5-6-5 to 24", 16, k565, 24, kBgr, kOfFields<true, false>, kWidth, kStoreSlack24),
    path("5-6-5 to 24", 16, k565, 24, kRgb, kOfFields<true, true>, kWidth, kStoreSlack24),
    path("5-5-5 to 24", 16, kBgr, 24, kBgr, kOfFields<false, false>, kWidth, kStoreSlack24),
    path("1 to gray", 1, kAnyOrder, 0, kAnyOrder, kBitToGray),
    path("1 to gray", 1, kAnyOrder, 8, kGray, kBitToGray),
    path("gray to 1", 0, kAnyOrder, 1, kAnyOrder, {gray_to_bit, nullptr}, kWidth, 0, find_threshold),
    path("gray to 1", 8, kGray, 1, kAnyOrder, {gray_to_bit, nullptr}, kWidth, 0, find_threshold),
    path("gray to 1, odd", 0, kAnyOrder, 1, kAnyOrder, {byte_to_bit, nullptr}, kWidth, 0, find_bits),
    path("gray to 1, odd", 8, kGray, 1, kAnyOrder, {byte_to_bit, nullptr}, kWidth, 0, find_bits),
    path("8 to 1", 8, kAnyOrder, 1, kAnyOrder, {byte_to_bit, nullptr}, kWidth, 0, find_bits),
    // Where looking up is a loop the plain path is faster.
    path("8 to 24, looked up", 8, kAnyOrder, 24, kBgr, kIndexTo24),
    path("8 to 24, looked up", 8, kAnyOrder, 24, kRgb, kIndexTo24),
    path("8 to 32, looked up", 8, kAnyOrder, 32, kBgr, kIndexTo32),
    path("8 to 32, looked up", 8, kAnyOrder, 32, kRgb, kIndexTo32),
};
constexpr size_t kCount = sizeof kPaths / sizeof kPaths[0];

} // namespace

const FusedRows fused_rows = {kPaths, kLooksUpBytes ? kCount : kCount - 4};

} // namespace vk::pixel::VK_SIMD_SET
