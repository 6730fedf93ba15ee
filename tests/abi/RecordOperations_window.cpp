// Window level.
#include "tests/abi/RecordOperations.h"

#include "Vkwindow.h"

namespace vk::testing {

namespace {

constexpr V_WINDOW kWindow{sizeof(V_WINDOW), WINDOW_LINEAR, 0, 0, 100, 80};

intptr_t set(B bitmap)
{
    return V_SetBitmapWindow(bitmap, &kWindow);
}

intptr_t make(B bitmap)
{
    return with_other(bitmap, [](B from, B to, uint32_t size) { return V_WindowBitmap(to, from, size, &kWindow, 24); });
}

intptr_t replace(B bitmap)
{
    return V_WindowBitmap(nullptr, bitmap, 0, nullptr, 8);
}

} // namespace

std::span<const Operation> window_operations()
{
    static const Operation operations[] = {
        {"V_GetBitmapMinMax", plain<V_GetBitmapMinMax>, true},
        {"V_GrayScaleBitmap", [](B bitmap) { return static_cast<intptr_t>(V_GrayScaleBitmap(bitmap, 12)); }, true},
        {"V_GetBitmapMinMax", plain<V_GetBitmapMinMax>, true},
        {"V_SetBitmapWindow", set, true},
        {"V_WindowBitmap", make, true},
        {"V_WindowBitmap", replace, true},
    };
    return operations;
}

} // namespace vk::testing
