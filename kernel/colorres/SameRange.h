// A source whose gray samples have the significant bits of a destination of the same depth: the source itself, or a
// converted copy for the time of one operation. What resizes samples may then take them as they are.
#pragma once

#include "Vkrecord.h"
#include "kernel/system/Progress.h"

namespace vk {

class SameRange {
public:
    explicit SameRange(BITMAPHANDLE& source) noexcept : current_(&source) {}
    SameRange(const SameRange&) = delete;
    SameRange& operator=(const SameRange&) = delete;
    ~SameRange();

    /// Makes the copy where it is needed, as the first of two passes; `share` becomes what is left.
    int make(const BITMAPHANDLE& target, ProgressShare& share) noexcept;

    BITMAPHANDLE& record() noexcept { return *current_; }

private:
    BITMAPHANDLE* current_;
    BITMAPHANDLE copy_ = {};
    bool is_made_ = false;
};

} // namespace vk
