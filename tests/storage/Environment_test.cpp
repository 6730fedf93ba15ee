// Storage in hard surroundings: no directory for temporary files, files that must not grow, a disk that is full, and
// temporary files forbidden. Everything comes back as a code, and no file is left behind.
#include "tests/support/Environment.h"

#include "kernel/files/TempOptions.h"
#include "tests/support/TestBitmap.h"

#include <fstream>

using namespace vk::testing;

namespace {

constexpr int32_t kLine = 64 * 1024;

/// Asks for storage that takes a temporary file; the record stays as it was when there is none.
void expect_no_file_storage()
{
    const Thresholds restore;
    for (const uint32_t memory : {TYPE_DISK, TYPE_TILED, TYPE_CONV, TYPE_NOTILED}) {
        ASSERT_EQ(SUCCESS, V_SetMemoryThresholds(0, 0, kLine, 0, 0, 31));
        TestBitmap bitmap;
        ASSERT_EQ(SUCCESS, V_InitBitmap(bitmap.get(), BITMAPHANDLE_SIZE, kLine, 64, 8));
        const auto before = bitmap.image();
        EXPECT_EQ(ERROR_NO_MEMORY, V_AllocateBitmap(bitmap.get(), memory)) << memory;
        EXPECT_EQ(before, bitmap.image());
        EXPECT_EQ(ERROR_NO_MEMORY, bitmap.create(memory, kLine, 64, 8)) << memory;
        EXPECT_TRUE(bitmap.is_empty());
    }
    TestBitmap bitmap;
    bitmap.make(Kind::conv, kLine, 64, 8);
    bitmap->Data[5] = 77;
    const auto before = bitmap.image();
    for (const uint32_t memory : {TYPE_DISK, TYPE_TILED})
        EXPECT_EQ(ERROR_NO_MEMORY, V_SetBitmapMemoryInfo(bitmap.get(), memory, kLine, 0, 0, 0, 0, 3));
    EXPECT_EQ(before, bitmap.image());
    EXPECT_EQ(77, bitmap->Data[5]);
}

TEST(Environment, NoDirectoryForTemporaryFiles)
{
    const ScratchDirectory scratch;
    const auto file = scratch.path() / "file";
    std::ofstream(file) << "not a directory";
    for (const auto& directory : {scratch.path() / "missing", file, file / "below"}) {
        const TempFilesIn there(directory);
        expect_no_file_storage();
        wchar_t wide[260];
        char narrow[780];
        EXPECT_EQ(ERROR_NO_MEMORY, V_GetTempFileName(wide, nullptr));
        EXPECT_EQ(ERROR_NO_MEMORY, V_GetTempFileNameA(narrow, nullptr));
    }
    EXPECT_EQ(1u, scratch.files());
}

TEST(Environment, FilesMustNotGrow)
{
    const ScratchDirectory scratch;
    const TempFilesIn there(scratch.path());
    const FileSizeLimit limit(3 * size_t{kLine} * 8);
    if (!limit.holds())
        GTEST_SKIP() << "the system has no such limit";
    expect_no_file_storage();
    for (const Kind kind : {Kind::disk, Kind::tiled_file}) {
        TestBitmap bitmap;
        bitmap.make(kind, kLine, 16, 8);
        const std::vector<uint8_t> row(kLine, 0x42);
        EXPECT_EQ(kLine, V_PutBitmapRow(bitmap.get(), row.data(), 15, kLine));
        const auto before = bitmap.image();
        EXPECT_EQ(ERROR_NO_MEMORY, V_ChangeBitmapHeight(bitmap.get(), 30)) << name_of(kind);
        EXPECT_EQ(before, bitmap.image());
        EXPECT_EQ(SUCCESS, V_ChangeBitmapHeight(bitmap.get(), 20));
        std::vector<uint8_t> back(kLine);
        EXPECT_EQ(kLine, V_GetBitmapRow(bitmap.get(), back.data(), 15, kLine));
        EXPECT_EQ(row, back);
    }
    EXPECT_EQ(0u, scratch.files());
}

TEST(Environment, DiskFull)
{
    const ScratchDirectory scratch;
    const SmallDisk disk(scratch.path(), 16 * size_t{kLine});
    if (!disk.is_there())
        GTEST_SKIP() << "no right to make a small disk";
    const TempFilesIn there(scratch.path());
    for (const Kind kind : {Kind::disk, Kind::tiled_file}) {
        TestBitmap bitmap; // larger than the disk; its file has no space in it as yet
        bitmap.make(kind, kLine, 64, 8);
        const std::vector<uint8_t> row(kLine, 0x42);
        std::vector<uint8_t> back(kLine);
        int32_t put = 0;
        intptr_t code = kLine;
        for (; put < 64 && code == kLine; put += code == kLine)
            code = V_PutBitmapRow(bitmap.get(), row.data(), put, kLine);
        EXPECT_EQ(kind == Kind::disk ? ERROR_FILE_WRITE : ERROR_NO_MEMORY, code);
        EXPECT_GE(put, 10);
        EXPECT_LE(put, 16);
        for (int32_t i = 0; i < put; ++i) {
            ASSERT_EQ(kLine, V_GetBitmapRow(bitmap.get(), back.data(), i, kLine));
            ASSERT_EQ(row, back) << "what was written stays";
        }
        ASSERT_EQ(kLine, V_GetBitmapRow(bitmap.get(), back.data(), 63, kLine));
        EXPECT_EQ(0u, scratch.files());
    }
    TestBitmap bitmap;
    bitmap.make(Kind::conv, kLine, 64, 8);
    bitmap->Data[0] = 1;
    std::fill(bitmap->Data, bitmap->Data + bitmap.bytes(), uint8_t{7});
    const auto before = bitmap.image();
    EXPECT_EQ(ERROR_FILE_WRITE, V_SetBitmapMemoryInfo(bitmap.get(), TYPE_DISK, 0, 0, 0, 0, 0, 1));
    EXPECT_EQ(ERROR_NO_MEMORY, V_SetBitmapMemoryInfo(bitmap.get(), TYPE_TILED, kLine, 0, 0, 0, 0, 3));
    EXPECT_EQ(before, bitmap.image());
    EXPECT_EQ(std::vector<uint8_t>(bitmap.bytes(), 7), bitmap.pixels());
}

TEST(Environment, TemporaryFilesForbidden)
{
    const ScratchDirectory scratch;
    const TempFilesIn there(scratch.path());
    const Thresholds restore;
    const uint32_t before = vk::set_temp_file_mode(3);
    EXPECT_EQ(3, V_GetTempFileMode());
    {
        TestBitmap bitmap;
        EXPECT_EQ(SUCCESS, bitmap.create(TYPE_DISK, 100, 100, 8)) << "in memory then";
        EXPECT_EQ(BITMAPFLAG_ALLOCATED | BITMAPFLAG_CONVENTIONALMEMORY, bitmap->Flags);
        EXPECT_EQ(ERROR_NO_MEMORY, V_SetBitmapMemoryInfo(bitmap.get(), TYPE_DISK, 0, 0, 0, 0, 0, 1));
        EXPECT_EQ(ERROR_NO_MEMORY, V_SetBitmapMemoryInfo(bitmap.get(), TYPE_TILED, 1000, 0, 2, 0, 0, 11));
        EXPECT_EQ(SUCCESS, V_SetBitmapMemoryInfo(bitmap.get(), TYPE_TILED, 1000, 0, -100, 0, 0, 11));
        for (const uint32_t memory : {TYPE_CONV, TYPE_TILED, TYPE_NOTILED, TYPE_DISK}) {
            ASSERT_EQ(SUCCESS, V_SetMemoryThresholds(0, 0, 1000, 0, 0, 31));
            TestBitmap other;
            EXPECT_EQ(ERROR_NO_MEMORY, other.create(memory, 100, 100, 8)) << memory;
        }
    }
    vk::set_temp_file_mode(before);
    EXPECT_EQ(1, V_GetTempFileMode());
    EXPECT_EQ(0u, scratch.files());
}

} // namespace
