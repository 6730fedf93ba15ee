// One operation on a bitmap, however many looks at its rows it takes: what a bitmap's callbacks are asked only once for
// an operation is remembered here. Objects live on the stack; those of one thread form a chain, and of several for one
// bitmap the outermost counts. Operations that a callback starts on other bitmaps are their own.
#pragma once

#include "Vkrecord.h"

namespace vk {

class Operation {
public:
    /// Whether the bitmap's callback may be asked for a scratch buffer: not that of a copy which is only just made,
    /// since the operation is its source's.
    enum class Scratch { may_ask, own };

    explicit Operation(const BITMAPHANDLE& bitmap, Scratch scratch = Scratch::may_ask) noexcept;
    Operation(const Operation&) = delete;
    Operation& operator=(const Operation&) = delete;
    ~Operation();

    /// True once for each operation that runs on the bitmap; false when none does.
    static bool takes_scratch(const BITMAPHANDLE& bitmap) noexcept;

private:
    const BITMAPHANDLE* bitmap_;
    Operation* outer_;
    bool may_ask_;
};

} // namespace vk
