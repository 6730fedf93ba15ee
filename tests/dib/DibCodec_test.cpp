// DIBs that a codec module decodes, and modules themselves. Where the module is not built, its absence is tested.
#include "kernel/dib/Codecs.h"
#include "platform/platform.h"
#include "tests/support/FaultLoop.h"
#include "tests/support/TestDib.h"

using namespace vk::testing;
namespace platform = vk::platform;

namespace {

constexpr const wchar_t* kModule = L"Vellkit.Codecs.Cmp.CmpCodec";

/// The module's own picture of a ramp, or nothing without the module.
Bytes jpeg_of(int32_t width, int32_t height, int32_t bits)
{
    void* module = nullptr;
    if (platform::module_open(nullptr, kModule, &module) != vk::Status::ok)
        return {};
    const auto save = reinterpret_cast<V_FLTSAVEBUFFER>(platform::module_symbol(module, "fltSaveBuffer"));
    V_CODECPICTURE picture{sizeof picture, width, height, bits, 300, 300};
    struct State {
        Bytes made;
        int32_t bytes;
    } state{{}, width * bits / 8};
    const auto get_row = [](uint8_t* row, int32_t y, void* user) {
        for (int32_t i = 0; i < static_cast<State*>(user)->bytes; ++i)
            row[i] = static_cast<uint8_t>(4 * y + i);
        return SUCCESS;
    };
    const auto write = [](const void* bytes, size_t count, void* user) {
        const auto* const from = static_cast<const uint8_t*>(bytes);
        append(static_cast<State*>(user)->made, Bytes(from, from + count));
        return SUCCESS;
    };
    EXPECT_EQ(SUCCESS, save(&picture, 100, get_row, write, &state));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, save(&picture, 101, get_row, write, &state));
    platform::module_close(module);
    return state.made;
}

DibParts jpeg_dib(const Bytes& data, uint16_t bits, const char* code)
{
    DibParts dib{40, 16, 8, 1, bits, code_of(code), static_cast<uint32_t>(data.size())};
    for (int i = 0; bits <= 8 && i < 1 << bits; ++i)
        append(dib.table, Bytes(4, static_cast<uint8_t>(i * 255 / ((1 << bits) - 1))));
    dib.pixels = data;
    return dib;
}

} // namespace

TEST(DibCodec, DecodesThroughItsModule)
{
    for (const int32_t depth : kDepths) {
        const auto bits = static_cast<uint16_t>(depth);
        const int32_t held = bits == 8 ? 8 : 24;
        const Bytes data = jpeg_of(16, 8, held);
        if (data.empty())
            GTEST_SKIP() << "the module is not built here";
        for (const char* code : {"JPEG", "MJPG", "dmb1"}) {
            const DibParts dib = jpeg_dib(data, bits, code);
            TestBitmap bitmap;
            ASSERT_EQ(SUCCESS, dib.convert(bitmap));
            EXPECT_EQ(bits, bitmap->BitsPerPixel);
            EXPECT_EQ(TOP_LEFT, bitmap->ViewPerspective); // the other way round than plain DIBs
            if (bits != held && bits != 32) {             // converted: no more than about right
                EXPECT_EQ(SUCCESS,
                          V_ColorResBitmap(bitmap.get(), nullptr, 0, 24, COLORRES_NODITHER, nullptr, nullptr, 0));
                const COLORREF dark = V_GetPixelColor(bitmap.get(), 0, 0);
                const COLORREF light = V_GetPixelColor(bitmap.get(), 7, 15);
                EXPECT_GE(128u, dark >> 8 & 0xFF);
                EXPECT_LE(dark >> 8 & 0xFF, light >> 8 & 0xFF);
                continue;
            }
            const Bytes pixels = bitmap.pixels();
            for (int32_t y = 0; y < 8; ++y)
                for (int32_t x = 0; x < 16; ++x)
                    for (int32_t c = 0; c < (held == 8 ? 1 : 3); ++c) {
                        const int expected = 4 * y + held / 8 * x + c;
                        EXPECT_NEAR(expected,
                                    pixels[stride_of(16, bits) * static_cast<size_t>(y) +
                                           static_cast<size_t>(x * bits / 8 + c)],
                                    8);
                    }
        }
        const DibParts good = jpeg_dib(data, bits, "JPEG");
        for (size_t length = 0; length < data.size(); length += data.size() / 9) { // cut anywhere
            DibParts dib = good;
            dib.image_bytes = static_cast<uint32_t>(length);
            TestBitmap bitmap;
            EXPECT_EQ(ERROR_INTERNAL, dib.convert(bitmap)) << length;
            EXPECT_TRUE(bitmap.is_empty());
        }
        DibParts other = good;
        other.height = 9; // not what the header says
        TestBitmap bitmap;
        EXPECT_EQ(ERROR_INTERNAL, other.convert(bitmap));
    }
}

TEST(DibCodec, ModulesAreCountedAndMissedOnes)
{
    const vk::fault::Live before = vk::fault::live();
    const Bytes data = jpeg_of(16, 8, 24);
    EXPECT_EQ(before, vk::fault::live());
    const DibParts dib = jpeg_dib(data.empty() ? Bytes(9) : data, 24, "JPEG");
    if (!data.empty()) {
        vk::fault::arm(0, false);
        const vk::CodecUse one(vk::Codec::jpeg);
        const vk::CodecUse two(vk::Codec::jpeg);
        EXPECT_EQ(before.modules + 2, vk::fault::live().modules);
        EXPECT_EQ(one.load(), two.load()) << "it is there once";
    }
    EXPECT_EQ(before, vk::fault::live());
    for (const auto call : {vk::fault::Call::module_open, vk::fault::Call::module_symbol})
        for (uint64_t n = 1; n <= (call == vk::fault::Call::module_open || data.empty() ? 1u : 2u); ++n) {
            vk::fault::arm_call(data.empty() ? vk::fault::Call::module_open : call, n, false);
            TestBitmap bitmap;
            EXPECT_EQ(V_ERROR_CODEC_MISSING, dib.convert(bitmap));
            vk::fault::disarm();
            EXPECT_TRUE(bitmap.is_empty());
            EXPECT_EQ(before.modules, vk::fault::live().modules);
        }
    void* module = nullptr;
    EXPECT_EQ(vk::Status::not_found, platform::module_open(nullptr, L"Vellkit.Codecs.None", &module));
    for_each_fault([&] {
        TestBitmap bitmap;
        const int code = dib.convert(bitmap);
        EXPECT_TRUE(code == SUCCESS || bitmap.is_empty()) << code;
        EXPECT_TRUE(code == SUCCESS || code == V_ERROR_CODEC_MISSING || code == ERROR_NO_MEMORY) << code;
    });
}
