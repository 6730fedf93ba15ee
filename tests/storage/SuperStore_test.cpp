// Super-compressed storage: random operations beside a plain array, over many bands and through a small cache; what it
// takes; every allocation failing by turns; several readers at once.
#include "kernel/storage/codec/Codec.h"
#include "tests/support/FaultLoop.h"
#include "tests/support/TestBitmap.h"
#include "tests/support/TestRandom.h"
#include "tests/threading/ThreadingSupport.h"

using namespace vk::testing;
namespace fault = vk::fault;

namespace {

/// Rows so wide that few make a band.
struct Size {
    int32_t bits, width, height;
};
constexpr Size kSizes[] = {{1, 40000, 61}, {8, 3000, 90}, {24, 1500, 70}, {8, 20000, 9}, {1, 300, 400}, {24, 77, 33}};

/// What a part of a picture may look like: shades, one byte all over, or noise.
Bytes part(TestRandom& random, size_t count)
{
    Bytes bytes(count);
    const uint64_t look = random.below(3);
    auto now = static_cast<uint8_t>(random.one_in(2) ? 0 : random.next());
    for (uint8_t& byte : bytes)
        byte = look == 0   ? now
               : look == 1 ? now = static_cast<uint8_t>(now + random.below(3))
                           : static_cast<uint8_t>(random.next());
    return bytes;
}

struct Model {
    TestBitmap& bitmap;
    TestRandom& random;
    Bytes bytes = Bytes(bitmap.bytes());

    size_t line() const { return bitmap->BytesPerLine; }
    int32_t any_row() const { return random.between(0, bitmap->Height - 1); }

    void transfer()
    {
        const int32_t row = any_row();
        const int32_t column = random.one_in(2) ? 0 : random.between(0, bitmap->Width - 1);
        const size_t at = static_cast<size_t>(row) * line() +
                          static_cast<size_t>(column) * static_cast<size_t>(bitmap->BitsPerPixel) / 8;
        const size_t left = bytes.size() - at;
        const size_t count = 1 + random.below(random.one_in(3) ? left : std::min(left, line()));
        const auto first = bytes.begin() + static_cast<std::ptrdiff_t>(at);
        if (random.one_in(2)) {
            const Bytes from = part(random, count);
            ASSERT_EQ(static_cast<intptr_t>(count), V_PutBitmapRowCol(bitmap, from.data(), row, column, count));
            std::copy(from.begin(), from.end(), first);
        } else {
            Bytes to(count);
            ASSERT_EQ(static_cast<intptr_t>(count), V_GetBitmapRowCol(bitmap, to.data(), row, column, count));
            ASSERT_TRUE(std::equal(to.begin(), to.end(), first));
        }
    }
    void change()
    {
        switch (random.below(4)) {
        case 0:
            ASSERT_EQ(SUCCESS, V_ChangeBitmapHeight(
                                   bitmap, random.between(1, 2 * bitmap->Height > 200 ? 100 : 2 * bitmap->Height)));
            bytes.resize(bitmap.bytes());
            break;
        case 1:
            ASSERT_EQ(SUCCESS, V_UpdateBitmapSize(bitmap));
            EXPECT_GE(bytes.size() + bytes.size() / 100 + 16 * bytes.size() / line() + 64, bitmap.data_size());
            break;
        case 2:
            ASSERT_EQ(SUCCESS, V_ChangeBitmapCompression(bitmap, 0));
            EXPECT_FALSE(V_BitmapIsSuperCompressed(bitmap));
            EXPECT_EQ(bytes.size(), bitmap.data_size());
            break;
        default:
            ASSERT_EQ(SUCCESS, V_ChangeBitmapCompression(bitmap, 2));
            EXPECT_TRUE(V_BitmapIsSuperCompressed(bitmap));
            break;
        }
    }
};

/// Fills a bitmap with a picture that depends on a seed; the bytes.
Bytes fill(TestBitmap& bitmap, uint64_t seed)
{
    TestRandom random(seed);
    Bytes all;
    for (int32_t row = 0; row < bitmap->Height; ++row) {
        const Bytes bytes = part(random, bitmap->BytesPerLine);
        EXPECT_EQ(static_cast<intptr_t>(bytes.size()), V_PutBitmapRow(bitmap, bytes.data(), row, bytes.size()));
        all.insert(all.end(), bytes.begin(), bytes.end());
    }
    return all;
}

} // namespace

