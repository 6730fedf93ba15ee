// Pixels on their way to be mixed. A cell has one to four numbers of one, two or four bytes, next to each other, and
// may carry something that is not mixed but taken from the nearest pixel: of gray samples the bits that are not
// significant, of indexed colours the index itself, which decides between entries of the same colour. Where the stored
// pixels are cells they are used where they stand.
#pragma once

#include "Vkrecord.h"
#include "kernel/convert/ColorLookup.h"
#include "kernel/resample/Form.h"
#include "kernel/sampling/Fill.h"
#include "kernel/sampling/Loops.h"

namespace vk::sampling {

class Cells {
public:
    Cells() noexcept = default;
    Cells(const Cells&) = delete;
    Cells& operator=(const Cells&) = delete;
    ~Cells();

    /// Most pixels of a call.
    static constexpr int32_t kMostPixels = 256;
    static constexpr size_t kLargest = 8; ///< bytes of a cell

    /// Prepares for pixels of the bitmap's form, and this fill. Cells that are mixed as real numbers are those of
    /// turns: all indexed colours but those of 1 bit are colours, bit fields are widened to bytes, gray of a byte may
    /// be signed. SUCCESS or ERROR_NO_MEMORY.
    int open(const BITMAPHANDLE& bitmap, const FillPixel& fill, bool is_real = false) noexcept;

    const CellKind& kind() const noexcept { return kind_; }
    size_t size() const noexcept { return static_cast<size_t>(kind_.size); }

    /// Stored pixels are cells.
    bool is_direct() const noexcept { return form_.lanes == resample::Lanes::stored; }

    const uint8_t* fill() const noexcept { return fill_; }

    /// Takes up to kMostPixels apart that are packed from a byte on.
    void unpack(const uint8_t* packed, uint8_t* cells, size_t count) const noexcept;

    /// Puts them together again; spare bits of the last byte are clear.
    void pack(const uint8_t* cells, uint8_t* packed, size_t count) const noexcept;

private:
    void open_real(const BITMAPHANDLE& bitmap) noexcept;
    int open_lookup(const BITMAPHANDLE& bitmap) noexcept;
    void unpack_colors(const uint8_t* packed, uint8_t* cells, size_t count) const noexcept;
    void pack_colors(const uint8_t* cells, uint8_t* packed, size_t count) const noexcept;
    void unpack_indices(const uint8_t* packed, uint8_t* cells, size_t count) const noexcept;
    void pack_indices(const uint8_t* cells, uint8_t* packed, size_t count) const noexcept;
    void unpack_fields(const uint8_t* packed, uint8_t* cells, size_t count) const noexcept;
    void pack_fields(const uint8_t* cells, uint8_t* packed, size_t count) const noexcept;
    template <class Lane> void unpack_samples(const uint8_t* packed, uint8_t* cells, size_t count) const noexcept;
    template <class Lane> void pack_samples(const uint8_t* cells, uint8_t* packed, size_t count) const noexcept;

    CellKind kind_;
    resample::Form form_;
    ColorLookup* lookup_ = nullptr;
    alignas(8) uint8_t fill_[kLargest] = {};
};

} // namespace vk::sampling
