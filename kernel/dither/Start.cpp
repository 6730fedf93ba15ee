// Starting and ending a run: checks, the palette's kind, memory. Nothing reaches the record or the caller's match table
// before everything else has succeeded.
#include "kernel/dither/State.h"
#include "kernel/palette/Palette.h"
#include "platform/platform.h"
#include "simd/Level.h"

#include <algorithm>
#include <atomic>
#include <new>

namespace vk {

using namespace dither;

namespace {

std::atomic<DitherPath> g_limit{DitherPath::bits};

/// Bits of an entry's reserved byte that keep it from being chosen.
constexpr uint8_t kExcluded = 3;
constexpr uint32_t kCubeColors = 216;

struct Request {
    const RGBQUAD* palette;
    uint32_t colors;
    int32_t bits;
    uint32_t* match_table;
};

bool equal_entries(const RGBQUAD* entries, const RGBQUAD* fixed, uint32_t count) noexcept
{
    return std::equal(entries, entries + count, fixed, [](const RGBQUAD& a, const RGBQUAD& b) {
        return color_word(a) == color_word(b) && (a.rgbReserved & kExcluded) == 0;
    });
}

Kind fixed_kind(int32_t bits) noexcept
{
    return static_cast<Kind>(static_cast<int32_t>(Kind::fixed1) + bits - 1);
}

Kind kind_of(const Request& request) noexcept
{
    if (request.match_table != nullptr) {
        return Kind::user_table;
    }
    const int32_t bits = index_bits(request.colors);
    const bool whole = request.colors == 1u << bits;
    if (request.palette == nullptr || (whole && equal_entries(request.palette, fixed_palette(bits), request.colors))) {
        return fixed_kind(bits);
    }
    const bool cube = whole && bits == 8 && equal_entries(request.palette, netscape_palette(), request.colors);
    return cube ? Kind::cube216 : Kind::custom;
}

bool valid_request(const BITMAPHANDLE& bitmap, const Request& request) noexcept
{
    return bitmap.Width >= 0 && bitmap.BitsPerPixel > 0 && is_method(bitmap.DitheringMethod) && request.colors >= 1 &&
           request.colors <= kMaxPaletteEntries && is_indexed(request.bits) && request.colors <= 1u << request.bits &&
           (request.palette != nullptr || request.match_table == nullptr) &&
           pixel::find_format(bitmap.BitsPerPixel, bitmap.Order) != nullptr;
}

void add_entry(DitherState& state, const RGBQUAD& entry, uint32_t index) noexcept
{
    state.entries[state.count] = entry;
    state.choices[state.count] = color_word(entry) | index << 24;
    ++state.count;
}

/// Fills the entries that may be chosen.
void set_entries(DitherState& state, const Request& request) noexcept
{
    const RGBQUAD* from = request.palette;
    uint32_t colors = request.colors;
    if (state.kind == Kind::cube216) {
        colors = kCubeColors;
    } else if (is_fixed(state.kind)) {
        const int32_t bits = index_bits(colors);
        from = fixed_palette(bits);
        colors = 1u << bits;
    }
    for (uint32_t i = 0; i < colors; ++i) {
        if (is_fixed(state.kind) || (from[i].rgbReserved & kExcluded) == 0) {
            add_entry(state, from[i], i);
        }
    }
    // No choice has index 0 and another colour than entry 0 has.
    state.unknown = color_word(from[0]) ^ 1u;
}

void set_source(DitherState& state, const BITMAPHANDLE& bitmap) noexcept
{
    state.width = bitmap.Width;
    state.src_bits = bitmap.BitsPerPixel;
    state.src_order = bitmap.Order;
    state.format = pixel::find_format(bitmap.BitsPerPixel, bitmap.Order);
    state.gray = gray_range_within(std::min(state.src_bits, 32), bitmap.LowBit, bitmap.HighBit);
    if (!is_indexed(state.src_bits)) {
        return;
    }
    const RGBQUAD* palette = bitmap.Palette;
    const uint32_t largest = 1u << state.src_bits;
    const uint32_t colors = palette != nullptr ? std::min(uint32_t{bitmap.Colors}, largest) : largest;
    palette = palette != nullptr ? palette : fixed_palette(state.src_bits);
    for (uint32_t i = 0; i < largest; ++i) {
        const uint32_t entry = i < colors ? color_word(palette[i]) : 0u;
        state.src_colors[i] = state.format->indexed() ? entry : gray_word(state.gray.level(i));
        state.src_grays[i] = blue_of(state.src_colors[i]);
    }
}

/// Sizes of the working memory, which is one block: errors, colours, indices.
struct Sizes {
    uint64_t errors; ///< bytes of an error row
    uint64_t work;   ///< bytes of a row of colours
    uint64_t index;  ///< bytes of a row of indices
    uint64_t ring;

