// Row access against a plain array of bytes: random transfers, height changes and storage moves at every depth on every
// kind of storage, with records of both sizes; and everything that lies outside the storage.
#include "tests/support/TestBitmap.h"
#include "tests/support/TestRandom.h"

#include <limits>
#include <string>

using namespace vk::testing;

namespace {

constexpr int32_t kLeast = std::numeric_limits<int32_t>::min();
constexpr int32_t kMost = std::numeric_limits<int32_t>::max();

uint64_t column_byte(int32_t bits, int32_t column)
{
    return static_cast<uint64_t>(column) * static_cast<uint64_t>(bits) / 8;
}

/// A bitmap and what must be in it.
class Model {
public:
    Model(TestBitmap& bitmap, TestRandom& random) : bitmap_(bitmap), random_(random), bytes_(bitmap.bytes(), 0) {}

    void step()
    {
        switch (random_.below(12)) {
        case 0:
        case 1:
            return get();
        case 2:
        case 3:
        case 4:
            return put();
        case 5:
            return pixel_bytes();
        case 6:
            return segments();
        case 7:
            return color();
        case 8:
            return change_height();
        case 9:
            return move();
        case 10:
            return outside();
        default:
            return check();
        }
    }

    void check()
    {
        ASSERT_EQ(bytes_, bitmap_.pixels());
        ASSERT_EQ(0, bitmap_.get()->Reserved * (bitmap_.struct_size() == BITMAPHANDLE_SIZE));
    }

private:
    int32_t bits() { return bitmap_->BitsPerPixel; }
    int32_t line() { return static_cast<int32_t>(bitmap_->BytesPerLine); }
    int32_t any_row() { return random_.between(0, bitmap_->Height - 1); }
    int32_t any_column() { return random_.between(0, bitmap_->Width - 1); }

    /// A transfer from a random pixel on that may span rows.
    struct Span {
        int32_t row, column;
        size_t start, bytes;
    };
    Span any_span()
    {
        Span span{any_row(), random_.one_in(2) ? 0 : any_column(), 0, 0};
        span.start = static_cast<size_t>(span.row) * static_cast<size_t>(line()) + column_byte(bits(), span.column);
        const size_t room = bytes_.size() - span.start;
        const auto most = static_cast<size_t>(random_.one_in(3) ? 5 * line() : line());
        span.bytes = static_cast<size_t>(random_.below(std::min(room, most) + 1));
        return span;
    }

    void get()
    {
        const Span span = any_span();
        std::vector<uint8_t> buffer(span.bytes + 1, 0xEE);
        ASSERT_EQ(SUCCESS, V_AccessBitmap(bitmap_.get()));
        const intptr_t moved = span.column == 0
                                   ? V_GetBitmapRow(bitmap_.get(), buffer.data(), span.row, span.bytes)
                                   : V_GetBitmapRowCol(bitmap_.get(), buffer.data(), span.row, span.column, span.bytes);
        ASSERT_EQ(SUCCESS, V_ReleaseBitmap(bitmap_.get()));
        ASSERT_EQ(static_cast<intptr_t>(span.bytes), moved);
        ASSERT_TRUE(std::equal(buffer.begin(), buffer.end() - 1, bytes_.begin() + static_cast<ptrdiff_t>(span.start)));
        ASSERT_EQ(0xEE, buffer.back());
    }

    void put()
    {
        const Span span = any_span();
        std::vector<uint8_t> buffer(span.bytes + 1);
        if (random_.one_in(4))
            std::fill(buffer.begin(), buffer.end(), random_.one_in(2) ? uint8_t{0xFF} : uint8_t{0});
        else
            random_.fill(buffer.data(), buffer.size());
        ASSERT_EQ(SUCCESS, V_AccessBitmap(bitmap_.get()));
        const intptr_t moved = span.column == 0
                                   ? V_PutBitmapRow(bitmap_.get(), buffer.data(), span.row, span.bytes)
                                   : V_PutBitmapRowCol(bitmap_.get(), buffer.data(), span.row, span.column, span.bytes);
        ASSERT_EQ(SUCCESS, V_ReleaseBitmap(bitmap_.get()));
        ASSERT_EQ(static_cast<intptr_t>(span.bytes), moved);
        std::copy(buffer.begin(), buffer.end() - 1, bytes_.begin() + static_cast<ptrdiff_t>(span.start));
        drop_padding();
    }

