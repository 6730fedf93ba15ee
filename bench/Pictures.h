// Bitmaps to measure operations of the interface on: photographs, and text pages at 1 bit, in memory of the library's
// own.
#pragma once

#include "Vkkrnx.h"
#include "bench/BenchSupport.h"
#include "kernel/combine/Streaming.h"
#include "simd/Level.h"

#include <functional>
#include <string>

namespace vk::bench {

struct Form {
    int32_t bits;
    int32_t order;
};

struct Size {
    int32_t width;
    int32_t height;

    uint64_t pixels() const { return static_cast<uint64_t>(width) * static_cast<uint64_t>(height); }
    uint64_t bytes(int32_t bits) const { return pixels() * static_cast<uint64_t>(bits) / 8; }
};

constexpr Size kPhoto{kPhotoWidth, kPhotoHeight};
constexpr Size kPage{kPageWidth, kPageHeight};

constexpr Size size_of(int32_t bits)
{
    return bits == 1 ? kPage : kPhoto;
}

/// A bitmap with its pixels; without memory there is nothing to measure, and it throws.
class Bitmap {
public:
    Bitmap(Form form, Size size)
    {
        if (V_CreateBitmap(&record_, BITMAPHANDLE_SIZE, TYPE_CONV, size.width, size.height, form.bits, form.order,
                           nullptr, TOP_LEFT, nullptr, 0) != SUCCESS)
            throw std::bad_alloc();
        record_.Order = form.order; // which at 8 bits would be that of a palette
    }
    explicit Bitmap(Form form) : Bitmap(form, size_of(form.bits)) { paint(); }
    Bitmap(const Bitmap&) = delete;
    Bitmap& operator=(const Bitmap&) = delete;
    ~Bitmap() { V_FreeBitmap(&record_); }

    BITMAPHANDLE* get() { return &record_; }
    uint8_t* data() { return record_.Data; }
    size_t stride() const { return record_.BytesPerLine; }
    int stride_int() const { return static_cast<int>(record_.BytesPerLine); }
    size_t bytes() const { return stride() * static_cast<size_t>(record_.Height); }

    /// Pixels of any size from a photograph's, or a page.
    void paint()
    {
        const Size size{record_.Width, record_.Height};
        if (record_.BitsPerPixel == 1) {
            const std::vector<uint8_t> rows = page(size.width, size.height, stride());
            std::memcpy(data(), rows.data(), rows.size());
            return;
        }
        std::vector<uint8_t> pixels = photo(size.width, size.height, record_.BitsPerPixel == 32 ? 4 : 3);
        if (record_.BitsPerPixel == 32) {
            std::memcpy(data(), pixels.data(), pixels.size());
            return;
        }
        BITMAPHANDLE from{};
        V_CreateBitmap(&from, BITMAPHANDLE_SIZE, TYPE_USER, size.width, size.height, 24, COLORORDER_BGR, nullptr,
                       TOP_LEFT, pixels.data(), pixels.size());
        V_CombineBitmap(get(), 0, 0, size.width, size.height, &from, 0, 0, COMBINE_COPY);
        V_FreeBitmap(&from);
    }

private:
    BITMAPHANDLE record_{};
};

/// Keeps the operations and the converter to a level for the length of a scope.
class AtLevel {
public:
    explicit AtLevel(simd::Level level) { set(level); }
    ~AtLevel() { set(simd::Level::avx512); }
    AtLevel(const AtLevel&) = delete;
    AtLevel& operator=(const AtLevel&) = delete;

private:
    static void set(simd::Level level) { simd::limit_level(level); }
};

/// Registers an operation at the processor's level, and at two lower ones.
template <class Run> void add_levels(const std::string& name, Run run)
{
    for (const auto& [suffix, level] : {std::pair{"", simd::Level::avx512}, std::pair{", AVX2", simd::Level::avx2},
                                        std::pair{", plain", simd::Level::plain}})
        settings(benchmark::RegisterBenchmark((name + suffix).c_str(), [run, level = level](benchmark::State& state) {
            const AtLevel at(level);
            run(state);
        }));
}

template <class Run> void add_one(const std::string& name, Run run)
{
    settings(benchmark::RegisterBenchmark(name.c_str(), run));
}

/// A call of the interface that has to succeed.
inline void expect_success(benchmark::State& state, int result)
{
    if (result != SUCCESS)
        state.SkipWithError("the call failed");
}

} // namespace vk::bench
