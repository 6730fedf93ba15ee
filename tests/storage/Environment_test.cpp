// Storage in hard surroundings: no directory for temporary files, files that must not grow, a disk that is full, and
// temporary files forbidden. Everything comes back as a code, and no file is left behind.
#include "tests/support/Environment.h"

#include "kernel/files/TempOptions.h"
#include "platform/fault/fault.h"
#include "tests/support/TestBitmap.h"

#include <cwchar>
#include <fstream>

using namespace vk::testing;

namespace {

constexpr int32_t kLine = 64 * 1024;
constexpr uint32_t kMaxTempNameForTests = 1000;

/// Asks for storage that takes a temporary file; the record stays as it was when there is none, and the code says why.
void expect_no_file_storage(int code = ERROR_NO_MEMORY)
{
    const Thresholds restore;
    for (const uint32_t memory : {TYPE_DISK, TYPE_TILED, TYPE_CONV, TYPE_NOTILED}) {
        ASSERT_EQ(SUCCESS, V_SetMemoryThresholds(0, 0, kLine, 0, 0, 31));
        TestBitmap bitmap;
        ASSERT_EQ(SUCCESS, V_InitBitmap(bitmap, BITMAPHANDLE_SIZE, kLine, 64, 8));
        const auto before = bitmap.image();
        EXPECT_EQ(code, V_AllocateBitmap(bitmap, memory)) << memory;
        EXPECT_EQ(before, bitmap.image());
        EXPECT_EQ(code, bitmap.create(memory, kLine, 64, 8)) << memory;
        EXPECT_TRUE(bitmap.is_empty());
    }
    TestBitmap bitmap;
    bitmap.make(Kind::conv, kLine, 64, 8);
    bitmap->Data[5] = 77;
    const auto before = bitmap.image();
    for (const uint32_t memory : {TYPE_DISK, TYPE_TILED})
        EXPECT_EQ(code, V_SetBitmapMemoryInfo(bitmap, memory, kLine, 0, 0, 0, 0, 3));
    EXPECT_EQ(before, bitmap.image());
    EXPECT_EQ(77, bitmap->Data[5]);
    HHUGEMEMORY huge = nullptr;
    EXPECT_EQ(code, V_AllocHugeMemory(&huge, 64 * size_t{kLine}, TYPE_DISK));
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

// Known before anything is made: a directory whose name leaves no room for a file's, or is no text.
TEST(Environment, DirectoryThatCannotBeNamed)
{
    const ScratchDirectory scratch;
    const std::string at = scratch.path().string() + '/';
    std::vector<std::string> names = {at + std::string(240 - std::min<size_t>(at.size(), 239), 'x'),
                                      at + std::string(400, 'x')};
#if !defined(_WIN32)
    names.push_back(at + "\xFF");
#endif
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        const TempFilesIn there(name);
        wchar_t directory[kMaxTempNameForTests];
        if (V_GetTempDirectory(directory, kMaxTempNameForTests) == SUCCESS && std::wcslen(directory) < 238)
            continue; // the system took another one
        expect_no_file_storage(ERROR_INVALID_FILENAME);
        wchar_t wide[260];
        EXPECT_EQ(ERROR_INVALID_FILENAME, V_GetTempFileName(wide, nullptr));
        EXPECT_NE(SUCCESS, V_GetTempDirectory(wide, 20));
        const Thresholds restore;
        Thresholds::tiles(kLine, 1, 0);
        const vk::fault::Live before = vk::fault::live();
        vk::fault::arm(0, false);
        TestBitmap bitmap;
        ASSERT_EQ(SUCCESS, V_InitBitmap(bitmap.get(), BITMAPHANDLE_SIZE, 10, 10, 8));
        EXPECT_EQ(ERROR_INVALID_FILENAME, V_AllocateBitmap(bitmap.get(), TYPE_DISK));
        EXPECT_EQ(1u, vk::fault::calls()) << "the question where files go, and nothing else";
        ASSERT_EQ(SUCCESS, V_SetMemoryThresholds(0, 0, kLine, 1, 0, 31));
        ASSERT_EQ(ERROR_INVALID_FILENAME, bitmap.create(TYPE_TILED, kLine, 2, 8)) << "the second tile";
        EXPECT_EQ(before, vk::fault::live());
    }
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
        EXPECT_EQ(kLine, V_PutBitmapRow(bitmap, row.data(), 15, kLine));
        const auto before = bitmap.image();
        EXPECT_EQ(ERROR_NO_MEMORY, V_ChangeBitmapHeight(bitmap, 30)) << name_of(kind);
        EXPECT_EQ(before, bitmap.image());
        EXPECT_EQ(SUCCESS, V_ChangeBitmapHeight(bitmap, 20));
        std::vector<uint8_t> back(kLine);
        EXPECT_EQ(kLine, V_GetBitmapRow(bitmap, back.data(), 15, kLine));
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
            code = V_PutBitmapRow(bitmap, row.data(), put, kLine);
        EXPECT_EQ(kind == Kind::disk ? ERROR_FILE_WRITE : ERROR_NO_MEMORY, code);
        EXPECT_GE(put, 10);
        EXPECT_LE(put, 16);
        for (int32_t i = 0; i < put; ++i) {
            ASSERT_EQ(kLine, V_GetBitmapRow(bitmap, back.data(), i, kLine));
            ASSERT_EQ(row, back) << "what was written stays";
        }
        ASSERT_EQ(kLine, V_GetBitmapRow(bitmap, back.data(), 63, kLine));
        EXPECT_EQ(0u, scratch.files());
    }
    TestBitmap bitmap;
    bitmap.make(Kind::conv, kLine, 64, 8);
    bitmap->Data[0] = 1;
    std::fill(bitmap->Data, bitmap->Data + bitmap.bytes(), uint8_t{7});
    const auto before = bitmap.image();
    EXPECT_EQ(ERROR_FILE_WRITE, V_SetBitmapMemoryInfo(bitmap, TYPE_DISK, 0, 0, 0, 0, 0, 1));
    EXPECT_EQ(ERROR_NO_MEMORY, V_SetBitmapMemoryInfo(bitmap, TYPE_TILED, kLine, 0, 0, 0, 0, 3));
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
        EXPECT_EQ(ERROR_NO_MEMORY, V_SetBitmapMemoryInfo(bitmap, TYPE_DISK, 0, 0, 0, 0, 0, 1));
        EXPECT_EQ(ERROR_NO_MEMORY, V_SetBitmapMemoryInfo(bitmap, TYPE_TILED, 1000, 0, 2, 0, 0, 11));
        EXPECT_EQ(SUCCESS, V_SetBitmapMemoryInfo(bitmap, TYPE_TILED, 1000, 0, -100, 0, 0, 11));
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
