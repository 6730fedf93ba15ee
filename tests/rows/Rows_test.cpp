// Row access against a plain array of bytes: random transfers, height changes and storage moves at every depth on every
// kind of storage, with records of both sizes; and everything that lies outside the storage.
#include "tests/support/TestBitmap.h"

using namespace vk::testing;

namespace {

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
        void (Model::*const steps[])() = {&Model::transfer, &Model::transfer, &Model::transfer, &Model::transfer,
                                          &Model::transfer, &Model::pixel,    &Model::segments, &Model::color,
                                          &Model::move,     &Model::outside,  &Model::check,    &Model::change_height};
        (this->*steps[random_.below(12)])();
    }

    void check()
    {
        ASSERT_EQ(bytes_, bitmap_.pixels());
        ASSERT_EQ(0, bitmap_->Reserved * (bitmap_.struct_size() == BITMAPHANDLE_SIZE));
    }

private:
    int32_t bits() { return bitmap_->BitsPerPixel; }
    int32_t line() { return static_cast<int32_t>(bitmap_->BytesPerLine); }
    int32_t any_row() { return random_.between(0, bitmap_->Height - 1); }
    int32_t any_column() { return random_.between(0, bitmap_->Width - 1); }
    uint8_t* row_at(int32_t row) { return bytes_.data() + row * line(); }

    /// Has something done to an accessed bitmap.
    template <class Call> auto accessed(Call&& call)
    {
        EXPECT_EQ(SUCCESS, V_AccessBitmap(bitmap_));
        const auto result = call();
        EXPECT_EQ(SUCCESS, V_ReleaseBitmap(bitmap_));
        return result;
    }

    /// A transfer from a random pixel on that may span rows.
    void transfer()
    {
        const int32_t row = any_row();
        const int32_t column = random_.one_in(2) ? 0 : any_column();
        const bool puts = random_.below(5) < 3;
        uint8_t* const at = row_at(row) + column_byte(bits(), column);
        const auto room = static_cast<uint64_t>(bytes_.data() + bytes_.size() - at);
        const auto most = static_cast<uint64_t>(random_.one_in(3) ? 5 * line() : line());
        const auto count = static_cast<size_t>(random_.below(std::min(room, most) + 1));
        Bytes buffer(count + 1, 0xEE);
        if (puts && random_.one_in(4))
            std::fill(buffer.begin(), buffer.end(), random_.one_in(2) ? uint8_t{0xFF} : uint8_t{0});
        else if (puts)
            random_.fill(buffer.data(), buffer.size());
        const uint8_t last = buffer.back();
        ASSERT_EQ(static_cast<intptr_t>(count), accessed([&] {
                      return puts          ? column == 0 ? V_PutBitmapRow(bitmap_, buffer.data(), row, count)
                                                         : V_PutBitmapRowCol(bitmap_, buffer.data(), row, column, count)
                                      : column == 0 ? V_GetBitmapRow(bitmap_, buffer.data(), row, count)
                                           : V_GetBitmapRowCol(bitmap_, buffer.data(), row, column, count);
                  }));
        ASSERT_TRUE(puts || std::equal(at, at + count, buffer.begin()));
        ASSERT_EQ(last, buffer.back());
        std::copy_n(buffer.begin(), count, at);
        drop_padding();
    }

    /// The bytes of one pixel.
    void pixel()
    {
        const int32_t row = any_row();
        const int32_t column = any_column();
        const size_t bytes = packed_bytes_of(column + 1, bits()) - static_cast<size_t>(column_byte(bits(), column));
        uint8_t* const at = row_at(row) + column_byte(bits(), column);
        uint8_t buffer[9] = {};
        ASSERT_EQ(SUCCESS, V_AccessBitmap(bitmap_));
        expect_each(ERROR_INVALID_PARAMETER, {V_GetPixelData(bitmap_, buffer, row, column, bytes - 1),
                                              V_PutPixelData(bitmap_, buffer, row, column, bytes - 1)});
        ASSERT_EQ(SUCCESS, V_GetPixelData(bitmap_, buffer, row, column, 9));
        ASSERT_TRUE(std::equal(buffer, buffer + bytes, at) && buffer[bytes] == 0);
        random_.fill(buffer, bytes);
        ASSERT_EQ(SUCCESS, V_PutPixelData(bitmap_, buffer, row, column, bytes));
        ASSERT_EQ(SUCCESS, V_ReleaseBitmap(bitmap_));
        std::copy_n(buffer, bytes, at);
        drop_padding();
    }

    void segments()
    {
        const int32_t row = any_row();
        Bytes from(static_cast<size_t>(line()));
        random_.fill(from.data(), from.size());
        std::vector<ROWSEGMENT> list(random_.below(5));
        int32_t pixels = 0;
        for (ROWSEGMENT& segment : list) {
            segment.nCol = random_.between(0, bitmap_->Width);
            segment.nWidth = random_.between(0, bitmap_->Width - segment.nCol);
            pixels += segment.nWidth;
            for (int32_t i = segment.nCol; i < segment.nCol + segment.nWidth; ++i)
                set_pixel(row_at(row), bits(), i, get_pixel(from.data(), bits(), i));
        }
        ASSERT_EQ(pixels, accessed([&] {
                      return V_PutBitmapRowSegments(bitmap_, from.data(), row, list.data(),
                                                    static_cast<uint32_t>(list.size()));
                  }));
    }

    void color()
    {
        const int32_t row = any_row();
        const int32_t column = any_column();
        const auto value = static_cast<COLORREF>(random_.next() & 0xFFFFFF);
        const uint32_t index = value & ((1u << std::min(bits(), 8)) - 1);
        if (bits() > 8 && bits() != 24)
            return;
        ASSERT_EQ(SUCCESS, V_PutPixelColor(bitmap_, row, column, bits() == 24 ? value : 0x01000000u | index));
        ASSERT_EQ(bits() == 24 ? value : index * 0x010101u, V_GetPixelColor(bitmap_, row, column));
        set_pixel(row_at(row), bits(), column,
                  bits() == 24 ? (value & 0xFF) << 16 | (value & 0xFF00) | value >> 16 : index);
    }

    void change_height()
    {
        const int32_t height = random_.between(1, 40);
        const bool is_lent = V_BitmapIsMirror(bitmap_) != 0;
        ASSERT_EQ(is_lent ? ERROR_INVALID_PARAMETER : SUCCESS, V_ChangeBitmapHeight(bitmap_, height));
        if (is_lent || bitmap_.bytes() == bytes_.size())
            return;
        ASSERT_EQ(height, bitmap_->Height);
        bytes_.resize(bitmap_.bytes(), 0);
        expect_size(static_cast<uint64_t>(bitmap_->DataOffset));
        ASSERT_EQ(SUCCESS, V_UpdateBitmapSize(bitmap_));
        expect_size(0);
    }

    void expect_size(uint64_t gap)
    {
        ASSERT_TRUE(V_BitmapIsCompressed(bitmap_) || V_BitmapIsSuperCompressed(bitmap_) ||
                    bytes_.size() + gap == bitmap_.data_size());
    }

    void move()
    {
        constexpr uint32_t kinds[] = {TYPE_CONV, TYPE_TILED, TYPE_DISK, TYPE_SUPERCOMPRESSED, TYPE_COMPRESSED};
        const uint32_t memory = kinds[random_.below(bits() == 1 ? 5 : can_make(Kind::super, bits()) ? 4 : 3)];
        if (random_.one_in(2))
            return; // rarer than the others
        ASSERT_EQ(SUCCESS, V_SetBitmapMemoryInfo(bitmap_, memory, random_.between(1, 6 * line()), 0,
                                                 random_.between(0, 3), 0, random_.between(1, 3), 43));
        ASSERT_EQ(memory, MemoryFigures(bitmap_).memory);
        ASSERT_EQ(0u, bitmap_->Flags & (BITMAPFLAG_GLOBAL | BITMAPFLAG_MIRROR));
        drop_padding();
        ASSERT_TRUE(bits() != 1 || random_.one_in(2) || V_ToggleBitmapCompression(bitmap_) == SUCCESS);
        drop_padding();
        ASSERT_EQ(SUCCESS, V_UpdateBitmapSize(bitmap_));
        expect_size(0);
    }

    /// A transfer that does not lie in the storage.
    void outside()
    {
        const int32_t rows[] = {INT32_MIN, -70000, -1, 0, any_row(), bitmap_->Height, bitmap_->Height + 1, INT32_MAX};
        const size_t counts[] = {
            1, 2, static_cast<size_t>(line()), bytes_.size(), bytes_.size() + 1, SIZE_MAX / 2, SIZE_MAX};
        const int32_t row = rows[random_.below(std::size(rows))];
        const size_t count = counts[random_.below(std::size(counts))];
        const int64_t start = int64_t{row} * line();
        const auto size = static_cast<int64_t>(bytes_.size());
        if (start >= 0 && start <= size && count <= static_cast<size_t>(size - start))
            return;
        const bool disk = (bitmap_->Flags & BITMAPFLAG_DISKMEMORY) != 0;
        const int before_start = disk ? ERROR_FILE_SEEK : ERROR_INVALID_PARAMETER;
        const int past_end = disk ? ERROR_FILE_READ : ERROR_INVALID_PARAMETER;
        Bytes buffer(16, 0xEE); // far too small: nothing may be moved
        ASSERT_EQ(SUCCESS, V_AccessBitmap(bitmap_));
        EXPECT_EQ(start < 0 ? before_start : past_end, V_GetBitmapRow(bitmap_, buffer.data(), row, count));
        EXPECT_EQ(start < 0 ? before_start : ERROR_INVALID_PARAMETER,
                  V_PutBitmapRow(bitmap_, buffer.data(), row, count));
        expect_each(0, {V_PutBitmapRow(bitmap_, buffer.data(), any_row(), 0),
                        V_GetBitmapRow(bitmap_, buffer.data(), any_row(), 0)});
        expect_each(ERROR_NO_MEMORY, {V_GetPixelData(bitmap_, buffer.data(), bitmap_->Height, 0, 16),
                                      V_PutPixelData(bitmap_, buffer.data(), -1, 0, 16)});
        ASSERT_EQ(Bytes(16, 0xEE), buffer);
        ASSERT_EQ(SUCCESS, V_ReleaseBitmap(bitmap_));
    }

    /// Run-length rows keep no bits behind the last pixel.
    void drop_padding()
    {
        for (int32_t row = 0; V_BitmapIsCompressed(bitmap_) && row < bitmap_->Height; ++row)
            for (int32_t i = bitmap_->Width; i < line() * 8; ++i)
                set_pixel(row_at(row), 1, i, 0);
    }

    TestBitmap& bitmap_;
    TestRandom& random_;
    Bytes bytes_;
};