    void pixel_bytes()
    {
        const int32_t row = any_row();
        const int32_t column = any_column();
        const size_t bytes = (static_cast<size_t>(column + 1) * static_cast<size_t>(bits()) + 7) / 8 -
                             static_cast<size_t>(column_byte(bits(), column));
        uint8_t* const at = bytes_.data() + row * line() + column_byte(bits(), column);
        uint8_t buffer[9] = {};
        ASSERT_EQ(SUCCESS, V_AccessBitmap(bitmap_.get()));
        ASSERT_EQ(ERROR_INVALID_PARAMETER, V_GetPixelData(bitmap_.get(), buffer, row, column, bytes - 1));
        ASSERT_EQ(ERROR_INVALID_PARAMETER, V_PutPixelData(bitmap_.get(), buffer, row, column, bytes - 1));
        ASSERT_EQ(SUCCESS, V_GetPixelData(bitmap_.get(), buffer, row, column, 9));
        ASSERT_TRUE(std::equal(buffer, buffer + bytes, at) && buffer[bytes] == 0);
        random_.fill(buffer, bytes);
        ASSERT_EQ(SUCCESS, V_PutPixelData(bitmap_.get(), buffer, row, column, bytes));
        ASSERT_EQ(SUCCESS, V_ReleaseBitmap(bitmap_.get()));
        std::copy_n(buffer, bytes, at);
        drop_padding();
    }

    void segments()
    {
        const int32_t row = any_row();
        std::vector<uint8_t> from(static_cast<size_t>(line()));
        random_.fill(from.data(), from.size());
        std::vector<ROWSEGMENT> list(random_.below(5));
        int32_t pixels = 0;
        for (ROWSEGMENT& segment : list) {
            segment.nCol = random_.between(0, bitmap_->Width);
            segment.nWidth = random_.between(0, bitmap_->Width - segment.nCol);
            pixels += segment.nWidth;
            for (int32_t i = segment.nCol; i < segment.nCol + segment.nWidth; ++i)
                set_pixel(bytes_.data() + row * line(), bits(), i, get_pixel(from.data(), bits(), i));
        }
        ASSERT_EQ(SUCCESS, V_AccessBitmap(bitmap_.get()));
        ASSERT_EQ(pixels, V_PutBitmapRowSegments(bitmap_.get(), from.data(), row, list.data(),
                                                 static_cast<uint32_t>(list.size())));
        ASSERT_EQ(SUCCESS, V_ReleaseBitmap(bitmap_.get()));
    }

    void color()
    {
        const int32_t row = any_row();
        const int32_t column = any_column();
        uint8_t* const at = bytes_.data() + row * line();
        const auto value = static_cast<COLORREF>(random_.next() & 0xFFFFFF);
        if (bits() <= 8) {
            const uint32_t index = value & ((1u << bits()) - 1);
            ASSERT_EQ(SUCCESS, V_PutPixelColor(bitmap_.get(), row, column, 0x01000000u | index));
            ASSERT_EQ(index * 0x010101u, V_GetPixelColor(bitmap_.get(), row, column));
            set_pixel(at, bits(), column, index);
        } else if (bits() == 24) {
            ASSERT_EQ(SUCCESS, V_PutPixelColor(bitmap_.get(), row, column, value));
            ASSERT_EQ(value, V_GetPixelColor(bitmap_.get(), row, column));
            set_pixel(at, bits(), column, (value & 0xFF) << 16 | (value & 0xFF00) | value >> 16);
        }
    }

    void change_height()
    {
        const int32_t height = random_.between(1, 40);
        const int code = V_ChangeBitmapHeight(bitmap_.get(), height);
        if (V_BitmapIsMirror(bitmap_.get())) {
            ASSERT_EQ(ERROR_INVALID_PARAMETER, code);
            return;
        }
        ASSERT_EQ(SUCCESS, code);
        if (bitmap_.bytes() == bytes_.size())
            return;
        ASSERT_EQ(height, bitmap_->Height);
        bytes_.resize(bitmap_.bytes(), 0);
        expect_size(static_cast<uint64_t>(bitmap_->DataOffset));
        ASSERT_EQ(SUCCESS, V_UpdateBitmapSize(bitmap_.get()));
        expect_size(0);
    }

