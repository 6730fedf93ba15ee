// Rotation by the nearest pixel: where pixels come from, at every depth, in every perspective and storage, and what
// stays when it fails. RotateFilter_test.cpp has the interpolated forms.
#include "Vkkrnx.h"
#include "kernel/rotate/Angle.h"
#include "kernel/rotate/Geometry.h"
#include "kernel/sampling/Loops.h"
#include "tests/rotate/RotateSupport.h"
#include "tests/support/FaultLoop.h"
#include "tests/support/Levels.h"

#include <string>

using namespace vk;
using namespace vk::testing;

namespace {

constexpr COLORREF kFirstEntry = 0x01000001u;
constexpr int32_t kAngles[] = {730, -4500, 9000, 18000, -9000, 12345, 31, 35999, -2999};

/// A status callback that counts its calls and refuses from one on.
struct Listener {
    explicit Listener(int refuses = 1000) : refused(refuses)
    {
        V_SetStatusCallback(
            [](int percent, void* self) {
                auto& listener = *static_cast<Listener*>(self);
                listener.heard.push_back(percent);
                return static_cast<int>(listener.heard.size()) > listener.refused ? ERROR_USER_ABORT : SUCCESS;
            },
            this, nullptr, nullptr);
    }
    ~Listener() { V_SetStatusCallback(nullptr, nullptr, nullptr, nullptr); }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    int refused;
    std::vector<int> heard;
};

/// Turns the bitmap and compares with the reference. The fill is index 1, or black with alpha 0.
void turn_and_compare(TestBitmap& bitmap, int32_t angle, uint32_t flags)
{
    SCOPED_TRACE("angle " + std::to_string(angle) + ", flags " + std::to_string(flags) + ", perspective " +
                 std::to_string(bitmap->ViewPerspective) + ", bits " + std::to_string(bitmap->BitsPerPixel));
    const Shown image = shown(bitmap);
    const int32_t width = bitmap->Width;
    const int32_t height = bitmap->Height;
    const int32_t before = bitmap->ViewPerspective;
    ASSERT_EQ(SUCCESS, V_RotateBitmap(bitmap, angle, flags, kFirstEntry));
    const bool is_bottom_up = before == 2 || before == 4 || before == 5 || before == 7;
    ASSERT_EQ(is_bottom_up ? BOTTOM_LEFT : TOP_LEFT, bitmap->ViewPerspective);
    const Shown canvas = shown(bitmap);
    const ReferenceTurn turn(image, canvas, angle, flags, is_bottom_up);
    if (flags & 9) {
        const auto extent = [](long double a, long double b) {
            return static_cast<int32_t>(std::fabs(a) + std::fabs(b) + 0.6L + 1e-12L);
        };
        EXPECT_EQ(extent(image.width * turn.cosine, image.height * turn.sine), bitmap->Width);
        EXPECT_EQ(extent(image.width * turn.sine, image.height * turn.cosine), bitmap->Height);
    } else {
        EXPECT_EQ(width, bitmap->Width);
        EXPECT_EQ(height, bitmap->Height);
    }
    expect_nearest(image, canvas, turn, bitmap->BitsPerPixel <= 8 ? 1 : 0);
    // What rows have left over stays clear.
    const std::vector<uint8_t> pixels = bitmap.pixels();
    const auto bits = static_cast<size_t>(bitmap->Width) * static_cast<size_t>(bitmap->BitsPerPixel);
    for (size_t row = 0; row < static_cast<size_t>(bitmap->Height); ++row)
        for (size_t bit = bits; bit < size_t{bitmap->BytesPerLine} * 8 && bitmap->BitsPerPixel < 8; ++bit)
            ASSERT_EQ(0, pixels[row * bitmap->BytesPerLine + bit / 8] >> (7 - bit % 8) & 1) << "spare bits";
}

} // namespace

