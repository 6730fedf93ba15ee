// Whole bitmaps resized: into another bitmap and in place of one, in every kind of storage, against the rules written
// out pixel by pixel.
#include "kernel/bitmap/Overlay.h"
#include "kernel/resize/AlphaBleed.h"
#include "kernel/resize/FavorBlack.h"
#include "tests/support/FaultLoop.h"
#include "tests/support/TestBitmap.h"
#include "tests/support/TestRandom.h"

#include "Vkbitmap.h"
#include "Vkresize.h"

#include <cmath>

using namespace vk::testing;

namespace {

using Bytes = std::vector<uint8_t>;

/// Pixels of a picture, rows as they are stored.
struct Pixels {
    int32_t width, height;
    std::vector<uint64_t> values;

    Pixels(int32_t w, int32_t h) : width(w), height(h), values(static_cast<size_t>(w) * static_cast<size_t>(h)) {}
    uint64_t& at(int32_t x, int32_t y)
    {
        return values[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)];
    }
    bool operator==(const Pixels&) const = default;
};

Pixels read(TestBitmap& bitmap)
{
    const Bytes all = bitmap.pixels();
    Pixels pixels(bitmap->Width, bitmap->Height);
    for (int32_t y = 0; y < pixels.height; ++y)
        for (int32_t x = 0; x < pixels.width; ++x)
            pixels.at(x, y) =
                get_pixel(all.data() + static_cast<size_t>(y) * bitmap->BytesPerLine, bitmap->BitsPerPixel, x);
    return pixels;
}

void write(TestBitmap& bitmap, Pixels& pixels)
{
    Bytes row(bitmap->BytesPerLine);
    ASSERT_EQ(SUCCESS, V_AccessBitmap(bitmap.get()));
    for (int32_t y = 0; y < pixels.height; ++y) {
        for (int32_t x = 0; x < pixels.width; ++x)
            set_pixel(row.data(), bitmap->BitsPerPixel, x, pixels.at(x, y));
        ASSERT_EQ(static_cast<intptr_t>(row.size()), V_PutBitmapRow(bitmap.get(), row.data(), y, row.size()));
    }
    ASSERT_EQ(SUCCESS, V_ReleaseBitmap(bitmap.get()));
}

/// Random pixels in runs, so that compressed rows have some length.
Pixels random_pixels(TestRandom& random, int32_t width, int32_t height, int32_t bits)
{
    Pixels pixels(width, height);
    uint64_t value = 0;
    for (uint64_t& pixel : pixels.values)
        pixel = value = random.one_in(3) ? random.next() >> (64 - bits) : value;
    return pixels;
}

Pixels nearest(Pixels from, int32_t width, int32_t height, bool reversed = false)
{
    Pixels made(width, height);
    for (int32_t y = 0; y < height; ++y)
        for (int32_t x = 0; x < width; ++x)
            made.at(x, reversed ? height - 1 - y : y) =
                from.at(static_cast<int32_t>(int64_t{x} * from.width / width),
                        static_cast<int32_t>(int64_t{y} * from.height / height));
    return made;
}

/// A bitmap of a kind with these pixels.
void make(TestBitmap& bitmap, Kind kind, Pixels& pixels, int32_t bits)
{
    ASSERT_NO_FATAL_FAILURE(bitmap.make(kind, pixels.width, pixels.height, bits));
    ASSERT_NO_FATAL_FAILURE(write(bitmap, pixels));
}

constexpr struct {
    int32_t from_w, from_h, to_w, to_h;
} kSizes[] = {{37, 9, 37, 18}, {37, 9, 74, 18}, {3, 2, 2, 3},     {150, 13, 56, 5},
              {64, 5, 1, 1},   {1, 1, 33, 3},   {100, 11, 150, 4}};

