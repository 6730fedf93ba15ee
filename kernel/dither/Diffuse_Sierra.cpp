// Error diffusion of colours by one method. See Fast.h.
#include "kernel/dither/DiffuseColors.h"

template void vk::dither::diffuse_colors<DITHER_SIERRA>(DitherState&, int32_t) noexcept;
