// YUV pictures, and what counts colours.
#include "tests/abi/RecordOperations.h"

#include "Vkyuv.h"

namespace vk::testing {

namespace {

std::array<uint8_t, 4 * kWidth * kHeight> g_samples;

V_YUVPICTURE picture_of(int32_t width, int32_t height)
{
    V_YUVPICTURE picture{sizeof(V_YUVPICTURE), 0x3231564E, width, height, 0, 0, 0, 0, {}, {}, {}}; // NV12
    V_GetYuvSize(&picture);
    picture.Planes[0] = g_samples.data();
    return picture;
}

intptr_t make(B bitmap)
{
    const V_YUVPICTURE picture = picture_of(kWidth, kHeight);
    V_FreeBitmap(bitmap);
    return V_YuvToBitmap(bitmap, bitmap->StructSize, &picture);
}

intptr_t take(B bitmap)
{
    V_YUVPICTURE picture = picture_of(kWidth, kHeight);
    return V_BitmapToYuv(bitmap, &picture);
}

intptr_t count(B bitmap)
{
    uint64_t colors = 0;
    return V_CountBitmapColors(bitmap, &colors);
}

} // namespace

const Family yuv_operations = {
    {"V_CountBitmapColors", count},
    {"V_BitmapToYuv", take},
    {"V_YuvToBitmap", make, true, Failed::part_way},
    {"V_BitmapToYuv", take},
};

} // namespace vk::testing
