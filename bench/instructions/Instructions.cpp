// What vector kernels cost in instructions: each of them, through the exported function that leads to it, at one level,
// for an emulator that counts between two marks (scripts/instructions.py).
//
//   vk_instructions                      names the operations and their pixels
//   vk_instructions <operation> <level>  runs one: 0 is plain code, 1 what every processor has, 2 NEON
#include "Vkkrnx.h"
#include "kernel/runs/RunLength.h"
#include "simd/Level.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

#include <unistd.h>

namespace {

struct Form {
    int32_t bits;
    int32_t order;
};

constexpr int32_t kWidth = 2048, kHeight = 32; ///< of most pictures
constexpr int32_t kTall = 1024;                ///< of what prepares much at first
constexpr int32_t kSide = 256;                 ///< of those that are turned, and of what pictures shrink to
constexpr Form k1{1, COLORORDER_BGR}, k4{4, COLORORDER_BGR}, kGray{8, COLORORDER_GRAY}, kIndex{8, COLORORDER_BGR},
    k12{12, COLORORDER_GRAY}, k16{16, COLORORDER_GRAY}, k565{16, COLORORDER_RGB565}, k24{24, COLORORDER_BGR},
    kSwapped{24, COLORORDER_RGB}, k32{32, COLORORDER_BGR}, k48{48, COLORORDER_BGR}, k64{64, COLORORDER_BGR};

[[noreturn]] void fail(const char* what)
{
    std::fprintf(stderr, "%s\n", what);
    std::exit(1);
}

void expect_success(int result)
{
    if (result != SUCCESS)
        fail("the call failed");
}

/// A picture of shades with grain, its alpha everything between clear and opaque; at 1 bit, of strokes.
class Bitmap {
public:
    explicit Bitmap(Form form, int32_t width = kWidth, int32_t height = kHeight)
    {
        expect_success(V_CreateBitmap(&record_, sizeof record_, TYPE_CONV, width, height, form.bits, form.order,
                                      nullptr, TOP_LEFT, nullptr, 0));
        record_.Order = form.order;
        uint32_t noise = 1;
        const size_t line = record_.BytesPerLine;
        for (size_t at = 0; at < line * static_cast<size_t>(height); ++at) {
            noise = noise * 1664525u + 1013904223u;
            const size_t shade = at % line / 8 + at / line;
            const size_t stroke = noise >> 27 == 0 ? 0x3C : 0;
            record_.Data[at] = static_cast<uint8_t>(form.bits == 1 ? stroke : shade + (noise >> 28));
        }
    }
    Bitmap(const Bitmap&) = delete;
    Bitmap& operator=(const Bitmap&) = delete;
    ~Bitmap() { V_FreeBitmap(&record_); }

