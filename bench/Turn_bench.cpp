// Flips, mirrors, half and quarter turns: the whole-bitmap operations on conventional storage, the kernels alone
// between blocks that are there already, the libraries people would use, and plain loops.
#include "BenchSupport.h"
#include "Vkkrnx.h"
#include "Vkview.h"
#include "kernel/view/MirrorRow.h"
#include "kernel/view/Relayout.h"
#include "kernel/view/Transpose.h"

#if defined(VKKRNX_BENCH_YUV)
#include <libyuv.h>
#endif

namespace {

using namespace vk;
using namespace vk::bench;

struct Size {
    int32_t width;
    int32_t height;
};

/// The picture that figures of a depth are given for.
Size size_of(int32_t bits)
{
    return bits == 1 ? Size{kPageWidth, kPageHeight} : Size{kPhotoWidth, kPhotoHeight};
}

size_t stride_of(int32_t width, int32_t bits)
{
    return (static_cast<size_t>(width) * static_cast<size_t>(bits) + 31) / 32 * 4;
}

std::vector<uint8_t> content(int32_t bits)
{
    const Size size = size_of(bits);
    if (bits < 8)
        return page(static_cast<int32_t>(stride_of(size.width, bits) * 8), size.height, stride_of(size.width, bits));
    return photo(size.width, size.height, bits / 8);
}

/// A bitmap with content, accessed.
struct Bitmap {
    BITMAPHANDLE handle = {};

