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

#if defined(_WIN32)
intptr_t draw(B bitmap)
{
    const HDC context = V_CreateBitmapDC(bitmap);
    SetPixelV(context, 0, 0, RGB(255, 255, 255));
    const int result = V_ReleaseBitmapDC(bitmap, context);
    if (result != SUCCESS)
        V_ReleaseBitmapDC(nullptr, context);
    return result;
}

intptr_t paint_and_take(B bitmap)
{
    const HDC context = CreateCompatibleDC(nullptr);
    const intptr_t painted = V_PaintBitmap(context, bitmap, nullptr, nullptr, nullptr, RENDER_NEAREST);
    const intptr_t result = painted != SUCCESS ? painted : with_other(bitmap, [&](B, B to, uint32_t size) {
        return V_GetBitmapFromDC(to, size, context, 0, 0, 1, 1);
    });
    DeleteDC(context);
    return result;
}
#endif

} // namespace

std::span<const Operation> display_operations()
{
    static const Operation operations[] = {
        {"V_SetBitmapPaint", paint, true},
        {"V_RenderBitmap", make, true},
#if defined(_WIN32)
        {"V_CreateBitmapDC, V_ReleaseBitmapDC", draw, true},
        {"V_PaintBitmap, V_GetBitmapFromDC", paint_and_take, true},
#endif
        {"V_RenderBitmap", replace, true},
    };
    return operations;
}

} // namespace vk::testing
