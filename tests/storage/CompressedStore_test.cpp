// Run-length storage and the rows moved in compressed form: against plain rows in memory, through random operations, on
// every kind of storage, and with every allocation failing by turns.
#include "kernel/format/RowMath.h"
#include "kernel/runs/RunLength.h"
#include "kernel/storage/Compressed.h"
#include "kernel/storage/RunBand.h"
#include "kernel/storage/Store.h"
#include "tests/support/FaultLoop.h"
#include "tests/support/TestBitmap.h"
#include "tests/support/TestRandom.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace rl = vk::runlength;
using namespace vk::testing;

namespace {

/// What a bitmap should hold: rows of BytesPerLine bytes, whose padding run-length storage does not keep.
struct Model {
    int32_t width;
    int32_t height;
    size_t line;
    Bytes bytes;
    bool keeps_padding = false;

    Model(int32_t w, int32_t h)
        : width(w), height(h), line(vk::wrapping_bytes_per_line(w, 1)), bytes(line * static_cast<size_t>(h))
    {}
    uint8_t* row(int32_t y) { return bytes.data() + line * static_cast<size_t>(y); }
    void put(size_t at, const Bytes& from)
    {
        std::copy(from.begin(), from.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
        if (!keeps_padding)
            clear_padding();
    }
    void clear_padding()
    {
        for (int32_t y = 0; y < height; ++y)
            for (size_t i = static_cast<size_t>(width); i < 8 * line; ++i)
                row(y)[i / 8] = static_cast<uint8_t>(row(y)[i / 8] & ~(0x80u >> i % 8));
    }
    void resize(int32_t h)
    {
        height = h;
        bytes.resize(line * static_cast<size_t>(h));
    }
    /// The row in compressed form, from a column on.
    Bytes compressed(int32_t y, int32_t column = 0)
    {
        const auto pixels = static_cast<uint32_t>(width - column);
        Bytes out(rl::max_row_bytes(pixels));
        out.resize(rl::compress(out.data(), row(y) + column / 8, static_cast<uint32_t>(column % 8), pixels));
        return out;
    }
    uint64_t stored_bytes()
    {
        uint64_t sum = 0;
        for (int32_t y = 0; y < height; ++y)
            sum += compressed(y).size();
        return sum;
    }
};

/// Bytes with long stretches of one value, and rows that are clear altogether.
Bytes runs_of_bytes(TestRandom& random, size_t count)
{
    Bytes bytes(count);
    const bool busy = random.one_in(3);
    uint8_t now = 0;
    for (uint8_t& byte : bytes) {
        if (random.one_in(busy ? 2 : 40))
            now = random.one_in(2) ? 0 : static_cast<uint8_t>(random.next());
        byte = now;
    }
    return bytes;
}

/// Any words at all: rows as a caller may hand them in.
Bytes any_row(TestRandom& random, uint32_t width)
{
    Bytes row(rl::row_bytes(static_cast<uint32_t>(random.below(40))));
    random.fill(row.data(), row.size());
    const auto count = static_cast<uint32_t>((row.size() - 4) / 2);
    std::memcpy(row.data(), &count, sizeof count);
    for (size_t i = 4; i < row.size(); i += 2) {
        const auto run = static_cast<uint16_t>(random.below(random.one_in(9) ? 65536 : 1 + width / 8));
        std::memcpy(row.data() + i, &run, sizeof run);
    }
    return row;
}

void expect_same(TestBitmap& bitmap, Model& model)
{
    ASSERT_EQ(model.bytes.size(), bitmap.bytes());
    ASSERT_EQ(model.bytes, bitmap.pixels());
    if (V_BitmapIsCompressed(bitmap)) {
        EXPECT_EQ(model.stored_bytes(), bitmap.data_size());
    }
}

/// One random change, made to both.
void change(TestBitmap& bitmap, Model& model, TestRandom& random)
{
    const int32_t y = random.between(0, model.height - 1);
    const int32_t x = random.between(0, model.width - 1);
    const auto start = static_cast<size_t>(y) * model.line;
    switch (random.below(6)) {
    case 0: { // whole rows, or some bytes of several
        const size_t bytes = random.one_in(2) ? model.line : 1 + random.below(model.bytes.size() - start);
        const Bytes from = runs_of_bytes(random, bytes);
        ASSERT_EQ(static_cast<intptr_t>(bytes), V_PutBitmapRow(bitmap, from.data(), y, bytes));
        model.put(start, from);
        break;
    }
    case 1: { // part of a row, and perhaps of the next
        const size_t at = start + static_cast<size_t>(x) / 8;
        const Bytes from = runs_of_bytes(random, 1 + random.below(std::min(model.line, model.bytes.size() - at)));
        ASSERT_EQ(static_cast<intptr_t>(from.size()), V_PutBitmapRowCol(bitmap, from.data(), y, x, from.size()));
        model.put(at, from);
        break;
    }
    case 2: {
        const Bytes row = any_row(random, static_cast<uint32_t>(model.width));
        ASSERT_EQ(static_cast<intptr_t>(row.size()), V_PutBitmapRowCompressed(bitmap, row.data(), y, row.size()));
        Bytes pixels(static_cast<size_t>(vk::packed_bytes(static_cast<uint64_t>(model.width), 1)));
        rl::expand_plain(row.data(), pixels.data(), 0, static_cast<uint32_t>(model.width));
        model.put(start, pixels);
        break;
    }
    case 3: {
        const Bytes row = any_row(random, static_cast<uint32_t>(model.width));
        ASSERT_EQ(static_cast<intptr_t>(row.size()), V_PutBitmapRowColCompressed(bitmap, row.data(), y, x, row.size()));
        rl::overlay(row.data(), model.row(y) + x / 8, static_cast<uint32_t>(x % 8),
                    static_cast<uint32_t>(model.width - x));
        break;
    }
    case 4:
        ASSERT_EQ(1, V_PutBitmapRow(bitmap, "\0", y, 1)); // toward clear rows
        model.put(start, Bytes(1));
        break;
    default:
        if (!V_BitmapIsCompressed(bitmap))
            break;
        ASSERT_EQ(SUCCESS, random.one_in(2) ? V_TrimBitmapHeap(bitmap) : V_GrowBitmapHeap(bitmap, 5000));
    }
}

/// Reads one row in every way.
void compare_row(TestBitmap& bitmap, Model& model, TestRandom& random)
{
    const int32_t y = random.between(0, model.height - 1);
    const int32_t x = random.one_in(2) ? 0 : random.between(0, model.width - 1);
    const Bytes expected = model.compressed(y, x);
    Bytes out(expected.size(), 0xA5);
    EXPECT_EQ(V_ERROR_BUFFER_TOO_SMALL, V_GetBitmapRowColCompressed(bitmap, out.data(), y, x, expected.size() - 1));
    ASSERT_EQ(static_cast<intptr_t>(out.size()), V_GetBitmapRowColCompressed(bitmap, out.data(), y, x, out.size()));
    ASSERT_EQ(expected, out);
    const size_t at = static_cast<size_t>(y) * model.line + static_cast<size_t>(x) / 8;
    Bytes part(1 + random.below(model.bytes.size() - at), 0xA5);
    ASSERT_EQ(static_cast<intptr_t>(part.size()), V_GetBitmapRowCol(bitmap, part.data(), y, x, part.size()));
    ASSERT_TRUE(std::equal(part.begin(), part.end(), model.bytes.begin() + static_cast<std::ptrdiff_t>(at)));
}

TEST(CompressedStore, RandomOperationsOnEveryKindOfStorage)
{
    TestRandom random(201);
    SCOPED_TRACE(random);
    for (const Kind kind : kKinds)
        for (const int32_t width : {1, 31, 77, 400, 3000}) {
            SCOPED_TRACE(say(name_of(kind), "width", width));
            Model model(width, 11);
            model.keeps_padding = kind != Kind::compressed;
            TestBitmap bitmap(random.one_in(2) ? BITMAPHANDLE_SIZE : BITMAPHANDLE_SIZE_EARLIER);
            bitmap.make(kind, width, model.height, 1);
            ASSERT_EQ(SUCCESS, V_UpdateBitmapSize(bitmap));
            const int rounds = kind == Kind::compressed ? 400 : 60;
            for (int i = 0; i < rounds && !HasFatalFailure(); ++i) {
                ASSERT_EQ(SUCCESS, V_AccessBitmap(bitmap));
                change(bitmap, model, random);
                compare_row(bitmap, model, random);
                ASSERT_EQ(SUCCESS, V_ReleaseBitmap(bitmap));
                if (kind == Kind::compressed && random.one_in(10)) {
                    model.resize(random.between(1, 30));
                    ASSERT_EQ(SUCCESS, V_ChangeBitmapHeight(bitmap, model.height));
                    ASSERT_EQ(SUCCESS, V_UpdateBitmapSize(bitmap));
                }
                if (random.one_in(8))
                    expect_same(bitmap, model);
            }
            expect_same(bitmap, model);
            if (HasFatalFailure())
                return;
        }
}

TEST(CompressedStore, KeepsRowsWiderThanAnyRun)
{
    TestRandom random(202);
    SCOPED_TRACE(random);
    for (const int32_t width : {65535, 65536, 150001}) {
        Model model(width, 5);
        TestBitmap bitmap;
        bitmap.make(Kind::compressed, width, 5, 1);
        ASSERT_EQ(SUCCESS, V_UpdateBitmapSize(bitmap));
        expect_same(bitmap, model);
        for (int i = 0; i < 25 && !HasFatalFailure(); ++i) {
            change(bitmap, model, random);
            compare_row(bitmap, model, random);
        }
        expect_same(bitmap, model);
        const Bytes clear(model.bytes.size());
        ASSERT_EQ(static_cast<intptr_t>(clear.size()), V_PutBitmapRow(bitmap, clear.data(), 0, clear.size()));
        EXPECT_EQ(5 * rl::clear_row_bytes(static_cast<uint32_t>(width)), bitmap.data_size());
        EXPECT_EQ(nullptr, vk::compressed_row(*bitmap, 3)) << "a clear row takes memory";
    }
}

TEST(CompressedStore, HoldsRowsInBands)
{
    constexpr auto kRows = static_cast<int32_t>(vk::kBandRows);
    constexpr int32_t kWidth = 40;
    TestBitmap bitmap;
    bitmap.make(Kind::compressed, kWidth, 2 * kRows + 5, 1);
    EXPECT_EQ(3u, vk::compressed_bands(*bitmap));
    const auto value = [](int32_t y) { return static_cast<uint8_t>(y * 37 | 1); };
    const auto check = [&](int32_t y, bool kept) {
        uint8_t out[8] = {9, 9, 9, 9, 9, 9, 9, 9};
        ASSERT_EQ(8, V_GetBitmapRow(bitmap, out, y, 8)) << y;
        const uint8_t in[8] = {value(y), 0, 0, 0, 0xF0, 0, 0, 0};
        const uint8_t none[8] = {};
        ASSERT_EQ(0, std::memcmp(kept ? in : none, out, 8)) << y;
    };
    ASSERT_EQ(SUCCESS, V_UpdateBitmapSize(bitmap));
    uint64_t size = bitmap.data_size();
    for (int32_t y = 0; y < 2 * kRows + 5; ++y) {
        const uint8_t in[8] = {value(y), 0, 0, 0, 0xF0, 0xFF, 0xFF, 0xFF}; // padding is not kept
        ASSERT_EQ(8, V_PutBitmapRow(bitmap, in, y, 8));
        ASSERT_LT(size, bitmap.data_size());
        size = bitmap.data_size();
    }
    // Away and back again: what was cut off is clear.
    for (const int32_t height : {2 * kRows + 3, kRows + 1, kRows, 2 * kRows + 5, 3 * kRows}) {
        ASSERT_EQ(SUCCESS, V_ChangeBitmapHeight(bitmap, height));
        EXPECT_EQ(static_cast<size_t>((height + kRows - 1) / kRows), vk::compressed_bands(*bitmap));
    }
    for (const int32_t y : {0, 1, kRows - 1, kRows, kRows + 1, 2 * kRows - 1, 2 * kRows, 3 * kRows - 1})
        check(y, y < kRows);
    ASSERT_EQ(SUCCESS, V_UpdateBitmapSize(bitmap));
    Model row(kWidth, 1);
    uint64_t expected = static_cast<uint64_t>(2 * kRows) * rl::clear_row_bytes(kWidth);
    for (int32_t y = 0; y < kRows; ++y) {
        row.put(0, {value(y), 0, 0, 0, 0xF0, 0, 0, 0});
        expected += row.compressed(0).size();
    }
    EXPECT_EQ(expected, bitmap.data_size());
    uint8_t out = 0;
    EXPECT_EQ(V_ERROR_INVALID_PARAMETER, V_GetBitmapRow(bitmap, &out, 3 * kRows, 1));
    EXPECT_EQ(V_ERROR_INVALID_PARAMETER, V_PutBitmapRow(bitmap, &out, -1, 1));
}

TEST(CompressedStore, FreesItsMemoryWhenDataWasExchanged)
{
    const vk::fault::Live before = vk::fault::live();
    {
        TestBitmap bitmap;
        bitmap.make(Kind::compressed, 100, 40000, 1);
        uint8_t other[16] = {};
        ASSERT_EQ(16, V_PutBitmapRow(bitmap, other, 3, 16));
        bitmap->Data = other;
    }
    expect_same_live(before, vk::fault::live());
}

TEST(CompressedStore, AnyAllocationMayFail)
{
    TestRandom random(203);
    SCOPED_TRACE(random);
    constexpr int32_t kWidth = 1500;
    const Bytes busy = [&] {
        Model rows(kWidth, 24);
        random.fill(rows.bytes.data(), rows.bytes.size());
        rows.clear_padding();
        return rows.bytes;
    }();
    const auto moved = [](const Bytes& bytes) { return static_cast<intptr_t>(bytes.size()); };
    Model model(kWidth, 24);
    const uint64_t calls = for_each_fault([&] {
        TestBitmap bitmap;
        if (V_InitBitmap(bitmap, BITMAPHANDLE_SIZE, kWidth, 24, 1) != SUCCESS)
            return;
        if (V_AllocateBitmap(bitmap, TYPE_COMPRESSED) != SUCCESS || !V_BitmapIsCompressed(bitmap))
            return;
        model = Model(kWidth, 24);
        const auto follow = [&](intptr_t result, intptr_t wanted, auto&& apply) {
            if (result == wanted)
                apply();
            else
                EXPECT_EQ(V_ERROR_NO_MEMORY, result);
            expect_same(bitmap, model);
        };
        follow(V_PutBitmapRow(bitmap, busy.data(), 0, busy.size()), moved(busy), [&] { model.put(0, busy); });
        const Bytes part(busy.begin(), busy.begin() + 333);
        follow(V_PutBitmapRowCol(bitmap, part.data(), 2, 777, part.size()), moved(part),
               [&] { model.put(2 * model.line + 777 / 8, part); });
        const Bytes row = any_row(random, kWidth);
        Bytes pixels(model.line);
        rl::expand_plain(row.data(), pixels.data(), 0, kWidth);
        follow(V_PutBitmapRowCompressed(bitmap, row.data(), 5, row.size()), moved(row),
               [&] { model.put(5 * model.line, pixels); });
        for (const int32_t height : {7, 40000}) {
            follow(V_ChangeBitmapHeight(bitmap, height), SUCCESS, [&] {
                model.resize(height);
                EXPECT_EQ(SUCCESS, V_UpdateBitmapSize(bitmap));
            });
        }
        const int trimmed = V_TrimBitmapHeap(bitmap);
        EXPECT_TRUE(trimmed == SUCCESS || trimmed == FAILURE) << trimmed;
        expect_same(bitmap, model);
        const int grown = V_GrowBitmapHeap(bitmap, 300000);
        EXPECT_TRUE(grown == SUCCESS || grown == V_ERROR_NO_MEMORY) << grown;
        if (grown == SUCCESS && !vk::fault::fired()) { // then puts need no memory
            vk::fault::arm_call(vk::fault::Call::heap_realloc, 1, true);
            for (int32_t y = 0; y < 7; ++y)
                EXPECT_EQ(model.line, static_cast<size_t>(V_PutBitmapRow(bitmap, busy.data(), y, model.line)));
        }
    });
    EXPECT_GT(calls, 15u);
}

TEST(CompressedStore, RowsOfTwoBandsAreWrittenTogetherOrNotAtAll)
{
    TestRandom random(204);
    constexpr auto kRows = static_cast<int32_t>(vk::kBandRows);
    for_each_fault_in([&](FaultRound& round) {
        TestBitmap bitmap;
        bitmap.make(Kind::compressed, 64, kRows + 40, 1);
        Bytes clear(size_t{80} * bitmap->BytesPerLine), busy(clear.size()), seen(clear.size());
        random.fill(busy.data(), busy.size());
        const auto bytes = static_cast<intptr_t>(busy.size());
        const intptr_t result = round([&] { return V_PutBitmapRow(bitmap, busy.data(), kRows - 40, busy.size()); });
        EXPECT_TRUE(result == bytes || (round.fired && result == V_ERROR_NO_MEMORY)) << result;
        ASSERT_EQ(bytes, V_GetBitmapRow(bitmap, seen.data(), kRows - 40, seen.size()));
        EXPECT_TRUE(seen == (result == bytes ? busy : clear));
    });
}

TEST(CompressedStore, RefusesWhatItCannotDo)
{
    TestBitmap bitmap;
    bitmap.make(Kind::compressed, 100, 10, 1);
    TestBitmap deep;
    deep.make(Kind::conv, 10, 10, 8);
    uint8_t row[64] = {1, 0, 0, 0, 100, 0};
    const auto both = [&](BITMAPHANDLE* record, void* buffer, int32_t y, int32_t x, size_t bytes, intptr_t code) {
        expect_each(code, {V_GetBitmapRowColCompressed(record, buffer, y, x, bytes),
                           V_PutBitmapRowColCompressed(record, buffer, y, x, bytes)});
        if (x == 0)
            expect_each(code, {V_GetBitmapRowCompressed(record, buffer, y, bytes),
                               V_PutBitmapRowCompressed(record, buffer, y, bytes)});
    };
    both(nullptr, row, 0, 0, 64, V_ERROR_INVALID_PARAMETER);
    both(bitmap, nullptr, 0, 0, 64, V_ERROR_INVALID_PARAMETER);
    both(deep, row, 0, 0, 64, V_ERROR_INVALID_BITS_PER_PIXEL);
    for (const size_t bytes : {0u, 3u, 4u, 5u})
        both(bitmap, row, 0, 0, bytes, V_ERROR_BUFFER_TOO_SMALL);
    for (const int32_t y : {-1, 10})
        both(bitmap, row, y, 0, 64, V_ERROR_INVALID_PARAMETER);
    for (const int32_t x : {-1, 100})
        both(bitmap, row, 0, x, 64, V_ERROR_INVALID_PARAMETER);
    BITMAPHANDLE wrong = *bitmap;
    wrong.Width = 129; // more than the rows hold
    both(&wrong, row, 0, 0, 64, V_ERROR_INVALID_WIDTH_HEIGHT);
    wrong.Flags = 0;
    both(&wrong, row, 0, 0, 64, V_ERROR_INVALID_IMAGE);
    wrong.StructSize = 5;
    both(&wrong, row, 0, 0, 64, V_ERROR_INVALID_STRUCT_SIZE);

    BITMAPHANDLE huge = {};
    ASSERT_EQ(SUCCESS, V_InitBitmap(&huge, BITMAPHANDLE_SIZE, 8, 1, 1));
    huge.Width = 64;
    EXPECT_EQ(V_ERROR_NO_MEMORY, vk::kCompressedStore.create(huge, {}));
    EXPECT_EQ(nullptr, huge.Handle);

    expect_each(V_ERROR_INVALID_PARAMETER,
                {V_CompressRow(nullptr, row, 0, 1), V_CompressRow(row, nullptr, 0, 1), V_CompressRow(row, row, 0, -1),
                 V_ExpandRow(nullptr, row, 0, 1), V_ExpandRow(row, nullptr, 0, 1), V_ExpandRow(row, row, 0, -1),
                 V_ExpandRow(row, row + 32, -1, 1), V_CompressRows(row + 32, row, 0, 8, -1, 1),
                 V_ExpandRows(row, row + 32, 0, 8, -1, 1), V_MirrorCompressedBuffer(nullptr, -1),
                 V_MirrorCompressedBuffer(row, -1), V_FlipCompressedBuffer(nullptr, -1),
                 V_FlipCompressedBuffer(row, -1), V_TrimBitmapHeap(deep), V_GrowBitmapHeap(nullptr, 1)});
    EXPECT_EQ(V_ERROR_INVALID_PARAMETER, V_MirrorCompressedBuffer(row, 100000)) << "no room for the missing pixels";
}

TEST(CompressedRows, SeveralRowsLieBackToBack)
{
    TestRandom random(204);
    SCOPED_TRACE(random);
    constexpr int32_t kRows = 9;
    constexpr int32_t kWidth = 123;
    Model model(kWidth, kRows);
    model.put(0, runs_of_bytes(random, model.bytes.size()));
    Bytes expected;
    Bytes flipped;
    for (int32_t y = 0; y < kRows; ++y) {
        const Bytes row = model.compressed(y);
        expected.insert(expected.end(), row.begin(), row.end());
        flipped.insert(flipped.begin(), row.begin(), row.end());
    }
    Bytes rows(expected.size());
    ASSERT_EQ(kWidth, V_CompressRows(rows.data(), model.bytes.data(), 0, kWidth, kRows, model.line));
    EXPECT_EQ(expected, rows);
    Bytes out(model.bytes.size(), 0);
    ASSERT_EQ(SUCCESS, V_ExpandRows(rows.data(), out.data(), 0, kWidth, kRows, model.line));
    EXPECT_EQ(model.bytes, out);
    ASSERT_EQ(SUCCESS, V_FlipCompressedBuffer(rows.data(), kRows));
    EXPECT_EQ(flipped, rows);
    // A bit offset counts modulo 8, a negative one too.
    for (const int32_t offset : {3, 11, -5}) {
        Bytes one(rl::max_row_bytes(kWidth));
        ASSERT_EQ(kWidth - 3, V_CompressRow(one.data(), model.row(1), offset, kWidth - 3));
        one.resize(rl::row_bytes(rl::word_count(one.data())));
        EXPECT_EQ(model.compressed(1, 3), one);
    }
}

/// A callback that answers for the pixels itself, and counts.
intptr_t rows_of_ones(BITMAPHANDLE*, void* buffer, int32_t, int32_t, size_t bytes, void* data)
{
    ++*static_cast<int*>(data);
    std::memset(buffer, 0xFF, bytes);
    return static_cast<intptr_t>(bytes);
}

TEST(CompressedRows, CallbacksSeeThePixels)
{
    int calls = 0;
    TestBitmap bitmap;
    bitmap.make(Kind::compressed, 50, 3, 1);
    BITMAPDATACALLBACKS table = callbacks_for(&calls);
    table.GetBitmapRowColCallback = rows_of_ones;
    ASSERT_EQ(SUCCESS, V_SetBitmapDataCallbacks(bitmap, &table));
    uint8_t row[16] = {};
    ASSERT_EQ(8, V_GetBitmapRowCompressed(bitmap, row, 1, sizeof row));
    const uint8_t ones[8] = {2, 0, 0, 0, 0, 0, 50, 0};
    EXPECT_EQ(0, std::memcmp(ones, row, 8));
    EXPECT_EQ(1, calls);
    table.GetBitmapRowColCallback = nullptr;
    table.PutBitmapRowColCallback = rows_of_ones;
    ASSERT_EQ(SUCCESS, V_SetBitmapDataCallbacks(bitmap, &table));
    EXPECT_EQ(8, V_PutBitmapRowCompressed(bitmap, ones, 1, sizeof ones));
    EXPECT_EQ(2, calls);
    EXPECT_EQ(6, V_GetBitmapRowCompressed(bitmap, row, 1, sizeof row)) << "the callback kept the row to itself";
    table.PutBitmapRowColCallback = [](BITMAPHANDLE*, void*, int32_t, int32_t, size_t bytes, void* data) {
        *static_cast<int*>(data) = static_cast<int>(bytes);
        return static_cast<intptr_t>(bytes);
    };
    ASSERT_EQ(SUCCESS, V_SetBitmapDataCallbacks(bitmap, &table));
    const uint8_t nine[8] = {2, 0, 0, 0, 0, 0, 9, 0};
    EXPECT_EQ(8, V_PutBitmapRowColCompressed(bitmap, nine, 1, 8, sizeof nine));
    EXPECT_EQ(2, calls) << "bytes of the pixels that the runs cover, and no more";
}

} // namespace
