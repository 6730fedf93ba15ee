// Bitmaps put into bitmaps through the exported functions, beside what libyuv, pixman, Leptonica and OpenCV have for it
// on the same pixels, and what the machine allows.
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

constexpr Form k1{1, COLORORDER_BGR}, kGray{8, COLORORDER_GRAY}, kIndex{8, COLORORDER_BGR}, k24{24, COLORORDER_BGR},
    kSwapped{24, COLORORDER_RGB}, k32{32, COLORORDER_BGR}, k48{48, COLORORDER_BGR}, k565{16, COLORORDER_RGB565};

constexpr Size kSmall{200, 150};

/// The bytes that go in and out.
struct Bytes {
    uint64_t read;
    uint64_t written;
};

Bytes bytes_of_copy(Form from, Form to)
{
    const Size size = size_of(from.bits);
    return {size.bytes(from.bits), size.bytes(to.bits)};
}

Bytes bytes_of_change(Form form, uint64_t mask = 0)
{
    const uint64_t bytes = size_of(form.bits).bytes(form.bits);
    return {2 * bytes + mask, bytes};
}

void add_limit(const char* name, Traffic traffic, Bytes bytes)
{
    add_one(name, [traffic, bytes](benchmark::State& state) {
        Limit limit(traffic, bytes.read, bytes.written);
        against_memcpy(state, bytes.read, bytes.written, bytes.written, limit);
    });
}

// Copies that convert.

struct Pair {
    const char* name;
    Form from;
    Form to;
};

constexpr Pair kPairs[] = {
    {"24 to 24", k24, k24},     {"24 to 32", k24, k32},     {"24 BGR to RGB", k24, kSwapped}, {"32 to 24", k32, k24},
    {"24 to gray", k24, kGray}, {"gray to 24", kGray, k24}, {"24 to 48", k24, k48},           {"8 to 24", kIndex, k24},
    {"1 to gray", k1, kGray},   {"24 to 5-6-5", k24, k565}, {"5-6-5 to 24", k565, k24},
};

void convert(benchmark::State& state, const Pair& pair, Size size)
{
    Bitmap from(pair.from, size);
    from.paint();
    Bitmap to(pair.to, size);
    against_memcpy(state, size.bytes(pair.from.bits), size.bytes(pair.to.bits), size.pixels(), [&] {
        expect_success(state, V_CombineBitmap(to.get(), 0, 0, size.width, size.height, from.get(), 0, 0, COMBINE_COPY));
    });
}

[[maybe_unused]] const bool kConversions = [] {
    for (const Pair& pair : kPairs) {
        const std::string name = std::string("combine/copy ") + pair.name;
        add_levels(name, [&pair](benchmark::State& state) { convert(state, pair, size_of(pair.from.bits)); });
        add_levels(name + ", small", [&pair](benchmark::State& state) { convert(state, pair, kSmall); });
        add_limit((name + ", limit").c_str(), Traffic::stream, bytes_of_copy(pair.from, pair.to));
    }
    return true;
}();

// An inner rectangle: an odd column and row, three quarters of each side.

constexpr RECT kInner{511, 383, 511 + kPhotoWidth / 4 * 3, 383 + kPhotoHeight / 4 * 3};
constexpr Size kInnerSize{kInner.right - kInner.left, kInner.bottom - kInner.top};

void put_inner(benchmark::State& state)
{
    Bitmap from(k24);
    Bitmap to(k24);
    against_memcpy(state, kInnerSize.bytes(24), kInnerSize.bytes(24), kInnerSize.pixels(), [&] {
        expect_success(state, V_CombineBitmap(to.get(), 400, 300, kInnerSize.width, kInnerSize.height, from.get(),
                                              kInner.left, kInner.top, COMBINE_COPY));
    });
}

void take_inner(benchmark::State& state)
{
    Bitmap from(k24);
    against_memcpy(state, kInnerSize.bytes(24), kInnerSize.bytes(24), kInnerSize.pixels(), [&] {
        BITMAPHANDLE made{};
        expect_success(state, V_CopyBitmapRect(&made, from.get(), BITMAPHANDLE_SIZE, kInner.left, kInner.top,
                                               kInnerSize.width, kInnerSize.height));
        V_FreeBitmap(&made);
    });
}

