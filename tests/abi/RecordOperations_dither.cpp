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

const Family dither_operations = {
    {"V_StartDitheringExt", start_ext},
    {"V_StartDithering", [](B b) -> intptr_t { return V_StartDithering(b, nullptr, 256); }},
    {"V_DitherLine", [](B b) -> intptr_t { return V_DitherLine(b, g_row.data(), g_row.data()); }},
    {"V_StopDithering", plain<V_StopDithering>},
};

} // namespace vk::testing
