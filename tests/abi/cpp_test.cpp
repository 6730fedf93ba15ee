// Vkkrnx.hpp as programs use it: who owns what, exceptions and codes, spans and locks, and that each member does what
// its C function does. The part without exceptions is in cpp_without_exceptions.cpp, the threads in
// cpp_threads_test.cpp.
#include "tests/abi/CppPictures.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <typeinfo>

namespace {

using testing_cpp::bytes_of;
using testing_cpp::painted;

int g_frees = 0;

int count_free(BITMAPHANDLE*, void*)
{
    ++g_frees;
    return V_SUCCESS;
}

/// A bitmap whose end is counted.
vk::Bitmap counted()
{
    g_frees = 0;
    BITMAPDATACALLBACKS callbacks{};
    callbacks.StructSize = sizeof callbacks;
    callbacks.FreeBitmapDataCallback = &count_free;
    BITMAPHANDLE record{};
    EXPECT_EQ(V_SUCCESS, V_CreateBitmapWithCallbacks(&record, BITMAPHANDLE_SIZE, TYPE_CONV, 5, 4, 24, COLORORDER_BGR,
                                                     nullptr, TOP_LEFT, nullptr, 0, &callbacks));
    return vk::Bitmap::adopt(record);
}

TEST(Cpp, FreesWhatItOwnsOnce)
{
    {
        vk::Bitmap first = counted();
        vk::Bitmap second = std::move(first);
        EXPECT_FALSE(first.allocated());
        EXPECT_EQ(5, second.width());
        vk::Bitmap third = painted(3, 3, 8);
        second.swap(third);
        EXPECT_EQ(5, third.width());
        vk::Bitmap& same = third;
        third = std::move(same);
        EXPECT_EQ(5, third.width());
        EXPECT_EQ(0, g_frees);
        second = std::move(third);
        EXPECT_EQ(0, g_frees) << "what is freed here is the other bitmap";
        second = painted(2, 2, 8);
        EXPECT_EQ(1, g_frees);
    }
    EXPECT_EQ(1, g_frees);

    BITMAPHANDLE record = counted().release();
    EXPECT_EQ(0, g_frees);
    {
        vk::BitmapView view(record);
        vk::BitmapView same = view;
        same.flip();
    }
    EXPECT_EQ(0, g_frees) << "a view owns nothing";
    V_FreeBitmap(&record);
    EXPECT_EQ(1, g_frees);

    BITMAPHANDLE earlier{};
    earlier.StructSize = BITMAPHANDLE_SIZE_EARLIER;
    vk::Code code;
    EXPECT_FALSE(vk::Bitmap::adopt(earlier, code).allocated());
    EXPECT_EQ(vk::Code::invalid_struct_size, code);

    vk::Bitmap with_data;
    V_AllocateBitmapExtraData(with_data.record(), 100); // freed with a bitmap that has no pixels, too
}

TEST(Cpp, ThrowsOrWritesCodesAsTheCallSays)
{
    vk::Bitmap picture = painted(4, 3, 24);
    vk::Bitmap empty;
    using Call = std::function<void(vk::Report)>;
    const struct {
        const char* name;
        vk::Code code;
        Call call;
    } failures[] = {
        {"create", vk::Code::invalid_bits_per_pixel,
         [](vk::Report report) { EXPECT_FALSE(vk::Bitmap::create(1, 1, 9, {}, report).allocated()); }},
        {"a palette that is too short", vk::Code::invalid_parameter,
         [](vk::Report report) {
             const vk::Palette four = vk::Palette::fixed(2);
             EXPECT_FALSE(vk::Bitmap::create(1, 1, 8, {.palette = four}, report).allocated());
         }},
        {"memory that is too short", vk::Code::buffer_too_small,
         [](vk::Report report) {
             std::byte few[11];
             EXPECT_FALSE(vk::Bitmap::over(few, 1, 3, 32, {}, report).allocated());
         }},
        {"clone", vk::Code::invalid_image, [&](vk::Report report) { EXPECT_FALSE(empty.clone(report).allocated()); }},
        {"flip", vk::Code::invalid_parameter, [&](vk::Report report) { empty.flip(report); }},
        {"warp", vk::Code::invalid_parameter,
         [&](vk::Report report) { picture.warp(vk::Matrix().scale(0, 0), 0, 0, {}, {}, report); }},
        {"row", vk::Code::invalid_parameter,
         [&](vk::Report report) {
             std::byte row[16];
             EXPECT_EQ(0u, picture.get_row(3, row, report));
         }},
        {"pixel", vk::Code::invalid_parameter,
         [&](vk::Report report) { static_cast<void>(picture.pixel(3, 0, report)); }},
        {"segments of a short row", vk::Code::buffer_too_small,
         [&](vk::Report report) {
             const ROWSEGMENT all{0, 4};
             EXPECT_EQ(0u, picture.put_segments(0, std::array<std::byte, 2>{}, std::span(&all, 1), report));
         }},
        {"list", vk::Code::invalid_parameter,
         [](vk::Report report) { EXPECT_FALSE(vk::BitmapList().remove(0, report).allocated()); }},
        {"a DIB of nothing", vk::Code::failure,
         [&](vk::Report report) { EXPECT_EQ(nullptr, empty.to_dib({}, report).get()); }},
        {"module", vk::Code::file_not_found,
         [](vk::Report report) { EXPECT_FALSE(vk::Library("no-such-module", vk::LoadFrom::beside, report)); }},
    };
    for (const auto& [name, expected, call] : failures) {
        SCOPED_TRACE(name);
        vk::Code code = vk::Code::success;
        EXPECT_NO_THROW(call(code));
        EXPECT_EQ(expected, code);
        try {
            call({});
            ADD_FAILURE() << "nothing thrown";
        } catch (const vk::Error& error) {
            EXPECT_EQ(expected, error.code());
            EXPECT_EQ(vk::text(expected), error.what());
        }
    }
    vk::Code code = vk::Code::internal;
    picture.flip(code);
    EXPECT_TRUE(vk::succeeded(code)) << "a success is written, too";
    EXPECT_NE(std::string::npos, std::string(typeid(vk::Bitmap).name()).find("cpp1")) << "none of the library's names";
}

TEST(Cpp, RowsAreTheBitmapsInEveryStorage)
{
    const struct {
        vk::Memory memory;
        int32_t depth;
        bool is_here;
    } kinds[] = {
        {vk::Memory::conventional, 24, true}, {vk::Memory::tiled, 24, false},           {vk::Memory::disk, 8, false},
        {vk::Memory::compressed, 1, false},   {vk::Memory::super_compressed, 8, false},
    };
    vk::ThreadSettings settings;
    settings.tile_size(65536); // so that there are several
    for (const auto& [memory, depth, is_here] : kinds) {
        SCOPED_TRACE(testing::Message() << "memory " << vk::value_of(memory));
        vk::Bitmap picture = vk::Bitmap::create(20000, 7, depth, {.memory = memory});
        picture.edit_rows([](int32_t y, std::span<std::byte> row) { std::memset(row.data(), y * 7, row.size()); });
        int32_t y = 0;
        for (const std::span<const std::byte> row : picture.rows()) {
            EXPECT_EQ(1, picture.record()->LockCount);
            EXPECT_EQ(picture.bytes_per_line(), row.size());
            EXPECT_EQ(std::byte(y * 7), row.front());
            EXPECT_EQ(std::byte(y * 7), row.back());
            ++y;
        }
        EXPECT_EQ(7, y);
        EXPECT_EQ(0, picture.record()->LockCount);
        picture.edit_rows([](int32_t row, std::span<std::byte> bytes) {
            bytes[0] = std::byte{0xAA};
            return row < 2; // that row is still put
        });
        const vk::LockGuard guard(picture);
        std::byte first{};
        for (const int32_t row : {2, 3}) {
            picture.get_row(row, std::span(&first, 1));
            EXPECT_EQ(row == 2, first == std::byte{0xAA}) << row;
        }
        EXPECT_EQ(is_here, !picture.row(0).empty());
        if (is_here) {
            EXPECT_EQ(static_cast<const void*>(picture.record()->Data + 3 * picture.bytes_per_line()),
                      picture.row(3).data());
            picture.row(3)[5] = std::byte{0x5A};
            EXPECT_EQ(0x5A, picture.pixel(3, 1).red());
        }
        EXPECT_TRUE(picture.row(-1).empty() && picture.row(7).empty());
    }
    int rows = 0;
    vk::Code code = vk::Code::success;
    vk::Bitmap empty;
    for ([[maybe_unused]] const auto row : empty.rows(code))
        ++rows;
    EXPECT_EQ(0, rows);
}

TEST(Cpp, GuardsReleaseWhateverHappens)
{
    vk::Bitmap picture = painted(4, 3, 24);
    const auto locks = [&] { return int{picture.record()->LockCount}; };
    {
        vk::LockGuard outer(picture);
        vk::LockGuard inner(picture);
        EXPECT_EQ(2, locks());
        inner.release();
        inner.release();
        EXPECT_EQ(1, locks());
    }
    EXPECT_EQ(0, locks());
    EXPECT_THROW(picture.edit_rows([](int32_t, std::span<std::byte>) { throw 1; }), int);
    EXPECT_EQ(0, locks());

    vk::BitmapList list;
    list.push_back(std::move(picture));
    EXPECT_FALSE(picture.allocated());
    list.push_back(painted(9, 2, 8));
    list.use(0, [](vk::BitmapView item) { item.resize(8, 8); });
    EXPECT_THROW(list.use(1,
                          [](vk::BitmapView item) {
                              item.rotate(vk::QuarterTurn::clockwise);
                              throw 1;
                          }),
                 int);
    EXPECT_EQ(2, list.remove(1).width()) << "the record went back to the list";
    EXPECT_EQ(8, list.remove(0).height());
    EXPECT_TRUE(list.empty());
}

TEST(Cpp, StatusCallbacksStopPassCodesAndThrow)
{
    vk::Bitmap picture = painted(64, 64, 24);
    const std::vector<std::byte> before = bytes_of(picture);
    std::vector<int> seen;
    vk::StatusCallback outer([&](int percent) { seen.push_back(percent); });
    vk::Code code;
    {
        vk::StatusCallback stop([](int percent) { return percent < 20; });
        picture.resize(10, 10, {}, code);
        EXPECT_EQ(vk::Code::user_abort, code);
    }
    {
        vk::StatusCallback refuse([](int) { return 4321; });
        picture.flip(code);
        EXPECT_EQ(static_cast<vk::Code>(4321), code);
        EXPECT_THROW(picture.flip(), vk::Error);
    }
    {
        vk::StatusCallback thrower([](int) { throw std::string("mine"); });
        EXPECT_THROW(picture.flip(), std::string);
        picture.flip(code);
        EXPECT_EQ(vk::Code::user_abort, code);
        EXPECT_THROW(thrower.rethrow(), std::string);
        EXPECT_NO_THROW(thrower.rethrow()) << "once";
    }
    EXPECT_EQ(before, bytes_of(picture));
    EXPECT_TRUE(seen.empty());
    picture.flip();
    ASSERT_FALSE(seen.empty());
    EXPECT_EQ(100, seen.back());
}

TEST(Cpp, ThreadSettingsGoBack)
{
    const int32_t dithering = V_GetDefaultDithering();
    int64_t tile = 0;
    V_GetMemoryThresholds(nullptr, nullptr, &tile, nullptr, nullptr);
    {
        vk::ThreadSettings settings;
        settings.memory(vk::Memory::disk).dithering(vk::Dither::stucki).workers(3).tile_size(1 << 20);
        EXPECT_EQ(DITHER_STUCKI, V_GetDefaultDithering());
        EXPECT_EQ(3, V_GetWorkers());
        EXPECT_THROW(settings.workers(-1), vk::Error);
    }
    uint32_t memory = 0;
    int64_t tile_after = -1;
    V_GetDefaultMemoryType(&memory);
    V_GetMemoryThresholds(nullptr, nullptr, &tile_after, nullptr, nullptr);
    EXPECT_EQ(TYPE_CONV, memory);
    EXPECT_EQ(dithering, V_GetDefaultDithering());
    EXPECT_EQ(1, V_GetWorkers());
    EXPECT_EQ(tile, tile_after);
}

TEST(Cpp, BlocksAndPicturesOfOthers)
{
    vk::Bitmap picture = painted(6, 5, 24);
    const std::vector<std::byte> rows = bytes_of(picture);
    vk::DibBlock block = picture.to_dib();
    ASSERT_NE(nullptr, block.get());
    EXPECT_EQ(40 + 5 * 20u, block.size());
    {
        const vk::Bitmap lent = vk::Bitmap::over_dib(block);
        EXPECT_TRUE(vk::has(lent.flags(), vk::BitmapFlag::mirror));
    }
    vk::Bitmap back = vk::Bitmap::from_dib(std::move(block));
    EXPECT_EQ(nullptr, block.get());
    EXPECT_EQ(picture.pixel(1, 2), back.pixel(3, 2)) << "the last row comes first";
    EXPECT_NE(nullptr, back.into_dib().get());
    EXPECT_FALSE(back.allocated());
    vk::DibBlock bad(GlobalAlloc(GHND, 10));
    vk::Code code;
    EXPECT_FALSE(vk::Bitmap::from_dib(std::move(bad), code).allocated());
    EXPECT_NE(nullptr, bad.get()) << "still the caller's"; // NOLINT(bugprone-use-after-move)

    vk::YuvPicture yuv("I444", 6, 5, vk::YuvMatrix::bt709, vk::YuvRange::full);
    ASSERT_EQ(90u, yuv.size());
    std::vector<uint8_t> planes(yuv.size());
    yuv.Planes[0] = planes.data();
    picture.to_yuv(yuv);
    EXPECT_EQ(6, vk::Bitmap::from_yuv(yuv).width());

    std::vector<std::byte> memory(rows);
    vk::Bitmap over = vk::Bitmap::over(memory, 6, 5, 24);
    EXPECT_EQ(bytes_of(picture), bytes_of(over));
    over.fill(vk::Color(1, 2, 3));
    EXPECT_EQ(std::byte{3}, memory[0]);
}

} // namespace