    BITMAPHANDLE* get() { return &record_; }
    operator BITMAPHANDLE*() { return &record_; }
    BITMAPHANDLE* operator->() { return &record_; }

private:
    BITMAPHANDLE record_{};
};

/// A bitmap that a function makes.
struct Made {
    BITMAPHANDLE record{};
    Made() = default;
    Made(const Made&) = delete;
    Made& operator=(const Made&) = delete;
    ~Made() { V_FreeBitmap(&record); }
    operator BITMAPHANDLE*() { return &record; }
};

/// Makes what an operation needs, and measures it.
using Run = void (*)();

struct Operation {
    const char* name;
    Run run;
    double pixels = double{kWidth} * kHeight;
};

/// The fourth run, when the library has made what it keeps.
template <class Op> void measure(Op op)
{
    for (int i = 0; i < 3; ++i)
        expect_success(op());
    getppid(); // a mark
    const int result = op();
    getppid();
    expect_success(result);
}

template <const Form& From, const Form& To, uint32_t Flags = COMBINE_COPY> void combine()
{
    Bitmap from(From), to(To);
    measure([&] { return V_CombineBitmap(to, 0, 0, kWidth, kHeight, from, 0, 0, Flags); });
}

/// Bits that lie elsewhere in their bytes.
template <uint32_t Flags> void combine_bits()
{
    Bitmap from(k1), to(k1);
    measure([&] { return V_CombineBitmap(to, 0, 0, kWidth - 8, kHeight, from, 3, 0, Flags); });
}

template <const Form& From, uint32_t Mode, bool Masked> void blend()
{
    Bitmap from(From), to(From), mask(kGray);
    BITMAPHANDLE* const under = Masked ? mask.get() : nullptr;
    measure([&] { return V_BlendBitmap(to, 0, 0, kWidth, kHeight, from, 0, 0, under, 0, 0, Mode, 65535); });
}

template <const Form& Of> void fill()
{
    Bitmap to(Of);
    measure([&] { return V_FillBitmap(to, 0x00123456); });
}

void get_alpha()
{
    Bitmap from(k32);
    measure([&] { return V_GetBitmapAlpha(Made(), from, BITMAPHANDLE_SIZE); });
}
void set_alpha()
{
    Bitmap to(k32), alpha(kGray);
    measure([&] { return V_SetBitmapAlpha(to, alpha); });
}
void scramble()
{
    Bitmap from(k24);
    measure(
        [&] { return V_ScrambleBitmap(Made(), from, BITMAPHANDLE_SIZE, 0, 0, kWidth, kHeight, 77, SCRAMBLE_HIDE); });
}

/// A border that reaches to the last pixel.
template <const Form& Of> void trim()
{
    Bitmap of(Of);
    expect_success(V_FillBitmap(of, 0x00FFFFFF));
    V_PutPixelColor(of, kHeight - 1, kWidth - 1, 0);
    measure([&] {
        RECT rect;
        return V_GetTrimRect(of, 0x00FFFFFF, 8, &rect);
    });
}

void region_of_color()
{
    Bitmap of(k24);
    measure([&] { return V_SetBitmapRegionColor(of, 0x00606060, 0x00A0A0A0, REGION_SET); });
}
void region_of_mask()
{
    Bitmap of(k24), mask(k1);
    measure([&] { return V_SetBitmapRegionMask(of, mask, REGION_SET); });
}

constexpr int32_t side_before(int percent)
{
    return percent < 100 ? kSide * 100 / percent : kSide;
}
constexpr int32_t side_after(int percent)
{
    return percent < 100 ? kSide : kSide * percent / 100;
}

template <const Form& Of, int Percent, uint32_t Flags = SIZEFLAG_NORMAL> void resize()
{
    Bitmap from(Of, side_before(Percent), side_before(Percent)), to(Of, side_after(Percent), side_after(Percent));
    measure([&] { return V_IntResizeBitmap(from, to, Flags); });
}
template <const Form& Of, int Percent> void resample()
{
    Bitmap from(Of, side_before(Percent), side_before(Percent)), to(Of, side_after(Percent), side_after(Percent));
    measure([&] { return V_IntResampleBitmap(from, to); });
}
template <const Form& Of, int Percent> void bicubic()
{
    Bitmap from(Of, side_before(Percent), side_before(Percent)), to(Of, side_after(Percent), side_after(Percent));
    measure([&] { return V_IntBicubicResampleBitmap(from, to); });
}

template <const Form& Of, uint32_t Flags> void rotate()
{
    Bitmap of(Of, kSide, kSide);
    measure([&] { return V_RotateBitmap(of, 730, Flags, 0x00FFFFFF); });
}
template <const Form& Of, uint32_t Flags> void warp()
{
    Bitmap of(Of, kSide, kSide);
    const double w = kSide, h = kSide;
    const V_POINTD from[4] = {{w * 0.06, h * 0.04}, {w * 0.93, h * 0.07}, {w * 0.98, h * 0.95}, {w * 0.02, h * 0.9}};
    const V_POINTD to[4] = {{0, 0}, {w, 0}, {w, h}, {0, h}};
    V_MATRIX map;
    expect_success(V_Matrix_FromCorners(&map, from, to));
    measure([&] { return V_WarpBitmap(of, &map, kSide, kSide, Flags, 0x00FFFFFF); });
}
template <const Form& Of> void reverse()
{
    Bitmap of(Of);
    measure([&] { return V_ReverseBitmap(of); });
}
template <const Form& Of> void quarter()
{
    Bitmap of(Of, kSide, kSide);
    measure([&] { return V_RotateBitmap90(of, 1); });
}

template <const Form& Of, uint32_t Function> void window()
{
    Bitmap from(Of);
    const V_WINDOW window = {sizeof(V_WINDOW), Function, 0, 0, 20000, 30000};
    measure([&] { return V_WindowBitmap(Made(), from, BITMAPHANDLE_SIZE, &window, 8); });
}

/// A picture in a layout with its bitmap.
struct YuvPair {
    V_YUVPICTURE picture{};
    std::vector<uint8_t> block;
    Bitmap bitmap{k24};