TEST(Resize, NearestInEveryStorage)
{
    TestRandom random(320);
    SCOPED_TRACE(random);
    int round = 0;
    for (const int32_t bits : kDepths)
        for (const Kind kind : kKinds)
            for (const int step : {0, 1, 2}) {
                const auto& size = kSizes[static_cast<size_t>(round + step) % std::size(kSizes)];
                const Kind to_kind = kKinds[static_cast<size_t>(++round) % std::size(kKinds)];
                if (!can_make(kind, bits) || !can_make(to_kind, bits))
                    continue;
                SCOPED_TRACE(std::to_string(bits) + " bits, " + name_of(kind) + " to " + name_of(to_kind));
                Pixels pixels = random_pixels(random, size.from_w, size.from_h, bits);
                TestBitmap from;
                TestBitmap to;
                ASSERT_NO_FATAL_FAILURE(make(from, kind, pixels, bits));
                ASSERT_NO_FATAL_FAILURE(to.make(to_kind, size.to_w, size.to_h, bits));
                from->ViewPerspective = round % 3 == 1 ? BOTTOM_LEFT : TOP_LEFT;
                to->ViewPerspective = round % 3 == 2 ? BOTTOM_LEFT : TOP_LEFT;
                const bool reversed = from->ViewPerspective != to->ViewPerspective;
                const auto resize = round % 2 ? V_ResizeBitmap : V_IntResizeBitmap;
                ASSERT_EQ(SUCCESS, resize(from.get(), to.get(), bits == 1 ? 0 : SIZEFLAG_FAVORBLACK));
                ASSERT_EQ(nearest(pixels, size.to_w, size.to_h, reversed), read(to));
                EXPECT_EQ(pixels, read(from));
                // In place of the source, in storage of its kind, under a lock of the caller's.
                const bool is_locked = random.one_in(2);
                ASSERT_TRUE(!is_locked || V_AccessBitmap(from.get()) == SUCCESS);
                ASSERT_EQ(SUCCESS, V_SizeBitmap(from.get(), size.to_w, size.to_h, SIZEFLAG_NORMAL));
                ASSERT_TRUE(!is_locked || V_ReleaseBitmap(from.get()) == SUCCESS);
                ASSERT_EQ(nearest(pixels, size.to_w, size.to_h), read(from));
                EXPECT_EQ(kind == Kind::compressed, V_BitmapIsCompressed(from.get()) != 0);
                EXPECT_EQ(kind == Kind::disk, V_BitmapIsDiskMemory(from.get()) != 0);
            }
}

TEST(Resize, BigDestinationsAreStreamed)
{
    TestRandom random(321);
    for (const auto& [bits, width, height] : {std::array{1, 40001, 3400}, {8, 5003, 3400}, {24, 2501, 2300}}) {
        Pixels pixels = random_pixels(random, 301, 17, bits);
        TestBitmap from;
        TestBitmap to;
        ASSERT_NO_FATAL_FAILURE(make(from, Kind::conv, pixels, bits));
        ASSERT_EQ(SUCCESS, to.create(TYPE_CONV, width, height, bits, COLORORDER_BGR));
        ASSERT_LE(size_t{16} << 20, to.bytes());
        from->ViewPerspective = TOP_LEFT;
        for (const bool reversed : {false, true}) {
            to->ViewPerspective = reversed ? BOTTOM_LEFT : TOP_LEFT;
            std::memset(to->Data, 0xA5, to.bytes());
            ASSERT_EQ(SUCCESS, V_IntResizeBitmap(from.get(), to.get(), 0));
            for (int32_t y = 0; y < height; y += y < 5 || y > height - 8 ? 1 : 97)
                for (int32_t x = 0; x < width; x += 1 + y % 5)
                    ASSERT_EQ(
                        pixels.at(static_cast<int32_t>(int64_t{x} * 301 / width),
                                  static_cast<int32_t>(int64_t{y} * 17 / height)),
                        get_pixel(to->Data + static_cast<size_t>(reversed ? height - 1 - y : y) * to->BytesPerLine,
                                  bits, x))
                        << x << ", " << y;
        }
    }
}