TEST(SuperStore, RandomOperationsLikeAPlainArray)
{
    TestRandom random(501);
    SCOPED_TRACE(random);
    const uint32_t users = vk::codec::users(1) + vk::codec::users(8);
    for (const Size& size : kSizes)
        for (const uint32_t record : {BITMAPHANDLE_SIZE, BITMAPHANDLE_SIZE_EARLIER}) {
            SCOPED_TRACE(say(size.bits, "bits, width", size.width));
            TestBitmap bitmap(record);
            bitmap.make(Kind::super, size.width, size.height, size.bits);
            EXPECT_EQ(users + 1, vk::codec::users(1) + vk::codec::users(8));
            Model model{bitmap, random};
            for (int i = 0; i < 250 && !HasFailure(); ++i) {
                ASSERT_EQ(SUCCESS, V_AccessBitmap(bitmap));
                model.transfer();
                ASSERT_EQ(SUCCESS, V_ReleaseBitmap(bitmap));
                if (random.one_in(12))
                    model.change();
                if (random.one_in(30)) {
                    ASSERT_EQ(model.bytes, bitmap.pixels());
                }
            }
        }
    EXPECT_EQ(users, vk::codec::users(1) + vk::codec::users(8)) << "each freed bitmap lets its codec go";
}

TEST(SuperStore, TakesWhatItsPixelsNeed)
{
    TestRandom random(502);
    SCOPED_TRACE(random);
    for (const int32_t bits : {1, 8, 24}) {
        TestBitmap bitmap;
        bitmap.make(Kind::super, bits == 1 ? 8000 : 1000, 600, bits);
        const uint64_t plain = bitmap.bytes();
        const MemoryFigures figures(bitmap);
        EXPECT_TRUE(figures.memory == TYPE_SUPERCOMPRESSED && figures.tiles == 0);
        EXPECT_EQ(plain, bitmap.data_size());
        ASSERT_EQ(SUCCESS, V_UpdateBitmapSize(bitmap));
        EXPECT_GE(1000u, bitmap.data_size()) << "clear rows take nothing";
        EXPECT_LT(0u, bitmap.data_size());
        for (const bool noise : {true, false}) {
            const auto before = fault::live();
            for (int32_t row = 0; row < 600; ++row) {
                Bytes bytes(bitmap->BytesPerLine);
                for (size_t i = 0; i < bytes.size(); ++i)
                    bytes[i] = static_cast<uint8_t>(noise       ? random.next()
                                                    : bits == 1 ? (i % 9 == 4 ? 0x18 : 0)
                                                                : i / 5 + static_cast<size_t>(row) + random.below(3));
                ASSERT_LT(0, V_PutBitmapRow(bitmap, bytes.data(), row, bytes.size()));
            }
            ASSERT_EQ(SUCCESS, V_UpdateBitmapSize(bitmap));
            EXPECT_GE(noise ? plain + plain / 100 : bits == 1 ? plain / 50 : plain / 2, bitmap.data_size()) << bits;
            EXPECT_GE(before.heap + 40, fault::live().heap) << "packing leaves no memory of the cache behind";
        }
        ASSERT_EQ(SUCCESS, V_ChangeBitmapHeight(bitmap, 601));
        EXPECT_EQ(bitmap.bytes(), bitmap.data_size());
        ASSERT_EQ(SUCCESS, V_ToggleBitmapCompression(bitmap));
        EXPECT_EQ(bitmap.bytes(), bitmap.data_size());
        ASSERT_EQ(SUCCESS, V_ChangeBitmapCompression(bitmap, 2));
        EXPECT_GE(bits == 1 ? plain / 50 : plain / 2, bitmap.data_size()) << "counted by the change itself";
    }
    TestBitmap deep;
    ASSERT_EQ(SUCCESS, deep.create(TYPE_CONV, 10, 10, 16));
    EXPECT_EQ(ERROR_INVALID_BITS_PER_PIXEL, V_ChangeBitmapCompression(deep, 2));
    EXPECT_EQ(ERROR_INVALID_BITS_PER_PIXEL, V_ToggleBitmapCompression(deep));
}

