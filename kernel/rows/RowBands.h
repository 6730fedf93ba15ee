// Rows of a whole bitmap, or from one bitmap to another, worked on by the threads that an operation has. Rows in memory
// are used where they stand. Others are moved by the calling thread alone (threading/Relay.h), a band at a time.
#pragma once

#include "kernel/rows/RowAccess.h"
#include "kernel/threading/Bands.h"

#include <cstdint>

namespace vk {

/// Rows to work on, BytesPerLine apart in either bitmap.
struct RowSet {
    const uint8_t* from;
    uint8_t* to; ///< null where no bitmap is made
    int32_t row;
    int32_t count;
};

/// What is to be done: rows from `first` on of an accessed bitmap, to the same rows of another or nowhere.
struct RowPass {
    BITMAPHANDLE& source;
    BITMAPHANDLE* made;
    BandPlan plan; ///< its rows count from `first` on
    int32_t first = 0;
};

/// The rows of both bitmaps are memory; of one alone if none is made.
bool is_in_memory(BITMAPHANDLE& source, BITMAPHANDLE* made) noexcept;

/// How rows that do not depend on each other are best cut up. `multiple` rows make up bands in memory.
BandPlan plan_rows(BITMAPHANDLE& source, BITMAPHANDLE* made, uint32_t threads, int32_t multiple = 1) noexcept;

/// The bands of rows as one of the threads sees them.
class RowBands {
public:
    /// Takes the next rows; false when there are none or the operation is to stop. Rows that are taken are to be done.
    bool take(RowSet& set) noexcept;

    /// Says what became of rows that were taken.
    void done(const RowSet& set, int result) noexcept;

    /// This is the thread that called the operation.
    bool is_caller() const noexcept { return bands_.is_caller(); }

private:
    friend class RowRelay;
    RowBands(class RowRelay& relay, Bands& bands) noexcept : relay_(relay), bands_(bands) {}

    RowRelay& relay_;
    Bands& bands_;
};

/// What each thread runs, as with Bands: gets its own means, then takes rows and does them.
using RowWork = int (*)(void* context, RowBands& rows) noexcept;

int pass_rows(const RowPass& pass, Progress& progress, RowWork work, void* context) noexcept;

template <class Work> int pass_rows(const RowPass& pass, Progress& progress, Work& work) noexcept
{
    const RowWork call = [](void* context, RowBands& rows) noexcept { return (*static_cast<Work*>(context))(rows); };
    return pass_rows(pass, progress, call, &work);
}

} // namespace vk