// Changes of what is there.

void combine(benchmark::State& state, Form form, uint32_t operation, int32_t column, int32_t from_column, Size size)
{
    Bitmap from(form, size);
    Bitmap to(form, size);
    from.paint();
    to.paint();
    const Bytes bytes{2 * size.bytes(form.bits), size.bytes(form.bits)};
    against_memcpy(state, bytes.read, bytes.written, size.pixels(), [&] {
        expect_success(state, V_CombineBitmap(to.get(), column, 0, size.width - 20, size.height, from.get(),
                                              from_column, 0, operation));
    });
}

/// Pixels with alpha become opaque little by little, so they are from the start, or with `is_renewed` put back before
/// each time.
void blend(benchmark::State& state, Form form, uint32_t mode, bool is_masked, Size size, bool is_renewed = false)
{
    Bitmap from(form, size);
    Bitmap to(form, size);
    Bitmap mask(kGray, size);
    from.paint();
    to.paint();
    mask.paint();
    const Bytes bytes{2 * size.bytes(form.bits) + (is_masked ? size.pixels() : 0), size.bytes(form.bits)};
    if (!is_renewed && form.bits == 32)
        V_SetBitmapAlphaValue(to.get(), 255);
    const std::vector<uint8_t> before(to.data(), to.data() + to.bytes());
    against_memcpy(
        state, bytes.read, bytes.written, size.pixels(),
        [&] {
            expect_success(state, V_BlendBitmap(to.get(), 0, 0, size.width, size.height, from.get(), 0, 0,
                                                is_masked ? mask.get() : nullptr, 0, 0, mode, 65535));
        },
        [&] {
            if (is_renewed)
                std::memcpy(to.data(), before.data(), before.size());
        });
}

struct Change {
    const char* name;
    Form form;
    bool is_masked;
    std::function<void(benchmark::State&, Size)> run;
};

const Change kChanges[] = {
    {"or, 1 bit", k1, false, [](auto& state, Size size) { combine(state, k1, COMBINE_OR, 3, 10, size); }},
    {"xor, 1 bit", k1, false, [](auto& state, Size size) { combine(state, k1, COMBINE_XOR, 5, 2, size); }},
    {"add, gray", kGray, false, [](auto& state, Size size) { combine(state, kGray, COMBINE_ADD, 3, 10, size); }},
    {"over, premultiplied", k32, false,
     [](auto& state, Size size) { blend(state, k32, BLEND_PREMULTIPLIED, false, size); }},
    {"over, straight", k32, false,
     [](auto& state, Size size) { blend(state, k32, BLEND_SRC_OVER, false, size, true); }},
    {"over opaque, straight", k32, false,
     [](auto& state, Size size) { blend(state, k32, BLEND_SRC_OVER, false, size); }},
    {"mix by a mask, gray", kGray, true, [](auto& state, Size size) { blend(state, kGray, 0, true, size); }},
    {"mix by a mask, 24", k24, true, [](auto& state, Size size) { blend(state, k24, 0, true, size); }},
};

[[maybe_unused]] const bool kChanged = [] {
    for (const Change& change : kChanges) {
        const std::string name = std::string("combine/") + change.name;
        const Size size = size_of(change.form.bits);
        add_levels(name, [&change, size](benchmark::State& state) { change.run(state, size); });
        add_levels(name + ", small", [&change](benchmark::State& state) { change.run(state, kSmall); });
        add_limit((name + ", limit").c_str(), Traffic::change,
                  bytes_of_change(change.form, change.is_masked ? size.pixels() : 0));
    }
    add_levels("combine/inner rectangle", put_inner);
    add_levels("combine/inner rectangle made", take_inner);
    add_limit("combine/inner rectangle, limit", Traffic::stream, {kInnerSize.bytes(24), kInnerSize.bytes(24)});
    return true;
}();

