// The table of fused paths, the choice among them, and the plain ones.
#include "kernel/convert/Fused.h"

#include "kernel/format/Spread.h"

#include <algorithm>
#include <atomic>
#include <cstring>

namespace vk::pixel {

namespace {

/// Entries are four bytes, of which the last lands where the next pixel will be written.
void copy_entries(const uint32_t* entries, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    for (size_t i = 0; i < count; ++i) {
        std::memcpy(dst + 3 * i, &entries[src[i]], 4);
    }
}

void index8_to_bgr24(const Plan& plan, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    copy_entries(reinterpret_cast<const uint32_t*>(plan.table), src, dst, count);
}

void index8_to_rgb24(const Plan& plan, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    uint32_t entries[256];
    std::memcpy(entries, plan.table, sizeof entries);
    for (uint32_t& entry : entries) {
        entry = (entry & 0xFF00u) | (entry >> 16 & 0xFFu) | (entry & 0xFFu) << 16;
    }
    copy_entries(entries, src, dst, count);
}

constexpr FusedPath kPlain[] = {
    {"8 to 24", 8, kAnyOrder, 24, COLORORDER_BGR, 8, 1, index8_to_bgr24, nullptr, nullptr},
    {"8 to 24", 8, kAnyOrder, 24, COLORORDER_RGB, 8, 1, index8_to_rgb24, nullptr, nullptr},
};

bool is_for(const FusedPath& path, const Plan& plan) noexcept
{
    const Format& src = taken_form(plan);
    return path.src_bits == src.bits && path.src_order == src.order && path.dst_bits == plan.dst->bits &&
           path.dst_order == plan.dst->order;
}

} // namespace

const FusedRows kPlainFusedRows = {kPlain, sizeof kPlain / sizeof kPlain[0]};

bool find_bits(Plan& plan) noexcept
{
    std::memset(plan.table, 0, kBitTableBytes);
    const uint32_t count = plan.src->indexed() ? 1u << plan.src->bits : 256;
    for (uint32_t i = 0; i < count; ++i) {
        const auto g = static_cast<uint8_t>(i);
        Rgba8 color{g, g, g, 0};
        if (plan.src->indexed()) {
            const RGBQUAD& entry = plan.src_palette[i];
            color = {entry.rgbBlue, entry.rgbGreen, entry.rgbRed, 0};
        }
        plan.table[i / 8] |= static_cast<uint8_t>((plan.matcher.match_one(color) & 1u) << (i % 8));
    }
    return true;
}

bool find_threshold(Plan& plan) noexcept
{
    const auto index_of = [&plan](uint32_t g) noexcept {
        const auto gray = static_cast<uint8_t>(g);
        return plan.matcher.match_one({gray, gray, gray, 0}) & 1u;
    };
    const uint32_t dark = index_of(0);
    uint32_t limit = 1;
    while (limit < 256 && index_of(limit) == dark) {
        ++limit;
    }
    for (uint32_t g = limit; g < 256; ++g) {
        if (index_of(g) == dark) {
            return false;
        }
    }
    plan.table[0] = static_cast<uint8_t>(std::min(limit, 255u));
    plan.table[1] = static_cast<uint8_t>(dark);
    return limit < 256;
}

namespace {

const FusedPath* find_path(Plan& plan) noexcept
{
    for (const FusedRows* rows : {fused_rows_sets.best(), &kPlainFusedRows}) {
        if (rows == nullptr) {
            continue;
        }
        for (const FusedPath* path = rows->first; path < rows->first + rows->count; ++path) {
            if (is_for(*path, plan) && (path->serves == nullptr || path->serves(plan))) {
                return path;
            }
        }
    }
    return nullptr;
}

/// The last pixels, by way of memory with room for whole steps.
void run_rest(const Plan& plan, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    constexpr size_t kRoom = 2 * kMaxFusedStep * sizeof(Rgba16) + kFusedSlack;
    alignas(64) uint8_t from[kRoom];
    alignas(64) uint8_t to[kRoom];
    const FusedPath& path = *plan.fused;
    const size_t stepped = (count + path.step - 1) / path.step * path.step;
    const size_t taken = format_bytes(taken_form(plan), count);
    std::memcpy(from, src, taken);
    std::memset(from + taken, 0, format_bytes(taken_form(plan), stepped) + path.slack - taken);
    path.run(plan, from, to, stepped);
    const size_t bytes = format_bytes(*plan.dst, count);
    const size_t unused = bytes * 8 - count * static_cast<size_t>(plan.dst->stored_bits());
    to[bytes - 1] = static_cast<uint8_t>(to[bytes - 1] & ~((1u << unused) - 1u));
    std::memcpy(dst, to, bytes);
}

/// Pixels to leave so that what the last step touches too far are theirs.
size_t pixels_of(size_t bytes, const Format& format) noexcept
{
    return (bytes * 8 + static_cast<size_t>(format.stored_bits()) - 1) / static_cast<size_t>(format.stored_bits());
}

} // namespace

void choose_fused(Plan& plan) noexcept
{
    plan.spread = nullptr;
    plan.fused = nullptr;
    // Samples of which only some bits count look like plain 8-bit gray otherwise.
    if (plan.set_alpha || plan.undo_gamut || plan.apply_gamut || plan.src == &gray8_samples() ||
        simd::level() == simd::Level::plain) {
        return;
    }
    plan.fused = find_path(plan);
    if (plan.fused == nullptr && plan.src->indexed() && plan.src->bits < 8) {
        plan.spread = find_format(8, COLORORDER_RGB);
        plan.fused = find_path(plan);
        plan.spread = plan.fused != nullptr ? plan.spread : nullptr;
    }
}

void run_fused(const Plan& plan, const uint8_t* src, uint8_t* dst, size_t count, Spare spare) noexcept
{
    const FusedPath& path = *plan.fused;
    const size_t for_src = path.slack > spare.src ? pixels_of(path.slack - spare.src, taken_form(plan)) : 0;
    const size_t for_dst = path.slack > spare.dst ? pixels_of(path.slack - spare.dst, *plan.dst) : 0;
    const size_t kept = std::max(for_src, for_dst);
    const size_t direct = count > kept ? (count - kept) / path.step * path.step : 0;
    path.run(plan, src, dst, direct);
    if (direct < count) {
        run_rest(plan, src + format_bytes(taken_form(plan), direct), dst + format_bytes(*plan.dst, direct),
                 count - direct);
    }
}

namespace {

/// stream_fused of pixels that are as the path takes them.
void stream_taken(const Plan& plan, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    constexpr size_t kLine = 64;
    const FusedPath& path = *plan.fused;
    // Streaming starts at the first pixel that begins a line, and at a byte of the source.
    size_t lead = 0;
    const auto begins_line = [&](size_t pixel) noexcept {
        return (reinterpret_cast<uintptr_t>(dst) + format_bytes(*plan.dst, pixel)) % kLine == 0;
    };
    while (lead < 8 * kLine && !begins_line(lead)) {
        lead += is_whole_bytes(taken_form(plan).stored_bits()) && is_whole_bytes(plan.dst->stored_bits()) ? 1 : 8;
    }
    const size_t kept = pixels_of(path.slack, taken_form(plan));
    if (path.stream == nullptr || !begins_line(lead) || count < lead + kept + path.step) {
        run_fused(plan, src, dst, count, {});
        return;
    }
    const size_t streamed = (count - lead - kept) / path.step * path.step;
    const auto at = [&](size_t pixel) noexcept { return src + format_bytes(taken_form(plan), pixel); };
    const auto to = [&](size_t pixel) noexcept { return dst + format_bytes(*plan.dst, pixel); };
    run_fused(plan, src, dst, lead, {});
    path.stream(plan, at(lead), to(lead), streamed);
    run_fused(plan, at(lead + streamed), to(lead + streamed), count - lead - streamed, {});
}

/// Calls `run(bytes, at, count)` for pixels spread to bytes, behind which kFusedSlack more may be read.
template <class Run> void each_spread(const Plan& plan, const uint8_t* src, size_t count, Run run) noexcept
{
    alignas(64) uint8_t bytes[kFusedChunk + kFusedSlack];
    for (size_t at = 0; at < count; at += kFusedChunk) {
        const size_t some = std::min(count - at, kFusedChunk);
        spread_pixels(src + format_bytes(*plan.src, at), bytes, some, plan.src->bits);
        run(bytes, at, some);
    }
}

} // namespace

void fuse_row(const Plan& plan, const uint8_t* src, uint8_t* dst, size_t count, Spare spare) noexcept
{
    if (plan.spread == nullptr) {
        return run_fused(plan, src, dst, count, spare);
    }
    each_spread(plan, src, count, [&](const uint8_t* bytes, size_t at, size_t some) noexcept {
        const bool is_last = at + some == count;
        run_fused(plan, bytes, dst + format_bytes(*plan.dst, at), some, {kFusedSlack, is_last ? spare.dst : 0});
    });
}

void stream_fused(const Plan& plan, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    if (plan.spread == nullptr) {
        return stream_taken(plan, src, dst, count);
    }
    each_spread(plan, src, count, [&](const uint8_t* bytes, size_t at, size_t some) noexcept {
        stream_taken(plan, bytes, dst + format_bytes(*plan.dst, at), some);
    });
}

} // namespace vk::pixel
