// Regions: two of a million runs each combined, beside a copy of their runs, and turned by a quarter.
#include "BenchSupport.h"
#include "Vkkrnx.h"
#include "kernel/area/Combine.h"
#include "kernel/area/Transform.h"

namespace {

using namespace vk;
using namespace vk::bench;

/// A million runs of random lengths in `rows` rows.
void million_runs(AreaBuilder& built, int32_t rows, uint32_t seed)
{
    const int32_t per_row = 1000000 / rows;
    uint32_t noise = seed;
    for (int32_t y = 0; y < rows; ++y) {
        AreaRun* const runs = built.room(static_cast<uint64_t>(per_row));
        int32_t x = 0;
        for (int32_t i = 0; i < per_row; ++i) {
            noise = noise * 1664525u + 1013904223u;
            const int32_t first = x + 1 + static_cast<int32_t>(noise >> 29);
            x = first + 1 + static_cast<int32_t>(noise >> 26 & 7);
            runs[i] = {first, x};
        }
        built.add_band(y, y + 1, static_cast<uint64_t>(per_row));
    }
}

constexpr uint64_t kRunBytes = 2 * 1000000 * sizeof(AreaRun);

void combine(benchmark::State& state, AreaOp op)
{
    AreaBuilder a, b, built;
    million_runs(a, static_cast<int32_t>(state.range(0)), 1);
    million_runs(b, static_cast<int32_t>(state.range(0)), 2);
    against_memcpy(state, kRunBytes, kRunBytes, 2000000,
                   [&] { benchmark::DoNotOptimize(combine_areas(a.area(), b.area(), op, built)); });
    state.counters["runs"] = built.area().run_count;
}

void combine_both(benchmark::State& state)
{
    combine(state, AreaOp::both);
}
void combine_either(benchmark::State& state)
{
    combine(state, AreaOp::either);
}
void combine_one(benchmark::State& state)
{
    combine(state, AreaOp::one);
}

void transpose(benchmark::State& state)
{
    AreaBuilder a, built;
    million_runs(a, static_cast<int32_t>(state.range(0)), 1);
    against_memcpy(state, kRunBytes / 2, kRunBytes / 2, 1000000,
                   [&] { benchmark::DoNotOptimize(transpose_area(a.area(), built)); });
}

BENCHMARK(combine_both)->Apply(settings)->Arg(1000)->Arg(100000)->Arg(1000000);
BENCHMARK(combine_either)->Apply(settings)->Arg(1000)->Arg(100000)->Arg(1000000);
BENCHMARK(combine_one)->Apply(settings)->Arg(1000)->Arg(100000)->Arg(1000000);
BENCHMARK(transpose)->Apply(settings)->Arg(1000);

} // namespace
