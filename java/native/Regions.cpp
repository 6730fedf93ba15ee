// Regions and overlays.
#include "Native.h"

#include <cstdlib>
#include <cstring>

using namespace vkj;

VK_NATIVE(jint, regionRect)(JNIEnv* env, jclass, jlong bitmap, jintArray edges, jint mode)
{
    const RECT rect = rect_of(env, edges);
    return V_SetBitmapRegionRect(record(bitmap), &rect, bits(mode));
}

VK_NATIVE(jint, regionEllipse)(JNIEnv* env, jclass, jlong bitmap, jintArray edges, jint mode)
{
    const RECT rect = rect_of(env, edges);
    return V_SetBitmapRegionEllipse(record(bitmap), &rect, bits(mode));
}

VK_NATIVE(jint, regionRoundRect)
(JNIEnv* env, jclass, jlong bitmap, jintArray edges, jint width, jint height, jint mode)
{
    const RECT rect = rect_of(env, edges);
    return V_SetBitmapRegionRoundRect(record(bitmap), &rect, width, height, bits(mode));
}

VK_NATIVE(jint, regionPolygon)(JNIEnv* env, jclass, jlong bitmap, jdoubleArray points, jint rule, jint mode)
{
    const PointsArgument corners(env, points);
    return corners.is_there()
               ? V_SetBitmapRegionPolygon(record(bitmap), corners.points(), corners.count(), bits(rule), bits(mode))
               : V_ERROR_NO_MEMORY;
}

VK_NATIVE(jint, regionMask)(JNIEnv*, jclass, jlong bitmap, jlong mask, jint mode)
{
    return V_SetBitmapRegionMask(record(bitmap), record(mask), bits(mode));
}

VK_NATIVE(jint, regionColor)(JNIEnv*, jclass, jlong bitmap, jint lower, jint upper, jint mode)
{
    return V_SetBitmapRegionColor(record(bitmap), bits(lower), bits(upper), bits(mode));
}

VK_NATIVE(jint, regionWand)(JNIEnv*, jclass, jlong bitmap, jint col, jint row, jint lower, jint upper, jint mode)
{
    return V_SetBitmapRegionMagicWand(record(bitmap), col, row, bits(lower), bits(upper), bits(mode));
}

VK_NATIVE(jint, regionFree)(JNIEnv*, jclass, jlong bitmap)
{
    return V_FreeBitmapRegion(record(bitmap));
}

VK_NATIVE(jint, regionExists)(JNIEnv*, jclass, jlong bitmap)
{
    return V_BitmapHasRegion(record(bitmap));
}

VK_NATIVE(jint, regionInvert)(JNIEnv*, jclass, jlong bitmap)
{
    return V_InvertBitmapRegion(record(bitmap));
}

VK_NATIVE(jint, regionOffset)(JNIEnv*, jclass, jlong bitmap, jint columns, jint rows)
{
    return V_OffsetBitmapRegion(record(bitmap), columns, rows);
}

VK_NATIVE(jint, regionCopy)(JNIEnv*, jclass, jlong target, jlong source)
{
    return V_CopyBitmapRegion(record(target), record(source));
}

VK_NATIVE(jint, regionBounds)(JNIEnv* env, jclass, jlong bitmap, jintArray edges)
{
    RECT rect = {};
    const int result = V_GetBitmapRegionBounds(record(bitmap), &rect);
    give_rect(env, edges, rect);
    return result;
}

VK_NATIVE(jint, regionArea)(JNIEnv* env, jclass, jlong bitmap, jlongArray area)
{
    uint64_t pixels = 0;
    const int result = V_GetBitmapRegionArea(record(bitmap), &pixels);
    give_long(env, area, pixels);
    return result;
}

VK_NATIVE(jint, regionContains)(JNIEnv*, jclass, jlong bitmap, jint col, jint row)
{
    return V_IsPointInBitmapRegion(record(bitmap), col, row);
}

