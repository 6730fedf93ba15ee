// Pictures of other forms: device-independent bitmaps and YUV.
#include "Native.h"

#include <cstring>

using namespace vkj;

namespace {

V_YUVPICTURE picture_of(JNIEnv* env, jintArray form)
{
    jint n[6] = {}; // code, width, height, matrix, range, siting
    env->GetIntArrayRegion(form, 0, 6, n);
    V_YUVPICTURE picture = {};
    picture.StructSize = sizeof picture;
    picture.Code = bits(n[0]);
    picture.Width = n[1];
    picture.Height = n[2];
    picture.Matrix = bits(n[3]);
    picture.Range = bits(n[4]);
    picture.Siting = bits(n[5]);
    return picture;
}

} // namespace

// The block is a copy, which is checked as a whole and becomes the bitmap's storage.
VK_NATIVE(jint, fromDib)(JNIEnv* env, jclass, jlong bitmap, jobject buffer, jint offset, jint bytes)
{
    HGLOBAL const block = GlobalAlloc(GMEM_MOVEABLE, static_cast<size_t>(bytes));
    void* const data = block != nullptr ? GlobalLock(block) : nullptr;
    int result = V_ERROR_NO_MEMORY;
    if (data != nullptr) {
        const auto* const from = static_cast<const jbyte*>(env->GetDirectBufferAddress(buffer));
        std::memcpy(data, from + offset, static_cast<size_t>(bytes));
        GlobalUnlock(block);
        result = V_ChangeFromDIB(record(bitmap), BITMAPHANDLE_SIZE, block);
    }
    if (result != V_SUCCESS && block != nullptr)
        GlobalFree(block);
    return result;
}

// The address of a block for freeMemory, 0 after a failure.
VK_NATIVE(jlong, toDib)(JNIEnv* env, jclass, jlong bitmap, jint type, jlongArray bytes)
{
    uint32_t size = 0;
    void* const made = V_ConvertToDIB2(record(bitmap), bits(type), &size, 0);
    if (env->ExceptionCheck()) { // nobody will ask for the block
        V_FreeMemory(made);
        return 0;
    }
    give_long(env, bytes, size);
    return address_of(made);
}

VK_NATIVE(void, freeMemory)(JNIEnv*, jclass, jlong block)
{
    V_FreeMemory(pointer<void>(block));
}

VK_NATIVE(jlong, yuvSize)(JNIEnv* env, jclass, jintArray form)
{
    V_YUVPICTURE picture = picture_of(env, form);
    return static_cast<jlong>(V_GetYuvSize(&picture));
}

VK_NATIVE(jint, fromYuv)(JNIEnv* env, jclass, jlong bitmap, jobject buffer, jint offset, jintArray form)
{
    V_YUVPICTURE picture = picture_of(env, form);
    V_GetYuvSize(&picture);
    picture.Planes[0] = static_cast<jbyte*>(env->GetDirectBufferAddress(buffer)) + offset;
    return V_YuvToBitmap(record(bitmap), BITMAPHANDLE_SIZE, &picture);
}

VK_NATIVE(jint, toYuv)(JNIEnv* env, jclass, jlong bitmap, jobject buffer, jint offset, jintArray form)
{
    V_YUVPICTURE picture = picture_of(env, form);
    V_GetYuvSize(&picture);
    picture.Planes[0] = static_cast<jbyte*>(env->GetDirectBufferAddress(buffer)) + offset;
    return V_BitmapToYuv(record(bitmap), &picture);
}