/// What another library does with two bitmaps and a mask of gray.
template <class Op> void add_peer(const char* name, Form from_form, Form to_form, Bytes bytes, Op op)
{
    add_one(std::string("combine/") + name, [=](benchmark::State& state) {
        Bitmap from(from_form);
        Bitmap to(to_form);
        Bitmap mask(kGray);
        against_memcpy(state, bytes.read, bytes.written, size_of(to_form.bits).pixels(), [&] { op(from, to, mask); });
    });
}

#if defined(VKKRNX_BENCH_YUV)

using YuvConversion = int (*)(const uint8_t*, int, uint8_t*, int, int, int);

[[maybe_unused]] const bool kYuv = [] {
    const auto add_conversion = [](const char* name, Form from, Form to, YuvConversion run) {
        add_peer(name, from, to, bytes_of_copy(from, to), [run](Bitmap& s, Bitmap& d, Bitmap&) {
            run(s.data(), s.stride_int(), d.data(), d.stride_int(), kPhotoWidth, kPhotoHeight);
        });
    };
    add_conversion("copy 24 to 32, libyuv", k24, k32, libyuv::RGB24ToARGB);
    add_conversion("copy 24 BGR to RGB, libyuv", k24, kSwapped, libyuv::RAWToRGB24);
    add_conversion("copy 32 to 24, libyuv", k32, k24, libyuv::ARGBToRGB24);
    add_conversion("copy 24 to gray, libyuv", k24, kGray, libyuv::RGB24ToJ400);
    add_peer("over, premultiplied, libyuv", k32, k32, bytes_of_change(k32), [](Bitmap& s, Bitmap& d, Bitmap&) {
        libyuv::ARGBBlend(s.data(), s.stride_int(), d.data(), d.stride_int(), d.data(), d.stride_int(), kPhotoWidth,
                          kPhotoHeight);
    });
    add_peer("mix by a mask, gray, libyuv", kGray, kGray, bytes_of_change(kGray, kPhoto.pixels()),
             [](Bitmap& s, Bitmap& d, Bitmap& mask) {
                 libyuv::BlendPlane(s.data(), s.stride_int(), d.data(), d.stride_int(), mask.data(), mask.stride_int(),
                                    d.data(), d.stride_int(), kPhotoWidth, kPhotoHeight);
             });
    add_peer("inner rectangle, libyuv", k24, k24, {kInnerSize.bytes(24), kInnerSize.bytes(24)},
             [](Bitmap& s, Bitmap& d, Bitmap&) {
                 libyuv::CopyPlane(s.data() + kInner.top * s.stride() + 3 * kInner.left, s.stride_int(),
                                   d.data() + 300 * d.stride() + 1200, d.stride_int(), 3 * kInnerSize.width,
                                   kInnerSize.height);
             });
    return true;
}();

#endif

#if defined(VKKRNX_BENCH_PIXMAN)

/// An image over a bitmap's pixels.
pixman_image_t* image_of(Bitmap& bitmap, pixman_format_code_t format, Size size)
{
    return pixman_image_create_bits(format, size.width, size.height, reinterpret_cast<uint32_t*>(bitmap.data()),
                                    bitmap.stride_int());
}

void add_pixman(const char* name, Form form, Bytes bytes, pixman_op_t op, pixman_format_code_t format)
{
    add_peer(name, form, form, bytes, [=](Bitmap& s, Bitmap& d, Bitmap&) {
        const Size size = size_of(form.bits);
        pixman_image_t* const from = image_of(s, format, size);
        pixman_image_t* const to = image_of(d, format, size);
        if (format == PIXMAN_r8g8b8)
            pixman_image_composite32(op, from, nullptr, to, kInner.left, kInner.top, 0, 0, 400, 300, kInnerSize.width,
                                     kInnerSize.height);
        else
            pixman_image_composite32(op, from, nullptr, to, 0, 0, 0, 0, 0, 0, size.width, size.height);
        pixman_image_unref(from);
        pixman_image_unref(to);
    });
}

