// Window level.
#include "tests/abi/RecordOperations.h"

#include "Vkwindow.h"

namespace vk::testing {

namespace {

constexpr V_WINDOW kWindow{sizeof(V_WINDOW), WINDOW_LINEAR, 0, 0, 100, 80};

} // namespace

const Family window_operations = {
    {"V_GetBitmapMinMax", plain<V_GetBitmapMinMax>},
    {"V_GrayScaleBitmap", [](B bitmap) { return static_cast<intptr_t>(V_GrayScaleBitmap(bitmap, 12)); }},
    {"V_GetBitmapMinMax", plain<V_GetBitmapMinMax>},
    {"V_SetBitmapWindow", [](B bitmap) -> intptr_t { return V_SetBitmapWindow(bitmap, &kWindow); }},
    {"V_WindowBitmap",
     [](B bitmap) -> intptr_t {
         return with_other(bitmap,
                           [](B from, B to, uint32_t size) { return V_WindowBitmap(to, from, size, &kWindow, 24); });
     }},
    {"V_WindowBitmap", [](B bitmap) -> intptr_t { return V_WindowBitmap(nullptr, bitmap, 0, nullptr, 8); }},
};

} // namespace vk::testing
