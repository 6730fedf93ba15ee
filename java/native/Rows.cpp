// Rows and pixels. Arrays of Java are used where they are while a row of plain memory is copied; other storage may wait
// for a file, so its rows go through memory of the call's own.
#include "Native.h"

#include <cstdlib>

using namespace vkj;

namespace {

bool is_plain(const BITMAPHANDLE& bitmap)
{
    constexpr uint32_t kOther =
        BITMAPFLAG_COMPRESSED | BITMAPFLAG_TILED | BITMAPFLAG_SUPERCOMPRESSED | BITMAPFLAG_DISKMEMORY;
    return (bitmap.Flags & kOther) == 0;
}

struct Place {
    jint row;
    jint col;
    jint bytes;
};

jlong get(BITMAPHANDLE* bitmap, const Place& place, void* buffer)
{
    const int access = V_AccessBitmap(bitmap);
    if (access != V_SUCCESS)
        return access;
    const intptr_t moved = V_GetBitmapRowCol(bitmap, buffer, place.row, place.col, static_cast<size_t>(place.bytes));
    V_ReleaseBitmap(bitmap);
    return moved;
}

jlong put(BITMAPHANDLE* bitmap, const Place& place, const void* buffer)
{
    const int access = V_AccessBitmap(bitmap);
    if (access != V_SUCCESS)
        return access;
    const intptr_t moved = V_PutBitmapRowCol(bitmap, buffer, place.row, place.col, static_cast<size_t>(place.bytes));
    const int release = V_ReleaseBitmap(bitmap);
    return moved >= 0 && release != V_SUCCESS ? release : moved;
}

/// Memory of a call's own.
class Bounce {
public:
    explicit Bounce(jint bytes) : data_(std::malloc(static_cast<size_t>(bytes) + 1)) {}
    Bounce(const Bounce&) = delete;
    Bounce& operator=(const Bounce&) = delete;
    ~Bounce() { std::free(data_); }

    void* data() const { return data_; }
    jbyte* bytes() const { return static_cast<jbyte*>(data_); }

private:
    void* data_;
};

} // namespace

VK_NATIVE(jlong, getRow)
(JNIEnv* env, jclass, jlong bitmap, jint row, jint col, jbyteArray array, jint offset, jint bytes)
{
    BITMAPHANDLE* const source = record(bitmap);
    const Place place{row, col, bytes};
    if (!is_plain(*source)) {
        const Bounce bounce(bytes);
        if (bounce.data() == nullptr)
            return V_ERROR_NO_MEMORY;
        const jlong moved = get(source, place, bounce.data());
        if (moved > 0)
            env->SetByteArrayRegion(array, offset, static_cast<jsize>(moved), bounce.bytes());
        return moved;
    }
    void* const elements = env->GetPrimitiveArrayCritical(array, nullptr);
    if (elements == nullptr)
        return V_ERROR_NO_MEMORY;
    const jlong moved = get(source, place, static_cast<jbyte*>(elements) + offset);
    env->ReleasePrimitiveArrayCritical(array, elements, 0);
    return moved;
}

VK_NATIVE(jlong, putRow)
(JNIEnv* env, jclass, jlong bitmap, jint row, jint col, jbyteArray array, jint offset, jint bytes)
{
    BITMAPHANDLE* const target = record(bitmap);
    const Place place{row, col, bytes};
    if (!is_plain(*target)) {
        const Bounce bounce(bytes);
        if (bounce.data() == nullptr)
            return V_ERROR_NO_MEMORY;
        env->GetByteArrayRegion(array, offset, bytes, bounce.bytes());
        return put(target, place, bounce.data());
    }
    void* const elements = env->GetPrimitiveArrayCritical(array, nullptr);
    if (elements == nullptr)
        return V_ERROR_NO_MEMORY;
    const jlong moved = put(target, place, static_cast<jbyte*>(elements) + offset);
    env->ReleasePrimitiveArrayCritical(array, elements, JNI_ABORT);
    return moved;
}

VK_NATIVE(jlong, getRowDirect)
(JNIEnv* env, jclass, jlong bitmap, jint row, jint col, jobject buffer, jint offset, jint bytes)
{
    auto* const data = static_cast<jbyte*>(env->GetDirectBufferAddress(buffer));
    return get(record(bitmap), {row, col, bytes}, data + offset);
}

VK_NATIVE(jlong, putRowDirect)
(JNIEnv* env, jclass, jlong bitmap, jint row, jint col, jobject buffer, jint offset, jint bytes)
{
    const auto* const data = static_cast<const jbyte*>(env->GetDirectBufferAddress(buffer));
    return put(record(bitmap), {row, col, bytes}, data + offset);
}

VK_NATIVE(jint, getColor)(JNIEnv*, jclass, jlong bitmap, jint row, jint col)
{
    return static_cast<jint>(V_GetPixelColor(record(bitmap), row, col));
}

VK_NATIVE(jint, putColor)(JNIEnv*, jclass, jlong bitmap, jint row, jint col, jint color)
{
    return V_PutPixelColor(record(bitmap), row, col, bits(color));
}

VK_NATIVE(jint, getPixel)(JNIEnv* env, jclass, jlong bitmap, jint row, jint col, jbyteArray pixel)
{
    jbyte bytes[8] = {};
    BITMAPHANDLE* const source = record(bitmap);
    int result = V_AccessBitmap(source);
    if (result != V_SUCCESS)
        return result;
    result = V_GetPixelData(source, bytes, row, col, sizeof bytes);
    V_ReleaseBitmap(source);
    env->SetByteArrayRegion(pixel, 0, sizeof bytes, bytes);
    return result;
}

VK_NATIVE(jint, putPixel)(JNIEnv* env, jclass, jlong bitmap, jint row, jint col, jbyteArray pixel)
{
    jbyte bytes[8] = {};
    env->GetByteArrayRegion(pixel, 0, sizeof bytes, bytes);
    BITMAPHANDLE* const target = record(bitmap);
    int result = V_AccessBitmap(target);
    if (result != V_SUCCESS)
        return result;
    result = V_PutPixelData(target, bytes, row, col, sizeof bytes);
    const int release = V_ReleaseBitmap(target);
    return result == V_SUCCESS ? release : result;
}
