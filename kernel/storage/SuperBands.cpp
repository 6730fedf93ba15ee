// Packing, unpacking and the cache. Every function behind the public ones runs with the bands locked.
#include "kernel/storage/SuperBands.h"

#include "Vkrecord.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <new>

namespace vk {

namespace {

/// Bytes of a band, chosen by measurement: docs/codecs.md.
constexpr size_t kSampleBand = 131072;
constexpr size_t kPageBand = 65536;
constexpr size_t kSmallestBand = 32768;
/// Rows that prediction handles side by side; bands of so many or a multiple are packed best.
constexpr uint32_t kGoodRows = 16;
/// A bitmap has so many bands or more where it is large enough, and so many for each band that is held unpacked.
constexpr size_t kFewestBands = 8;

/// Rows of a band: enough for good packing, few enough that the cache stays small beside the bitmap.
uint32_t rows_for(uint32_t bytes_per_line, uint32_t height, int32_t bits) noexcept
{
    const uint64_t all = uint64_t{bytes_per_line} * height;
    const uint64_t wanted =
        std::clamp<uint64_t>(all / kFewestBands, kSmallestBand, bits == 1 ? kPageBand : kSampleBand);
    const uint64_t rows = std::max<uint64_t>(wanted / bytes_per_line, 1);
    if (rows >= kGoodRows)
        return static_cast<uint32_t>(rows / kGoodRows * kGoodRows);
    return bytes_per_line <= 2 * wanted / kGoodRows ? kGoodRows : static_cast<uint32_t>(rows);
}

bool is_clear(const uint8_t* bytes, size_t count) noexcept
{
    return count == 0 || (bytes[0] == 0 && std::memcmp(bytes, bytes + 1, count - 1) == 0);
}

} // namespace

SuperBands::SuperBands(uint32_t width, uint32_t bytes_per_line, uint32_t height, int32_t bits) noexcept
    : width_(width), bytes_per_line_(bytes_per_line), height_(height), bits_(bits),
      rows_per_band_(rows_for(bytes_per_line, height, bits)),
      slots_in_use_(static_cast<uint32_t>(std::clamp<size_t>(bands() / kFewestBands, 2, kSlots)))
{}

size_t SuperBands::bands_for(uint32_t height, uint32_t rows_per_band) noexcept
{
    return (size_t{height} + rows_per_band - 1) / rows_per_band;
}

codec::Shape SuperBands::shape_of(size_t band) const noexcept
{
    const uint64_t first = uint64_t{band} * rows_per_band_;
    const auto rows = static_cast<uint32_t>(std::min<uint64_t>(rows_per_band_, height_ - first));
    return codec::Shape{width_, bytes_per_line_, rows, bits_};
}

SuperBands::Part SuperBands::next_part(uint64_t position, size_t left) const noexcept
{
    const uint64_t full = uint64_t{bytes_per_line_} * rows_per_band_;
    const auto band = static_cast<size_t>(position / full);
    const auto offset = static_cast<size_t>(position % full);
    return Part{band, offset, std::min(left, shape_of(band).bytes() - offset)};
}

SuperBands* SuperBands::create(uint32_t width, uint32_t bytes_per_line, uint32_t height, int32_t bits) noexcept
{
    void* const memory = platform::heap_alloc(sizeof(SuperBands));
    if (!memory)
        return nullptr;
    auto* const made = new (memory) SuperBands(width, bytes_per_line, height, bits);
    const size_t bytes = std::max<size_t>(made->bands(), 1) * sizeof(Block);
    made->blocks_ = static_cast<Block*>(platform::heap_alloc(bytes));
    made->codec_ = made->blocks_ ? codec::acquire(bits) : nullptr;
    if (!made->codec_) {
        platform::heap_free(made->blocks_);
        made->~SuperBands();
        platform::heap_free(made);
        return nullptr;
    }
    std::fill_n(made->blocks_, made->bands(), Block{});
    return made;
}

void SuperBands::destroy() noexcept
{
    for (size_t band = bands(); band-- != 0;)
        platform::heap_free(blocks_[band].bytes);
    for (const Slot& slot : slots_)
        platform::heap_free(slot.rows);
    platform::heap_free(blocks_);
    platform::heap_free(workspace_);
    codec::release(bits_);
    this->~SuperBands();
    platform::heap_free(this);
}

// ---- packing ----

bool SuperBands::make_workspace() noexcept
{
    if (workspace_)
        return true;
    const codec::Shape full{width_, bytes_per_line_, rows_per_band_, bits_};
    workspace_bytes_ = (codec_->workspace_bytes(full) + 15) & ~size_t{15};
    workspace_ = static_cast<uint8_t*>(platform::heap_alloc(workspace_bytes_ + full.bytes()));
    return workspace_ != nullptr;
}

/// Packs the rows of a band into a block of its own. False without memory.
bool SuperBands::pack(size_t band, const uint8_t* rows, Block* block) noexcept
{
    const codec::Shape shape = shape_of(band);
    *block = Block{};
    if (is_clear(rows, shape.bytes()))
        return true;
    if (!make_workspace())
        return false;
    uint8_t* const packed = workspace_ + workspace_bytes_;
    const size_t packed_bytes = codec_->encode(shape, rows, packed, shape.bytes() - 1, workspace_);
    const size_t bytes = packed_bytes != 0 ? packed_bytes : shape.bytes();
    block->bytes = static_cast<uint8_t*>(platform::heap_alloc(bytes));
    if (!block->bytes)
        return false;
    block->size = bytes;
    std::memcpy(block->bytes, packed_bytes != 0 ? packed : rows, bytes);
    return true;
}

int SuperBands::unpack(size_t band, uint8_t* rows) noexcept
{
    const codec::Shape shape = shape_of(band);
    const Block& block = blocks_[band];
    if (!block.bytes) {
        std::memset(rows, 0, shape.bytes());
        return V_SUCCESS;
    }
    if (block.size == shape.bytes()) {
        std::memcpy(rows, block.bytes, block.size);
        return V_SUCCESS;
    }
    if (!make_workspace())
        return V_ERROR_NO_MEMORY;
    return codec_->decode(shape, block.bytes, block.size, rows, workspace_) ? V_SUCCESS : V_ERROR_INVALID_IMAGE;
}

void SuperBands::replace(size_t band, const Block& block) noexcept
{
    stored_bytes_ += block.size - blocks_[band].size;
    platform::heap_free(blocks_[band].bytes);
    blocks_[band] = block;
}

bool SuperBands::write_back(Slot& slot) noexcept
{
    Block block;
    if (!slot.changed)
        return true;
    if (!pack(slot.band, slot.rows, &block))
        return false;
    replace(slot.band, block);
    slot.changed = false;
    return true;
}

// ---- cache ----

SuperBands::Slot* SuperBands::find(size_t band) noexcept
{
    Slot* const end = slots_ + slots_in_use_;
    Slot* const slot = std::find_if(slots_, end, [band](const Slot& s) noexcept { return s.band == band; });
    return slot != end ? slot : nullptr;
}

/// A slot that may be filled: the one unused for longest that can be had. Null without memory.
SuperBands::Slot* SuperBands::free_slot(const Slot* keep) noexcept
{
    const auto full_bytes = static_cast<size_t>(uint64_t{bytes_per_line_} * rows_per_band_);
    bool tried[kSlots] = {};
    for (;;) {
        uint32_t oldest = kSlots;
        for (uint32_t i = 0; i < slots_in_use_; ++i)
            if (!tried[i] && &slots_[i] != keep && (oldest == kSlots || slots_[i].used < slots_[oldest].used))
                oldest = i;
        if (oldest == kSlots)
            return nullptr;
        tried[oldest] = true;
        Slot& slot = slots_[oldest];
        if (!slot.rows)
            slot.rows = static_cast<uint8_t*>(platform::heap_alloc(full_bytes));
        if (slot.rows && write_back(slot)) {
            slot.band = kNone;
            slot.used = 0;
            return &slot;
        }
    }
}

/// Gives the slot that holds a band, with its rows or, when all will be overwritten, without.
int SuperBands::fetch(size_t band, bool needs_rows, const Slot* keep, Slot** slot) noexcept
{
    Slot* found = find(band);
    if (!found) {
        found = free_slot(keep);
        if (!found)
            return V_ERROR_NO_MEMORY;
        const int result = needs_rows ? unpack(band, found->rows) : V_SUCCESS;
        if (result != V_SUCCESS)
            return result;
        found->band = band;
    }
    found->used = ++clock_;
    *slot = found;
    return V_SUCCESS;
}

/// Gives up the rows of a slot, changed or not.
void SuperBands::forget(Slot& slot) noexcept
{
    slot.band = kNone;
    slot.changed = false;
}

void SuperBands::change(Slot& slot, size_t offset, const uint8_t* from, size_t bytes) noexcept
{
    std::memcpy(slot.rows + offset, from, bytes);
    slot.changed = true;
}

// ---- transfers ----

int SuperBands::read_part(const Part& part, uint8_t* to) noexcept
{
    if (is_whole(part) && !find(part.band))
        return unpack(part.band, to);
    Slot* slot = nullptr;
    const int result = fetch(part.band, true, nullptr, &slot);
    if (result == V_SUCCESS)
        std::memcpy(to, slot->rows + part.offset, part.bytes);
    return result;
}

int SuperBands::read(uint64_t position, uint8_t* to, size_t bytes) noexcept
{
    const std::lock_guard guard(lock_);
    return read_parts(position, to, bytes);
}

int SuperBands::read_parts(uint64_t position, uint8_t* to, size_t bytes) noexcept
{
    while (bytes != 0) {
        const Part part = next_part(position, bytes);
        const int result = read_part(part, to);
        if (result != V_SUCCESS)
            return result;
        position += part.bytes;
        to += part.bytes;
        bytes -= part.bytes;
    }
    return V_SUCCESS;
}

/// Packs whole bands one after another; all or none.
bool SuperBands::pack_all(size_t first, size_t count, const uint8_t* rows, Block* blocks) noexcept
{
    for (size_t i = 0; i < count; ++i) {
        if (!pack(first + i, rows, &blocks[i])) {
            while (i-- != 0)
                platform::heap_free(blocks[i].bytes);
            return false;
        }
        rows += shape_of(first + i).bytes();
    }
    return true;
}

/// A write over the end of a band: the first and the last band go through the cache, those between are packed as they
/// come. Nothing is changed before everything that can fail is done.
int SuperBands::write_parts(uint64_t position, const uint8_t* from, size_t bytes) noexcept
{
    const Part head = next_part(position, bytes);
    const Part tail = next_part(position + bytes - 1, 1);
    const size_t tail_bytes = tail.offset + 1;
    const size_t between = tail.band - head.band - 1;
    Slot* first = nullptr;
    Slot* last = nullptr;
    int result = fetch(head.band, true, nullptr, &first);
    if (result == V_SUCCESS)
        result = fetch(tail.band, true, first, &last);
    if (result != V_SUCCESS)
        return result;
    Block* blocks = nullptr;
    if (between != 0) {
        blocks = static_cast<Block*>(platform::heap_alloc(between * sizeof(Block)));
        if (!blocks || !pack_all(head.band + 1, between, from + head.bytes, blocks)) {
            platform::heap_free(blocks);
            return V_ERROR_NO_MEMORY;
        }
    }
    change(*first, head.offset, from, head.bytes);
    change(*last, 0, from + bytes - tail_bytes, tail_bytes);
    for (size_t i = 0; i < between; ++i) {
        replace(head.band + 1 + i, blocks[i]);
        if (Slot* const slot = find(head.band + 1 + i))
            forget(*slot);
    }
    platform::heap_free(blocks);
    return V_SUCCESS;
}

int SuperBands::write(uint64_t position, const uint8_t* from, size_t bytes) noexcept
{
    const std::lock_guard guard(lock_);
    const Part part = next_part(position, bytes);
    if (part.bytes != bytes)
        return write_parts(position, from, bytes);
    Slot* slot = nullptr;
    const int result = fetch(part.band, !is_whole(part), nullptr, &slot);
    if (result == V_SUCCESS)
        change(*slot, part.offset, from, bytes);
    return result;
}

int SuperBands::resize(uint32_t height) noexcept
{
    const std::lock_guard guard(lock_);
    const size_t before = bands();
    const size_t after = bands_for(height, rows_per_band_);
    const size_t shared = std::min(before, after);
    // The last band that both have may get another number of rows. It then lives in the cache until it is packed.
    Slot* slot = nullptr;
    size_t kept = 0;
    if (shared != 0) {
        const codec::Shape old = shape_of(shared - 1);
        const uint64_t rows = std::min<uint64_t>(rows_per_band_, height - uint64_t{shared - 1} * rows_per_band_);
        kept = std::min<size_t>(old.bytes(), static_cast<size_t>(rows * bytes_per_line_));
        if (rows != old.rows) {
            const int result = fetch(shared - 1, true, nullptr, &slot);
            if (result != V_SUCCESS)
                return result;
        }
    }
    auto* const blocks = static_cast<Block*>(platform::heap_alloc(std::max<size_t>(after, 1) * sizeof(Block)));
    if (!blocks)
        return V_ERROR_NO_MEMORY;
    for (Slot& each : slots_)
        if (each.band != kNone && each.band >= after)
            forget(each);
    for (size_t band = before; band-- > after;)
        replace(band, Block{});
    std::copy_n(blocks_, shared, blocks);
    std::fill(blocks + shared, blocks + after, Block{});
    platform::heap_free(blocks_);
    blocks_ = blocks;
    height_ = height;
    if (slot) {
        std::memset(slot->rows + kept, 0, shape_of(shared - 1).bytes() - kept);
        slot->changed = true;
    }
    return V_SUCCESS;
}

uint64_t SuperBands::flush() noexcept
{
    const std::lock_guard guard(lock_);
    for (uint32_t i = 0; i < slots_in_use_; ++i)
        if (write_back(slots_[i])) {
            platform::heap_free(slots_[i].rows);
            slots_[i] = Slot{};
        }
    platform::heap_free(workspace_);
    workspace_ = nullptr;
    return stored_bytes_ + uint64_t{bands()} * sizeof(Block);
}

} // namespace vk