TEST(Resize, BlackThreshold)
{
    for (int64_t n = 1; n < 3000; ++n) {
        const auto root = static_cast<int64_t>(std::sqrt(static_cast<double>(n)));
        const int64_t expected = n < 4 || root <= 2 ? 1 : root <= 4 ? root - 1 : root;
        ASSERT_EQ(expected, vk::black_threshold(n)) << n;
    }
    EXPECT_EQ(46340, vk::black_threshold(INT32_MAX));
}

/// Blocks counted pixel by pixel in displayed rows.
Pixels favored(Pixels from, int32_t width, int32_t height, bool from_flipped, bool to_flipped, uint64_t black)
{
    Pixels made(width, height);
    const int32_t bx = std::max(1, from.width / width);
    const int32_t by = std::max(1, from.height / height);
    for (int32_t y = 0; y < height; ++y)
        for (int32_t x = 0; x < width; ++x) {
            int64_t count = 0;
            for (int32_t v = 0; v < by; ++v)
                for (int32_t u = 0; u < bx; ++u) {
                    const auto row = static_cast<int32_t>(int64_t{y} * from.height / height) + v;
                    count += from.at(static_cast<int32_t>(int64_t{x} * from.width / width) + u,
                                     from_flipped ? from.height - 1 - row : row) == black;
                }
            const bool is_black = count >= vk::black_threshold(int64_t{bx} * by);
            made.at(x, to_flipped ? height - 1 - y : y) = is_black ? black : 1 - black;
        }
    return made;
}

TEST(Resize, FavorBlackCountsBlocks)
{
    TestRandom random(322);
    SCOPED_TRACE(random);
    int round = 0;
    for (const auto& [w, h, to_w, to_h] : {std::array{64, 12, 32, 6},
                                           {131, 30, 40, 7},
                                           {700, 9, 5, 2},
                                           {130, 8, 1, 1},
                                           {50, 9, 73, 20},
                                           {90, 40, 11, 80}})
        for (const Kind kind : kKinds)
            for (const uint64_t black : {0, 1}) {
                Pixels pixels = random_pixels(random, w, h, 1);
                const bool from_flipped = ++round % 2 != 0;
                const bool to_flipped = round % 3 == 0;
                TestBitmap from;
                TestBitmap to;
                ASSERT_NO_FATAL_FAILURE(make(from, kind, pixels, 1));
                ASSERT_NO_FATAL_FAILURE(to.make(kKinds[static_cast<size_t>(round) % std::size(kKinds)], to_w, to_h, 1));
                const RGBQUAD palette[] = {{0, 0, 0, 0}, {255, 255, 255, 0}, {0, 0, 0, 0}};
                ASSERT_EQ(SUCCESS, V_SetBitmapNewPalette(from.get(), palette + black, 2));
                from->ViewPerspective = from_flipped ? BOTTOM_LEFT : TOP_LEFT;
                to->ViewPerspective = to_flipped ? BOTTOM_LEFT : TOP_LEFT;
                ASSERT_EQ(SUCCESS, V_ResizeBitmap(from.get(), to.get(), SIZEFLAG_FAVORBLACK | SIZEFLAG_RESAMPLE));
                ASSERT_EQ(favored(pixels, to_w, to_h, from_flipped, to_flipped, black), read(to))
                    << w << " to " << to_w;
                ASSERT_EQ(SUCCESS, V_SizeBitmap(from.get(), to_w, to_h, SIZEFLAG_FAVORBLACK | SIZEFLAG_RESAMPLE));
                ASSERT_EQ(favored(pixels, to_w, to_h, from_flipped, from_flipped, black), read(from));
            }
    // A palette that is no gray ramp has no black to favour.
    Pixels pixels = random_pixels(random, 40, 6, 1);
    TestBitmap colored;
    ASSERT_NO_FATAL_FAILURE(make(colored, Kind::conv, pixels, 1));
    const RGBQUAD palette[] = {{0, 0, 255, 0}, {255, 255, 255, 0}};
    ASSERT_EQ(SUCCESS, V_SetBitmapNewPalette(colored.get(), palette, 2));
    ASSERT_EQ(SUCCESS, V_SizeBitmap(colored.get(), 13, 3, SIZEFLAG_FAVORBLACK));
    EXPECT_EQ(nearest(pixels, 13, 3), read(colored));
}

