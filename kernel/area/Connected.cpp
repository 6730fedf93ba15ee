// A run of a band is a rectangle; it is connected with the runs of the bands that touch, where their columns meet. So
// runs are visited, not pixels, each of them once.
#include "kernel/area/Connected.h"

#include "platform/platform.h"

#include <algorithm>
#include <cstring>

namespace vk {

namespace {

class Visit {
public:
    explicit Visit(const Area& area) noexcept : area_(area) {}
    Visit(const Visit&) = delete;
    Visit& operator=(const Visit&) = delete;
    ~Visit() { platform::heap_free(waiting_); }

    bool open() noexcept
    {
        const size_t runs = area_.run_count;
        waiting_ = static_cast<uint32_t*>(platform::heap_alloc(runs * (sizeof *waiting_ + 1)));
        if (!waiting_)
            return false;
        seen_ = reinterpret_cast<uint8_t*>(waiting_ + runs);
        std::memset(seen_, 0, runs);
        return true;
    }

    void from(const AreaRun& run) noexcept
    {
        see(static_cast<uint32_t>(&run - area_.runs));
        while (count_ != 0)
            look_around(waiting_[--count_]);
    }

    void add_seen(AreaBuilder& built) const noexcept
    {
        for (uint32_t i = 0; i < area_.band_count; ++i) {
            const AreaBand& band = area_.bands[i];
            AreaRun* const to = built.room(band.runs());
            if (!to)
                return;
            uint64_t count = 0;
            for (uint32_t run = band.first; run < band.end; ++run)
                if (seen_[run])
                    to[count++] = area_.runs[run];
            built.add_band(band.top, band.bottom, count);
        }
    }

private:
    void see(uint32_t run) noexcept
    {
        if (seen_[run])
            return;
        seen_[run] = 1;
        waiting_[count_++] = run;
    }

    void look_around(uint32_t run) noexcept
    {
        const AreaBand* const last = area_.bands + area_.band_count;
        const AreaBand* const band =
            std::partition_point(area_.bands, last, [run](const AreaBand& each) noexcept { return each.end <= run; });
        if (band != area_.bands && (band - 1)->bottom == band->top)
            see_those_at(*(band - 1), area_.runs[run]);
        if (band + 1 != last && band->bottom == (band + 1)->top)
            see_those_at(*(band + 1), area_.runs[run]);
    }

    void see_those_at(const AreaBand& band, const AreaRun& run) noexcept
    {
        for (const AreaRun& other : area_.row(band.top, run.first, run.end))
            see(static_cast<uint32_t>(&other - area_.runs));
    }

    const Area& area_;
    uint32_t* waiting_ = nullptr; ///< runs seen whose neighbours are not
    uint8_t* seen_ = nullptr;
    size_t count_ = 0;
};

} // namespace

bool build_connected(const Area& area, int32_t x, int32_t y, AreaBuilder& built) noexcept
{
    built.clear();
    if (!area.contains(x, y))
        return true;
    Visit visit(area);
    if (!visit.open())
        return false;
    visit.from(*area.row(y, x, x + 1).begin());
    visit.add_seen(built);
    return built.good();
}

} // namespace vk
