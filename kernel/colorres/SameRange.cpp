#include "kernel/colorres/SameRange.h"

#include "Vkcolorres.h"
#include "kernel/bitmap/Alloc.h"
#include "kernel/colorres/ColorRes.h"
#include "kernel/colorres/GrayScale.h"

namespace vk {

SameRange::~SameRange()
{
    if (is_made_)
        free_bitmap(copy_);
}

int SameRange::make(const BITMAPHANDLE& target, ProgressShare& share) noexcept
{
    const BITMAPHANDLE& source = *current_;
    if (source.BitsPerPixel != target.BitsPerPixel || !is_deep_gray(source) || has_same_gray(source, target))
        return V_SUCCESS;
    const int result = make_temporary_colors(copy_, *current_, gray_like(target), share.pass(0, 2));
    is_made_ = result == V_SUCCESS;
    current_ = &copy_;
    share = share.pass(1, 2);
    return result;
}

} // namespace vk