TEST(Rotate, Sines)
{
    constexpr long double kPi = 3.14159265358979323846264338327950288L;
    for (int32_t angle = 0; angle <= 36000; ++angle) {
        ASSERT_EQ(std::lround(16384 * std::sin(angle * kPi / 18000)), V_SinValue(angle)) << angle;
        ASSERT_EQ(std::lround(16384 * std::cos(angle * kPi / 18000)), V_CosValue(angle)) << angle;
        const Direction direction = direction_of(angle % 36000);
        ASSERT_NEAR(static_cast<double>(std::sin(angle * kPi / 18000)), direction.sine, 2e-16);
        ASSERT_NEAR(static_cast<double>(std::cos(angle * kPi / 18000)), direction.cosine, 2e-16);
        ASSERT_TRUE(angle % 9000 != 0 || direction.sine * direction.cosine == 0);
    }
}

TEST(Rotate, TakesTheNearestPixel)
{
    TestRandom random(301);
    SCOPED_TRACE(random);
    for (const int32_t bits : kDepths)
        for (int32_t perspective = 1; perspective <= 8; ++perspective)
            for (const int32_t angle : kAngles)
                for (const uint32_t flags : {0u, 1u, 8u}) {
                    TestBitmap bitmap;
                    ASSERT_NO_FATAL_FAILURE(
                        bitmap.make(Kind::conv, random.between(1, 40), random.between(1, 30), bits));
                    bitmap->ViewPerspective = perspective;
                    fill_rows(bitmap, random);
                    ASSERT_NO_FATAL_FAILURE(turn_and_compare(bitmap, angle, flags));
                    ASSERT_FALSE(HasFailure());
                }
}

// A row and a column more than the middle has: all centres fall on edges, and the pixel before takes them.
TEST(Rotate, EdgesBelongToThePixelBefore)
{
    TestBitmap bitmap;
    ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 3, 2, 8));
    const uint8_t rows[] = {1, 2, 3, 0, 4, 5, 6, 0};
    std::memcpy(bitmap->Data, rows, sizeof rows);
    ASSERT_EQ(SUCCESS, V_RotateBitmap(bitmap, 9000, 0, 0x01000009u));
    const std::vector<uint8_t> wanted = {4, 1, 9, 0, 5, 2, 9, 0};
    EXPECT_EQ(wanted, bitmap.pixels());
}

TEST(Rotate, EveryStorageGivesTheSame)
{
    TestRandom random(302);
    SCOPED_TRACE(random);
    for (const int32_t bits : {1, 4, 12, 24, 64})
        for (const Kind kind : kKinds)
            for (const uint32_t flags : {0u, 1u, 2u, 5u}) {
                if (!can_make(kind, bits))
                    continue;
                SCOPED_TRACE(std::string(name_of(kind)) + ", bits " + std::to_string(bits));
                TestBitmap wanted;
                TestBitmap bitmap(flags == 1 ? BITMAPHANDLE_SIZE_EARLIER : BITMAPHANDLE_SIZE);
                ASSERT_NO_FATAL_FAILURE(wanted.make(Kind::conv, 61, 47, bits));
                ASSERT_NO_FATAL_FAILURE(bitmap.make(kind, 61, 47, bits));
                fill_rows(wanted, random);
                ASSERT_EQ(SUCCESS, V_CopyBitmapData(bitmap, wanted));
                ASSERT_EQ(SUCCESS, V_RotateBitmap(wanted, 1730, flags, 0x00405060u));
                ASSERT_EQ(SUCCESS, V_RotateBitmap(bitmap, 1730, flags, 0x00405060u));
                EXPECT_EQ(wanted.pixels(), bitmap.pixels());
                EXPECT_FALSE(V_BitmapIsCompressed(bitmap));
                EXPECT_EQ(kind == Kind::disk, V_BitmapIsDiskMemory(bitmap) != 0);
            }
}

