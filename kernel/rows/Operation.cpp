#include "kernel/rows/Operation.h"

namespace vk {

namespace {

thread_local constinit Operation* t_innermost = nullptr;

} // namespace

Operation::Operation(const BITMAPHANDLE& bitmap, Scratch scratch) noexcept
    : bitmap_(&bitmap), outer_(t_innermost), may_ask_(scratch == Scratch::may_ask)
{
    t_innermost = this;
}

Operation::~Operation()
{
    t_innermost = outer_;
}

bool Operation::takes_scratch(const BITMAPHANDLE& bitmap) noexcept
{
    Operation* outermost = nullptr;
    for (Operation* each = t_innermost; each; each = each->outer_)
        if (each->bitmap_ == &bitmap)
            outermost = each;
    const bool takes = outermost && outermost->may_ask_;
    if (takes)
        outermost->may_ask_ = false;
    return takes;
}

} // namespace vk
