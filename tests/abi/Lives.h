// A life of operations that a bitmap is led through while something hinders it: what fails says so with a code and
// leaves the bitmap as it was, what does not fail gives the same pixels, and nothing ends the process.
//
// Each life is led in a copy of the process, which is hindered for the length of each operation and takes no memory of
// its own meanwhile. POSIX only.
#pragma once

#include "tests/abi/Child.h"
#include "tests/abi/RecordOperations.h"
#include "tests/support/TestBitmap.h"

#include <atomic>
#include <cstdio>
#include <functional>
#include <sys/mman.h>

#if defined(VKKRNX_TEST_SANITIZED)
#define VK_SANITIZED 1
#else
#define VK_SANITIZED 0
#endif

namespace vk::testing {

constexpr int32_t kLifeWidth = 401;
constexpr int32_t kLifeHeight = 300;
constexpr RECT kInside{100, 50, 350, 250};

/// Into a DIB and back, which takes the place of the bitmap.
inline int through_dib(B bitmap)
{
    HGLOBAL const block = V_ConvertToDIB(bitmap, DIB_INFOHEADER);
    if (block == nullptr)
        return ERROR_NO_MEMORY;
    BITMAPHANDLE made;
    const int code = V_ChangeFromDIB(&made, BITMAPHANDLE_SIZE, block);
    if (code != SUCCESS) {
        GlobalFree(block);
        return code;
    }
    const int copied = V_CopyBitmapData(bitmap, &made);
    V_FreeBitmap(&made);
    return copied;
}

inline int through_copy(B bitmap)
{
    BITMAPHANDLE copy;
    const int code = V_CopyBitmap(&copy, bitmap, BITMAPHANDLE_SIZE);
    if (code != SUCCESS)
        return code;
    const int blended = V_BlendBitmap(bitmap, 30, 20, 200, 150, &copy, 0, 0, nullptr, 0, 0, BLEND_SCREEN, 40000);
    V_FreeBitmap(&copy);
    return blended;
}

inline int in_region(B bitmap)
{
    int code = V_SetBitmapRegionEllipse(bitmap, &kInside, REGION_SET);
    if (code != SUCCESS)
        return code;
    code = V_FillBitmapRect(bitmap, &kInside, 0x00FF8000u);
    V_FreeBitmapRegion(bitmap);
    return code;
}

template <uint32_t memory> int move(B bitmap)
{
    return V_SetBitmapMemoryInfo(bitmap, memory, 65536, 2, 1, 0, 0, MEMORYINFO_MEMORY | MEMORYINFO_TILESIZE);
}

struct Step {
    const char* name;
    int (*run)(B bitmap);
};
constexpr Step kSteps[] = {
    {"resize", [](B b) { return V_SizeBitmap(b, 477, 233, SIZEFLAG_BICUBIC); }},
    {"flip", [](B b) { return V_FlipBitmap(b); }},
    {"turn", [](B b) { return V_RotateBitmap90(b, 1); }},
    {"rotate", [](B b) { return V_RotateBitmap(b, 730, ROTATEFLAG_GROW | ROTATEFLAG_RESAMPLE, 0x00FF8040u); }},
    {"shear", [](B b) { return V_ShearBitmap(b, 500, SHEAR_HORIZONTAL, 0); }},
    {"extend", [](B b) { return V_ExtendBitmap(b, 10, 20, 30, 40, EXTEND_MIRROR, 0); }},
    {"copy and blend", &through_copy},
    {"DIB", &through_dib},
    {"region", &in_region},
    {"flood", [](B b) { return V_FloodFillBitmap(b, 3, 3, 0xFFFFFFu, 0, 200, 0); }},
    {"tiles", &move<TYPE_TILED>},
    {"few colours",
     [](B b) { return V_ColorResBitmap(b, nullptr, 0, 8, COLORRES_PALETTE_OPTIMIZED, nullptr, nullptr, 0); }},
    {"file", &move<TYPE_DISK>},
    {"many colours", [](B b) { return V_ColorResBitmap(b, nullptr, 0, 24, COLORRES_ORDER_BGR, nullptr, nullptr, 0); }},
    {"super-compressed", &move<TYPE_SUPERCOMPRESSED>},
    {"trim", [](B b) { return V_TrimBitmap(b, 11, 12, 200, 150); }},
    {"memory", &move<TYPE_CONV>},
};

/// What surrounds each operation, and what is seen of it outside of that.
struct Surroundings {
    std::function<void()> enter = [] {};
    std::function<void()> leave = [] {};
};

/// Pixels, shape and storage's sum; 0 when rows cannot be read.
inline uint64_t sum_of(B bitmap)
{
    static uint8_t row[16384];
    uint64_t sum = 0xCBF29CE484222325u ^ static_cast<uint64_t>(bitmap->Width) << 32 ^
                   static_cast<uint64_t>(bitmap->Height) << 8 ^ static_cast<uint64_t>(bitmap->BitsPerPixel);
    if (V_AccessBitmap(bitmap) != SUCCESS)
        return 0;
    for (int32_t y = 0; y < bitmap->Height && sum != 0; ++y) {
        const intptr_t bytes = V_GetBitmapRow(bitmap, row, y, bitmap->BytesPerLine);
        sum = bytes == static_cast<intptr_t>(bitmap->BytesPerLine) ? sum : 0;
        for (intptr_t i = 0; i < bytes && sum != 0; ++i)
            sum = (sum ^ row[i]) * 0x100000001B3u;
    }
    V_ReleaseBitmap(bitmap);
    return sum;
}

/// Says what is wrong, without memory of the heap's. False.
inline bool complain(const char* step, const char* what, int code)
{
    std::fprintf(stderr, "%s: %s, %d\n", step, what, code);
    return false;
}

/// Shared between the test and the copies of its process.
struct Tally {
    std::atomic<int> failures{0};
    std::atomic<int> successes{0};
    std::atomic<uint64_t> sum{0}; ///< of the last bitmap, when no step failed
};
inline Tally& tally()
{
    static auto* const shared =
        new (mmap(nullptr, sizeof(Tally), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)) Tally;
    return *shared;
}

/// Leads a bitmap through all steps. False when one that fails leaves something else than what was there before, or
/// says anything but what is wrong.
inline bool live(B bitmap, const Surroundings& surroundings)
{
    int failures = 0;
    for (const Step& step : kSteps) {
        const uint64_t before = sum_of(bitmap);
        surroundings.enter();
        const int code = step.run(bitmap);
        surroundings.leave();
        if (code == SUCCESS)
            continue;
        ++failures;
        if (code >= 0)
            return complain(step.name, "fails without a code", code);
        if (before == 0 || sum_of(bitmap) != before)
            return complain(step.name, "changes the bitmap and fails", code);
    }
    Tally& all = tally();
    all.failures += failures;
    all.successes += static_cast<int>(std::size(kSteps)) - failures;
    all.sum = failures == 0 ? sum_of(bitmap) : 0;
    return true;
}

constexpr uint32_t kHomes[] = {TYPE_CONV, TYPE_DISK, TYPE_TILED, TYPE_SUPERCOMPRESSED};

/// A new bitmap with a picture of its own.
inline bool make_one(B bitmap, uint32_t memory)
{
    if (V_CreateBitmap(bitmap, BITMAPHANDLE_SIZE, TYPE_CONV, kLifeWidth, kLifeHeight, 24, COLORORDER_BGR, nullptr,
                       TOP_LEFT, nullptr, 0) != SUCCESS)
        return false;
    static uint8_t row[4 * kLifeWidth];
    if (V_AccessBitmap(bitmap) != SUCCESS)
        return false;
    intptr_t moved = 1;
    for (int32_t y = 0; y < kLifeHeight && moved > 0; ++y) {
        for (int32_t x = 0; x < 3 * kLifeWidth; ++x)
            row[x] = static_cast<uint8_t>((x ^ y) + x * y / 97);
        moved = V_PutBitmapRow(bitmap, row, y, bitmap->BytesPerLine);
    }
    if (V_ReleaseBitmap(bitmap) != SUCCESS || moved <= 0)
        return false;
    return V_SetBitmapMemoryInfo(bitmap, memory, 65536, 2, 1, 0, 0, MEMORYINFO_MEMORY | MEMORYINFO_TILESIZE) == SUCCESS;
}

inline bool make_and_live(uint32_t memory, const Surroundings& surroundings)
{
    BITMAPHANDLE bitmap;
    if (!make_one(&bitmap, memory))
        return complain("create", "fails", 0);
    const bool good = live(&bitmap, surroundings);
    V_FreeBitmap(&bitmap);
    return good;
}

/// The sum that a life without hindrance ends with.
inline uint64_t undisturbed()
{
    const Tally& all = tally(); // before there are two processes to share it
    EXPECT_TRUE(in_child([] { return make_and_live(TYPE_CONV, {}); }));
    return all.sum;
}

/// Lives in every kind of storage, in a process each: hindered, and then once more without, with the same pixels.
inline void expect_lives(const Surroundings& hindered, const char* trace)
{
    static const uint64_t expected = undisturbed();
    ASSERT_NE(0u, expected);
    for (const uint32_t home : kHomes) {
        SCOPED_TRACE(say(trace, "storage", home));
        Tally& all = tally();
        const bool good = in_child([&] {
            if (!make_and_live(home, hindered))
                return false;
            return (all.sum == 0 || all.sum == expected || complain("all", "give other pixels", 0)) &&
                   make_and_live(home, {});
        });
        ASSERT_TRUE(good);
        EXPECT_EQ(expected, all.sum) << "after it";
    }
}

} // namespace vk::testing