/// Bleeds a line of pixels, `at(i)` being the i-th, by the words of the rule.
template <class At> void bleed_line(At at, int32_t count, uint64_t most, int32_t shift)
{
    const auto alpha = [&](int32_t i) { return at(i) >> 3 * shift & most; };
    const uint64_t half = (most + 1) / 2;
    const auto blend = [&](int32_t i, int32_t with) {
        uint64_t made = alpha(i) << 3 * shift;
        for (int32_t c = 0; c < 3; ++c) {
            const uint64_t own = at(i) >> c * shift & most;
            const uint64_t other = at(with) >> c * shift & most;
            made |= ((most - alpha(with)) * own + alpha(with) * other) >> shift << c * shift;
        }
        at(i) = made;
    };
    for (int32_t i = 0; i < count;) {
        const bool has_left = i > 0;
        const bool has_right = i + 1 < count;
        if (alpha(i) >= half) {
            ++i;
        } else if (has_right && alpha(i + 1) > half - 1) {
            blend(i, i + 1);
            if (has_left && alpha(i - 1) < half)
                blend(i - 1, i + 1);
            i += 2;
        } else if (has_left && alpha(i - 1) > half - 1) {
            blend(i, i - 1);
            if (has_right && alpha(i + 1) < half)
                blend(i + 1, i - 1);
            i += 2;
        } else {
            ++i;
        }
    }
}

TEST(Resize, AlphaAwareBleedsIntoInvisiblePixels)
{
    TestRandom random(323);
    SCOPED_TRACE(random);
    for (const int32_t bits : {32, 64})
        for (const Kind kind : {Kind::conv, Kind::disk, Kind::tiled_mixed})
            for (const bool is_clear : {true, false})
                for (const auto& [to_w, to_h] : {std::pair{46, 18}, {46, 5}, {11, 18}, {11, 5}, {23, 18}}) {
                    const int32_t shift = bits / 4;
                    const uint64_t most = (uint64_t{1} << shift) - 1;
                    Pixels pixels = random_pixels(random, 23, 9, bits);
                    for (uint64_t& pixel : pixels.values) {
                        const uint64_t kAlphas[] = {is_clear ? 1u : 2u, most / 2, most / 2 + 1, most};
                        pixel = (pixel & ~(most << 3 * shift)) | kAlphas[random.below(4)] << 3 * shift;
                    }
                    Pixels bled = pixels;
                    for (int32_t y = 0; y < 9 && is_clear && to_w >= 23; ++y)
                        bleed_line([&](int32_t i) -> uint64_t& { return bled.at(i, y); }, 23, most, shift);
                    for (int32_t x = 0; x < 23 && is_clear && to_h >= 9; ++x)
                        bleed_line([&](int32_t i) -> uint64_t& { return bled.at(x, i); }, 9, most, shift);
                    EXPECT_EQ(is_clear && (to_w >= 23 || to_h >= 9), bled != pixels);
                    TestBitmap bitmap;
                    ASSERT_NO_FATAL_FAILURE(make(bitmap, kind, pixels, bits));
                    ASSERT_EQ(SUCCESS, V_SizeBitmap(bitmap.get(), to_w, to_h, SIZEFLAG_ALPHAAWARE));
                    ASSERT_EQ(nearest(bled, to_w, to_h), read(bitmap)) << bits << " bits, " << name_of(kind);
                }
}

/// The status callback: what it was told, and after how many calls it refuses.
struct Watch {
    std::vector<int> told;
    size_t limit;

    explicit Watch(size_t most = SIZE_MAX) : limit(most) { V_SetStatusCallback(tell, this, nullptr, nullptr); }
    ~Watch() { V_SetStatusCallback(nullptr, nullptr, nullptr, nullptr); }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    static int tell(int percent, void* self)
    {
        auto& watch = *static_cast<Watch*>(self);
        watch.told.push_back(percent);
        return watch.told.size() > watch.limit ? -4711 : SUCCESS;
    }
};

