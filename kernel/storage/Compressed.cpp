// Run-length storage of 1-bit rows, in bands. Rows are compressed straight into their band; where its room may not
// suffice they are measured first, so that a put that fails has changed nothing.
//
// The owner, on the record's `Handle`, knows the geometry the storage was made for and holds everything; `Data` shows
// the table of bands and is not read back. Only the pixels of a row are kept: padding reads as clear.
#include "kernel/storage/Compressed.h"

#include "kernel/format/RowMath.h"
#include "kernel/runs/RunLength.h"
#include "kernel/storage/RunBand.h"
#include "kernel/storage/Store.h"
#include "kernel/system/Checks.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace vk {

namespace {

/// Small rows are worth being written without measuring them, which needs room for the worst row.
constexpr size_t kLargestWorstRow = 65536;

struct Owner {
    uint32_t width = 0;
    uint32_t bytes_per_line = 0;
    uint32_t height = 0;
    RunBand** bands = nullptr;
    uint8_t* scratch = nullptr; ///< one row of pixels, for puts of parts
    uint64_t stored_bytes = 0;  ///< of all bands
    uint64_t stored_rows = 0;

    size_t row_bytes() const noexcept { return static_cast<size_t>(packed_bytes(width, 1)); }
    RunBand& band_of(uint32_t row) noexcept { return *bands[row / kBandRows]; }
};

constexpr size_t bands_for(uint32_t height) noexcept
{
    return (size_t{height} + kBandRows - 1) / kBandRows;
}

/// Rows of band `band` of a bitmap of `height` rows.
constexpr uint32_t rows_in(size_t band, uint32_t height) noexcept
{
    return static_cast<uint32_t>(std::min<uint64_t>(height - uint64_t{band} * kBandRows, kBandRows));
}

Owner* owner_of(const BITMAPHANDLE& bitmap) noexcept
{
    return static_cast<Owner*>(bitmap.Handle);
}

/// Counts what a change of one band does to the totals.
class Recount {
public:
    Recount(Owner& owner, const RunBand& band) noexcept
        : owner_(owner), band_(band), bytes_(band.stored_bytes()), rows_(band.stored_rows())
    {}
    ~Recount()
    {
        owner_.stored_bytes += band_.stored_bytes() - bytes_;
        owner_.stored_rows += uint64_t{band_.stored_rows()} - rows_;
    }
    Recount(const Recount&) = delete;
    Recount& operator=(const Recount&) = delete;

private:
    Owner& owner_;
    const RunBand& band_;
    uint64_t bytes_;
    uint64_t rows_;
};

// ---- rows ----

bool is_clear(const uint8_t* row, const Owner& owner) noexcept
{
    const size_t bytes = runlength::row_bytes(runlength::word_count(row));
    if (bytes != runlength::clear_row_bytes(owner.width))
        return false;
    for (size_t i = 6; i + 2 <= bytes; i += 4) { // set runs
        if (row[i] != 0 || row[i + 1] != 0)
            return false;
    }
    return true;
}

/// Puts a row of pixels. False without memory, the row then being what it was.
bool put_pixels(Owner& owner, uint32_t row, const uint8_t* pixels) noexcept
{
    RunBand& band = owner.band_of(row);
    const Recount recount(owner, band);
    const uint32_t index = row % kBandRows;
    const size_t worst = runlength::max_row_bytes(owner.width);
    if (band.end_room() < worst) {
        const size_t bytes = runlength::measure(pixels, 0, owner.width);
        if (bytes <= band.own_room(index)) {
            runlength::compress(band.begin_own(index), pixels, 0, owner.width);
            band.commit_own(index);
            if (is_clear(band.row(index), owner))
                band.make_clear(index);
            return true;
        }
        if (bytes == runlength::row_bytes(1) && owner.width != 0) { // one run: clear
            band.make_clear(index);
            return true;
        }
        const size_t wanted = worst <= kLargestWorstRow ? worst : bytes;
        if (band.end_room() < bytes && !band.reserve(RunBand::record_bytes(wanted)) &&
            !band.reserve(RunBand::record_bytes(bytes)))
            return false;
    }
    runlength::compress(band.end_place(), pixels, 0, owner.width);
    if (is_clear(band.end_place(), owner))
        band.make_clear(index);
    else
        band.commit_end(index);
    return true;
}

/// Puts a row that has the form and the length of this bitmap's rows.
bool put_canonical(Owner& owner, uint32_t row, const uint8_t* run_row) noexcept
{
    RunBand& band = owner.band_of(row);
    const Recount recount(owner, band);
    const uint32_t index = row % kBandRows;
    const size_t bytes = runlength::row_bytes(runlength::word_count(run_row));
    if (is_clear(run_row, owner)) {
        band.make_clear(index);
    } else if (bytes <= band.own_room(index)) {
        std::memcpy(band.begin_own(index), run_row, bytes);
        band.commit_own(index);
    } else {
        if (!band.reserve(RunBand::record_bytes(bytes)))
            return false;
        std::memcpy(band.end_place(), run_row, bytes);
        band.commit_end(index);
    }
    return true;
}

/// A part of one row: bytes [offset, offset + bytes) of its BytesPerLine.
struct Part {
    uint32_t row;
    uint32_t offset;
    size_t bytes;
};

/// Cuts the next part off a transfer that has `left` bytes to go.
Part next_part(const Owner& owner, uint64_t position, size_t left) noexcept
{
    const auto offset = static_cast<uint32_t>(position % owner.bytes_per_line);
    return Part{static_cast<uint32_t>(position / owner.bytes_per_line), offset,
                std::min<size_t>(left, owner.bytes_per_line - offset)};
}

void read_part(Owner& owner, const Part& part, uint8_t* to) noexcept
{
    const uint8_t* const row = owner.band_of(part.row).row(part.row % kBandRows);
    const uint64_t start = uint64_t{part.offset} * 8;
    size_t filled = 0;
    if (row && start < owner.width) {
        const auto pixels = static_cast<uint32_t>(std::min<uint64_t>(owner.width - start, uint64_t{part.bytes} * 8));
        runlength::expand(row, to, static_cast<uint32_t>(start), pixels);
        filled = static_cast<size_t>(packed_bytes(pixels, 1));
    }
    std::memset(to + filled, 0, part.bytes - filled);
}

/// The whole row that results from putting a part: the caller's bytes, or the scratch row. Null when nothing changes.
const uint8_t* merged_row(Owner& owner, const Part& part, const uint8_t* from) noexcept
{
    const size_t row_bytes = owner.row_bytes();
    if (part.offset == 0 && part.bytes >= row_bytes)
        return from;
    if (part.offset >= row_bytes)
        return nullptr;
    read_part(owner, Part{part.row, 0, row_bytes}, owner.scratch);
    std::memcpy(owner.scratch + part.offset, from, std::min(part.bytes, row_bytes - part.offset));
    return owner.scratch;
}

/// Makes sure that the rows of a transfer can be put without running out of memory half way.
bool prepare(Owner& owner, uint64_t position, const uint8_t* from, size_t bytes) noexcept
{
    RunBand* band = nullptr;
    uint64_t needed = 0; // by the rows of this band
    while (bytes != 0) {
        const Part part = next_part(owner, position, bytes);
        if (RunBand* const next = &owner.band_of(part.row); next != band) {
            if (band && !band->reserve(needed))
                return false;
            band = next;
            needed = 0;
        }
        if (const uint8_t* const pixels = merged_row(owner, part, from))
            needed += RunBand::record_bytes(runlength::measure(pixels, 0, owner.width));
        position += part.bytes;
        from += part.bytes;
        bytes -= part.bytes;
    }
    return !band || band->reserve(needed);
}

// ---- making and freeing ----

void free_bands(RunBand** bands, size_t begin, size_t end) noexcept
{
    while (end > begin)
        RunBand::destroy(bands[--end]);
}

/// Makes bands [begin, end) of a bitmap of `height` rows; all or none.
bool make_bands(RunBand** bands, size_t begin, size_t end, uint32_t height) noexcept
{
    for (size_t k = begin; k < end; ++k) {
        bands[k] = RunBand::create(rows_in(k, height));
        if (!bands[k]) {
            free_bands(bands, begin, k);
            return false;
        }
    }
    return true;
}

RunBand** make_table(size_t bands) noexcept
{
    return static_cast<RunBand**>(platform::heap_alloc(std::max<size_t>(bands, 1) * sizeof(RunBand*)));
}

void free_owner(Owner* owner) noexcept
{
    if (owner->bands)
        free_bands(owner->bands, 0, bands_for(owner->height));
    platform::heap_free(owner->bands);
    platform::heap_free(owner->scratch);
    platform::heap_free(owner);
}

int create(BITMAPHANDLE& bitmap, const StoreRequest&) noexcept
{
    if (bitmap.Height < 0 || bitmap.BytesPerLine == 0 || !row_holds_width(bitmap.BytesPerLine, bitmap.Width, 1))
        return V_ERROR_NO_MEMORY; // as for any request that nothing serves
    void* const memory = platform::heap_alloc(sizeof(Owner));
    if (!memory)
        return V_ERROR_NO_MEMORY;
    auto* const owner = new (memory) Owner;
    owner->width = static_cast<uint32_t>(bitmap.Width);
    owner->bytes_per_line = bitmap.BytesPerLine;
    owner->height = static_cast<uint32_t>(bitmap.Height);
    const size_t count = bands_for(owner->height);
    owner->scratch = static_cast<uint8_t*>(platform::heap_alloc(owner->row_bytes() + 1));
    RunBand** const bands = owner->scratch ? make_table(count) : nullptr;
    if (!bands || !make_bands(bands, 0, count, owner->height)) {
        platform::heap_free(bands);
        free_owner(owner);
        return V_ERROR_NO_MEMORY;
    }
    owner->bands = bands;
    bitmap.Handle = owner;
    bitmap.Data = reinterpret_cast<uint8_t*>(bands);
    bitmap.DataOffset = 0;
    return V_SUCCESS;
}

void destroy(BITMAPHANDLE& bitmap) noexcept
{
    if (Owner* const owner = owner_of(bitmap))
        free_owner(owner);
}

/// Counts the rows of all bands anew.
void count_all(Owner& owner) noexcept
{
    owner.stored_bytes = 0;
    owner.stored_rows = 0;
    for (size_t k = 0; k < bands_for(owner.height); ++k) {
        owner.stored_bytes += owner.bands[k]->stored_bytes();
        owner.stored_rows += owner.bands[k]->stored_rows();
    }
}

int resize(BITMAPHANDLE& bitmap, int32_t height) noexcept
{
    Owner* const owner = owner_of(bitmap);
    if (!owner || height < 0)
        return V_ERROR_INVALID_PARAMETER;
    const auto new_height = static_cast<uint32_t>(height);
    const size_t before = bands_for(owner->height);
    const size_t after = bands_for(new_height);
    // Bands with as many rows as before stay; at most one more has rows that stay.
    size_t same = std::min(before, after);
    if (same != 0 && rows_in(same - 1, owner->height) != rows_in(same - 1, new_height))
        --same;
    RunBand** const bands = make_table(after);
    if (!bands || !make_bands(bands, same, after, new_height)) {
        platform::heap_free(bands);
        return V_ERROR_NO_MEMORY;
    }
    std::copy_n(owner->bands, same, bands);
    if (same < std::min(before, after))
        bands[same]->take_rows(*owner->bands[same]);
    free_bands(owner->bands, same, before);
    platform::heap_free(owner->bands);
    owner->bands = bands;
    owner->height = new_height;
    count_all(*owner);
    bitmap.Data = reinterpret_cast<uint8_t*>(bands);
    return V_SUCCESS;
}

// ---- transfers ----

uint64_t extent(const BITMAPHANDLE& bitmap) noexcept
{
    const Owner* const owner = owner_of(bitmap);
    return owner ? uint64_t{owner->bytes_per_line} * owner->height : 0;
}

intptr_t read(BITMAPHANDLE& bitmap, uint64_t position, void* buffer, size_t bytes) noexcept
{
    Owner& owner = *owner_of(bitmap);
    auto* to = static_cast<uint8_t*>(buffer);
    for (size_t left = bytes; left != 0;) {
        const Part part = next_part(owner, position, left);
        read_part(owner, part, to);
        position += part.bytes;
        to += part.bytes;
        left -= part.bytes;
    }
    return static_cast<intptr_t>(bytes);
}

intptr_t write(BITMAPHANDLE& bitmap, uint64_t position, const void* buffer, size_t bytes) noexcept
{
    Owner& owner = *owner_of(bitmap);
    const auto* from = static_cast<const uint8_t*>(buffer);
    const bool one_row = next_part(owner, position, bytes).bytes == bytes;
    if (!one_row && !prepare(owner, position, from, bytes))
        return V_ERROR_NO_MEMORY;
    for (size_t left = bytes; left != 0;) {
        const Part part = next_part(owner, position, left);
        const uint8_t* const pixels = merged_row(owner, part, from);
        if (pixels && !put_pixels(owner, part.row, pixels))
            return V_ERROR_NO_MEMORY;
        position += part.bytes;
        from += part.bytes;
        left -= part.bytes;
    }
    return static_cast<intptr_t>(bytes);
}

uint64_t recount(const BITMAPHANDLE& bitmap) noexcept
{
    const Owner* const owner = owner_of(bitmap);
    if (!owner)
        return 0;
    return owner->stored_bytes + (owner->height - owner->stored_rows) * runlength::clear_row_bytes(owner->width);
}

/// Puts the pixels of a run-length row, whatever its words.
bool put_run_row(Owner& owner, uint32_t row, const void* run_row) noexcept
{
    if (runlength::is_canonical(run_row, owner.width))
        return put_canonical(owner, row, static_cast<const uint8_t*>(run_row));
    runlength::expand(run_row, owner.scratch, 0, owner.width);
    return put_pixels(owner, row, owner.scratch);
}

// ---- reversing ----

/// Fills clear bands with the rows as they are stored, each in its new place. Clear ones are there already.
int fill_reversed(Owner& from, Owner& to, const Reversal& reversal) noexcept
{
    const uint32_t height = from.height;
    uint8_t* mirrored = nullptr;
    if (reversal.mirror) {
        mirrored = static_cast<uint8_t*>(platform::heap_alloc(runlength::max_row_bytes(from.width) + sizeof(uint16_t)));
        if (!mirrored)
            return V_ERROR_NO_MEMORY;
    }
    int result = V_SUCCESS;
    for (uint32_t row = 0; row < height && result == V_SUCCESS; ++row) {
        const uint8_t* stored = from.band_of(row).row(row % kBandRows);
        if (stored && mirrored) {
            std::memcpy(mirrored, stored, runlength::row_bytes(runlength::word_count(stored)));
            if (!runlength::mirror(mirrored, from.width))
                result = V_ERROR_INTERNAL; // no row that the store made
            stored = mirrored;
        }
        if (result == V_SUCCESS && stored && !put_run_row(to, reversal.flip ? height - 1 - row : row, stored))
            result = V_ERROR_NO_MEMORY;
        if (result == V_SUCCESS)
            result = reversal.progress.update(int64_t{row} + 1);
    }
    platform::heap_free(mirrored);
    return result;
}

bool reverses(const BITMAPHANDLE& bitmap) noexcept
{
    const Owner* const owner = owner_of(bitmap);
    return owner && static_cast<uint32_t>(bitmap.Width) == owner->width &&
           static_cast<uint32_t>(bitmap.Height) == owner->height;
}

/// The bands are made anew and exchanged at the end; the table that `Data` shows stays where it is.
int reverse(BITMAPHANDLE& bitmap, const Reversal& reversal) noexcept
{
    Owner& owner = *owner_of(bitmap);
    const size_t count = bands_for(owner.height);
    Owner made = owner;
    made.stored_bytes = 0;
    made.stored_rows = 0;
    made.bands = make_table(count);
    if (!made.bands || !make_bands(made.bands, 0, count, made.height)) {
        platform::heap_free(made.bands);
        return V_ERROR_NO_MEMORY;
    }
    int result = fill_reversed(owner, made, reversal);
    if (result == V_SUCCESS)
        result = reversal.agree(reversal.context);
    if (result == V_SUCCESS) {
        std::swap_ranges(made.bands, made.bands + count, owner.bands);
        owner.stored_bytes = made.stored_bytes;
        owner.stored_rows = made.stored_rows;
        set_data_size(bitmap, recount(bitmap)); // mirrored rows may have more words
    }
    free_bands(made.bands, 0, count);
    platform::heap_free(made.bands);
    return result;
}

} // namespace

