#include "kernel/area/Block.h"

#include "kernel/system/Blocks.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstdint>

namespace vk {

namespace {

constexpr uint64_t kMark = 0x3261657241676552; // "RegArea2"

/// Bands follow, and runs somewhere behind them.
struct Header {
    uint64_t mark;
    uint64_t runs_at; ///< in bytes from the header
    uint32_t bands;
    uint32_t runs;
};

} // namespace

uint64_t area_block_bytes(uint64_t bands, uint64_t runs) noexcept
{
    return sizeof(Header) + bands * sizeof(AreaBand) + runs * sizeof(AreaRun);
}

AreaBand* bands_of_block(void* block) noexcept
{
    return reinterpret_cast<AreaBand*>(static_cast<Header*>(block) + 1);
}

void mark_area_block(void* block, const Area& area) noexcept
{
    const auto* const runs = reinterpret_cast<const uint8_t*>(area.runs);
    const auto runs_at = static_cast<uint64_t>(runs - static_cast<const uint8_t*>(block));
    *static_cast<Header*>(block) = {kMark, runs_at, area.band_count, area.run_count};
}

void* make_area_block(const Area& area) noexcept
{
    const uint64_t bytes = area_block_bytes(area.band_count, area.run_count);
    void* const block =
        bytes > SIZE_MAX / 2 ? nullptr : locked_block_alloc(static_cast<size_t>(bytes), Contents::unspecified);
    if (!block)
        return nullptr;
    AreaBand* const bands = bands_of_block(block);
    auto* const runs = reinterpret_cast<AreaRun*>(bands + area.band_count);
    std::copy_n(area.bands, area.band_count, bands);
    std::copy_n(area.runs, area.run_count, runs);
    mark_area_block(block, {bands, runs, area.band_count, area.run_count});
    return block;
}

bool is_area_block(const void* block) noexcept
{
    void* const handle = block ? platform::movable_handle(block) : nullptr;
    const uint64_t held = handle ? platform::movable_size(handle) : 0;
    if (held < sizeof(Header))
        return false;
    const auto* const header = static_cast<const Header*>(block);
    return header->mark == kMark && header->runs_at <= held && header->runs_at >= area_block_bytes(header->bands, 0) &&
           header->runs * uint64_t{sizeof(AreaRun)} <= held - header->runs_at;
}

Area area_of_block(const void* block) noexcept
{
    const auto* const header = static_cast<const Header*>(block);
    const auto* const runs = static_cast<const uint8_t*>(block) + header->runs_at;
    return {reinterpret_cast<const AreaBand*>(header + 1), reinterpret_cast<const AreaRun*>(runs), header->bands,
            header->runs};
}

} // namespace vk
