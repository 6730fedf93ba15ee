// Dithering.
#include "tests/abi/RecordOperations.h"

#include "Vkdither.h"

namespace vk::testing {

namespace {

intptr_t start_ext(B bitmap)
{
    const int code = V_StartDitheringExt(bitmap, sixteen_colors().data(), 16, 4, nullptr);
    return code == SUCCESS ? V_StopDithering(bitmap) : code;
}

} // namespace

std::span<const Operation> dither_operations()
{
    static const Operation operations[] = {
        {"V_StartDitheringExt", start_ext, true},
        {"V_StartDithering", [](B b) -> intptr_t { return V_StartDithering(b, nullptr, 256); }, true},
        {"V_DitherLine", [](B b) -> intptr_t { return V_DitherLine(b, g_row.data(), g_row.data()); }, true},
        {"V_StopDithering", plain<V_StopDithering>, true},
    };
    return operations;
}

} // namespace vk::testing