// More than a box of either bitmap, so that parts of rows are moved.
TEST(Rotate, LargeOnesPassThroughBoxes)
{
    TestRandom random(303);
    SCOPED_TRACE(random);
    for (const int32_t bits : {1, 6, 32})
        for (const int32_t angle : {730, 13000}) {
            TestBitmap conv;
            TestBitmap disk;
            TestBitmap tiled;
            ASSERT_NO_FATAL_FAILURE(conv.make(Kind::conv, 1101, 530, bits));
            ASSERT_NO_FATAL_FAILURE(disk.make(Kind::disk, 1101, 530, bits));
            ASSERT_NO_FATAL_FAILURE(tiled.make(Kind::tiled_mixed, 1101, 530, bits));
            fill_rows(conv, random);
            ASSERT_EQ(SUCCESS, V_CopyBitmapData(disk, conv));
            ASSERT_EQ(SUCCESS, V_CopyBitmapData(tiled, conv));
            ASSERT_EQ(SUCCESS, V_RotateBitmap(disk, angle, 0, kFirstEntry));
            ASSERT_EQ(SUCCESS, V_RotateBitmap(tiled, angle, 0, kFirstEntry));
            ASSERT_NO_FATAL_FAILURE(turn_and_compare(conv, angle, 0));
            EXPECT_TRUE(conv.pixels() == disk.pixels()) << bits << ", angle " << angle;
            EXPECT_TRUE(conv.pixels() == tiled.pixels()) << bits << ", angle " << angle;
            ASSERT_FALSE(HasFailure());
        }
}

TEST(Rotate, FastLoopsEqualPlainOnes)
{
    TestRandom random(304);
    SCOPED_TRACE(random);
    for (const int32_t bits : {1, 4, 8, 16, 24, 32, 48, 64})
        for (int round = 0; round < 60; ++round) {
            const int32_t angle = round % 2 ? random.between(-900, 900) : random.between(-40000, 40000);
            SCOPED_TRACE("bits " + std::to_string(bits) + ", angle " + std::to_string(angle));
            const int32_t width = random.between(1, 600);
            const int32_t height = random.between(1, 80);
            TestBitmap source;
            ASSERT_NO_FATAL_FAILURE(source.make(Kind::conv, width, height, bits));
            fill_rows(source, random);
            std::vector<uint8_t> wanted;
            for (const simd::Level level : kLevels) {
                const AtLevel at(level);
                if (at.reached != level)
                    continue; // the processor has no such loops
                EXPECT_EQ(sampling::taking_sets.at(level) && bits >= 8, sampling::fast_take(bits) != nullptr);
                TestBitmap bitmap;
                ASSERT_NO_FATAL_FAILURE(bitmap.make(Kind::conv, width, height, bits));
                ASSERT_EQ(SUCCESS, V_CopyBitmapData(bitmap, source));
                ASSERT_EQ(SUCCESS, V_RotateBitmap(bitmap, angle, 1, kFirstEntry));
                if (level == simd::Level::plain)
                    wanted = bitmap.pixels();
                ASSERT_TRUE(wanted == bitmap.pixels());
            }
        }
}

