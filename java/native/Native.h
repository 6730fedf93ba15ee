// What the native entry points share: how values of Java become arguments of the C interface.
//
// The Java side holds a guard while an entry point runs, and passes addresses of records that exist, arrays of the
// length agreed on and buffers that are large enough: nothing is checked twice. An entry point makes no call into Java
// once an exception waits there; it waits until the entry point is back.
#pragma once

#include <Vkkrnx.h>
#include <jni.h>

#include "org_vkkrnx_Native.h"

#include <cstdint>

#define VK_NATIVE(type, name) extern "C" JNIEXPORT type JNICALL Java_org_vkkrnx_Native_##name

namespace vkj {

/// What Java keeps of an address; 0 is null.
template <class T> T* pointer(jlong address)
{
    return reinterpret_cast<T*>(static_cast<intptr_t>(address));
}

inline BITMAPHANDLE* record(jlong address)
{
    return pointer<BITMAPHANDLE>(address);
}

inline jlong address_of(const void* data)
{
    return static_cast<jlong>(reinterpret_cast<intptr_t>(data));
}

constexpr uint32_t bits(jint value)
{
    return static_cast<uint32_t>(value);
}

/// The entries of a palette, four bytes each; no array is no palette.
class PaletteArgument {
public:
    PaletteArgument(JNIEnv* env, jbyteArray bytes)
    {
        if (bytes == nullptr)
            return;
        has_entries_ = true;
        count_ = env->GetArrayLength(bytes) / 4;
        count_ = count_ > kMost ? kMost : count_;
        env->GetByteArrayRegion(bytes, 0, count_ * 4, reinterpret_cast<jbyte*>(entries_));
    }

    const RGBQUAD* entries() const { return has_entries_ ? entries_ : nullptr; }
    uint32_t count() const { return static_cast<uint32_t>(count_); }

private:
    static constexpr jint kMost = 256;
    RGBQUAD entries_[kMost] = {};
    jint count_ = 0;
    bool has_entries_ = false;
};

inline void give_palette(JNIEnv* env, jbyteArray bytes, const RGBQUAD* entries, jint count)
{
    env->SetByteArrayRegion(bytes, 0, count * 4, reinterpret_cast<const jbyte*>(entries));
}

/// Numbers of a Java array, as a record of the interface that has nothing but such numbers.
template <class Record> Record doubles_as(JNIEnv* env, jdoubleArray values)
{
    Record made = {};
    env->GetDoubleArrayRegion(values, 0, sizeof(Record) / sizeof(double), reinterpret_cast<jdouble*>(&made));
    return made;
}

template <class Record> void give_doubles(JNIEnv* env, jdoubleArray values, const Record& record)
{
    env->SetDoubleArrayRegion(values, 0, sizeof(Record) / sizeof(double), reinterpret_cast<const jdouble*>(&record));
}

inline RECT rect_of(JNIEnv* env, jintArray edges)
{
    jint e[4] = {};
    env->GetIntArrayRegion(edges, 0, 4, e);
    return {e[0], e[1], e[2], e[3]};
}

inline void give_rect(JNIEnv* env, jintArray edges, const RECT& rect)
{
    const jint e[] = {static_cast<jint>(rect.left), static_cast<jint>(rect.top), static_cast<jint>(rect.right),
                      static_cast<jint>(rect.bottom)};
    env->SetIntArrayRegion(edges, 0, 4, e);
}

inline void give_ints(JNIEnv* env, jintArray values, const int32_t* from, jint count)
{
    env->SetIntArrayRegion(values, 0, count, reinterpret_cast<const jint*>(from));
}

inline void give_long(JNIEnv* env, jlongArray values, uint64_t value)
{
    const jlong number = static_cast<jlong>(value);
    env->SetLongArrayRegion(values, 0, 1, &number);
}

/// The points of an array of doubles, x and y in turn, in memory that goes with the object.
class PointsArgument {
public:
    PointsArgument(JNIEnv* env, jdoubleArray values)
        : env_(env), values_(values), elements_(env->GetDoubleArrayElements(values, nullptr)),
          count_(static_cast<uint32_t>(env->GetArrayLength(values)) / 2)
    {}
    PointsArgument(const PointsArgument&) = delete;
    PointsArgument& operator=(const PointsArgument&) = delete;
    ~PointsArgument()
    {
        // Without the elements their exception waits; with them the operation may have left one of its own, beside
        // which arrays may be given back.
        if (elements_ != nullptr)
            env_->ReleaseDoubleArrayElements(values_, elements_, JNI_ABORT);
    }

    bool is_there() const { return elements_ != nullptr; }
    const V_POINTD* points() const { return reinterpret_cast<const V_POINTD*>(elements_); }
    uint32_t count() const { return count_; }

private:
    JNIEnv* env_;
    jdoubleArray values_;
    jdouble* elements_;
    uint32_t count_;
};

} // namespace vkj
