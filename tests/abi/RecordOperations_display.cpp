// How bitmaps look.
#include "tests/abi/RecordOperations.h"

#include "Vkdisplay.h"

namespace vk::testing {

namespace {

intptr_t paint(B bitmap)
{
    return V_SetBitmapPaint(bitmap, 100, -50, 180);
}

intptr_t make(B bitmap)
{
    return with_other(bitmap, [](B from, B to, uint32_t size) {
        return V_RenderBitmap(to, from, size, nullptr, 20, 10, RENDER_AREA);
    });
}

intptr_t replace(B bitmap)
{
    return V_RenderBitmap(nullptr, bitmap, 0, nullptr, 30, 20, RENDER_NEAREST);
}

} // namespace

std::span<const Operation> display_operations()
{
    static const Operation operations[] = {
        {"V_SetBitmapPaint", paint, true},
        {"V_RenderBitmap", make, true},
        {"V_RenderBitmap", replace, true},
    };
    return operations;
}

} // namespace vk::testing
