// Resampling whole pictures into storage that is there, with and without the wider instruction sets: by area to 0.37,
// bicubic to twice the size.
#include "BenchSupport.h"

#include "Vkkrnx.h"
#include "kernel/resample/Resample.h"
#include "simd/Level.h"

namespace {

using namespace vk::bench;

class Picture {
public:
    Picture(int32_t width, int32_t height, int32_t bits)
    {
        V_CreateBitmap(&record_, BITMAPHANDLE_SIZE, TYPE_CONV, width, height, bits,
                       bits == 8 ? COLORORDER_GRAY : COLORORDER_BGR, nullptr, TOP_LEFT, nullptr, 0);
    }
    ~Picture() { V_FreeBitmap(&record_); }
    Picture(const Picture&) = delete;
    Picture& operator=(const Picture&) = delete;

    BITMAPHANDLE& get() { return record_; }
    uint64_t bytes() const { return uint64_t{record_.BytesPerLine} * static_cast<uint32_t>(record_.Height); }

    void paint(bool opaque)
    {
        const int32_t channels = record_.BitsPerPixel / 8;
        std::vector<uint8_t> pixels = photo(record_.Width, record_.Height, channels);
        for (size_t i = 3; opaque && channels == 4 && i < pixels.size(); i += 4)
            pixels[i] = 255;
        const size_t line = static_cast<size_t>(record_.Width) * static_cast<size_t>(channels);
        for (size_t y = 0; y < static_cast<size_t>(record_.Height); ++y)
            std::memcpy(record_.Data + y * record_.BytesPerLine, pixels.data() + y * line, line);
    }

private:
    BITMAPHANDLE record_{};
};

/// range(0): bits; range(1): thousandths of the width; range(2): filter; range(3): plain; range(4): opaque.
void resample(benchmark::State& state)
{
    const auto bits = static_cast<int32_t>(state.range(0));
    const auto scaled = [&](int32_t length) { return static_cast<int32_t>(length * state.range(1) / 1000); };
    Picture from(kPhotoWidth, kPhotoHeight, bits);
    Picture to(scaled(kPhotoWidth), scaled(kPhotoHeight), bits);
    from.paint(state.range(4) != 0);
    vk::simd::limit_level(state.range(3) != 0 ? vk::simd::Level::plain : vk::simd::Level::avx512);
    against_memcpy(state, from.bytes(), to.bytes(), uint64_t{kPhotoWidth} * kPhotoHeight, [&] {
        if (vk::resample_into(from.get(), to.get(), static_cast<vk::Filter>(state.range(2))) != SUCCESS)
            state.SkipWithError("resample_into");
    });
    vk::simd::limit_level(vk::simd::Level::avx512);
}
BENCHMARK(resample)
    ->ArgNames({"bits", "scale", "filter", "plain", "opaque"})
    ->Args({24, 370, 0, 0, 1})
    ->Args({24, 370, 0, 1, 1})
    ->Args({8, 370, 0, 0, 1})
    ->Args({32, 370, 0, 0, 1})
    ->Args({32, 370, 0, 0, 0})
    ->Args({24, 2000, 1, 0, 1})
    ->Args({24, 2000, 1, 1, 1})
    ->Args({8, 2000, 1, 0, 1})
    ->Args({32, 2000, 1, 0, 1})
    ->Args({24, 2000, 2, 0, 1})
    ->Args({24, 370, 1, 0, 1})
    ->Args({48, 370, 0, 0, 1})
    ->Apply(settings);

} // namespace
