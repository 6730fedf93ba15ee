#include "kernel/area/Block.h"

#include "kernel/system/Blocks.h"
#include "platform/platform.h"

#include <algorithm>

namespace vk {

namespace {

constexpr uint64_t kMark = 0x3161657241676552; // "RegArea1"

/// Bands follow, then runs.
struct Header {
    uint64_t mark;
    uint32_t bands;
    uint32_t runs;
};

uint64_t bytes_of(uint64_t bands, uint64_t runs) noexcept
{
    return sizeof(Header) + bands * sizeof(AreaBand) + runs * sizeof(AreaRun);
}

} // namespace

void* make_area_block(const Area& area) noexcept
{
    const uint64_t bytes = bytes_of(area.band_count, area.run_count);
    auto* const header =
        bytes > SIZE_MAX / 2
            ? nullptr
            : static_cast<Header*>(locked_block_alloc(static_cast<size_t>(bytes), Contents::unspecified));
    if (!header)
        return nullptr;
    *header = {kMark, area.band_count, area.run_count};
    auto* const bands = reinterpret_cast<AreaBand*>(header + 1);
    std::copy_n(area.bands, area.band_count, bands);
    std::copy_n(area.runs, area.run_count, reinterpret_cast<AreaRun*>(bands + area.band_count));
    return header;
}

bool is_area_block(const void* block) noexcept
{
    void* const handle = block ? platform::movable_handle(block) : nullptr;
    const uint64_t held = handle ? platform::movable_size(handle) : 0;
    if (held < sizeof(Header))
        return false;
    const auto* const header = static_cast<const Header*>(block);
    return header->mark == kMark && bytes_of(header->bands, header->runs) <= held;
}

Area area_of_block(const void* block) noexcept
{
    const auto* const header = static_cast<const Header*>(block);
    const auto* const bands = reinterpret_cast<const AreaBand*>(header + 1);
    return {bands, reinterpret_cast<const AreaRun*>(bands + header->bands), header->bands, header->runs};
}

} // namespace vk