    void expect_size(uint64_t gap)
    {
        if (!V_BitmapIsCompressed(bitmap_.get()) && !V_BitmapIsSuperCompressed(bitmap_.get())) {
            ASSERT_EQ(bytes_.size() + gap, bitmap_.data_size());
        }
    }

    void move()
    {
        constexpr uint32_t kinds[] = {TYPE_CONV, TYPE_TILED, TYPE_DISK, TYPE_SUPERCOMPRESSED, TYPE_COMPRESSED};
        const uint32_t memory = kinds[random_.below(bits() == 1 ? 5 : can_make(Kind::super, bits()) ? 4 : 3)];
        if (random_.one_in(2))
            return; // rarer than the others
        const int32_t in_memory = random_.between(0, 3);
        ASSERT_EQ(SUCCESS, V_SetBitmapMemoryInfo(bitmap_.get(), memory, random_.between(1, 6 * line()), 0, in_memory, 0,
                                                 random_.between(1, 3), 43));
        uint32_t now = 0;
        ASSERT_EQ(SUCCESS, V_GetBitmapMemoryInfo(bitmap_.get(), &now, nullptr, nullptr, nullptr, nullptr, nullptr));
        ASSERT_EQ(memory, now);
        ASSERT_EQ(0u, bitmap_->Flags & (BITMAPFLAG_GLOBAL | BITMAPFLAG_MIRROR));
        drop_padding();
        if (bits() == 1 && random_.one_in(2)) {
            ASSERT_EQ(SUCCESS, V_ToggleBitmapCompression(bitmap_.get()));
            drop_padding();
        }
        ASSERT_EQ(SUCCESS, V_UpdateBitmapSize(bitmap_.get()));
        expect_size(0);
    }

    /// A transfer that does not lie in the storage.
    void outside()
    {
        const int32_t rows[] = {kLeast, -70000, -1, 0, any_row(), bitmap_->Height, bitmap_->Height + 1, kMost};
        const size_t counts[] = {
            1, 2, static_cast<size_t>(line()), bytes_.size(), bytes_.size() + 1, SIZE_MAX / 2, SIZE_MAX};
        const int32_t row = rows[random_.below(std::size(rows))];
        const size_t count = counts[random_.below(std::size(counts))];
        const int64_t start = int64_t{row} * line();
        const auto size = static_cast<int64_t>(bytes_.size());
        if (start >= 0 && start <= size && count <= static_cast<size_t>(size - start))
            return;
        const bool disk = (bitmap_->Flags & BITMAPFLAG_DISKMEMORY) != 0;
        std::vector<uint8_t> buffer(16, 0xEE); // far too small: nothing may be moved
        ASSERT_EQ(SUCCESS, V_AccessBitmap(bitmap_.get()));
        const int before_start = disk ? ERROR_FILE_SEEK : ERROR_INVALID_PARAMETER;
        const int past_end = disk ? ERROR_FILE_READ : ERROR_INVALID_PARAMETER;
        EXPECT_EQ(start < 0 ? before_start : past_end, V_GetBitmapRow(bitmap_.get(), buffer.data(), row, count));
        EXPECT_EQ(start < 0 ? before_start : ERROR_INVALID_PARAMETER,
                  V_PutBitmapRow(bitmap_.get(), buffer.data(), row, count));
        EXPECT_EQ(0, V_PutBitmapRow(bitmap_.get(), buffer.data(), any_row(), 0));
        EXPECT_EQ(0, V_GetBitmapRow(bitmap_.get(), buffer.data(), any_row(), 0));
        EXPECT_EQ(ERROR_NO_MEMORY, V_GetPixelData(bitmap_.get(), buffer.data(), bitmap_->Height, 0, 16));
        EXPECT_EQ(ERROR_NO_MEMORY, V_PutPixelData(bitmap_.get(), buffer.data(), -1, 0, 16));
        ASSERT_EQ(std::vector<uint8_t>(16, 0xEE), buffer);
        ASSERT_EQ(SUCCESS, V_ReleaseBitmap(bitmap_.get()));
    }

