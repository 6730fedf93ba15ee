// How bitmaps look.
#include "tests/abi/RecordOperations.h"

#include "Vkdisplay.h"

namespace vk::testing {

namespace {

#if defined(_WIN32)
intptr_t draw(B bitmap)
{
    const HDC context = V_CreateBitmapDC(bitmap);
    SetPixelV(context, 0, 0, RGB(255, 255, 255));
    const int result = V_ReleaseBitmapDC(bitmap, context);
    if (result != SUCCESS)
        V_ReleaseBitmapDC(nullptr, context);
    const bool is_not_made = !context && result == V_ERROR_INVALID_HANDLE;
    return is_not_made ? V_ERROR_NO_MEMORY : result;
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

const Family display_operations = {
    {"V_SetBitmapPaint", [](B bitmap) -> intptr_t { return V_SetBitmapPaint(bitmap, 100, -50, 180); }},
    {"V_RenderBitmap",
     [](B bitmap) -> intptr_t {
         return with_other(bitmap, [](B from, B to, uint32_t size) {
             return V_RenderBitmap(to, from, size, nullptr, 20, 10, RENDER_AREA);
         });
     }},
#if defined(_WIN32)
    {"V_CreateBitmapDC, V_ReleaseBitmapDC", draw},
    {"V_PaintBitmap, V_GetBitmapFromDC", paint_and_take},
#endif
    {"V_RenderBitmap",
     [](B bitmap) -> intptr_t { return V_RenderBitmap(nullptr, bitmap, 0, nullptr, 30, 20, RENDER_NEAREST); }},
};

} // namespace vk::testing
