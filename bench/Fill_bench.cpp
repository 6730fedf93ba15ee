// Colours filled in, floods and alpha through the exported functions, beside what libyuv, pixman, Leptonica and OpenCV
// have for it on the same pixels, and what the machine allows.
//
// A flood by two colours in turns, both within the tolerance, finds the same pixels every time. At 1 bit that is not to
// be had, so the page is put back before each.
#include "bench/Limits.h"
#include "bench/Pictures.h"

#if defined(VKKRNX_BENCH_YUV)
#include <libyuv.h>
#endif
#if defined(VKKRNX_BENCH_PIXMAN)
#include <pixman.h>
#endif
#if defined(VKKRNX_BENCH_LEPTONICA)
#include <leptonica/allheaders.h>
#endif
#if defined(VKKRNX_BENCH_OPENCV)
#include <opencv2/imgproc.hpp>
#endif

namespace {

using namespace vk::bench;

constexpr Form k1{1, COLORORDER_BGR}, kGray{8, COLORORDER_GRAY}, k24{24, COLORORDER_BGR}, k32{32, COLORORDER_BGR};
constexpr Size kSmall{200, 150};
constexpr COLORREF kInk = 0x00332211;

void fill(benchmark::State& state, Form form, Size size)
{
    Bitmap to(form, size);
    against_memcpy(state, 0, size.bytes(form.bits), size.pixels(),
                   [&] { expect_success(state, V_FillBitmap(to.get(), kInk)); });
}

template <class Call> void weigh(benchmark::State& state, Size size, Call call)
{
    Bitmap bitmap(k32, size);
    bitmap.paint();
    against_memcpy(state, size.bytes(32), size.bytes(32), size.pixels(),
                   [&] { expect_success(state, call(bitmap.get())); });
}

void take_alpha(benchmark::State& state, Size size)
{
    Bitmap from(k32, size);
    from.paint();
    against_memcpy(state, size.bytes(32), size.bytes(8), size.pixels(), [&] {
        BITMAPHANDLE made{};
        expect_success(state, V_GetBitmapAlpha(&made, from.get(), BITMAPHANDLE_SIZE));
        V_FreeBitmap(&made);
    });
}

void put_alpha(benchmark::State& state, Size size)
{
    Bitmap alpha(kGray, size);
    Bitmap to(k32, size);
    alpha.paint();
    against_memcpy(state, size.bytes(32) + size.bytes(8), size.bytes(32), size.pixels(),
                   [&] { expect_success(state, V_SetBitmapAlpha(to.get(), alpha.get())); });
}

constexpr uint32_t kTolerance = 48;

/// The two colours of the floods of a gray photograph.
struct Inks {
    uint8_t first;
    uint8_t second;
};

Inks inks_of(Bitmap& bitmap)
{
    const uint8_t start = bitmap.data()[kPhotoHeight / 2 * bitmap.stride() + kPhotoWidth / 2];
    return {start, static_cast<uint8_t>(start + 1)};
}

void flood_gray(benchmark::State& state)
{
    Bitmap bitmap(kGray);
    const Inks inks = inks_of(bitmap);
    uint8_t ink = inks.first;
    against_memcpy(state, kPhoto.pixels(), kPhoto.pixels(), kPhoto.pixels(), [&] {
        ink = ink == inks.first ? inks.second : inks.first;
        expect_success(state, V_FloodFillBitmap(bitmap.get(), kPhotoWidth / 2, kPhotoHeight / 2,
                                                0x04000000u | static_cast<COLORREF>(ink) << 8, 0, kTolerance, 0));
    });
}

void flood_page(benchmark::State& state)
{
    Bitmap bitmap(k1);
    const std::vector<uint8_t> before(bitmap.data(), bitmap.data() + bitmap.bytes());
    against_memcpy(
        state, kPage.bytes(1), kPage.bytes(1), kPage.pixels(),
        [&] { expect_success(state, V_FloodFillBitmap(bitmap.get(), 0, 0, 0x01000001u, 0, 0, 0)); },
        [&] { std::memcpy(bitmap.data(), before.data(), before.size()); });
}

void add_limit(const char* name, Traffic traffic, uint64_t read, uint64_t written)
{
    add_one(std::string("fill/") + name + ", limit", [=](benchmark::State& state) {
        Limit limit(traffic, read, written);
        against_memcpy(state, read, written, kPhoto.pixels(), limit);
    });
}

/// The whole picture, and one that lies in the caches.
template <class Run> void add_sizes(const std::string& name, Run run)
{
    add_levels("fill/" + name, [run](benchmark::State& state) { run(state, kPhoto); });
    add_levels("fill/" + name + ", small", [run](benchmark::State& state) { run(state, kSmall); });
}

[[maybe_unused]] const bool kOwn = [] {
    add_sizes("24", [](benchmark::State& state, Size size) { fill(state, k24, size); });
    add_sizes("32", [](benchmark::State& state, Size size) { fill(state, k32, size); });
    add_limit("24", Traffic::stream, 0, kPhoto.bytes(24));
    add_limit("32", Traffic::stream, 0, kPhoto.bytes(32));
    add_sizes("premultiply", [](benchmark::State& state, Size size) { weigh(state, size, V_PremultiplyBitmap); });
    add_sizes("unpremultiply", [](benchmark::State& state, Size size) { weigh(state, size, V_UnpremultiplyBitmap); });
    add_limit("premultiply", Traffic::change, kPhoto.bytes(32), kPhoto.bytes(32));
    add_sizes("take alpha", take_alpha);
    add_limit("take alpha", Traffic::stream, kPhoto.bytes(32), kPhoto.bytes(8));
    add_sizes("put alpha", put_alpha);
    add_limit("put alpha", Traffic::change, kPhoto.bytes(40), kPhoto.bytes(32));
    add_levels("fill/flood, gray", flood_gray);
    add_levels("fill/flood, 1 bit", flood_page);
    return true;
}();

/// What another library does with a bitmap, and one of gray.
template <class Op> void add_peer(const char* name, Form form, uint64_t read, uint64_t written, Op op)
{
    add_one(std::string("fill/") + name, [=](benchmark::State& state) {
        Bitmap bitmap(form);
        Bitmap gray(kGray);
        against_memcpy(state, read, written, kPhoto.pixels(), [&] { op(bitmap, gray); });
    });
}

#if defined(VKKRNX_BENCH_YUV)

[[maybe_unused]] const bool kYuv = [] {
    add_peer("32, libyuv", k32, 0, kPhoto.bytes(32), [](Bitmap& to, Bitmap&) {
        libyuv::ARGBRect(to.data(), to.stride_int(), 0, 0, kPhotoWidth, kPhotoHeight, kInk);
    });
    add_peer("premultiply, libyuv", k32, kPhoto.bytes(32), kPhoto.bytes(32), [](Bitmap& to, Bitmap&) {
        libyuv::ARGBAttenuate(to.data(), to.stride_int(), to.data(), to.stride_int(), kPhotoWidth, kPhotoHeight);
    });
    add_peer("unpremultiply, libyuv", k32, kPhoto.bytes(32), kPhoto.bytes(32), [](Bitmap& to, Bitmap&) {
        libyuv::ARGBUnattenuate(to.data(), to.stride_int(), to.data(), to.stride_int(), kPhotoWidth, kPhotoHeight);
    });
    add_peer("take alpha, libyuv", k32, kPhoto.bytes(32), kPhoto.bytes(8), [](Bitmap& from, Bitmap& gray) {
        libyuv::ARGBExtractAlpha(from.data(), from.stride_int(), gray.data(), gray.stride_int(), kPhotoWidth,
                                 kPhotoHeight);
    });
    add_peer("put alpha, libyuv", k32, kPhoto.bytes(40), kPhoto.bytes(32), [](Bitmap& to, Bitmap& gray) {
        libyuv::ARGBCopyYToAlpha(gray.data(), gray.stride_int(), to.data(), to.stride_int(), kPhotoWidth, kPhotoHeight);
    });
    return true;
}();

#endif

#if defined(VKKRNX_BENCH_PIXMAN)

[[maybe_unused]] const bool kPixman = [] {
    add_peer("32, pixman", k32, 0, kPhoto.bytes(32), [](Bitmap& to, Bitmap&) {
        pixman_fill(reinterpret_cast<uint32_t*>(to.data()), to.stride_int() / 4, 32, 0, 0, kPhotoWidth, kPhotoHeight,
                    kInk);
    });
    return true;
}();

#endif

#if defined(VKKRNX_BENCH_LEPTONICA)

/// What is white around the letters, from a seed.
void flood_leptonica(benchmark::State& state)
{
    Bitmap bitmap(k1);
    Pix* open = pixCreate(kPage.width, kPage.height, 1);
    Pix* filled = pixCreate(kPage.width, kPage.height, 1);
    for (int32_t y = 0; y < kPage.height; ++y)
        for (int32_t i = 0; i < pixGetWpl(open); ++i) {
            uint32_t word = 0;
            std::memcpy(&word, bitmap.data() + static_cast<size_t>(y) * bitmap.stride() + 4 * static_cast<size_t>(i),
                        sizeof word);
            pixGetData(open)[y * pixGetWpl(open) + i] = ~__builtin_bswap32(word);
        }
    against_memcpy(
        state, kPage.bytes(1), kPage.bytes(1), kPage.pixels(), [&] { pixSeedfillBinary(filled, filled, open, 4); },
        [&] {
            pixClearAll(filled);
            pixSetPixel(filled, 0, 0, 1);
        });
    pixDestroy(&open);
    pixDestroy(&filled);
}

[[maybe_unused]] const bool kLeptonica = [] {
    add_one("fill/flood, 1 bit, Leptonica", flood_leptonica);
    return true;
}();

#endif

#if defined(VKKRNX_BENCH_OPENCV)

cv::Mat mat_of(Bitmap& bitmap, int type)
{
    return {kPhotoHeight, kPhotoWidth, type, bitmap.data(), bitmap.stride()};
}

void flood_opencv(benchmark::State& state)
{
    cv::setNumThreads(1);
    Bitmap bitmap(kGray);
    const Inks inks = inks_of(bitmap);
    uint8_t ink = inks.first;
    against_memcpy(state, kPhoto.pixels(), kPhoto.pixels(), kPhoto.pixels(), [&] {
        ink = ink == inks.first ? inks.second : inks.first;
        cv::Mat picture = mat_of(bitmap, CV_8U);
        cv::floodFill(picture, cv::Point(kPhotoWidth / 2, kPhotoHeight / 2), cv::Scalar(ink), nullptr,
                      cv::Scalar(kTolerance), cv::Scalar(kTolerance), 4 | cv::FLOODFILL_FIXED_RANGE);
    });
}

[[maybe_unused]] const bool kOpenCv = [] {
    add_one("fill/flood, gray, OpenCV", flood_opencv);
    add_peer("24, OpenCV", k24, 0, kPhoto.bytes(24),
             [](Bitmap& to, Bitmap&) { mat_of(to, CV_8UC3).setTo(cv::Scalar(0x11, 0x22, 0x33)); });
    add_peer("32, OpenCV", k32, 0, kPhoto.bytes(32),
             [](Bitmap& to, Bitmap&) { mat_of(to, CV_8UC4).setTo(cv::Scalar(0x11, 0x22, 0x33, 0xFF)); });
    return true;
}();

#endif

} // namespace
