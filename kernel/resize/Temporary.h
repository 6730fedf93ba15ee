// A bitmap for the time of one operation: made into its record by whoever makes bitmaps, freed with it.
#pragma once

#include "kernel/bitmap/Alloc.h"
#include "kernel/bitmap/Record.h"
#include "kernel/system/Checks.h"

namespace vk {

class Temporary {
public:
    Temporary() noexcept { clear_record(record_, kRecordSize); }
    Temporary(const Temporary&) = delete;
    Temporary& operator=(const Temporary&) = delete;
    ~Temporary() { free_bitmap(record_); }

    BITMAPHANDLE& record() noexcept { return record_; }

private:
    BITMAPHANDLE record_ = {};
};

} // namespace vk
