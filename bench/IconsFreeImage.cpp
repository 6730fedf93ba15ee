#include "Icons.h"

#include <FreeImage.h>
#include <cstring>

namespace vk::bench {

void live_freeimage(const uint8_t* rows)
{
    FIBITMAP* const icon = FreeImage_Allocate(kIcon, kIcon, 24);
    for (int32_t y = 0; y < kIcon; ++y)
        std::memcpy(FreeImage_GetScanLine(icon, kIcon - 1 - y), rows + static_cast<size_t>(y) * kIconRow, kIconRow);
    FIBITMAP* const small = FreeImage_Rescale(icon, kSmallIcon, kSmallIcon, FILTER_BOX);
    FIBITMAP* const gray = FreeImage_ConvertToGreyscale(small);
    FreeImage_Unload(gray);
    FreeImage_Unload(small);
    FreeImage_Unload(icon);
}

} // namespace vk::bench
