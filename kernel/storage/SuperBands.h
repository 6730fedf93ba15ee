// The bands of a super-compressed bitmap: rows in blocks that a codec packed, and the few that are held unpacked.
//
// A band whose rows are all clear takes no memory; one that the codec cannot make smaller is kept as it is. What was
// written stays in the cache until its place is needed or `flush` is called, and is packed then. Packing that fails for
// want of memory leaves the rows in the cache and the old block in the band: nothing that was written is lost.
#pragma once

#include "kernel/storage/Store.h"
#include "kernel/storage/codec/Codec.h"
#include "kernel/system/ObjectLock.h"

#include <cstddef>
#include <cstdint>

namespace vk {

class SuperBands {
public:
    /// The rows of a bitmap, all clear. Null without memory or without a codec.
    static SuperBands* create(uint32_t width, uint32_t bytes_per_line, uint32_t height, int32_t bits) noexcept;
    void destroy() noexcept;

    SuperBands(const SuperBands&) = delete;
    SuperBands& operator=(const SuperBands&) = delete;

    uint64_t extent() const noexcept { return uint64_t{bytes_per_line_} * height_; }
    uint32_t rows_per_band() const noexcept { return rows_per_band_; }

    /// Moves bytes that lie within the extent. SUCCESS, ERROR_NO_MEMORY or, for a block that cannot be unpacked,
    /// ERROR_INVALID_IMAGE. A write that fails has changed nothing.
    int read(uint64_t position, uint8_t* to, size_t bytes) noexcept;
    int write(uint64_t position, const uint8_t* from, size_t bytes) noexcept;

    /// Changes the number of rows; new ones are clear. SUCCESS, or a code and nothing has changed.
    int resize(uint32_t height) noexcept;

    /// Whether the rows have this form.
    bool holds(uint32_t width, uint32_t bytes_per_line, uint32_t height) const noexcept
    {
        return width == width_ && bytes_per_line == bytes_per_line_ && height == height_;
    }

    /// Reverses the rows: packed anew band by band and exchanged at the end. On failure nothing has changed.
    int reverse(const Reversal& reversal) noexcept;

    /// Packs what is in the cache and gives its memory back, as far as memory allows. The bytes that all bands take.
    uint64_t flush() noexcept;

private:
    static constexpr uint32_t kSlots = 4;
    static constexpr size_t kNone = SIZE_MAX;

    struct Block {
        uint8_t* bytes = nullptr; ///< none: clear rows
        size_t size = 0;          ///< that of the rows: they are not packed
    };
    struct Slot {
        uint8_t* rows = nullptr; ///< room for a whole band, made at the first use
        size_t band = kNone;
        uint64_t used = 0;
        bool changed = false;
    };
    /// The part of a transfer that falls into one band.
    struct Part {
        size_t band;
        size_t offset;
        size_t bytes;
    };

    SuperBands(uint32_t width, uint32_t bytes_per_line, uint32_t height, int32_t bits) noexcept;
    ~SuperBands() = default;

    static size_t bands_for(uint32_t height, uint32_t rows_per_band) noexcept;
    size_t bands() const noexcept { return bands_for(height_, rows_per_band_); }
    codec::Shape shape_of(size_t band) const noexcept;
    Part next_part(uint64_t position, size_t left) const noexcept;
    bool is_whole(const Part& part) const noexcept { return part.bytes == shape_of(part.band).bytes(); }

    bool make_workspace() noexcept;
    bool pack(size_t band, const uint8_t* rows, Block* block) noexcept;
    int unpack(size_t band, uint8_t* rows) noexcept;
    void replace(size_t band, const Block& block) noexcept;
    bool write_back(Slot& slot) noexcept;

    Slot* find(size_t band) noexcept;
    Slot* free_slot(const Slot* keep) noexcept;
    int fetch(size_t band, bool needs_rows, const Slot* keep, Slot** slot) noexcept;
    int read_part(const Part& part, uint8_t* to) noexcept;
    int read_parts(uint64_t position, uint8_t* to, size_t bytes) noexcept;
    int write_parts(uint64_t position, const uint8_t* from, size_t bytes) noexcept;
    bool pack_all(size_t first, size_t count, const uint8_t* rows, Block* blocks) noexcept;
    void forget(Slot& slot) noexcept;
    int pack_reversed(size_t band, const Reversal& reversal, uint8_t* room, Block* block) noexcept;
    void change(Slot& slot, size_t offset, const uint8_t* from, size_t bytes) noexcept;

    ObjectLock lock_;
    const codec::Codec* codec_ = nullptr;
    Block* blocks_ = nullptr;
    uint8_t* workspace_ = nullptr; ///< the codec's, and a packed block behind it
    size_t workspace_bytes_ = 0;
    uint64_t stored_bytes_ = 0;
    uint64_t clock_ = 0;
    uint32_t width_;
    uint32_t bytes_per_line_;
    uint32_t height_;
    int32_t bits_;
    uint32_t rows_per_band_;
    uint32_t slots_in_use_;
    Slot slots_[kSlots];
};

} // namespace vk
