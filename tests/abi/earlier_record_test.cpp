// Every operation on a record of the earlier, shorter kind: nothing behind its last byte is written, and nothing there
// is read, which shows as the same results whatever stands there (and, where addresses are checked, as a report on the
// exact-size block). A record of neither size is refused untouched.
#include "tests/abi/RecordOperations.h"

#include <cstring>

namespace vk::testing {
namespace {

std::vector<uint8_t> g_pixels(8192); // user memory

// Where a bitmap comes from: one row per storage kind.
struct Origin {
    const char* name;
    uint32_t memory; // 0: initialised only
    int32_t bits;
};

const Origin kOrigins[] = {
    {"no storage", 0, 24},         {"memory", TYPE_CONV, 24}, {"memory, 1 bit", TYPE_CONV, 1},
    {"tiles", TYPE_TILED, 16},     {"a file", TYPE_DISK, 8},  {"run lengths", TYPE_COMPRESSED, 1},
    {"user memory", TYPE_USER, 4},
};

// In every way in which a record can be made.
int make(BITMAPHANDLE* bitmap, uint32_t size, const Origin& origin)
{
    const auto [name, memory, bits] = origin;
    int code = V_InitBitmap(bitmap, size, kWidth, kHeight, bits);
    if (memory == 0)
        return code == SUCCESS ? V_InitBitmapWithCallbacks(bitmap, size, kWidth, kHeight, bits, nullptr) : code;
    if (memory == TYPE_CONV)
        return code == SUCCESS ? V_AllocateBitmap(bitmap, TYPE_CONV) : code;
    void* const pixels = memory == TYPE_USER ? g_pixels.data() : nullptr;
    code = V_CreateBitmapWithCallbacks(bitmap, size, memory, kWidth, kHeight, bits, COLORORDER_BGR, nullptr, TOP_LEFT,
                                       pixels, g_pixels.size(), nullptr);
    if (code != SUCCESS || memory == TYPE_USER)
        return code;
    V_FreeBitmap(bitmap);
    return V_CreateBitmap(bitmap, size, memory, kWidth, kHeight, bits, COLORORDER_BGR, nullptr, TOP_LEFT, nullptr, 0);
}

// Runs the whole life on a record with `room` bytes, those behind its end filled with `tail`. Returns all results.
std::vector<intptr_t> live(const Origin& origin, uint32_t size, size_t room, uint8_t tail)
{
    SCOPED_TRACE(origin.name);
    const auto block = std::make_unique<uint8_t[]>(room);
    std::memset(block.get(), tail, room);
    auto* bitmap = reinterpret_cast<BITMAPHANDLE*>(block.get());
    const std::vector<uint8_t> expected(room - size, tail);
    std::fill(g_row.begin(), g_row.end(), uint8_t{0});
    std::fill(g_pixels.begin(), g_pixels.end(), uint8_t{0});

    std::vector<intptr_t> results;
    auto note = [&](intptr_t result, const char* name) {
        results.push_back(result);
        EXPECT_TRUE(room == size || std::memcmp(block.get() + size, expected.data(), expected.size()) == 0) << name;
    };
    note(make(bitmap, size, origin), "creation");
    EXPECT_EQ(SUCCESS, results.back());
    for (const RecordOperation& operation : all_operations())
        note(operation.run(bitmap), operation.name);
    V_FreeBitmap(bitmap);
    note(0, "V_FreeBitmap");
    return results;
}

TEST(EarlierRecord, EndsWhereItEnds)
{
    V_SetMemoryThresholds(0, 0, 200, 0, 0, THRESHOLD_TILESIZE);
    for (const uint32_t size : {BITMAPHANDLE_SIZE_EARLIER, BITMAPHANDLE_SIZE}) {
        for (const Origin& origin : kOrigins) {
            const auto results = live(origin, size, size + 128, 0xA5);
            EXPECT_EQ(results, live(origin, size, size + 128, 0x00)) << origin.name;
            EXPECT_EQ(results, live(origin, size, size + 128, 0xFF)) << origin.name;
            if (HasFailure()) {
                return; // a block of the exact size would only break the heap
            }
            EXPECT_EQ(results, live(origin, size, size, 0)) << origin.name;
        }
    }
    V_SetMemoryThresholds(0, 0, 0, 0, 0, THRESHOLD_TILESIZE);
}

TEST(EarlierRecord, OtherSizesAreRefusedUntouched)
{
    for (const uint32_t size : {0u, 4u, 227u, 229u, 283u, 285u, 0xFFFFFFFFu}) {
        std::vector<uint8_t> block(BITMAPHANDLE_SIZE + 16, 0xA5);
        std::memcpy(block.data(), &size, sizeof size);
        const std::vector<uint8_t> before = block;
        auto* bitmap = reinterpret_cast<BITMAPHANDLE*>(block.data());
        for (const RecordOperation& operation : all_operations()) {
            const intptr_t result = operation.run(bitmap);
            EXPECT_TRUE(!operation.tests_size || result == ERROR_INVALID_STRUCT_SIZE)
                << operation.name << ", size " << size << ", result " << result;
            EXPECT_EQ(before, block) << operation.name << ", size " << size;
        }
        EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_InitBitmap(bitmap, size, kWidth, kHeight, 8));
        EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_CreateBitmap(bitmap, size, TYPE_CONV, kWidth, kHeight, 8, COLORORDER_RGB,
                                                            nullptr, TOP_LEFT, nullptr, 0));
        EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_AllocateBitmap(bitmap, TYPE_CONV));
        V_FreeBitmap(bitmap);
        EXPECT_EQ(before, block) << "size " << size;
    }
}

} // namespace
} // namespace vk::testing