TEST(Rotate, FillColors)
{
    constexpr RGBQUAD kEntries[] = {{0, 0, 0, 0}, {10, 20, 200, 0}, {90, 90, 90, 0}, {255, 255, 255, 0}};
    const struct {
        int32_t bits;
        int32_t order;
        COLORREF color;
        uint64_t wanted;
    } cases[] = {
        {2, COLORORDER_RGB, 0x01000002u, 2},
        {2, COLORORDER_RGB, 0x000A14C8u, 1}, // exact
        {2, COLORORDER_RGB, 0x00FFF0F0u, 3}, // nearest
        {2, COLORORDER_RGB, 0x04005000u, 2}, // gray
        {8, COLORORDER_GRAY, 0x00808080u, 0x80},
        {8, COLORORDER_GRAY, 0x04123456u, 0x34},
        {8, COLORORDER_GRAY, 0x01000007u, 7},
        {12, COLORORDER_GRAY, 0x00FFFFFFu, 0xFFF},
        {16, COLORORDER_GRAY, 0x00FFFFFFu, 0x3FC}, // into bits 2 to 9
        {16, COLORORDER_BGR, 0x000000FFu, 0x7C00},
        {16, COLORORDER_RGB565, 0x0000FF00u, 0x07E0},
        {24, COLORORDER_BGR, 0x00010203u, 0x030201},
        {24, COLORORDER_RGB, 0x00010203u, 0x010203},
        {32, COLORORDER_BGR, 0xFF010203u & 0x00FFFFFFu, 0x030201},
        {32, COLORORDER_BGR, 0x01000003u, 0}, // no palette
        {48, COLORORDER_BGR, 0x00010203u, 0x030302020101u},
        {64, COLORORDER_RGB, 0x00010203u, 0x010102020303u},
    };
    for (const auto& test : cases) {
        TestBitmap bitmap;
        ASSERT_EQ(SUCCESS,
                  bitmap.create(TYPE_CONV, 40, 20, test.bits, test.order, test.bits == 2 ? kEntries : nullptr));
        if (test.bits == 16 && test.order == COLORORDER_GRAY) {
            bitmap->LowBit = 2;
            bitmap->HighBit = 9;
        }
        for (const uint32_t flags : {1u, 3u, 5u}) { // a canvas corner is far from the image in every form
            ASSERT_EQ(SUCCESS, V_RotateBitmap(bitmap, 3000, flags, test.color));
            EXPECT_EQ(test.wanted, get_pixel(bitmap.pixels().data(), test.bits, 0))
                << test.bits << " bits, color " << std::hex << test.color << ", flags " << flags;
        }
    }
}

TEST(Rotate, ProgressAndRefusal)
{
    TestRandom random(305);
    for (const int32_t angle : {0, 36000, -36000, 730, 9000, 18000})
        for (const uint32_t flags : {1u, 3u}) {
            TestBitmap bitmap;
            ASSERT_NO_FATAL_FAILURE(bitmap.make(Kind::compressed, 50, 300, 1));
            fill_rows(bitmap, random);
            bitmap->ViewPerspective = angle == 9000 ? 5 : 3;
            const std::vector<uint8_t> record = bitmap.image();
            const std::vector<uint8_t> pixels = bitmap.pixels();
            const bool is_turned = (angle + (angle == 9000 ? 9000 : 18000)) % 36000 != 0;
            for (const int refused : {0, 1}) {
                const Listener listener(refused);
                EXPECT_EQ(ERROR_USER_ABORT, V_IntRotateBitmap(bitmap, angle, flags, 0, 20, 60, 3, 4));
                EXPECT_EQ(record, bitmap.image());
                EXPECT_EQ(pixels, bitmap.pixels());
            }
            Listener listener;
            EXPECT_EQ(SUCCESS, V_IntRotateBitmap(bitmap, angle, flags, 0, 20, 60, 3, 4));
            EXPECT_EQ(20, listener.heard.front());
            EXPECT_EQ(60, listener.heard.back());
            EXPECT_TRUE(std::is_sorted(listener.heard.begin(), listener.heard.end()));
            EXPECT_GE(listener.heard.size(), is_turned ? 3u : 2u);
        }
    TestBitmap bitmap;
    ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 5, 4, 24));
    const std::vector<uint8_t> record = bitmap.image();
    Listener listener;
    EXPECT_EQ(SUCCESS, V_IntRotateBitmap(bitmap, -72000, 0, 0, 7, 7, 0, 0));
    EXPECT_EQ(std::vector<int>{7}, listener.heard);
    EXPECT_EQ(record, bitmap.image());
}

