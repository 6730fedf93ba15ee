// Huge-memory blocks: in memory, in a file, and lent; what windows show, what thresholds choose, and what is left when
// something fails.
#include "tests/support/FaultLoop.h"
#include "tests/support/TestBitmap.h"
#include "tests/support/TestRandom.h"

#include "Vkhuge.h"

using namespace vk::testing;

namespace {

constexpr uint64_t kBytes = 3 * 1048576 + 12345;

/// Files that are open, as the platform layer counts them.
int64_t files()
{
    return static_cast<int64_t>(vk::fault::live().files);
}

/// Copies between a block and memory through windows.
void move(HHUGEMEMORY block, uint64_t at, std::vector<uint8_t>& bytes, bool into)
{
    void* window = nullptr;
    ASSERT_EQ(SUCCESS, V_AccessHugeMemory(block, at, bytes.size(), &window));
    std::memcpy(into ? window : bytes.data(), into ? bytes.data() : window, bytes.size());
}

} // namespace

TEST(HugeMemory, WindowsShowTheSameBytesEverywhere)
{
    TestRandom random(401);
    SCOPED_TRACE(random);
    std::vector<uint8_t> lent(kBytes);
    for (const uint32_t memory : {TYPE_CONV, TYPE_DISK, 0u}) { // 0: lent
        const int64_t before = files();
        HHUGEMEMORY block = nullptr;
        ASSERT_EQ(SUCCESS, memory == 0 ? V_CreateHugeMemoryFromPtr(&block, lent.data(), kBytes)
                                       : V_AllocHugeMemory(&block, kBytes, memory));
        EXPECT_EQ(before + (memory == TYPE_DISK), files());
        std::vector<uint8_t> model(kBytes);
        for (int i = 0; i < 200 && !HasFailure(); ++i) {
            const uint64_t at = random.below(kBytes);
            const auto size =
                static_cast<size_t>(1 + random.below(std::min<uint64_t>(kBytes - at, 1u << random.below(22))));
            std::vector<uint8_t> bytes(size);
            const auto first = model.begin() + static_cast<std::ptrdiff_t>(at);
            if (random.one_in(3)) {
                random.fill(bytes.data(), size);
                move(block, at, bytes, true);
                std::copy(bytes.begin(), bytes.end(), first);
            } else if (random.one_in(4)) {
                ASSERT_EQ(SUCCESS, V_ZeroHugeMemory(block, at, size));
                std::fill_n(first, size, uint8_t{0});
            } else {
                move(block, at, bytes, false);
                ASSERT_TRUE(std::equal(bytes.begin(), bytes.end(), first)) << at << ' ' << size;
            }
        }
        if (memory == 0) {
            EXPECT_EQ(model, lent);
        }
        void* window = &lent;
        for (const auto& [at, size] : {std::pair{kBytes, uint64_t{1}}, std::pair{uint64_t{1}, kBytes},
                                       std::pair{UINT64_MAX, uint64_t{2}}, std::pair{uint64_t{0}, uint64_t{0}}}) {
            EXPECT_EQ(ERROR_INVALID_PARAMETER, V_AccessHugeMemory(block, at, size, &window));
            EXPECT_EQ(nullptr, window);
            EXPECT_EQ(size == 0 ? SUCCESS : ERROR_INVALID_PARAMETER, V_ZeroHugeMemory(block, at, size));
        }
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_AccessHugeMemory(block, 0, 1, nullptr));
        EXPECT_EQ(SUCCESS, V_FreeHugeMemory(block));
        EXPECT_EQ(before, files());
    }
}

TEST(HugeMemory, ThresholdsChooseAmongMemoryAndFiles)
{
    const Thresholds restore;
    const struct {
        int64_t limit;
        uint32_t memory;
        bool in_file;
        int result;
    } cases[] = {
        {-100, TYPE_CONV, false, SUCCESS},
        {-100, 0, false, SUCCESS},
        {-100, TYPE_DISK, true, SUCCESS},
        {1000, TYPE_CONV, true, SUCCESS},
        {1000, TYPE_NODISK, false, SUCCESS},
        {1000, TYPE_CONV | TYPE_NODISK, false, SUCCESS},
        {-100, TYPE_DISK | TYPE_NODISK, false, ERROR_INVALID_PARAMETER},
        {-100, TYPE_TILED, false, ERROR_INVALID_PARAMETER},
        {-100, TYPE_USER, false, ERROR_INVALID_PARAMETER},
    };
    for (const auto& test : cases) {
        Thresholds::max_conv(test.limit);
        const int64_t before = files();
        HHUGEMEMORY block = nullptr;
        EXPECT_EQ(test.result, V_AllocHugeMemory(&block, 5000, test.memory)) << test.memory;
        EXPECT_EQ(test.in_file, files() != before) << test.memory;
        EXPECT_EQ(test.result == SUCCESS, block != nullptr);
        EXPECT_EQ(test.result, V_FreeHugeMemory(block));
    }
    Thresholds::max_conv(-100);
    HHUGEMEMORY block = nullptr;
    GLOBALMEMORYTHRESHOLDS threshold{};
    threshold.StructSize = sizeof threshold;
    threshold.DiskThreshold = 4096;
    ASSERT_EQ(SUCCESS, V_SetGlobalMemoryThresholds(&threshold));
    const int64_t before = files();
    for (const uint64_t bytes : {4096u, 4097u}) {
        EXPECT_EQ(SUCCESS, V_AllocHugeMemory(&block, bytes, TYPE_CONV));
        EXPECT_EQ(bytes > 4096, files() != before);
        EXPECT_EQ(SUCCESS, V_FreeHugeMemory(block));
    }
    ASSERT_EQ(SUCCESS, V_SetGlobalMemoryThresholds(nullptr));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_AllocHugeMemory(&block, 0, TYPE_CONV));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_AllocHugeMemory(nullptr, 1, TYPE_CONV));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_CreateHugeMemoryFromPtr(&block, nullptr, 1));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_CreateHugeMemoryFromPtr(&block, &block, 0));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_CreateHugeMemoryFromPtr(nullptr, &block, 1));
    EXPECT_EQ(ERROR_NO_MEMORY, V_AllocHugeMemory(&block, UINT64_MAX, TYPE_CONV | TYPE_NODISK));
    EXPECT_EQ(nullptr, block);
}

TEST(HugeMemory, FailuresLeaveNothingBehind)
{
    for (const uint32_t memory : {TYPE_CONV, TYPE_DISK})
        for_each_fault([memory] {
            HHUGEMEMORY block = nullptr;
            if (V_AllocHugeMemory(&block, kBytes, memory) != SUCCESS) {
                EXPECT_EQ(nullptr, block);
                return;
            }
            for (const uint64_t at : {uint64_t{0}, kBytes - 1, uint64_t{70000}}) {
                void* window = nullptr;
                const int result = V_AccessHugeMemory(block, at, 1, &window);
                EXPECT_EQ(result == SUCCESS, window != nullptr);
                if (window)
                    *static_cast<uint8_t*>(window) = 1;
            }
            V_ZeroHugeMemory(block, 0, kBytes);
            EXPECT_EQ(SUCCESS, V_FreeHugeMemory(block));
        });
}