    /// Run-length rows keep no bits behind the last pixel.
    void drop_padding()
    {
        if (!V_BitmapIsCompressed(bitmap_.get()))
            return;
        for (int32_t row = 0; row < bitmap_->Height; ++row) {
            for (int32_t i = bitmap_->Width; i < line() * 8; ++i)
                set_pixel(bytes_.data() + row * line(), 1, i, 0);
        }
    }

    TestBitmap& bitmap_;
    TestRandom& random_;
    std::vector<uint8_t> bytes_;
};

TEST(Rows, EveryDepthOnEveryStorageLikeAPlainArray)
{
    TestRandom random(20240531);
    SCOPED_TRACE(random);
    for (const int32_t bits : kDepths) {
        for (const Kind kind : kKinds) {
            if (!can_make(kind, bits))
                continue;
            for (const uint32_t size : {BITMAPHANDLE_SIZE, BITMAPHANDLE_SIZE_EARLIER}) {
                SCOPED_TRACE(std::string(name_of(kind)) + ", bits " + std::to_string(bits) + ", record " +
                             std::to_string(size));
                TestBitmap bitmap(size);
                bitmap.make(kind, random.between(1, 90), random.between(1, 30), bits);
                Model model(bitmap, random);
                for (int i = 0; i < 60 && !HasFailure(); ++i)
                    model.step();
                model.check();
                if (HasFailure())
                    return;
            }
        }
    }
}

TEST(Rows, ColumnsStartAtTheByteOfTheirFirstBit)
{
    struct {
        int32_t bits, column;
        size_t start, pixel_bytes;
    } const cases[] = {{1, 13, 1, 1},  {2, 5, 1, 1},   {3, 2, 0, 2},  {3, 3, 1, 1},  {5, 3, 1, 2},  {6, 3, 2, 1},
                       {7, 9, 7, 2},   {12, 3, 4, 2},  {12, 2, 3, 2}, {16, 3, 6, 2}, {24, 3, 9, 3}, {32, 3, 12, 4},
                       {48, 3, 18, 6}, {64, 3, 24, 8}, {4, 7, 3, 1},  {8, 7, 7, 1}};
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.bits << " bits, column " << c.column);
        TestBitmap bitmap;
        bitmap.make(Kind::conv, 20, 2, c.bits);
        for (size_t i = 0; i < bitmap.bytes(); ++i)
            bitmap->Data[i] = static_cast<uint8_t>(i + 1);
        uint8_t buffer[10] = {};
        EXPECT_EQ(1, V_GetBitmapRowCol(bitmap.get(), buffer, 1, c.column, 1));
        EXPECT_EQ(static_cast<uint8_t>(bitmap->BytesPerLine + c.start + 1), buffer[0]);
        EXPECT_EQ(SUCCESS, V_GetPixelData(bitmap.get(), buffer, 1, c.column, c.pixel_bytes));
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_GetPixelData(bitmap.get(), buffer, 1, c.column, c.pixel_bytes - 1));
        EXPECT_EQ(0, buffer[c.pixel_bytes]);
    }
}