VK_NATIVE(jint, regionAsMask)(JNIEnv*, jclass, jlong made, jlong source)
{
    return V_GetBitmapRegionMask(record(made), record(source), BITMAPHANDLE_SIZE);
}

// The runs of a row, first pixel and pixel behind the last in turn; null with the code in `result` after a failure.
VK_NATIVE(jintArray, regionRow)(JNIEnv* env, jclass, jlong bitmap, jint row, jintArray result)
{
    int32_t count = 0;
    int32_t code = V_GetBitmapRegionRow(record(bitmap), row, &count, nullptr);
    auto* const runs =
        static_cast<V_REGIONRUN*>(std::malloc(static_cast<size_t>(count > 0 ? count : 1) * sizeof(V_REGIONRUN)));
    if (code == V_SUCCESS)
        code = runs != nullptr ? V_GetBitmapRegionRow(record(bitmap), row, &count, runs) : V_ERROR_NO_MEMORY;
    give_ints(env, result, &code, 1);
    jintArray const made = code == V_SUCCESS ? env->NewIntArray(count * 2) : nullptr;
    if (made != nullptr)
        env->SetIntArrayRegion(made, 0, count * 2, reinterpret_cast<const jint*>(runs));
    std::free(runs);
    return made;
}

VK_NATIVE(jint, overlaySet)(JNIEnv*, jclass, jlong bitmap, jint index, jlong overlay)
{
    return V_SetBitmapOverlay(record(bitmap), index, record(overlay), OVERLAY_COPY);
}

VK_NATIVE(jint, overlayGet)(JNIEnv*, jclass, jlong made, jlong bitmap, jint index, jint flags)
{
    return V_GetBitmapOverlay(record(bitmap), index, record(made), BITMAPHANDLE_SIZE, bits(flags));
}

VK_NATIVE(jint, overlayRemove)(JNIEnv*, jclass, jlong bitmap, jint index)
{
    return V_RemoveBitmapOverlay(record(bitmap), index);
}

VK_NATIVE(jint, overlayBits)(JNIEnv*, jclass, jlong bitmap, jint index, jboolean isStored)
{
    return (isStored ? V_StoreBitmapOverlayBits : V_LoadBitmapOverlayBits)(record(bitmap), index);
}

VK_NATIVE(jint, overlayFlatten)(JNIEnv*, jclass, jlong bitmap)
{
    return V_FlattenBitmapOverlays(nullptr, record(bitmap), 0);
}

// Numbers in the order of the record behind its size, and the label's 64 bytes.
VK_NATIVE(jint, overlayAttributes)(JNIEnv* env, jclass, jlong bitmap, jint index, jintArray numbers, jbyteArray label)
{
    V_OVERLAYATTRIBUTES attributes = {};
    const int result = V_GetBitmapOverlayAttributes(record(bitmap), index, &attributes, sizeof attributes);
    const int32_t values[] = {static_cast<int32_t>(attributes.Flags), static_cast<int32_t>(attributes.Color),
                              attributes.nOriginCol, attributes.nOriginRow, attributes.nBit};
    give_ints(env, numbers, values, 5);
    env->SetByteArrayRegion(label, 0, sizeof attributes.Label, reinterpret_cast<const jbyte*>(attributes.Label));
    return result;
}

VK_NATIVE(jint, setOverlayAttributes)
(JNIEnv* env, jclass, jlong bitmap, jint index, jintArray numbers, jbyteArray label)
{
    jint n[5] = {};
    env->GetIntArrayRegion(numbers, 0, 5, n);
    V_OVERLAYATTRIBUTES attributes = {sizeof attributes, bits(n[0]), bits(n[1]), n[2], n[3], n[4], {}};
    env->GetByteArrayRegion(label, 0, sizeof attributes.Label, reinterpret_cast<jbyte*>(attributes.Label));
    return V_SetBitmapOverlayAttributes(record(bitmap), index, &attributes);
}