TEST(Resize, ReportsProgressAndStops)
{
    TestRandom random(324);
    for (const uint32_t flags : {SIZEFLAG_NORMAL, SIZEFLAG_FAVORBLACK})
        for (const auto& [height, steps] : {std::pair{250, size_t{101}}, {7, size_t{8}}})
            for (size_t limit = 0; limit <= steps; limit += 1 + limit / 3) {
                Pixels pixels = random_pixels(random, 9, 31, 1);
                TestBitmap bitmap;
                ASSERT_NO_FATAL_FAILURE(make(bitmap, Kind::conv, pixels, 1));
                const Bytes image = bitmap.image();
                Watch watch(limit);
                const int result = V_SizeBitmap(bitmap.get(), 5, height, flags);
                EXPECT_EQ(limit < steps ? -4711 : SUCCESS, result);
                EXPECT_EQ(std::min(limit + 1, steps), watch.told.size());
                for (size_t i = 0; i < watch.told.size(); ++i)
                    EXPECT_EQ(static_cast<int>(height >= 100 ? i : i * 100 / 7), watch.told[i]);
                EXPECT_TRUE(result == SUCCESS || (image == bitmap.image() && pixels == read(bitmap)));
            }
}

struct Region {
    int result = SUCCESS;
    int calls = 0;
    int32_t width = 0, height = 0;
    BITMAPHANDLE* bitmap = nullptr;

    Region()
    {
        REGIONHOOKS hooks{};
        hooks.StructSize = sizeof hooks;
        hooks.UserData = this;
        hooks.ScaleRegion = [](BITMAPHANDLE* scaled, int32_t w, int32_t h, void* self) {
            *static_cast<Region*>(self) = {static_cast<Region*>(self)->result, static_cast<Region*>(self)->calls + 1, w,
                                           h, scaled};
            return static_cast<Region*>(self)->result;
        };
        V_SetRegionHooks(&hooks);
    }
    Region(int r, int c, int32_t w, int32_t h, BITMAPHANDLE* b) : result(r), calls(c), width(w), height(h), bitmap(b) {}
    void stop() { V_SetRegionHooks(nullptr); }
};

TEST(Resize, RegionAndOverlaysFollow)
{
    TestRandom random(325);
    for (const int hook : {SUCCESS, -77}) {
        Region region;
        region.result = hook;
        Pixels pixels = random_pixels(random, 9, 9, 8);
        TestBitmap from;
        TestBitmap to;
        ASSERT_NO_FATAL_FAILURE(make(from, Kind::conv, pixels, 8));
        ASSERT_EQ(SUCCESS, to.create(TYPE_CONV, 5, 4, 8));
        for (TestBitmap* bitmap : {&from, &to}) {
            BITMAPHANDLE* const slots = vk::require_overlays(*bitmap->get())->bitmaps;
            const int slot = bitmap == &from ? 3 : 6;
            ASSERT_EQ(SUCCESS, V_CreateBitmap(slots + slot, BITMAPHANDLE_SIZE, TYPE_CONV, 7, 3, 1, 0, nullptr, TOP_LEFT,
                                              nullptr, 0));
            slots[slot].Data[0] = static_cast<uint8_t>(slot);
        }
        from->RgnInfo = &pixels;
        from->Transparency = 0x01000007;
        const auto slots_of = [](TestBitmap& bitmap) {
            return static_cast<vk::OverlayTable*>(bitmap->Overlays)->bitmaps;
        };
        EXPECT_EQ(SUCCESS, V_ResizeBitmap(from.get(), to.get(), 0)); // no region of its own
        EXPECT_EQ(0, region.calls);
        EXPECT_EQ(3, slots_of(to)[3].Data[0]);
        EXPECT_EQ(6, slots_of(to)[6].Data[0]);
        slots_of(to)[3].Data[0] = 9;
        to->RgnInfo = &region;
        EXPECT_EQ(hook, V_ResizeBitmap(from.get(), to.get(), 0));
        EXPECT_EQ(1, region.calls);
        EXPECT_EQ(to.get(), region.bitmap);
        EXPECT_EQ(4, region.height);
        EXPECT_EQ(hook == SUCCESS ? 3 : 9, slots_of(to)[3].Data[0]);

        const Bytes image = from.image();
        EXPECT_EQ(hook, V_SizeBitmap(from.get(), 21, 12, 0));
        EXPECT_EQ(2, region.calls);
        EXPECT_EQ(21, region.width);
        EXPECT_EQ(hook != SUCCESS, image == from.image());
        EXPECT_TRUE(from->RgnInfo == &pixels);
        EXPECT_EQ(3, slots_of(from)[3].Data[0]);
        EXPECT_EQ(0x01000007u, from->Transparency);
        EXPECT_EQ(hook, V_ResampleBitmap(from.get(), 8, 31));
        EXPECT_EQ(3, region.calls);
        EXPECT_EQ(31, region.height);
        region.stop();
        from->RgnInfo = nullptr;
        to->RgnInfo = nullptr;
    }
}