[[maybe_unused]] const bool kPixman = [] {
    add_pixman("over, premultiplied, pixman", k32, bytes_of_change(k32), PIXMAN_OP_OVER, PIXMAN_a8r8g8b8);
    add_pixman("add, gray, pixman", kGray, bytes_of_change(kGray), PIXMAN_OP_ADD, PIXMAN_a8);
    add_pixman("inner rectangle, pixman", k24, {kInnerSize.bytes(24), kInnerSize.bytes(24)}, PIXMAN_OP_SRC,
               PIXMAN_r8g8b8);
    return true;
}();

#endif

#if defined(VKKRNX_BENCH_LEPTONICA)

void rasterop_leptonica(benchmark::State& state, int operation, int32_t column, int32_t from_column)
{
    Pix* from = pixCreate(kPage.width, kPage.height, 1);
    Pix* to = pixCreate(kPage.width, kPage.height, 1);
    pixSetAll(from);
    const Bytes bytes = bytes_of_change(k1);
    against_memcpy(state, bytes.read, bytes.written, kPage.pixels(), [&] {
        pixRasterop(to, column, 0, kPage.width - 20, kPage.height, operation, from, from_column, 0);
    });
    pixDestroy(&from);
    pixDestroy(&to);
}

[[maybe_unused]] const bool kLeptonica = [] {
    add_one("combine/or, 1 bit, Leptonica",
            [](benchmark::State& s) { rasterop_leptonica(s, PIX_SRC | PIX_DST, 3, 10); });
    add_one("combine/xor, 1 bit, Leptonica",
            [](benchmark::State& s) { rasterop_leptonica(s, PIX_SRC ^ PIX_DST, 5, 2); });
    return true;
}();

#endif

#if defined(VKKRNX_BENCH_OPENCV)

cv::Mat mat_of(Bitmap& bitmap, int type)
{
    return {kPhotoHeight, kPhotoWidth, type, bitmap.data(), bitmap.stride()};
}

[[maybe_unused]] const bool kOpenCv = [] {
    cv::setNumThreads(1);
    const auto add_conversion = [](const char* name, Form from, Form to, int code) {
        add_peer(name, from, to, bytes_of_copy(from, to), [=](Bitmap& s, Bitmap& d, Bitmap&) {
            const auto type = [](Form form) { return form.bits == 16 ? CV_8UC2 : CV_8UC(form.bits / 8); };
            cv::Mat made = mat_of(d, type(to));
            cv::cvtColor(mat_of(s, type(from)), made, code);
        });
    };
    add_conversion("copy 24 to 32, OpenCV", k24, k32, cv::COLOR_BGR2BGRA);
    add_conversion("copy 24 BGR to RGB, OpenCV", k24, kSwapped, cv::COLOR_BGR2RGB);
    add_conversion("copy 32 to 24, OpenCV", k32, k24, cv::COLOR_BGRA2BGR);
    add_conversion("copy 24 to gray, OpenCV", k24, kGray, cv::COLOR_BGR2GRAY);
    add_conversion("copy gray to 24, OpenCV", kGray, k24, cv::COLOR_GRAY2BGR);
    add_conversion("copy 24 to 5-6-5, OpenCV", k24, k565, cv::COLOR_BGR2BGR565);
    add_conversion("copy 5-6-5 to 24, OpenCV", k565, k24, cv::COLOR_BGR5652BGR);
    add_peer("copy 24 to 48, OpenCV", k24, k48, bytes_of_copy(k24, k48), [](Bitmap& s, Bitmap& d, Bitmap&) {
        cv::Mat made = mat_of(d, CV_16UC3);
        mat_of(s, CV_8UC3).convertTo(made, CV_16U, 257);
    });
    add_peer("add, gray, OpenCV", kGray, kGray, bytes_of_change(kGray), [](Bitmap& s, Bitmap& d, Bitmap&) {
        cv::Mat sum = mat_of(d, CV_8U);
        cv::add(mat_of(s, CV_8U), sum, sum);
    });
    return true;
}();

#endif

} // namespace
