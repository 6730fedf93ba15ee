#include "kernel/yuv/Samples.h"

namespace vk::yuv {

namespace {

constexpr uint8_t kNeutral = 128;

template <const Groups& kGroups> constexpr size_t kChroma = size_t{kGroups.pixels} / kGroups.chroma_step;
/// A short group may have fewer pixels than share chroma.
template <const Groups& kGroups> constexpr size_t kSamples = kChroma<kGroups> == 0 ? 1 : kChroma<kGroups>;

template <const Groups& kGroups> void unpack(const uint8_t* from, size_t count, const SampleRows& to) noexcept
{
    for (size_t i = 0; i < count; ++i, from += kGroups.bytes) {
        for (size_t x = 0; x < kGroups.pixels; ++x)
            to.y[i * kGroups.pixels + x] = from[kGroups.luma[x]];
        for (size_t k = 0; k < kSamples<kGroups>; ++k) {
            to.u[i * kSamples<kGroups> + k] = from[kGroups.u[k]];
            to.v[i * kSamples<kGroups> + k] = kGroups.v[k] == Groups::kNone ? kNeutral : from[kGroups.v[k]];
        }
        if constexpr (kGroups.alpha != Groups::kNone)
            to.alpha[i] = from[kGroups.alpha];
    }
}

template <const Groups& kGroups> void pack(const SampleRows& from, size_t count, uint8_t* to) noexcept
{
    for (size_t i = 0; i < count; ++i, to += kGroups.bytes) {
        for (size_t x = 0; x < kGroups.pixels; ++x)
            to[kGroups.luma[x]] = from.y[i * kGroups.pixels + x];
        for (size_t k = 0; k < kSamples<kGroups>; ++k) {
            to[kGroups.u[k]] = from.u[i * kSamples<kGroups> + k];
            if (kGroups.v[k] != Groups::kNone)
                to[kGroups.v[k]] = from.v[i * kSamples<kGroups> + k];
        }
        if constexpr (kGroups.alpha != Groups::kNone)
            to[kGroups.alpha] = from.alpha[i];
    }
}

struct Way {
    const Groups* groups;
    void (*unpack)(const uint8_t*, size_t, const SampleRows&) noexcept;
    void (*pack)(const SampleRows&, size_t, uint8_t*) noexcept;
};

template <const Groups& kGroups> constexpr Way kWay{&kGroups, unpack<kGroups>, pack<kGroups>};

constexpr Way kWays[] = {kWay<kYuy2>,      kWay<kUyvy>, kWay<kYvyu>,      kWay<kY41p>,
                         kWay<kY41pShort>, kWay<kY211>, kWay<kY211Short>, kWay<kAyuv>};

const Way& way_of(const Groups& groups) noexcept
{
    for (const Way& way : kWays)
        if (way.groups == &groups)
            return way;
    return kWays[0];
}

} // namespace

void unpack_groups(const Groups& groups, const uint8_t* from, size_t count, const SampleRows& to) noexcept
{
    way_of(groups).unpack(from, count, to);
}

void pack_groups(const Groups& groups, const SampleRows& from, size_t count, uint8_t* to) noexcept
{
    way_of(groups).pack(from, count, to);
}

} // namespace vk::yuv
