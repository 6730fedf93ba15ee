// The library as a whole: loaded, texts of codes, settings of the calling thread, and progress told to Java.
#include "Native.h"

#include <cstdlib>

using namespace vkj;

namespace {

JavaVM* g_machine = nullptr; // set before any entry point runs

/// What the calling thread had before Java's callback took its place.
struct Watch {
    V_STATUSCALLBACK callback;
    void* data;
};

JNIEnv* current_env()
{
    void* env = nullptr;
    return g_machine != nullptr && g_machine->GetEnv(&env, JNI_VERSION_10) == JNI_OK ? static_cast<JNIEnv*>(env)
                                                                                     : nullptr;
}

/// Asks org.vkkrnx.Status. An exception there stops the operation and waits for the entry point to be back.
int tell_java(int percent, void*)
{
    JNIEnv* const env = current_env();
    if (env == nullptr)
        return V_SUCCESS;
    if (env->ExceptionCheck())
        return V_ERROR_USER_ABORT;
    jclass const status = env->FindClass("org/vkkrnx/StatusCalls");
    if (status == nullptr)
        return V_ERROR_USER_ABORT;
    jmethodID const method = env->GetStaticMethodID(status, "report", "(I)Z");
    const bool goes_on = method != nullptr && env->CallStaticBooleanMethod(status, method, percent);
    if (env->ExceptionCheck())
        return V_ERROR_USER_ABORT;
    env->DeleteLocalRef(status);
    return goes_on ? V_SUCCESS : V_ERROR_USER_ABORT;
}

} // namespace

extern "C" JNIEXPORT jint JNICALL JNI_OnLoad(JavaVM* machine, void*)
{
    g_machine = machine;
    return JNI_VERSION_10;
}

VK_NATIVE(jlong, watch)(JNIEnv*, jclass)
{
    auto* const before = static_cast<Watch*>(std::malloc(sizeof(Watch)));
    if (before != nullptr)
        V_SetStatusCallback(tell_java, nullptr, &before->callback, &before->data);
    return address_of(before);
}

VK_NATIVE(void, unwatch)(JNIEnv*, jclass, jlong watch)
{
    auto* const before = pointer<Watch>(watch);
    V_SetStatusCallback(before->callback, before->data, nullptr, nullptr);
    std::free(before);
}

VK_NATIVE(jstring, text)(JNIEnv* env, jclass, jint code)
{
    char text[256] = "";
    V_GetFriendlyErrorMessageA(code, text, sizeof text);
    return env->NewStringUTF(text);
}

VK_NATIVE(jint, version)(JNIEnv*, jclass)
{
    return VKKRNX_VERSION_MAJOR * 10000 + VKKRNX_VERSION_MINOR * 100 + VKKRNX_VERSION_PATCH;
}

VK_NATIVE(jint, setDefaultMemoryType)(JNIEnv*, jclass, jint memory)
{
    return V_SetDefaultMemoryType(bits(memory));
}

VK_NATIVE(jint, defaultMemoryType)(JNIEnv*, jclass)
{
    uint32_t memory = 0;
    V_GetDefaultMemoryType(&memory);
    return static_cast<jint>(memory);
}

VK_NATIVE(jint, setDefaultDithering)(JNIEnv*, jclass, jint method)
{
    return V_DefaultDithering(method);
}

VK_NATIVE(jint, defaultDithering)(JNIEnv*, jclass)
{
    return V_GetDefaultDithering();
}

VK_NATIVE(jint, setWorkers)(JNIEnv*, jclass, jint workers)
{
    return V_SetWorkers(workers);
}

VK_NATIVE(jint, workers)(JNIEnv*, jclass)
{
    return V_GetWorkers();
}

VK_NATIVE(jint, setMemoryStock)(JNIEnv*, jclass, jlong bytes)
{
    return V_SetMemoryStock(static_cast<uint64_t>(bytes));
}

VK_NATIVE(jlong, memoryStock)(JNIEnv*, jclass)
{
    return static_cast<jlong>(V_GetMemoryStock());
}

VK_NATIVE(jint, trimMemory)(JNIEnv*, jclass)
{
    return V_TrimMemory();
}

VK_NATIVE(jint, freeThreadState)(JNIEnv*, jclass)
{
    return V_FreeThreadState();
}