// The image's own parts stay with it, and a given centre moves canvas and image alike.
TEST(Rotate, KeepsWhatIsNotPixels)
{
    TestRandom random(306);
    TestBitmap about_middle;
    TestBitmap about_corner;
    for (TestBitmap* bitmap : {&about_middle, &about_corner}) {
        ASSERT_EQ(SUCCESS, bitmap->create(TYPE_CONV, 33, 21, 8));
        TestRandom same(307);
        fill_rows(*bitmap, same);
        (*bitmap)->XResolution = 300;
        (*bitmap)->YResolution = 200;
        (*bitmap)->Delay = 5;
        ASSERT_EQ(SUCCESS, V_AllocateBitmapExtraData(*bitmap, 16));
    }
    const void* const extra = about_corner->ExtraData;
    const RGBQUAD entry = about_corner->Palette[77];
    ASSERT_EQ(SUCCESS, V_AccessBitmap(about_corner));
    ASSERT_EQ(SUCCESS, V_IntRotateBitmap(about_middle, 1234, 9, 0, 0, 100, 16.5, 10.5));
    ASSERT_EQ(SUCCESS, V_IntRotateBitmap(about_corner, 1234, 8, 0, 0, 100, -1e6, 0.25));
    EXPECT_EQ(1, about_corner->LockCount);
    ASSERT_EQ(SUCCESS, V_ReleaseBitmap(about_corner));
    EXPECT_TRUE(about_middle.pixels() == about_corner.pixels());
    EXPECT_EQ(extra, about_corner->ExtraData);
    EXPECT_EQ(300, about_corner->XResolution);
    EXPECT_EQ(200, about_corner->YResolution);
    EXPECT_EQ(5, about_corner->Delay);
    EXPECT_EQ(0, std::memcmp(&entry, &about_corner->Palette[77], sizeof entry));
}

TEST(Rotate, Arguments)
{
    TestBitmap bitmap;
    EXPECT_EQ(ERROR_INVALID_IMAGE, V_RotateBitmap(nullptr, 0, 0, 0));
    EXPECT_EQ(ERROR_INVALID_IMAGE, V_IntRotateBitmap(nullptr, 0, 0, 0, 0, 100, 0, 0));
    EXPECT_EQ(ERROR_INVALID_IMAGE, V_RotateBitmap(bitmap, 0, 0, 0));
    bitmap->StructSize = 100;
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_RotateBitmap(bitmap, 0, 0, 0));
    EXPECT_EQ(ERROR_INVALID_IMAGE, V_IntRotateBitmap(bitmap, 0, 0, 0, 0, 100, 0, 0));
    bitmap->StructSize = BITMAPHANDLE_SIZE;
    ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 100, 4, 24));
    bitmap->Width = 1000; // rows do not hold it
    EXPECT_EQ(ERROR_INVALID_WIDTH_HEIGHT, V_RotateBitmap(bitmap, 730, 0, 0));
    bitmap->Width = 100;
    for (const int32_t angle : {INT32_MIN, INT32_MAX})
        EXPECT_EQ(SUCCESS, V_RotateBitmap(bitmap, angle, 1, 0));
    rotate::Geometry geometry;
    EXPECT_FALSE(rotate::make_geometry(geometry, INT32_MAX, INT32_MAX, 4500, rotate::Placement::grown));
    EXPECT_TRUE(rotate::make_geometry(geometry, INT32_MAX, INT32_MAX, 4500, rotate::Placement::kept));
}

TEST(RotateFaults, LeaveTheRecordAsItWas)
{
    for (const Kind kind : {Kind::conv, Kind::disk, Kind::tiled_mixed, Kind::compressed})
        for (const uint32_t flags : {1u, 2u}) {
            SCOPED_TRACE(name_of(kind));
            std::vector<uint8_t> before;
            std::vector<uint8_t> after;
            int result = SUCCESS;
            for_each_fault(
                [&] {
                    TestBitmap bitmap;
                    const int32_t bits = kind == Kind::compressed ? 1 : 4;
                    const Thresholds restore;
                    const uint32_t memory = kind == Kind::conv         ? TYPE_CONV
                                            : kind == Kind::disk       ? TYPE_DISK
                                            : kind == Kind::compressed ? TYPE_COMPRESSED
                                                                       : TYPE_TILED;
                    before = after = {};
                    result = bitmap.create(memory, 40, 30, bits);
                    if (result != SUCCESS)
                        return;
                    bitmap->ViewPerspective = 7;
                    before = bitmap.image();
                    result = V_RotateBitmap(bitmap, 730, flags, 0);
                    after = bitmap.image();
                },
                [&](const FaultRound&) {
                    if (result != SUCCESS) {
                        EXPECT_EQ(before, after);
                    }
                });
        }
}