TEST(Rows, ArgumentChecks)
{
    uint8_t buffer[64] = {};
    TestBitmap bitmap;
    ASSERT_EQ(SUCCESS, V_InitBitmap(bitmap.get(), BITMAPHANDLE_SIZE, 5, 5, 8));
    EXPECT_EQ(ERROR_NO_MEMORY, V_GetBitmapRow(bitmap.get(), buffer, 0, 5)) << "no storage";
    EXPECT_EQ(ERROR_NO_MEMORY, V_PutBitmapRowCol(bitmap.get(), buffer, 0, 0, 5));
    EXPECT_EQ(ERROR_INVALID_IMAGE, V_GetPixelData(bitmap.get(), buffer, 0, 0, 5));
    EXPECT_EQ(ERROR_INVALID_IMAGE, V_PutPixelData(bitmap.get(), buffer, 0, 0, 5));
    ASSERT_EQ(SUCCESS, V_AllocateBitmap(bitmap.get(), TYPE_CONV));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_GetBitmapRow(nullptr, buffer, 0, 5));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_PutBitmapRow(bitmap.get(), nullptr, 0, 5));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_GetBitmapRowCol(bitmap.get(), nullptr, 0, 0, 5));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_PutBitmapRowCol(nullptr, buffer, 0, 0, 5));
    EXPECT_EQ(ERROR_INVALID_IMAGE, V_GetPixelData(nullptr, buffer, 0, 0, 5));
    EXPECT_EQ(ERROR_INVALID_IMAGE, V_PutPixelData(bitmap.get(), nullptr, 0, 0, 5));
    for (const int32_t column : {-1, kLeast, kMost}) { // offsets are worked out in 32 bits without a sign
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_GetBitmapRowCol(bitmap.get(), buffer, 0, column, 1)) << column;
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_PutBitmapRowCol(bitmap.get(), buffer, 4, column, 1)) << column;
        EXPECT_EQ(ERROR_NO_MEMORY, V_GetPixelData(bitmap.get(), buffer, 0, column, 8)) << column;
    }
    const ROWSEGMENT outside[] = {{-1, 1}, {0, 6}, {5, 1}, {1, -1}, {6, 0}, {kMost, kMost}, {kLeast, 1}, {1, kMost}};
    for (const ROWSEGMENT& segment : outside) {
        const ROWSEGMENT list[] = {{0, 5}, segment};
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_PutBitmapRowSegments(bitmap.get(), "\1\1\1\1\1\1\1\1", 0, list, 2));
    }
    EXPECT_EQ(std::vector<uint8_t>(40, 0), bitmap.pixels());
    for (const int32_t row : {-1, 5, kLeast, kMost})
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_PutBitmapRowSegments(bitmap.get(), buffer, row, nullptr, 0));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_PutBitmapRowSegments(bitmap.get(), nullptr, 0, nullptr, 0));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_PutBitmapRowSegments(bitmap.get(), buffer, 0, nullptr, 1));
    EXPECT_EQ(0, V_PutBitmapRowSegments(bitmap.get(), buffer, 0, nullptr, 0));
    bitmap->Width = 9;
    EXPECT_EQ(ERROR_INVALID_WIDTH_HEIGHT, V_PutBitmapRowSegments(bitmap.get(), buffer, 0, nullptr, 0));
    bitmap->StructSize = 0;
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_GetBitmapRow(bitmap.get(), buffer, 0, 5));
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_GetPixelData(bitmap.get(), buffer, 0, 0, 5));
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_PutBitmapRowSegments(bitmap.get(), buffer, 0, nullptr, 0));
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_ChangeBitmapHeight(bitmap.get(), 3));
    bitmap->StructSize = BITMAPHANDLE_SIZE;
    BITMAPHANDLE cleared{}; // no bitmap, before it has no size
    EXPECT_EQ(ERROR_INVALID_IMAGE, V_GetPixelData(&cleared, buffer, 0, 0, 5));
    EXPECT_EQ(ERROR_INVALID_IMAGE, V_PutPixelData(&cleared, buffer, 0, 0, 5));
    EXPECT_EQ(ERROR_INVALID_IMAGE, V_ChangeBitmapHeight(&cleared, 3));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_ChangeBitmapHeight(nullptr, 3));
}

TEST(Rows, AnEarlierRecordOverTheLimitStatesNoMoreThanIt)
{
    TestBitmap bitmap(BITMAPHANDLE_SIZE_EARLIER);
    bitmap.make(Kind::disk, 65536, 16, 8);
    ASSERT_EQ(SUCCESS, V_ChangeBitmapHeight(bitmap.get(), 65600));
    EXPECT_EQ(0xFFFF0000u, +bitmap->Size);
    const uint32_t mark = 0xC0FFEE42;
    uint32_t back = 0;
    EXPECT_EQ(4, V_PutBitmapRow(bitmap.get(), &mark, 65599, 4));
    EXPECT_EQ(4, V_GetBitmapRow(bitmap.get(), &back, 65599, 4));
    EXPECT_EQ(mark, back);
    EXPECT_EQ(SUCCESS, V_UpdateBitmapSize(bitmap.get()));
    EXPECT_EQ(0xFFFF0000u, +bitmap->Size);
}

} // namespace
