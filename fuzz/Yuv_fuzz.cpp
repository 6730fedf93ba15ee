// YUV pictures of every code, size and layout, in planes of exactly the bytes that they need: nothing behind a row is
// touched, all storages and ways up give the same, and a picture in grays comes back as it was.
#include "fuzz/Subject.h"

#include "Vkyuv.h"

#include <array>
#include <memory>

namespace vk::fuzz {

namespace {

constexpr char kCodes[][5] = {"NV12", "I420", "YV12", "YUY2", "UYVY", "NV21", "YVYU", "AYUV", "P010", "P016",
                              "Y410", "Y416", "Y800", "Y16 ", "IYUV", "cyuv", "Y41P", "Y41T", "Y42T", "Y211",
                              "YVU9", "IF09", "NV16", "I422", "I444", "YV16", "YV24", "NV24", "????"};

uint32_t code_of(const char* text)
{
    uint32_t code = 0;
    for (int i = 0; i < 4; ++i)
        code |= static_cast<uint32_t>(static_cast<uint8_t>(text[i])) << (8 * i);
    return code;
}

/// A picture whose planes are blocks of their own, perhaps with their rows the other way up.
struct Picture {
    V_YUVPICTURE said{};
    std::array<std::unique_ptr<uint8_t[]>, 4> planes;
    std::array<size_t, 4> bytes{};

    bool lay_out(uint64_t total, bool upside_down)
    {
        V_YUVPICTURE plain = said;
        for (size_t i = 0; i < 4 && plain.Strides[i] != 0; ++i) {
            const uint64_t end = i < 3 && plain.Strides[i + 1] != 0 ? plain.Offsets[i + 1] : total;
            if (end < plain.Offsets[i])
                return false; // planes in another order
            bytes[i] = static_cast<size_t>(end - plain.Offsets[i]);
            planes[i] = std::make_unique<uint8_t[]>(bytes[i]);
            said.Planes[i] = planes[i].get();
            said.Offsets[i] = 0;
            if (upside_down) {
                said.Strides[i] = -plain.Strides[i];
                said.Planes[i] = planes[i].get() + bytes[i] - static_cast<size_t>(plain.Strides[i]);
            }
        }
        return true;
    }
    void fill(ByteSource& source)
    {
        const uint8_t kind = source.byte();
        uint32_t state = source.take<uint32_t>();
        for (size_t i = 0; i < 4; ++i)
            for (size_t k = 0; k < bytes[i]; ++k) {
                state = state * 1664525 + 1013904223;
                planes[i][k] = static_cast<uint8_t>(kind % 2 != 0 ? kind : state >> 24);
            }
    }
};

int refuse_large(BITMAPHANDLE*, ALLOCATEBITMAPCALLBACKDATA* data, void*)
{
    return data->Size > 1 << 20 ? Refusals::kRefused : V_SUCCESS;
}

} // namespace

} // namespace vk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace vk::fuzz;
    const NothingStays nothing;
    ByteSource source(data, size);
    Picture picture;
    picture.said = {sizeof(V_YUVPICTURE),
                    code_of(source.one_of(kCodes)),
                    source.between(0, 40),
                    source.between(0, 40),
                    static_cast<uint32_t>(source.below(4)),
                    static_cast<uint32_t>(source.below(3)),
                    static_cast<uint32_t>(source.below(3)),
                    0,
                    {},
                    {},
                    {}};
    if (source.one_in(64))
        picture.said.Code = source.take<uint32_t>();
    const uint64_t total = V_GetYuvSize(&picture.said);
    if (total == 0 || total > 1 << 20 || !picture.lay_out(total, source.one_in(2)))
        return 0;
    picture.fill(source);
    V_SetAllocateBitmapCallback(refuse_large, nullptr, nullptr, nullptr);
    Subject plain, filed;
    const int code = V_YuvToBitmap(plain, BITMAPHANDLE_SIZE, &picture.said);
    V_SetAllocateBitmapCallback(nullptr, nullptr, nullptr, nullptr);
    require_known(code);
    require(code == V_SUCCESS ? plain.is_there() : is_empty(*plain));
    if (code != V_SUCCESS)
        return 0;
    require_sound(plain);
    V_SetDefaultMemoryType(TYPE_DISK);
    require(V_YuvToBitmap(filed, BITMAPHANDLE_SIZE, &picture.said) == V_SUCCESS);
    V_SetDefaultMemoryType(TYPE_CONV);
    const Model seen = read(plain);
    require(seen == read(filed));
    Refusals refusals(source);
    const int back = V_BitmapToYuv(plain, &picture.said);
    refusals.stop();
    require_known(back);
    require(read(plain) == seen);
    // A second time the planes hold what a bitmap made of them, so that gray ones stay.
    if (back == V_SUCCESS && plain->Order == COLORORDER_GRAY) {
        Subject again;
        require(V_YuvToBitmap(again, BITMAPHANDLE_SIZE, &picture.said) == V_SUCCESS && read(again) == seen);
    }
    return 0;
}