    explicit Bitmap(int32_t bits)
    {
        const Size size = size_of(bits);
        const std::vector<uint8_t> rows = content(bits);
        V_CreateBitmap(&handle, sizeof handle, TYPE_CONV, size.width, size.height, bits, COLORORDER_BGR, nullptr,
                       TOP_LEFT, nullptr, 0);
        V_AccessBitmap(&handle);
        V_PutBitmapRow(&handle, rows.data(), 0, std::min<size_t>(rows.size(), handle.Size));
    }
    ~Bitmap()
    {
        V_ReleaseBitmap(&handle);
        V_FreeBitmap(&handle);
    }
    Bitmap(const Bitmap&) = delete;
    Bitmap& operator=(const Bitmap&) = delete;
};

template <class Op> void measure(benchmark::State& state, uint64_t bytes, Size size, Op&& op)
{
    against_memcpy(state, bytes, bytes, static_cast<uint64_t>(size.width) * static_cast<uint64_t>(size.height), op);
}

int half_turn(BITMAPHANDLE* bitmap)
{
    Progress none(0);
    return change_layout(*bitmap, {{kHalfTurned, bitmap->ViewPerspective}}, none);
}

int quarter_turn(BITMAPHANDLE* bitmap)
{
    return V_RotateBitmap90(bitmap, 1);
}

template <auto function> void whole(benchmark::State& state)
{
    const auto bits = static_cast<int32_t>(state.range(0));
    Bitmap bitmap(bits);
    measure(state, bitmap.handle.Size, size_of(bits), [&] { function(&bitmap.handle); });
}

void depths(benchmark::internal::Benchmark* benchmark)
{
    settings(benchmark);
    for (const int64_t bits : {1, 4, 8, 12, 16, 24, 32, 48, 64})
        benchmark->Arg(bits);
}

/// From one block to another, both of them warm.
void quarter_kernel(benchmark::State& state, simd::Level level)
{
    const auto bits = static_cast<int32_t>(state.range(0));
    const Size size = size_of(bits);
    const Block from = block_of(content(bits));
    const size_t stride = stride_of(size.width, bits);
    const size_t to_stride = stride_of(size.height, bits);
    Block to(to_stride * static_cast<size_t>(size.width));
    const TransposeBlock block{from.data() + stride * static_cast<size_t>(size.height - 1),
                               -static_cast<ptrdiff_t>(stride),
                               to.data(),
                               static_cast<ptrdiff_t>(to_stride),
                               size.width,
                               size.height};
    simd::limit_level(level);
    const bool stream = to.size() >= 8u << 20;
    measure(state, stride * static_cast<size_t>(size.height), size, [&] { transpose(block, bits, stream); });
    simd::limit_level(simd::Level::avx512);
}

void quarter_turn_in_place_of(benchmark::State& state)
{
    quarter_kernel(state, simd::Level::avx512);
}

void quarter_turn_plain(benchmark::State& state)
{
    quarter_kernel(state, simd::Level::plain);
}

void mirror_plain(benchmark::State& state)
{
    simd::limit_level(simd::Level::plain);
    whole<V_IntReverseBitmap>(state);
    simd::limit_level(simd::Level::avx512);
}

BENCHMARK(whole<V_IntFlipBitmap>)->Name("flip")->Apply(depths);
BENCHMARK(whole<V_IntReverseBitmap>)->Name("mirror")->Apply(depths);
BENCHMARK(mirror_plain)->Apply(depths);
BENCHMARK(whole<half_turn>)->Name("half_turn")->Apply(depths);
BENCHMARK(whole<quarter_turn>)->Name("quarter_turn")->Apply(depths);
BENCHMARK(quarter_turn_in_place_of)->Name("quarter_turn_to_old_block")->Apply(depths);
BENCHMARK(quarter_turn_plain)->Apply(depths);

#if defined(VKKRNX_BENCH_YUV)

void yuv_mirror(benchmark::State& state)
{
    const auto bits = static_cast<int32_t>(state.range(0));
    const Size size = size_of(bits);
    const std::vector<uint8_t> from = content(bits);
    std::vector<uint8_t> to(from.size());
    const int stride = size.width * bits / 8;
    measure(state, from.size(), size, [&] {
        if (bits == 8)
            libyuv::MirrorPlane(from.data(), stride, to.data(), stride, size.width, size.height);
        else if (bits == 24)
            libyuv::RGB24Mirror(from.data(), stride, to.data(), stride, size.width, size.height);
        else
            libyuv::ARGBMirror(from.data(), stride, to.data(), stride, size.width, size.height);
    });
}
BENCHMARK(yuv_mirror)->Apply(settings)->Arg(8)->Arg(24)->Arg(32);

/// A copy of rows in reversed order, which serves every depth.
void yuv_flip(benchmark::State& state)
{
    const auto bits = static_cast<int32_t>(state.range(0));
    const Size size = size_of(bits);
    const std::vector<uint8_t> from = content(bits);
    std::vector<uint8_t> to(from.size());
    const int stride = size.width * bits / 8;
    measure(state, from.size(), size,
            [&] { libyuv::CopyPlane(from.data(), stride, to.data(), stride, stride, -size.height); });
}
BENCHMARK(yuv_flip)->Apply(settings)->Arg(1)->Arg(8)->Arg(24)->Arg(32);

template <libyuv::RotationMode mode> void yuv_turn(benchmark::State& state)
{
    const auto bits = static_cast<int32_t>(state.range(0));
    const Size size = size_of(bits);
    const std::vector<uint8_t> from = content(bits);
    std::vector<uint8_t> to(from.size());
    const int stride = size.width * bits / 8;
    const int to_stride = (mode == libyuv::kRotate180 ? size.width : size.height) * bits / 8;
    measure(state, from.size(), size, [&] {
        if (bits == 8)
            libyuv::RotatePlane(from.data(), stride, to.data(), to_stride, size.width, size.height, mode);
        else
            libyuv::ARGBRotate(from.data(), stride, to.data(), to_stride, size.width, size.height, mode);
    });
}
BENCHMARK(yuv_turn<libyuv::kRotate90>)->Name("yuv_quarter_turn")->Apply(settings)->Arg(8)->Arg(32);
BENCHMARK(yuv_turn<libyuv::kRotate180>)->Name("yuv_half_turn")->Apply(settings)->Arg(8)->Arg(32);

#endif

} // namespace
