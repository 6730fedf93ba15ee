// The C side of CallBench: the same calls in a loop, as a C program makes them.
#include <Vkkrnx.h>

#include "CallBench.h"

#include <chrono>

namespace {

constexpr int32_t kWidth = 4096;
constexpr int32_t kRows = 16;

BITMAPHANDLE& bitmap()
{
    static BITMAPHANDLE made = [] {
        BITMAPHANDLE bitmap;
        V_CreateBitmap(&bitmap, BITMAPHANDLE_SIZE, TYPE_CONV, kWidth, kRows, 8, COLORORDER_GRAY, nullptr, 0, nullptr,
                       0);
        V_AccessBitmap(&bitmap);
        return bitmap;
    }();
    return made;
}

template <class Call> jlong nanoseconds(jint calls, Call call)
{
    const auto start = std::chrono::steady_clock::now();
    for (jint i = 0; i < calls; ++i)
        call(i);
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now() - start).count();
}

} // namespace

extern "C" JNIEXPORT jlong JNICALL Java_CallBench_question(JNIEnv*, jclass, jint calls)
{
    return nanoseconds(calls, [](jint) { V_BitmapHasRegion(&bitmap()); });
}

extern "C" JNIEXPORT jlong JNICALL Java_CallBench_row(JNIEnv*, jclass, jint calls)
{
    static uint8_t row[kWidth];
    return nanoseconds(calls, [](jint i) { V_GetBitmapRow(&bitmap(), row, i % kRows, kWidth); });
}