    explicit YuvPair(const char* code)
    {
        picture.StructSize = sizeof picture;
        std::memcpy(&picture.Code, code, sizeof picture.Code);
        picture.Width = kWidth;
        picture.Height = kHeight;
        block.resize(static_cast<size_t>(V_GetYuvSize(&picture)));
        picture.Planes[0] = block.data();
        expect_success(V_BitmapToYuv(bitmap, &picture));
    }
};
constexpr char kPlanar[] = "I420", kHalf[] = "NV12", kPacked[] = "YUY2", kFull[] = "I444";
template <const char* Code> void to_yuv()
{
    YuvPair pair(Code);
    measure([&] { return V_BitmapToYuv(pair.bitmap, &pair.picture); });
}
template <const char* Code> void from_yuv()
{
    YuvPair pair(Code);
    measure([&] { return V_YuvToBitmap(Made(), BITMAPHANDLE_SIZE, &pair.picture); });
}

template <const Form& From, int32_t Bits, uint32_t Flags, int32_t Method, int32_t Height = kHeight> void change()
{
    Bitmap from(From, kWidth, Height);
    from->DitheringMethod = Method;
    measure([&] { return V_ColorResBitmap(from, Made(), BITMAPHANDLE_SIZE, Bits, Flags, nullptr, nullptr, 0); });
}

/// Rows of runs. The plain form is the one by bytes, which no level leads to.
struct Runs {
    Bitmap of{k1};
    size_t pitch = vk::runlength::max_row_bytes(kWidth);
    std::vector<uint8_t> rows = std::vector<uint8_t>(pitch * kHeight);
    bool is_plain = vk::simd::level() == vk::simd::Level::plain;