TEST(Rows, EveryDepthOnEveryStorageLikeAPlainArray)
{
    TestRandom random(20240531);
    SCOPED_TRACE(random);
    for (const int32_t bits : kDepths)
        for (const Kind kind : kKinds)
            for (const uint32_t size : kRecordSizes) {
                if (!can_make(kind, bits))
                    continue;
                SCOPED_TRACE(say(name_of(kind), "bits", bits, "record", size));
                TestBitmap bitmap(size);
                bitmap.make(kind, random.between(1, 90), random.between(1, 30), bits);
                Model model(bitmap, random);
                for (int i = 0; i < 60 && !HasFailure(); ++i)
                    model.step();
                model.check();
                ASSERT_FALSE(HasFailure());
            }
}

TEST(Rows, ColumnsStartAtTheByteOfTheirFirstBit)
{
    const struct {
        int32_t bits, column;
        size_t start, pixel_bytes;
    } cases[] = {{1, 13, 1, 1},  {2, 5, 1, 1},   {3, 2, 0, 2},  {3, 3, 1, 1},  {5, 3, 1, 2},  {6, 3, 2, 1},
                 {7, 9, 7, 2},   {12, 3, 4, 2},  {12, 2, 3, 2}, {16, 3, 6, 2}, {24, 3, 9, 3}, {32, 3, 12, 4},
                 {48, 3, 18, 6}, {64, 3, 24, 8}, {4, 7, 3, 1},  {8, 7, 7, 1}};
    for (const auto& c : cases) {
        SCOPED_TRACE(say(c.bits, "bits, column", c.column));
        TestBitmap bitmap;
        bitmap.make(Kind::conv, 20, 2, c.bits);
        for (size_t i = 0; i < bitmap.bytes(); ++i)
            bitmap->Data[i] = static_cast<uint8_t>(i + 1);
        uint8_t buffer[10] = {};
        EXPECT_EQ(1, V_GetBitmapRowCol(bitmap, buffer, 1, c.column, 1));
        EXPECT_EQ(static_cast<uint8_t>(bitmap->BytesPerLine + c.start + 1), buffer[0]);
        EXPECT_EQ(SUCCESS, V_GetPixelData(bitmap, buffer, 1, c.column, c.pixel_bytes));
        EXPECT_EQ(0, buffer[c.pixel_bytes]);
    }
}