TEST(SuperStore, FailuresChangeNothing)
{
    constexpr int32_t kHeight = 40; // several bands, of which two are held unpacked
    struct Change {
        const char* name;
        std::function<intptr_t(TestBitmap&, const Bytes&)> run;
        size_t first = 0, bytes = 0; ///< what it puts of the bytes it is given, and where
        int32_t height = kHeight;    ///< what it makes of the bitmap
    };
    constexpr size_t kLine = 5000;
    constexpr size_t kMany = 31 * kLine + 100; // over many bands
    const auto put = [](int32_t row, size_t bytes) {
        return [=](TestBitmap& b, const Bytes& from) { return V_PutBitmapRow(b, from.data(), row, bytes); };
    };
    const auto resize = [](int32_t height) {
        return [=](TestBitmap& b, const Bytes&) { return V_ChangeBitmapHeight(b, height); };
    };
    const Change changes[] = {
        {"a row", put(5, 7), 5 * kLine, 7},
        {"rows", put(1, kMany), kLine, kMany},
        {"shrinking", resize(17), 0, 0, 17},
        {"growing", resize(60), 0, 0, 60},
        {"reading",
         [](TestBitmap& b, const Bytes&) {
             Bytes to(30 * kLine - 1);
             return V_GetBitmapRow(b, to.data(), 3, to.size());
         }},
        {"counting", [](TestBitmap& b, const Bytes&) { return V_UpdateBitmapSize(b); }},
        {"expanding", [](TestBitmap& b, const Bytes&) { return V_ChangeBitmapCompression(b, 0); }},
    };
    for (const Change& change : changes)
        for_each_fault_in([&](FaultRound& round) {
            SCOPED_TRACE(change.name);
            TestBitmap bitmap;
            bitmap.make(Kind::super, kLine, kHeight, 8);
            const Bytes before = fill(bitmap, 9);
            TestRandom random(round.call);
            const Bytes from = part(random, kMany);
            Bytes after = before;
            std::copy_n(from.begin(), change.bytes, after.begin() + static_cast<std::ptrdiff_t>(change.first));
            after.resize(static_cast<size_t>(change.height) * kLine);
            const intptr_t result = round([&] { return change.run(bitmap, from); });
            EXPECT_TRUE(result > 0 || (result == ERROR_NO_MEMORY && round.fired)) << result;
            EXPECT_EQ(result > 0 ? after : before, bitmap.pixels());
        });
}

TEST(SuperStore, ThreadsReadTogether)
{
    TestBitmap bitmap;
    bitmap.make(Kind::super, 3000, 100, 8);
    const Bytes all = fill(bitmap, 11);
    on_threads(4, [&](int thread) {
        Bytes row(bitmap->BytesPerLine);
        TestRandom random(static_cast<uint64_t>(thread));
        for (int i = 0; i < 300; ++i) {
            const int32_t y = random.between(0, 99);
            V_GetBitmapRow(bitmap, row.data(), y, row.size());
            EXPECT_TRUE(std::equal(row.begin(), row.end(), all.begin() + y * std::ssize(row)));
        }
    });
}
