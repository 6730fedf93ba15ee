// Depths, palettes, gray and how bitmaps are shown.
#include "Native.h"

using namespace vkj;

namespace {

V_WINDOW window_of(jint function, jint flags, jdouble center, jdouble width)
{
    return {sizeof(V_WINDOW), bits(function), bits(flags), 0, center, width};
}

} // namespace

VK_NATIVE(jint, colorRes)
(JNIEnv* env, jclass, jlong made, jlong source, jint depth, jint flags, jbyteArray palette, jint colors)
{
    const PaletteArgument entries(env, palette);
    const uint32_t count = palette != nullptr ? entries.count() : bits(colors);
    return V_ColorResBitmap(record(source), record(made), BITMAPHANDLE_SIZE, depth, bits(flags), entries.entries(),
                            nullptr, count);
}

VK_NATIVE(jint, grayScale)(JNIEnv*, jclass, jlong bitmap, jint depth)
{
    return V_GrayScaleBitmap(record(bitmap), depth);
}

VK_NATIVE(jint, isGray)(JNIEnv*, jclass, jlong bitmap)
{
    return V_IntIsGrayScaleBitmap(record(bitmap));
}

VK_NATIVE(jint, countColors)(JNIEnv* env, jclass, jlong bitmap, jlongArray count)
{
    uint64_t colors = 0;
    const int result = V_CountBitmapColors(record(bitmap), &colors);
    if (!env->ExceptionCheck())
        give_long(env, count, colors);
    return result;
}

VK_NATIVE(jint, minMax)(JNIEnv*, jclass, jlong bitmap)
{
    return V_GetBitmapMinMax(record(bitmap));
}

VK_NATIVE(jint, setWindow)(JNIEnv*, jclass, jlong bitmap, jint function, jint flags, jdouble center, jdouble width)
{
    const V_WINDOW window = window_of(function, flags, center, width);
    return V_SetBitmapWindow(record(bitmap), &window);
}

VK_NATIVE(jint, clearWindow)(JNIEnv*, jclass, jlong bitmap)
{
    return V_SetBitmapWindow(record(bitmap), nullptr);
}

VK_NATIVE(jint, window)
(JNIEnv*, jclass, jlong made, jlong source, jint function, jint flags, jdouble center, jdouble width, jint depth)
{
    const V_WINDOW window = window_of(function, flags, center, width);
    return V_WindowBitmap(record(made), record(source), BITMAPHANDLE_SIZE, &window, depth);
}

VK_NATIVE(jint, setPaint)(JNIEnv*, jclass, jlong bitmap, jint contrast, jint intensity, jint gamma)
{
    return V_SetBitmapPaint(record(bitmap), contrast, intensity, gamma);
}

VK_NATIVE(jint, render)
(JNIEnv* env, jclass, jlong made, jlong source, jintArray edges, jint width, jint height, jint flags)
{
    const RECT rect = edges != nullptr ? rect_of(env, edges) : RECT{};
    return V_RenderBitmap(record(made), record(source), BITMAPHANDLE_SIZE, edges != nullptr ? &rect : nullptr, width,
                          height, bits(flags));
}

VK_NATIVE(jint, fixedPalette)(JNIEnv* env, jclass, jbyteArray palette, jint width)
{
    RGBQUAD entries[256] = {};
    const int result = V_GetFixedPalette(entries, width);
    if (result == V_SUCCESS)
        give_palette(env, palette, entries, width == 0 ? 256 : 1 << width);
    return result;
}

VK_NATIVE(void, cubePalette)(JNIEnv* env, jclass, jbyteArray palette)
{
    give_palette(env, palette, V_IntGetNetscapePalette(), 256);
}

VK_NATIVE(jint, grayPalette)(JNIEnv* env, jclass, jbyteArray palette, jint width)
{
    RGBQUAD* const made = V_CreateGrayPalette(width);
    if (made == nullptr)
        return V_ERROR_NO_MEMORY;
    give_palette(env, palette, made, 1 << width);
    return V_FreePalette(made);
}

VK_NATIVE(jint, findColor)(JNIEnv* env, jclass, jbyteArray palette, jint red, jint green, jint blue)
{
    const PaletteArgument entries(env, palette);
    return V_FindPaletteIndex(entries.entries(), entries.count(), static_cast<uint8_t>(red),
                              static_cast<uint8_t>(green), static_cast<uint8_t>(blue));
}

VK_NATIVE(jint, palette)(JNIEnv* env, jclass, jlong bitmap, jbyteArray palette)
{
    const BITMAPHANDLE* const source = record(bitmap);
    const RGBQUAD* const entries = source->Palette;
    const uint32_t colors = entries == nullptr ? 0 : source->Colors;
    const jint count = static_cast<jint>(colors < 256 ? colors : 256);
    if (count > 0)
        give_palette(env, palette, entries, count);
    return count;
}

VK_NATIVE(jint, setPalette)(JNIEnv* env, jclass, jlong bitmap, jbyteArray palette)
{
    const PaletteArgument entries(env, palette);
    return V_SetBitmapNewPalette(record(bitmap), entries.entries(), entries.count());
}

VK_NATIVE(jint, nearestIndex)(JNIEnv*, jclass, jlong bitmap, jint color)
{
    return static_cast<jint>(V_GetNearestPaletteIndex(record(bitmap), bits(color)));
}

VK_NATIVE(jint, translateColor)(JNIEnv*, jclass, jlong target, jlong source, jint color)
{
    return static_cast<jint>(V_TranslateBitmapColor(record(target), record(source), bits(color)));
}
