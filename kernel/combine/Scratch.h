// Pixels that an operation keeps for itself: a described record with clear storage and nothing else, of which no
// callback is told, freed with the object.
#pragma once

#include "Vkrecord.h"

namespace vk::combine {

class Scratch {
public:
    Scratch() noexcept = default;
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    ~Scratch();

    /// Makes it, for an operation on `bitmap`: in memory, or where that bitmap is in tiles or in a file and it takes
    /// more than a little, there too. SUCCESS, ERROR_INVALID_WIDTH_HEIGHT or why there is no storage.
    int make(int32_t width, int32_t height, int32_t bits, const BITMAPHANDLE& bitmap) noexcept;

    bool is_made() const noexcept { return is_made_; }
    BITMAPHANDLE& record() noexcept { return record_; }

private:
    BITMAPHANDLE record_ = {};
    bool is_made_ = false;
};

} // namespace vk::combine