TEST(Resize, BringsDepthsTogether)
{
    TestRandom random(326);
    SCOPED_TRACE(random);
    for (const int32_t from_bits : {1, 4, 8, 16, 24, 32, 48})
        for (const int32_t to_bits : kDepths) {
            if (from_bits == to_bits)
                continue;
            SCOPED_TRACE(std::to_string(from_bits) + " to " + std::to_string(to_bits));
            Pixels pixels = random_pixels(random, 31, 11, from_bits);
            TestBitmap from;
            TestBitmap to;
            TestBitmap converted;
            ASSERT_NO_FATAL_FAILURE(make(from, Kind::conv, pixels, from_bits));
            ASSERT_NO_FATAL_FAILURE(to.make(Kind::conv, 40, 7, to_bits));
            std::vector<RGBQUAD> palette(to_bits <= 8 ? size_t{1} << to_bits : 0);
            for (RGBQUAD& entry : palette)
                random.fill(&entry, 3);
            const auto count = static_cast<uint32_t>(palette.size());
            const bool is_gray = vk::is_gray_only(to_bits);
            if (to_bits > 8 && !is_gray)
                to->Order = COLORORDER_RGB;
            else if (to_bits <= 8) {
                ASSERT_EQ(SUCCESS, V_SetBitmapNewPalette(to.get(), palette.data(), count));
            }
            const uint32_t order = is_gray ? COLORRES_ORDER_GRAY : to_bits > 8 ? COLORRES_ORDER_RGB : 0;
            ASSERT_EQ(SUCCESS, V_ColorResBitmap(from.get(), converted.get(), BITMAPHANDLE_SIZE, to_bits, order,
                                                count ? palette.data() : nullptr, nullptr, count));
            ASSERT_EQ(SUCCESS, V_ResizeBitmap(from.get(), to.get(), 0));
            Pixels expected = read(converted);
            ASSERT_EQ(nearest(expected, 40, 7), read(to));
            EXPECT_EQ(pixels, read(from));
        }
}

TEST(Resize, EveryFailureLeavesTheSource)
{
    constexpr uint32_t kFlags[] = {SIZEFLAG_NORMAL, SIZEFLAG_FAVORBLACK, SIZEFLAG_ALPHAAWARE};
    uint32_t round = 0;
    for (const uint32_t memory : {TYPE_CONV, TYPE_DISK, TYPE_TILED, TYPE_COMPRESSED})
        for (const uint32_t flags : kFlags)
            for (const bool into : {false, true}) {
                if ((++round + memory) % 3 != 0 && memory != TYPE_CONV)
                    continue;
                const int32_t bits = flags == SIZEFLAG_ALPHAAWARE ? 32 : 1;
                SCOPED_TRACE("memory " + std::to_string(memory) + ", flags " + std::to_string(flags));
                const Thresholds restore;
                Thresholds::tiles(64, 1, 1);
                for_each_fault([&] {
                    TestBitmap from;
                    TestBitmap to;
                    if (from.create(memory, 21, 6, bits) != SUCCESS ||
                        (into && to.create(memory, 40, 9, 24) != SUCCESS))
                        return;
                    const Bytes image = from.image();
                    const int result =
                        into ? V_ResizeBitmap(from.get(), to.get(), flags) : V_SizeBitmap(from.get(), 40, 9, flags);
                    const bool is_whole = result == SUCCESS && !into;
                    EXPECT_EQ(is_whole ? 40 : 21, from->Width);
                    EXPECT_TRUE(is_whole || image == from.image()) << result;
                });
            }
}

