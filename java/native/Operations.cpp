// Operations on whole bitmaps that change sizes, places and pixels.
#include "Native.h"

using namespace vkj;

VK_NATIVE(jint, resize)(JNIEnv*, jclass, jlong bitmap, jint width, jint height, jint flags)
{
    return V_SizeBitmap(record(bitmap), width, height, bits(flags));
}

VK_NATIVE(jint, resizeInto)(JNIEnv*, jclass, jlong source, jlong target, jint flags)
{
    return V_ResizeBitmap(record(source), record(target), bits(flags));
}

VK_NATIVE(jint, resample)(JNIEnv*, jclass, jlong bitmap, jint width, jint height, jboolean isCubic)
{
    return (isCubic ? V_BicubicResampleBitmap : V_ResampleBitmap)(record(bitmap), width, height);
}

VK_NATIVE(jint, resampleInto)(JNIEnv*, jclass, jlong source, jlong target, jboolean isCubic)
{
    return (isCubic ? V_IntBicubicResampleBitmap : V_IntResampleBitmap)(record(source), record(target));
}

VK_NATIVE(jint, rotate)(JNIEnv*, jclass, jlong bitmap, jint angle, jint flags, jint fill)
{
    return V_RotateBitmap(record(bitmap), angle, bits(flags), bits(fill));
}

VK_NATIVE(jint, rotate90)(JNIEnv*, jclass, jlong bitmap, jint direction)
{
    return V_RotateBitmap90(record(bitmap), direction);
}

VK_NATIVE(jint, shear)(JNIEnv*, jclass, jlong bitmap, jint angle, jint flags, jint fill)
{
    return V_ShearBitmap(record(bitmap), angle, bits(flags), bits(fill));
}

VK_NATIVE(jint, flip)(JNIEnv*, jclass, jlong bitmap)
{
    return V_FlipBitmap(record(bitmap));
}

VK_NATIVE(jint, reverse)(JNIEnv*, jclass, jlong bitmap)
{
    return V_ReverseBitmap(record(bitmap));
}

VK_NATIVE(jint, changePerspective)(JNIEnv*, jclass, jlong bitmap, jint perspective)
{
    return V_ChangeBitmapViewPerspective(nullptr, record(bitmap), 0, perspective);
}

VK_NATIVE(jint, rectToBitmap)(JNIEnv* env, jclass, jlong bitmap, jint perspective, jintArray edges)
{
    RECT rect = rect_of(env, edges);
    const int result = V_RectToBitmap(record(bitmap), perspective, &rect);
    give_rect(env, edges, rect);
    return result;
}

VK_NATIVE(jint, rectFromBitmap)(JNIEnv* env, jclass, jlong bitmap, jint perspective, jintArray edges)
{
    RECT rect = rect_of(env, edges);
    const int result = V_RectFromBitmap(record(bitmap), perspective, &rect);
    give_rect(env, edges, rect);
    return result;
}

VK_NATIVE(jint, warp)
(JNIEnv* env, jclass, jlong bitmap, jdoubleArray matrix, jint width, jint height, jint flags, jint fill)
{
    const auto map = doubles_as<V_MATRIX>(env, matrix);
    return V_WarpBitmap(record(bitmap), &map, width, height, bits(flags), bits(fill));
}

VK_NATIVE(jint, warpCorners)
(JNIEnv* env, jclass, jlong bitmap, jdoubleArray corners, jint width, jint height, jint flags, jint fill)
{
    const PointsArgument points(env, corners);
    return points.is_there()
               ? V_WarpBitmapCorners(record(bitmap), points.points(), width, height, bits(flags), bits(fill))
               : V_ERROR_NO_MEMORY;
}

VK_NATIVE(jint, warpGrid)
(JNIEnv* env, jclass, jlong bitmap, jdoubleArray grid, jint columns, jint rows, jint width, jint height, jint flags,
 jint fill)
{
    const PointsArgument points(env, grid);
    return points.is_there() ? V_WarpBitmapGrid(record(bitmap), points.points(), columns, rows, width, height,
                                                bits(flags), bits(fill))
                             : V_ERROR_NO_MEMORY;
}