TEST(Rows, ArgumentChecks)
{
    uint8_t buffer[64] = {};
    TestBitmap bitmap;
    ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 5, 5, 8));
    expect_each(ERROR_INVALID_PARAMETER,
                {V_PutBitmapRow(bitmap, nullptr, 0, 5), V_GetBitmapRowCol(bitmap, nullptr, 0, 0, 5)});
    EXPECT_EQ(ERROR_INVALID_IMAGE, V_PutPixelData(bitmap, nullptr, 0, 0, 5));
    for (const int32_t column : {-1, INT32_MIN, INT32_MAX}) { // offsets are worked out in 32 bits without a sign
        expect_each(ERROR_INVALID_PARAMETER,
                    {V_GetBitmapRowCol(bitmap, buffer, 0, column, 1), V_PutBitmapRowCol(bitmap, buffer, 4, column, 1)});
        EXPECT_EQ(ERROR_NO_MEMORY, V_GetPixelData(bitmap, buffer, 0, column, 8)) << column;
    }
    constexpr ROWSEGMENT kOutside[] = {{-1, 1},        {0, 6},        {5, 1}, {1, -1}, {6, 0}, {INT32_MAX, INT32_MAX},
                                       {INT32_MIN, 1}, {1, INT32_MAX}};
    for (const ROWSEGMENT& segment : kOutside) {
        const ROWSEGMENT list[] = {{0, 5}, segment};
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_PutBitmapRowSegments(bitmap, "\1\1\1\1\1\1\1\1", 0, list, 2));
    }
    EXPECT_EQ(Bytes(40), bitmap.pixels());
    for (const int32_t row : {-1, 5, INT32_MIN, INT32_MAX})
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_PutBitmapRowSegments(bitmap, buffer, row, nullptr, 0));
    expect_each(ERROR_INVALID_PARAMETER, {V_PutBitmapRowSegments(bitmap, nullptr, 0, nullptr, 0),
                                          V_PutBitmapRowSegments(bitmap, buffer, 0, nullptr, 1)});
    EXPECT_EQ(0, V_PutBitmapRowSegments(bitmap, buffer, 0, nullptr, 0));
    BITMAPHANDLE cleared{}; // no bitmap, before it has no size
    expect_each(ERROR_INVALID_IMAGE, {V_GetPixelData(&cleared, buffer, 0, 0, 5),
                                      V_PutPixelData(&cleared, buffer, 0, 0, 5), V_ChangeBitmapHeight(&cleared, 3)});
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_ChangeBitmapHeight(nullptr, 3));
}

TEST(Rows, AnEarlierRecordOverTheLimitStatesNoMoreThanIt)
{
    TestBitmap bitmap(BITMAPHANDLE_SIZE_EARLIER);
    bitmap.make(Kind::disk, 65536, 16, 8);
    ASSERT_EQ(SUCCESS, V_ChangeBitmapHeight(bitmap, 65600));
    EXPECT_EQ(0xFFFF0000u, +bitmap->Size);
    const uint32_t mark = 0xC0FFEE42;
    uint32_t back = 0;
    expect_each(4, {V_PutBitmapRow(bitmap, &mark, 65599, 4), V_GetBitmapRow(bitmap, &back, 65599, 4)});
    EXPECT_EQ(mark, back);
    EXPECT_EQ(SUCCESS, V_UpdateBitmapSize(bitmap));
    EXPECT_EQ(0xFFFF0000u, +bitmap->Size);
}

} // namespace
