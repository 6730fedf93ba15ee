// Loads the native library where there is no Java: finds each entry point, and has a picture made, filled and read
// through those that need nothing of Java's. java_load <library>.
#include "Vktypes.h"

#include <jni.h>

#include <cstdio>

namespace {

HMODULE g_library = nullptr;

template <class Function> Function* entry(const char* name)
{
    char symbol[128];
    std::snprintf(symbol, sizeof symbol, "Java_org_vkkrnx_Native_%s", name);
    void* const found = reinterpret_cast<void*>(GetProcAddress(g_library, symbol));
    if (found == nullptr)
        std::printf("%s is missing\n", symbol);
    return reinterpret_cast<Function*>(found);
}

using Make = jlong JNICALL(JNIEnv*, jclass);
using Create = jint JNICALL(JNIEnv*, jclass, jlong, jint, jint, jint, jint, jint, jbyteArray, jint, jlong, jlong);
using Fill = jint JNICALL(JNIEnv*, jclass, jlong, jint);
using Resize = jint JNICALL(JNIEnv*, jclass, jlong, jint, jint, jint);
using Read = jint JNICALL(JNIEnv*, jclass, jlong, jint, jint);
using Free = void JNICALL(JNIEnv*, jclass, jlong);

} // namespace

int main(int count, char** arguments)
{
    g_library = count > 1 ? LoadLibraryA(arguments[1]) : nullptr;
    if (g_library == nullptr) {
        std::printf("cannot be loaded: %lu\n", GetLastError());
        return 1;
    }
    auto* const on_load = reinterpret_cast<jint JNICALL (*)(JavaVM*, void*)>(
        reinterpret_cast<void*>(GetProcAddress(g_library, "JNI_OnLoad")));
    auto* const make = entry<Make>("newRecord");
    auto* const create = entry<Create>("create");
    auto* const fill = entry<Fill>("fill");
    auto* const resize = entry<Resize>("resize");
    auto* const read = entry<Read>("getColor");
    auto* const free_bitmap = entry<Free>("freeBitmap");
    auto* const free_record = entry<Free>("freeRecord");
    if (!on_load || !make || !create || !fill || !resize || !read || !free_bitmap || !free_record)
        return 1;

    const jint version = on_load(nullptr, nullptr);
    const jlong bitmap = make(nullptr, nullptr);
    const jint made = create(nullptr, nullptr, bitmap, 1, 30, 20, 24, 1, nullptr, 0, 0, 0);
    const jint filled = fill(nullptr, nullptr, bitmap, 0x302010);
    const jint resized = resize(nullptr, nullptr, bitmap, 60, 40, 2);
    const jint color = read(nullptr, nullptr, bitmap, 39, 59);
    free_bitmap(nullptr, nullptr, bitmap);
    free_record(nullptr, nullptr, bitmap);
    const bool is_right = version == JNI_VERSION_10 && made == 1 && filled == 1 && resized == 1 && color == 0x302010;
    std::printf("%d %d %d %x: %s\n", made, filled, resized, static_cast<unsigned>(color), is_right ? "right" : "wrong");
    return is_right && FreeLibrary(g_library) ? 0 : 1;
}