bool compressed_has_row(const BITMAPHANDLE& bitmap, int32_t row) noexcept
{
    const Owner* const owner = owner_of(bitmap);
    return owner && row >= 0 && static_cast<uint32_t>(row) < owner->height &&
           static_cast<uint32_t>(bitmap.Width) == owner->width;
}

const void* compressed_row(const BITMAPHANDLE& bitmap, int32_t row) noexcept
{
    const auto index = static_cast<uint32_t>(row);
    return owner_of(bitmap)->band_of(index).row(index % kBandRows);
}

int compressed_put_row(BITMAPHANDLE& bitmap, int32_t row, const void* run_row) noexcept
{
    return put_run_row(*owner_of(bitmap), static_cast<uint32_t>(row), run_row) ? V_SUCCESS : V_ERROR_NO_MEMORY;
}

size_t compressed_bands(const BITMAPHANDLE& bitmap) noexcept
{
    const Owner* const owner = owner_of(bitmap);
    return owner ? bands_for(owner->height) : 0;
}

bool compressed_trim_band(BITMAPHANDLE& bitmap, size_t band) noexcept
{
    return owner_of(bitmap)->bands[band]->trim();
}

bool compressed_grow_band(BITMAPHANDLE& bitmap, size_t band, uint64_t bytes) noexcept
{
    RunBand& grown = *owner_of(bitmap)->bands[band];
    // What as many records as the band has rows take beyond the words themselves comes on top.
    const uint64_t extra = uint64_t{grown.rows()} * RunBand::record_bytes(runlength::row_bytes(1));
    return bytes <= SIZE_MAX / 4 && grown.reserve(bytes + extra);
}

const StoreCalls kCompressedCalls = {
    .create = create,
    .extent = extent,
    .read = read,
    .write = write,
    .resize = resize,
    .recount = recount,
    .figures = nullptr,
    .destroy = destroy,
    .reverses = reverses,
    .reverse = reverse,
};

} // namespace vk