    explicit Sizes(const DitherState& state) noexcept
    {
        const auto width = static_cast<uint64_t>(state.width);
        const Diffusion& method = diffusion_of(state.method);
        constexpr uint64_t kAlign = 16;
        const auto round = [](uint64_t bytes) { return (bytes + kAlign - 1) / kAlign * kAlign; };
        ring = method.depth == 0 ? 0 : static_cast<uint64_t>(method.depth + kMostRows);
        errors = round((width + 2 * static_cast<uint64_t>(method.reach)) * 4 * sizeof(int32_t));
        work = round(width * sizeof(uint32_t));
        index = round(width + kIndexSlack);
    }
    uint64_t total() const noexcept { return ring * errors + kMostRows * (work + index); }
};

bool allocate(DitherState& state) noexcept
{
    const Sizes sizes(state);
    if (sizes.total() > SIZE_MAX) {
        return false;
    }
    state.memory = platform::heap_alloc(static_cast<size_t>(sizes.total()));
    if (state.memory == nullptr) {
        return false;
    }
    if (state.kind == Kind::custom) {
        state.cache = static_cast<uint32_t*>(platform::heap_alloc(kColors15 * sizeof(uint32_t)));
        if (state.cache == nullptr) {
            return false;
        }
        std::fill_n(state.cache, kColors15, state.unknown);
    }
    auto* at = static_cast<uint8_t*>(state.memory);
    state.errors = reinterpret_cast<int32_t*>(at);
    state.error_pitch = static_cast<size_t>(sizes.errors) / sizeof(int32_t);
    state.ring_rows = static_cast<int32_t>(sizes.ring);
    std::fill_n(state.errors, static_cast<size_t>(sizes.ring) * state.error_pitch, 0);
    at += sizes.ring * sizes.errors;
    state.work = reinterpret_cast<uint32_t*>(at);
    state.indices = at + kMostRows * sizes.work;
    state.index_pitch = static_cast<size_t>(sizes.index);
    return true;
}

/// Gives each 15-bit colour that entries have to the first of them.
void seed(DitherState& state) noexcept
{
    for (uint32_t i = 0; i < state.count; ++i) {
        const uint32_t key = key_of(state.choices[i]);
        if (state.kind == Kind::custom && state.cache[key] == state.unknown) {
            state.cache[key] = state.choices[i];
        }
        if (state.kind == Kind::user_table) {
            uint32_t nothing = 0;
            std::atomic_ref(state.user_table[key])
                .compare_exchange_strong(nothing, i + 1, std::memory_order_relaxed, std::memory_order_relaxed);
        }
    }
}

void free_state(DitherState* state) noexcept
{
    platform::heap_free(state->memory);
    if (!state->is_member) {
        platform::heap_free(state->cache);
        platform::heap_free(state->team_memory);
    }
    platform::heap_free(state);
}

/// Builds a run, or frees what it has built.
int build(DitherState* state, const BITMAPHANDLE& bitmap, const Request& request) noexcept
{
    state->method = bitmap.DitheringMethod;
    state->kind = kind_of(request);
    state->dst_bits = request.bits;
    state->pack = pixel::find_format(request.bits, COLORORDER_RGB)->pack;
    state->user_table = request.match_table;
    state->limit = simd::level() == simd::Level::plain ? DitherPath::plain : g_limit.load(std::memory_order_relaxed);
    state->plain = state->limit == DitherPath::plain;
    set_source(*state, bitmap);
    set_entries(*state, request);
    if (state->count == 0) {
        return V_ERROR_INVALID_PARAMETER;
    }
    if (!allocate(*state)) {
        return V_ERROR_NO_MEMORY;
    }
    seed(*state);
    if (!state->plain) {
        prepare_match(*state);
    }
    return V_SUCCESS;
}

} // namespace

int start_dithering(BITMAPHANDLE& bitmap, const RGBQUAD* palette, uint32_t colors, int32_t bits,
                    uint32_t* match_table) noexcept
{
    const Request request{palette, colors, bits, match_table};
    if (!valid_request(bitmap, request)) {
        return V_ERROR_INVALID_PARAMETER;
    }
    void* memory = platform::heap_alloc(sizeof(DitherState));
    if (memory == nullptr) {
        return V_ERROR_NO_MEMORY;
    }
    auto* state = new (memory) DitherState{};
    const int result = build(state, bitmap, request);
    if (result != V_SUCCESS) {
        free_state(state);
        return result;
    }
    bitmap.DitherData = state;
    return V_SUCCESS;
}

void stop_dithering(BITMAPHANDLE& bitmap) noexcept
{
    auto* state = static_cast<DitherState*>(bitmap.DitherData);
    bitmap.DitherData = nullptr;
    if (state != nullptr) {
        free_state(state);
    }
}

DitherState* dither_state(const BITMAPHANDLE& bitmap) noexcept
{
    auto* state = static_cast<DitherState*>(bitmap.DitherData);
    const bool fits = state != nullptr && state->width == bitmap.Width && state->src_bits == bitmap.BitsPerPixel &&
                      state->src_order == bitmap.Order;
    return fits ? state : nullptr;
}

uint64_t dither_rows_done(const DitherState& state, DitherPath path) noexcept
{
    return state.done[static_cast<size_t>(path)];
}

void limit_dithering(DitherPath path) noexcept
{
    g_limit.store(path, std::memory_order_relaxed);
}

} // namespace vk
