// The one copy of the rule "a bitmap is replaced on success only": a bitmap is staged beside its source, filled, and
// committed at the end. Until then the source keeps everything it has, and a staged bitmap that is not committed is
// freed, so that every early return leaves the caller's records right.
//
//     Staged staged(bitmap);
//     int result = staged.make(shape, DUPFLAG_PALETTE);   // copied; the rest is handed over by replace
//     if (result == V_SUCCESS)
//         result = fill(staged.record(), bitmap);          // the bitmap is accessed meanwhile
//     return result == V_SUCCESS ? staged.replace(access) : result;
//
// Data callbacks that the staged bitmap has learn of its allocation and of its end. What happens to it before it is
// the caller's, accesses and transfers, is none of their business.
#pragma once

#include "Vkbitmap.h"
#include "Vkrecord.h"
#include "Vksystem.h"
#include "kernel/bitmap/Alloc.h"
#include "kernel/bitmap/Duplicate.h"
#include "kernel/rows/Locks.h"
#include "kernel/system/Checks.h"

#include <cstring>

namespace vk {

class Staged {
public:
    explicit Staged(BITMAPHANDLE& source) noexcept : source_(source) {}
    Staged(const Staged&) = delete;
    Staged& operator=(const Staged&) = delete;
    ~Staged()
    {
        if (is_made_) {
            attach_callbacks();
            free_bitmap(record_);
        }
    }

    /// Makes the staged bitmap, to take the source's place in the end: a record of the source's size.
    int make(const Shape& shape, uint32_t copied) noexcept
    {
        return make(shape, source_.StructSize, copied | DUPFLAG_TAKEOVER);
    }

    /// Makes the staged bitmap, to go to a second record of `struct_size` bytes in the end.
    int make(const Shape& shape, uint32_t struct_size, uint32_t dup_flags) noexcept
    {
        copied_ = dup_flags;
        const int result = make_like(record_, source_, struct_size, shape, dup_flags);
        is_made_ = result == V_SUCCESS;
        if (is_made_ && is_current(record_)) {
            callbacks_ = record_.DataCallbacks;
            record_.DataCallbacks = nullptr;
        }
        return result;
    }

    BITMAPHANDLE& record() noexcept { return record_; }

    /// Hands over what was not copied, frees the rest of the source and puts the staged record in its place. Locks that
    /// the caller holds go on. No access of the operation itself may be left. SUCCESS, or the source is as it was.
    int replace() noexcept
    {
        attach_callbacks();
        const int32_t locks = is_current(source_) ? source_.LockCount : 0;
        if (locks > 0) {
            const int result = access_bitmap(record_);
            if (result != V_SUCCESS)
                return result;
            record_.LockCount = locks;
            source_.LockCount = 0;
        }
        hand_over(record_, source_, copied_);
        free_bitmap(source_);
        give(source_);
        return V_SUCCESS;
    }

    /// The same when the operation still has the source accessed. A refused release undoes nothing and is the result.
    int replace(BitmapAccess& access) noexcept
    {
        const int released = access.release();
        return first_failure(replace(), released);
    }

    /// Writes the staged record to a second record, whose old contents are forgotten.
    void give(BITMAPHANDLE& target) noexcept
    {
        attach_callbacks();
        std::memcpy(static_cast<void*>(&target), &record_, record_.StructSize);
        is_made_ = false;
    }

private:
    void attach_callbacks() noexcept
    {
        if (callbacks_)
            record_.DataCallbacks = callbacks_;
        callbacks_ = nullptr;
    }

    BITMAPHANDLE& source_;
    BITMAPHANDLE record_ = {};
    BITMAPDATACALLBACKS* callbacks_ = nullptr;
    uint32_t copied_ = 0;
    bool is_made_ = false;
};

} // namespace vk