VK_NATIVE(jint, trim)(JNIEnv*, jclass, jlong bitmap, jint col, jint row, jint width, jint height)
{
    return V_TrimBitmap(record(bitmap), col, row, width, height);
}

VK_NATIVE(jint, trimRect)(JNIEnv* env, jclass, jlong bitmap, jint border, jint tolerance, jintArray edges)
{
    RECT rect = {};
    const int result = V_GetTrimRect(record(bitmap), bits(border), bits(tolerance), &rect);
    if (!env->ExceptionCheck())
        give_rect(env, edges, rect);
    return result;
}

VK_NATIVE(jint, extend)
(JNIEnv*, jclass, jlong bitmap, jint left, jint top, jint right, jint bottom, jint flags, jint fill)
{
    return V_ExtendBitmap(record(bitmap), left, top, right, bottom, bits(flags), bits(fill));
}

VK_NATIVE(jint, combine)
(JNIEnv*, jclass, jlong target, jint col, jint row, jint width, jint height, jlong source, jint sourceCol,
 jint sourceRow, jint flags)
{
    return V_CombineBitmap(record(target), col, row, width, height, record(source), sourceCol, sourceRow, bits(flags));
}

VK_NATIVE(jint, blend)
(JNIEnv*, jclass, jlong target, jint col, jint row, jint width, jint height, jlong source, jint sourceCol,
 jint sourceRow, jlong mask, jint maskCol, jint maskRow, jint mode, jint opacity)
{
    return V_BlendBitmap(record(target), col, row, width, height, record(source), sourceCol, sourceRow, record(mask),
                         maskCol, maskRow, bits(mode), bits(opacity));
}

VK_NATIVE(jint, fill)(JNIEnv*, jclass, jlong bitmap, jint color)
{
    return V_FillBitmap(record(bitmap), bits(color));
}

VK_NATIVE(jint, fillRect)(JNIEnv* env, jclass, jlong bitmap, jintArray edges, jint color)
{
    const RECT rect = rect_of(env, edges);
    return V_FillBitmapRect(record(bitmap), &rect, bits(color));
}

VK_NATIVE(jint, fillPattern)(JNIEnv*, jclass, jlong bitmap, jlong pattern, jint col, jint row)
{
    return V_FillBitmapPattern(record(bitmap), record(pattern), col, row);
}

VK_NATIVE(jint, flood)
(JNIEnv*, jclass, jlong bitmap, jint col, jint row, jint color, jint border, jint tolerance, jint flags)
{
    return V_FloodFillBitmap(record(bitmap), col, row, bits(color), bits(border), bits(tolerance), bits(flags));
}

VK_NATIVE(jint, alpha)(JNIEnv*, jclass, jlong made, jlong source)
{
    return V_GetBitmapAlpha(record(made), record(source), BITMAPHANDLE_SIZE);
}

VK_NATIVE(jint, setAlpha)(JNIEnv*, jclass, jlong bitmap, jlong alpha)
{
    return V_SetBitmapAlpha(record(bitmap), record(alpha));
}

VK_NATIVE(jint, setAlphaValue)(JNIEnv*, jclass, jlong bitmap, jint alpha)
{
    return V_SetBitmapAlphaValue(record(bitmap), bits(alpha));
}

VK_NATIVE(jint, premultiply)(JNIEnv*, jclass, jlong bitmap, jboolean isBack)
{
    return (isBack ? V_UnpremultiplyBitmap : V_PremultiplyBitmap)(record(bitmap));
}

VK_NATIVE(jint, scramble)
(JNIEnv*, jclass, jlong bitmap, jint col, jint row, jint width, jint height, jint key, jint flags)
{
    return V_ScrambleBitmap(record(bitmap), record(bitmap), BITMAPHANDLE_SIZE, col, row, width, height, bits(key),
                            bits(flags));
}
