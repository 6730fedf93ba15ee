// Nearest resizing into an existing bitmap, by twice, one and a half times and 0.37 times each side, beside a plain
// loop and, where they are installed, libyuv and Leptonica. Bytes read are those of the pixels taken.
#include "BenchSupport.h"

#include "Vkkrnx.h"
#include "kernel/resize/Nearest.h"

#if defined(VKKRNX_BENCH_YUV)
#include <libyuv.h>
#endif
#if defined(VKKRNX_BENCH_LEPTONICA)
#include <leptonica/allheaders.h>
#endif

namespace {

using namespace vk::bench;

class Picture {
public:
    Picture(int32_t width, int32_t height, int32_t bits)
    {
        V_CreateBitmap(&record_, BITMAPHANDLE_SIZE, TYPE_CONV, width, height, bits, COLORORDER_BGR, nullptr, TOP_LEFT,
                       nullptr, 0);
        for (size_t i = 0; i < record_.Size64; ++i)
            record_.Data[i] = static_cast<uint8_t>(i * 2654435761u >> 13);
    }
    ~Picture() { V_FreeBitmap(&record_); }
    Picture(const Picture&) = delete;
    Picture& operator=(const Picture&) = delete;

    BITMAPHANDLE* get() { return &record_; }
    uint8_t* row(int32_t y) { return record_.Data + static_cast<size_t>(y) * record_.BytesPerLine; }
    int line() const { return static_cast<int>(record_.BytesPerLine); }
    int width() const { return record_.Width; }
    int height() const { return record_.Height; }

private:
    BITMAPHANDLE record_{};
};

/// A source and a destination: range(0) bits, range(1) hundredths of the source's sides.
struct Pair {
    int32_t bits;
    Picture from;
    Picture to;

    explicit Pair(benchmark::State& state) : Pair(static_cast<int32_t>(state.range(0)), state.range(1)) {}
    Pair(int32_t depth, int64_t percent)
        : bits(depth), from(wide(depth), high(depth), depth),
          to(static_cast<int32_t>(wide(depth) * percent / 100), static_cast<int32_t>(high(depth) * percent / 100),
             depth)
    {}

    static int32_t wide(int32_t depth) { return depth == 1 ? kPageWidth : kPhotoWidth; }
    static int32_t high(int32_t depth) { return depth == 1 ? kPageHeight : kPhotoHeight; }

    template <class Op> void run(benchmark::State& state, Op&& op)
    {
        const auto area = [](const Picture& p) {
            return static_cast<uint64_t>(p.width()) * static_cast<uint64_t>(p.height());
        };
        const uint64_t written = area(to) * static_cast<uint64_t>(bits) / 8;
        const uint64_t read = std::min(area(from), area(to)) * static_cast<uint64_t>(bits) / 8;
        against_memcpy(state, read, written, area(to), op);
    }
};

void sizes(benchmark::internal::Benchmark* benchmark)
{
    benchmark->ArgNames({"bits", "percent"})->ArgsProduct({{1, 8, 24, 32}, {200, 150, 37}})->Apply(settings);
}

void resize_nearest(benchmark::State& state)
{
    Pair pair(state);
    pair.run(state, [&] { V_ResizeBitmap(pair.from.get(), pair.to.get(), 0); });
}
BENCHMARK(resize_nearest)->Apply(sizes);

void resize_nearest_without_avx2(benchmark::State& state)
{
    vk::simd::limit_level(vk::simd::Level::base);
    resize_nearest(state);
    vk::simd::limit_level(vk::simd::Level::avx512);
}
BENCHMARK(resize_nearest_without_avx2)->Apply(sizes);

template <size_t kBytes> void plain_bytes(Pair& pair)
{
    for (int32_t y = 0; y < pair.to.height(); ++y) {
        const uint8_t* const from =
            pair.from.row(static_cast<int32_t>(int64_t{y} * pair.from.height() / pair.to.height()));
        uint8_t* const to = pair.to.row(y);
        for (int64_t x = 0; x < pair.to.width(); ++x)
            std::memcpy(to + static_cast<size_t>(x) * kBytes,
                        from + static_cast<size_t>(x * pair.from.width() / pair.to.width()) * kBytes, kBytes);
    }
}

void plain_bits(Pair& pair)
{
    for (int32_t y = 0; y < pair.to.height(); ++y) {
        const uint8_t* const from =
            pair.from.row(static_cast<int32_t>(int64_t{y} * pair.from.height() / pair.to.height()));
        uint8_t* const to = pair.to.row(y);
        for (int64_t x = 0; x < pair.to.width(); ++x) {
            const int64_t at = x * pair.from.width() / pair.to.width();
            const auto mask = static_cast<uint8_t>(0x80u >> (x % 8));
            const bool is_set = (from[at / 8] >> (7 - at % 8) & 1u) != 0;
            to[x / 8] = static_cast<uint8_t>(is_set ? to[x / 8] | mask : to[x / 8] & ~mask);
        }
    }
}

void resize_plain_loop(benchmark::State& state)
{
    Pair pair(state);
    const auto loop = pair.bits == 1    ? plain_bits
                      : pair.bits == 8  ? plain_bytes<1>
                      : pair.bits == 24 ? plain_bytes<3>
                                        : plain_bytes<4>;
    pair.run(state, [&] { loop(pair); });
}
BENCHMARK(resize_plain_loop)->Apply(sizes);

#if defined(VKKRNX_BENCH_YUV)
void resize_libyuv(benchmark::State& state)
{
    Pair pair(state);
    Picture& a = pair.from;
    Picture& b = pair.to;
    pair.run(state, [&] {
        if (pair.bits == 8)
            libyuv::ScalePlane(a.row(0), a.line(), a.width(), a.height(), b.row(0), b.line(), b.width(), b.height(),
                               libyuv::kFilterNone);
        else
            libyuv::ARGBScale(a.row(0), a.line(), a.width(), a.height(), b.row(0), b.line(), b.width(), b.height(),
                              libyuv::kFilterNone);
    });
}
BENCHMARK(resize_libyuv)->ArgNames({"bits", "percent"})->ArgsProduct({{8, 32}, {200, 150, 37}})->Apply(settings);
#endif

#if defined(VKKRNX_BENCH_LEPTONICA)
void resize_leptonica(benchmark::State& state)
{
    Pair pair(state);
    Pix* const from = pixCreate(pair.from.width(), pair.from.height(), pair.bits == 24 ? 32 : pair.bits);
    const float scale = static_cast<float>(state.range(1)) / 100;
    pair.run(state, [&] {
        Pix* made = pixScaleBySampling(from, scale, scale);
        pixDestroy(&made);
    });
    Pix* used = from;
    pixDestroy(&used);
}
BENCHMARK(resize_leptonica)->ArgNames({"bits", "percent"})->ArgsProduct({{1, 8, 32}, {200, 150, 37}})->Apply(settings);
#endif

} // namespace