    template <class F> int each(F f)
    {
        for (size_t y = 0; y < size_t{kHeight}; ++y)
            f(rows.data() + pitch * y, of->Data + size_t{of->BytesPerLine} * y);
        return SUCCESS;
    }
};
void compress()
{
    Runs runs;
    const auto compress = runs.is_plain ? vk::runlength::compress_plain : vk::runlength::compress;
    measure([&] { return runs.each([=](uint8_t* row, uint8_t* bits) { compress(row, bits, 0, kWidth); }); });
}
void expand()
{
    Runs runs;
    const auto expand = runs.is_plain ? vk::runlength::expand_plain : vk::runlength::expand;
    runs.each([](uint8_t* row, uint8_t* bits) { vk::runlength::compress(row, bits, 0, kWidth); });
    measure([&] { return runs.each([=](uint8_t* row, uint8_t* bits) { expand(row, bits, 0, kWidth); }); });
}

constexpr double kLarger = 4.0 * kWidth * kHeight;

const Operation kOperations[] = {
    {"combine: 1 bit, xor, other place", combine_bits<COMBINE_XOR>},
    {"combine: 24 bits, add", combine<k24, k24, COMBINE_ADD>},
    {"combine: 24 bits, multiply", combine<k24, k24, COMBINE_MULTIPLY>},
    {"combine: 48 bits, average", combine<k48, k48, COMBINE_AVERAGE>},
    {"combine: 48 bits, multiply", combine<k48, k48, COMBINE_MULTIPLY>},
    {"combine: 32 bits over, straight", blend<k32, BLEND_SRC_OVER, false>},
    {"combine: 32 bits over, premultiplied", blend<k32, BLEND_SRC_OVER | BLEND_PREMULTIPLIED, false>},
    {"combine: gray under a mask", blend<kGray, BLEND_SRC_OVER, true>},
    {"combine: 24 bits under a mask", blend<k24, BLEND_SRC_OVER, true>},
    {"combine: border trimmed, 24 bits", trim<k24>},
    {"convert: 24 to 32", combine<k24, k32>},
    {"convert: 24 to swapped", combine<k24, kSwapped>},
    {"convert: 32 to 24", combine<k32, k24>},
    {"convert: 24 to gray", combine<k24, kGray>},
    {"convert: gray to 24", combine<kGray, k24>},
    {"convert: 24 to 48", combine<k24, k48>},
    {"convert: 24 to 5-6-5", combine<k24, k565>},
    {"convert: 5-6-5 to 24", combine<k565, k24>},
    {"convert: palette to 24", combine<kIndex, k24>},
    {"convert: 1 bit to gray", combine<k1, kGray>},
    {"convert: gray to 1 bit", change<kGray, 1, COLORRES_NODITHER, DITHER_NONE>},
    {"convert: 24 to nearest of 256", change<k24, 8, COLORRES_NODITHER, DITHER_NONE, kTall>, double{kWidth} * kTall},
    {"dither: gray to 1 bit, diffused", change<kGray, 1, 0, DITHER_FLOYD_STEINBERG>},
    {"dither: gray to 1 bit, ordered", change<kGray, 1, 0, DITHER_ORDERED>},
    {"dither: 24 to 256, diffused", change<k24, 8, 0, DITHER_FLOYD_STEINBERG>},
    {"dither: 24 to 256, ordered", change<k24, 8, 0, DITHER_ORDERED>},
    {"fill: 24 bits", fill<k24>},
    {"fill: 12 bits", fill<k12>},
    {"fill: alpha taken out", get_alpha},
    {"fill: alpha put in", set_alpha},
    {"fill: scrambled", scramble},
    {"region: of colours, 24 bits", region_of_color},
    {"region: of a mask", region_of_mask},
    {"resize: 1 bit, x2", resize<k1, 200>, kLarger},
    {"resize: 8 bits, x2", resize<kGray, 200>, kLarger},
    {"resize: 24 bits, x2", resize<k24, 200>, kLarger},
    {"resize: 32 bits, x2", resize<k32, 200>, kLarger},
    {"resize: 8 bits, x0.37", resize<kGray, 37>},
    {"resize: 1 bit, x0.37", resize<k1, 37>},
    {"resample: 8 bits, x2, cubic", bicubic<kGray, 200>, kLarger},
    {"resample: 24 bits, x2, cubic", bicubic<k24, 200>, kLarger},
    {"resample: 24 bits, x0.37, area", resample<k24, 37>},
    {"resample: 8 bits, x0.37, area", resample<kGray, 37>},
    {"rotate: 8 bits, nearest", rotate<kGray, 0>},
    {"rotate: 24 bits, nearest", rotate<k24, 0>},
    {"rotate: 8 bits, linear", rotate<kGray, ROTATEFLAG_RESAMPLE>},
    {"rotate: 24 bits, linear", rotate<k24, ROTATEFLAG_RESAMPLE>},
    {"rotate: 32 bits, cubic", rotate<k32, ROTATEFLAG_BICUBIC>},
    {"rotate: 48 bits, linear", rotate<k48, ROTATEFLAG_RESAMPLE>},
    {"warp: perspective, 24 bits, nearest", warp<k24, WARP_NEAREST>},
    {"warp: perspective, 8 bits, linear", warp<kGray, WARP_LINEAR>},
    {"view: reversed, 1 bit", reverse<k1>},
    {"view: reversed, 4 bits", reverse<k4>},
    {"view: reversed, 8 bits", reverse<kGray>},
    {"view: reversed, 24 bits", reverse<k24>},
    {"view: reversed, 48 bits", reverse<k48>},
    {"view: quarter turn, 1 bit", quarter<k1>},
    {"view: quarter turn, 8 bits", quarter<kGray>},
    {"view: quarter turn, 16 bits", quarter<k16>},
    {"view: quarter turn, 24 bits", quarter<k24>},
    {"view: quarter turn, 32 bits", quarter<k32>},
    {"window: 16 bits, linear", window<k16, WINDOW_LINEAR>},
    {"yuv: 24 bits to I420", to_yuv<kPlanar>},
    {"yuv: 24 bits to NV12", to_yuv<kHalf>},
    {"yuv: 24 bits to YUY2", to_yuv<kPacked>},
    {"yuv: I420 to 24 bits", from_yuv<kPlanar>},
    {"yuv: I444 to 24 bits", from_yuv<kFull>},
    {"yuv: YUY2 to 24 bits", from_yuv<kPacked>},
    {"runs: compressed", compress},
    {"runs: expanded", expand},
};

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        for (const Operation& operation : kOperations)
            std::printf("%s\t%.0f\n", operation.name, operation.pixels);
        return 0;
    }
    vk::simd::limit_level(static_cast<vk::simd::Level>(std::atoi(argv[2])));
    for (const Operation& operation : kOperations)
        if (std::strcmp(operation.name, argv[1]) == 0) {
            operation.run();
            return 0;
        }
    fail("no such operation");
}
