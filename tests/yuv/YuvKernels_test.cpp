// The kernels at each level beside the plain ones: the same bits, and proof that others ran.
#include "kernel/yuv/FromYuv.h"
#include "kernel/yuv/Kernels.h"
#include "kernel/yuv/ToYuv.h"
#include "tests/support/Levels.h"
#include "tests/yuv/YuvReference.h"

using namespace vk::testing;
namespace simd = vk::simd;
namespace yuv = vk::yuv;

namespace {

/// The levels with kernels in vectors that this processor has.
std::vector<simd::Level> fast_levels()
{
    std::vector<simd::Level> levels;
    for (const simd::Level level : kLevels)
        if (AtLevel(level).reached == level && yuv::vector_kernels_sets.at(level))
            levels.push_back(level);
    return levels;
}

/// Does the same at the plain level and at another.
template <class Make> void expect_same(simd::Level level, Make make)
{
    Bytes plain;
    {
        const AtLevel at(simd::Level::plain);
        EXPECT_EQ(&yuv::kPlainKernels, &yuv::kernels());
        plain = make();
    }
    const AtLevel at(level);
    EXPECT_EQ(yuv::vector_kernels_sets.at(level), &yuv::kernels());
    EXPECT_TRUE(plain == make());
}

Bytes bitmap_of(const V_YUVPICTURE& picture)
{
    TestBitmap bitmap;
    EXPECT_EQ(SUCCESS, V_YuvToBitmap(bitmap, BITMAPHANDLE_SIZE, &picture));
    return bitmap.pixels();
}

Bytes planes_of(BITMAPHANDLE* bitmap, TestPicture& test)
{
    Bytes all;
    EXPECT_EQ(SUCCESS, V_BitmapToYuv(bitmap, &test.picture));
    for (const auto& plane : test.planes)
        all.insert(all.end(), plane->data(), plane->data() + plane->size());
    return all;
}

} // namespace

TEST(YuvKernels, LevelsAreDifferentCode)
{
    EXPECT_EQ(nullptr, yuv::kPlainKernels.fused);
    std::vector<const yuv::FusedKernels*> fused;
    for (const simd::Level level : fast_levels()) {
        const yuv::Kernels* const fast = yuv::vector_kernels_sets.at(level);
        const yuv::Kernels& plain = yuv::kPlainKernels;
        EXPECT_TRUE(fast->blend != plain.blend && fast->blend_pairs != plain.blend_pairs &&
                    fast->spread != plain.spread);
        EXPECT_TRUE(fast->to_bgr != plain.to_bgr && fast->split != plain.split && fast->luma != plain.luma);
        EXPECT_TRUE(fast->add != plain.add && fast->chroma != plain.chroma && fast->interleave != plain.interleave);
        EXPECT_EQ(yuv::fused_kernels_sets.at(level), fast->fused);
        EXPECT_EQ(fused.end(), std::find(fused.begin(), fused.end(), fast->fused));
        fused.push_back(fast->fused);
    }
}

TEST(YuvKernels, CodesThatGoAtOnce)
{
    constexpr const char* kAtOnce = "YUY2 UYVY cyuv Y42T YVYU I420 IYUV YV12 I422 YV16 I444 NV12 NV21";
    for (const YuvCode& code : kYuvCodes) {
        if (code.bits != 8)
            continue;
        yuv::Picture picture;
        picture.format = yuv::find_format(number_of(code.code));
        ASSERT_TRUE(picture.format);
        const bool is_one = std::strstr(kAtOnce, code.code) != nullptr;
        for (const simd::Level level : kLevels) {
            const AtLevel at(level);
            const bool is_fast = yuv::vector_kernels_sets.at(at.reached) != nullptr;
            EXPECT_EQ(is_one && is_fast, yuv::ByteRows(picture).is_fused());
            EXPECT_EQ(is_one && is_fast, yuv::ByteRowsOut(picture).is_fused());
        }
    }
}

TEST(YuvKernels, EverySampleTheSameAtEachLevel)
{
    // Every luma with chroma of all sizes, times 256 and between; every matrix and range.
    std::vector<uint8_t> y(256);
    std::vector<uint16_t> u(256 + yuv::kRoom), v(256 + yuv::kRoom);
    for (size_t i = 0; i < 256; ++i)
        y[i] = static_cast<uint8_t>(i);
    for (const simd::Level level : fast_levels())
        for (uint32_t meaning = 0; meaning < 6; ++meaning) {
            const yuv::ToBytes formula = yuv::to_bytes({meaning / 2, meaning % 2, 8});
            for (uint32_t du = 0; du < 65536; du += 1021)
                for (uint32_t dv = 0; dv < 65536; dv += 1021) {
                    std::fill(u.begin(), u.end(), static_cast<uint16_t>(du > 65000 ? 65280 : du));
                    std::fill(v.begin(), v.end(), static_cast<uint16_t>(dv > 65000 ? 65280 : dv));
                    expect_same(level, [&] {
                        Bytes bgr(768);
                        yuv::kernels().to_bgr(y.data(), u.data(), v.data(), 256, formula, bgr.data(), false);
                        return bgr;
                    });
                }
        }
}

TEST(YuvKernels, PicturesTheSameAtEachLevel)
{
    TestRandom random(51);
    for (const simd::Level level : fast_levels())
        for (const YuvCode& code : kYuvCodes)
            for (int round = 0; round < 40 && code.bits == 8; ++round) {
                const int32_t width = random.between(1, 300), height = random.between(1, 6);
                TestPicture test(code, width, height, random);
                test.picture.Matrix = static_cast<uint32_t>(random.below(3));
                test.picture.Range = static_cast<uint32_t>(random.below(2));
                test.picture.Siting = static_cast<uint32_t>(random.below(2));
                SCOPED_TRACE(say(code.code, width, height, static_cast<int>(level), random));
                test.fill(random);
                expect_same(level, [&] { return bitmap_of(test.picture); });
                TestBitmap bitmap;
                ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, width, height, 24, COLORORDER_BGR));
                const bool is_extreme = random.one_in(2);
                bitmap.paint([&](int32_t, int32_t) {
                    const uint64_t bits = random.next();
                    return is_extreme ? (bits & 1) * 0xFF + (bits >> 1 & 1) * 0xFF00 + (bits >> 2 & 1) * 0xFF0000
                                      : bits;
                });
                expect_same(level, [&] { return planes_of(bitmap, test); });
            }
}

TEST(YuvKernels, PastTheCaches)
{
    // As many bytes as writes past the caches are used for, in rows at a cache line and elsewhere.
    TestRandom random(52);
#if defined(VKKRNX_TEST_SANITIZED)
    const std::vector<int32_t> widths = {2101};
#else
    const std::vector<int32_t> widths = {2112, 2101};
#endif
    for (const int32_t width : widths)
        for (const size_t which : {size_t{9}, size_t{14}, size_t{0}, size_t{17}}) {
            TestPicture test(kYuvCodes[which], width, 2001, random);
            random.fill(test.planes[0]->data(), 100000);
            for (const simd::Level level : fast_levels()) {
                TestBitmap bitmap;
                ASSERT_EQ(SUCCESS, V_YuvToBitmap(bitmap, BITMAPHANDLE_SIZE, &test.picture));
                expect_same(level, [&] { return bitmap_of(test.picture); });
                expect_same(level, [&] { return planes_of(bitmap, test); });
            }
        }
}