TEST(Resize, ArgumentsInTheirOrder)
{
    TestBitmap none;
    TestBitmap bitmap;
    TestBitmap other;
    ASSERT_EQ(SUCCESS, V_InitBitmap(none.get(), BITMAPHANDLE_SIZE, 5, 5, 8));
    ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 5, 5, 8));
    ASSERT_EQ(SUCCESS, other.create(TYPE_CONV, 9, 9, 24));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_SizeBitmap(nullptr, 9, 9, 0));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_SizeBitmap(none.get(), 9, 9, 0));
    for (const auto& [w, h] : {std::pair{0, 9}, {9, 0}, {-5, 9}, {9, INT32_MIN}})
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_SizeBitmap(bitmap.get(), w, h, 0));
    EXPECT_EQ(ERROR_INVALID_WIDTH_HEIGHT, V_SizeBitmap(other.get(), INT32_MAX, 1, 0));
    const Bytes image = bitmap.image();
    EXPECT_EQ(SUCCESS, V_SizeBitmap(bitmap.get(), 5, 5, SIZEFLAG_SCALETOGRAY | SIZEFLAG_RESAMPLE));
    EXPECT_EQ(image, bitmap.image());
    for (const auto resize : {V_ResizeBitmap, V_IntResizeBitmap}) {
        EXPECT_EQ(ERROR_INVALID_PARAMETER, resize(nullptr, bitmap.get(), 0));
        EXPECT_EQ(ERROR_INVALID_PARAMETER, resize(bitmap.get(), nullptr, 0));
        EXPECT_EQ(ERROR_INVALID_IMAGE, resize(bitmap.get(), none.get(), 0));
        EXPECT_EQ(ERROR_INVALID_IMAGE, resize(none.get(), bitmap.get(), 0));
        EXPECT_EQ(SUCCESS, resize(bitmap.get(), bitmap.get(), 0));
        other->BytesPerLine = 8;
        EXPECT_EQ(ERROR_INVALID_WIDTH_HEIGHT, resize(other.get(), bitmap.get(), 0));
        EXPECT_EQ(ERROR_INVALID_WIDTH_HEIGHT, V_SizeBitmap(other.get(), 3, 3, 0));
        other->BytesPerLine = 28;
        for (TestBitmap* bad : {&bitmap, &other}) {
            bad->get()->StructSize = 12;
            EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, resize(bitmap.get(), other.get(), 0));
            EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_SizeBitmap(bad->get(), 3, 3, 0));
            bad->get()->StructSize = BITMAPHANDLE_SIZE;
        }
    }
    BITMAPHANDLE cleared{};
    for (BITMAPHANDLE* const sound : {bitmap.get(), none.get()}) { // null, then the sizes, then storage
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_ResizeBitmap(&cleared, nullptr, 0));
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_ResizeBitmap(nullptr, &cleared, 0));
        EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_ResizeBitmap(sound, &cleared, 0));
        EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_ResizeBitmap(&cleared, sound, 0));
    }
    EXPECT_EQ(ERROR_INVALID_BITS_PER_PIXEL, V_IntResizeBitmap(bitmap.get(), other.get(), 0));
    bitmap->BitsPerPixel = 10;
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_ResizeBitmap(other.get(), bitmap.get(), 0));
    bitmap->BitsPerPixel = 8;
}

} // namespace
