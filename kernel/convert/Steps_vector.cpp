// The steps of the general conversion, a vector of pixels at a time.
#include "kernel/convert/Steps.h"
#include "simd/Channels.h"
#include "simd/Simd.h"
#include "simd/Tables.h"
#include "simd/Weigh.h"

namespace vk::pixel::VK_SIMD_SET {
namespace {

using namespace simd;

using Bytes = Wide<uint8_t>;
using Words = Wide<uint16_t>;
using Numbers = Wide<uint32_t>;
using Longs = Wide<uint64_t>;

constexpr size_t kNumbers = Numbers::kLanes;
constexpr uint32_t kAlpha = 0xFF000000u;
constexpr uint64_t kAlpha16 = 0xFFFF000000000000u;

/// Pixels that have to be left for a step that touches so many bytes behind its own.
constexpr size_t kept_for(size_t bytes, size_t bits) noexcept
{
    return (8 * bytes + bits - 1) / bits;
}

VK_SIMD_INLINE uint8_t* bytes_at(void* at) noexcept
{
    return static_cast<uint8_t*>(at);
}
VK_SIMD_INLINE const uint8_t* bytes_at(const void* at) noexcept
{
    return static_cast<const uint8_t*>(at);
}

// ---- gray samples ----

/// Two samples of twelve bits are a pixel of three bytes.
size_t unpack_gray12(const uint8_t* packed, void* work, size_t count) noexcept
{
    uint8_t* to = bytes_at(work);
    size_t done = 0;
    for (; done + kWidth / 2 + kept_for(kLoadSlack24, 12) <= count; done += kWidth / 2) {
        const Numbers pairs = before_interleave(load_24<false>(packed + done / 2 * 3));
        const Numbers even = pairs & all<Numbers>(0xFFF), odd = pairs >> 12;
        store(to + 4 * done, interleave_low(even, odd));
        store(to + 4 * done + kWidth, interleave_high(even, odd));
    }
    return done;
}

size_t pack_gray12(const void* work, uint8_t* packed, size_t count) noexcept
{
    const uint8_t* from = bytes_at(work);
    const auto mask = all<Numbers>(0xFFF);
    size_t done = 0;
    for (; done + 2 * kWidth + kept_for(kStoreSlack24, 12) <= count; done += 2 * kWidth) {
        const auto pairs = [&](size_t i) noexcept {
            const auto a = load<Numbers>(from + 4 * done + 2 * kWidth * i);
            const auto b = load<Numbers>(from + 4 * done + 2 * kWidth * i + kWidth);
            return (every_other<0>(a, b) & mask) | (every_other<1>(a, b) & mask) << 12;
        };
        store_24<false, false>(packed + done / 2 * 3, {pairs(0), pairs(1), pairs(2), pairs(3)});
    }
    return done;
}

size_t unpack_gray16(const uint8_t* packed, void* work, size_t count) noexcept
{
    uint8_t* to = bytes_at(work);
    size_t done = 0;
    for (; done + kWidth / 2 <= count; done += kWidth / 2) {
        const Words words = before_interleave(load<Words>(packed + 2 * done));
        store(to + 4 * done, interleave_low(words, Words{}));
        store(to + 4 * done + kWidth, interleave_high(words, Words{}));
    }
    return done;
}

/// The lower words of two vectors.
VK_SIMD_INLINE Words low_words(Numbers a, Numbers b) noexcept
{
    const auto number = [](Numbers v) noexcept { return as<int32_t>(v & all<Numbers>(0xFFFF)); };
    return unpacked(pack_unsigned(number(a), number(b)));
}

size_t pack_gray16(const void* work, uint8_t* packed, size_t count) noexcept
{
    const uint8_t* from = bytes_at(work);
    size_t done = 0;
    for (; done + kWidth / 2 <= count; done += kWidth / 2)
        store(packed + 2 * done, low_words(load<Numbers>(from + 4 * done), load<Numbers>(from + 4 * done + kWidth)));
    return done;
}

// ---- fields of a word ----

template <int kLeft> VK_SIMD_INLINE Numbers moved(Numbers v) noexcept
{
    if constexpr (kLeft < 0)
        return v >> -kLeft;
    else
        return v << kLeft;
}

/// A field of `kBits` bits from bit `kFrom` on as the byte from bit `kTo` on, its top bits repeated; and back.
template <int kFrom, int kBits, int kTo> VK_SIMD_INLINE Numbers byte_of_field(Numbers v) noexcept
{
    constexpr int kLeft = kTo + 8 - kBits - kFrom;
    constexpr uint32_t kTop = (0xFFu << (8 - kBits) & 0xFFu) << kTo;
    constexpr uint32_t kRest = (0xFFu >> kBits) << kTo;
    return (moved<kLeft>(v) & all<Numbers>(kTop)) | (moved<kLeft - kBits>(v) & all<Numbers>(kRest));
}
template <int kFrom, int kBits, int kTo> VK_SIMD_INLINE Numbers field_of_byte(Numbers v) noexcept
{
    return moved<kFrom - kTo - 8 + kBits>(v) & all<Numbers>(((1u << kBits) - 1) << kFrom);
}

template <int kRedAt, int kBlueAt, int kGreens>
size_t unpack_fields(const uint8_t* packed, void* work, size_t count) noexcept
{
    uint8_t* to = bytes_at(work);
    size_t done = 0;
    for (; done + kWidth / 2 <= count; done += kWidth / 2) {
        const Words words = before_interleave(load<Words>(packed + 2 * done));
        const Numbers halves[] = {as<uint32_t>(interleave_low(words, Words{})),
                                  as<uint32_t>(interleave_high(words, Words{}))};
        for (size_t i = 0; i < 2; ++i)
            store(to + 4 * done + kWidth * i, byte_of_field<kBlueAt, 5, 0>(halves[i]) |
                                                  byte_of_field<5, kGreens, 8>(halves[i]) |
                                                  byte_of_field<kRedAt, 5, 16>(halves[i]) | all<Numbers>(kAlpha));
    }
    return done;
}

template <int kRedAt, int kBlueAt, int kGreens>
size_t pack_fields(const void* work, uint8_t* packed, size_t count) noexcept
{
    const uint8_t* from = bytes_at(work);
    size_t done = 0;
    for (; done + kWidth / 2 <= count; done += kWidth / 2) {
        const auto half = [&](size_t i) noexcept {
            const auto colors = load<Numbers>(from + 4 * done + kWidth * i);
            return field_of_byte<kBlueAt, 5, 0>(colors) | field_of_byte<5, kGreens, 8>(colors) |
                   field_of_byte<kRedAt, 5, 16>(colors);
        };
        store(packed + 2 * done, low_words(half(0), half(1)));
    }
    return done;
}

// ---- channels of bytes and of words ----

template <bool kSwap> size_t unpack_24(const uint8_t* packed, void* work, size_t count) noexcept
{
    uint8_t* to = bytes_at(work);
    size_t done = 0;
    for (; done + kNumbers + kept_for(kLoadSlack24, 24) <= count; done += kNumbers)
        store(to + 4 * done, load_24<kSwap>(packed + 3 * done) | all<Numbers>(kAlpha));
    return done;
}

template <bool kSwap> size_t pack_24(const void* work, uint8_t* packed, size_t count) noexcept
{
    const uint8_t* from = bytes_at(work);
    size_t done = 0;
    for (; done + kWidth + kept_for(kStoreSlack24, 24) <= count; done += kWidth) {
        const auto colors = [&](size_t i) noexcept { return load<Numbers>(from + 4 * done + kWidth * i); };
        store_24<kSwap, false>(packed + 3 * done, {colors(0), colors(1), colors(2), colors(3)});
    }
    return done;
}

/// Red and blue of pixels of `kBytes` bytes exchanged.
template <size_t kBytes> VK_SIMD_INLINE size_t exchange(const uint8_t* from, uint8_t* to, size_t count) noexcept
{
    static constexpr auto kOrder = order_of<16>([](size_t i) {
        constexpr size_t kChannel = kBytes / 4;
        const size_t channel = i % kBytes / kChannel;
        return i / kBytes * kBytes + (channel == 3 ? 3 : 2 - channel) * kChannel + i % kChannel;
    });
    constexpr size_t kStep = kWidth / kBytes;
    size_t done = 0;
    for (; done + kStep <= count; done += kStep)
        store(to + kBytes * done, shuffle(load<Bytes>(from + kBytes * done), in_blocks<Bytes>(kOrder)));
    return done;
}
template <size_t kBytes> size_t unpack_exchanged(const uint8_t* packed, void* work, size_t count) noexcept
{
    return exchange<kBytes>(packed, bytes_at(work), count);
}
template <size_t kBytes> size_t pack_exchanged(const void* work, uint8_t* packed, size_t count) noexcept
{
    return exchange<kBytes>(bytes_at(work), packed, count);
}

/// Two pixels of six bytes are in each block.
template <bool kSwap> size_t unpack_48(const uint8_t* packed, void* work, size_t count) noexcept
{
    static constexpr auto kOrder = order_of<16>([](size_t i) {
        const size_t channel = i % 8 / 2;
        return channel == 3 ? size_t{kNone} : i / 8 * 6 + in_pixel(channel, kSwap) * 2 + i % 2;
    });
    uint8_t* to = bytes_at(work);
    constexpr size_t kStep = kWidth / 8;
    size_t done = 0;
    for (; done + kStep + kept_for(4, 48) <= count; done += kStep) {
        const Bytes colors = shuffle(load_blocks<12>(packed + 6 * done), in_blocks<Bytes>(kOrder));
        store(to + 8 * done, as<uint64_t>(colors) | all<Longs>(kAlpha16));
    }
    return done;
}

template <bool kSwap> size_t pack_48(const void* work, uint8_t* packed, size_t count) noexcept
{
    static constexpr auto kOrder = order_of<16>(
        [](size_t i) { return i < 12 ? i / 6 * 8 + in_pixel(i % 6 / 2, kSwap) * 2 + i % 2 : size_t{kNone}; });
    const uint8_t* from = bytes_at(work);
    constexpr size_t kStep = kWidth / 8;
    size_t done = 0;
    for (; done + kStep + kept_for(kWidth / 4, 48) <= count; done += kStep)
        store_twelves(packed + 6 * done, shuffle(load<Bytes>(from + 8 * done), in_blocks<Bytes>(kOrder)));
    return done;
}

// ---- between working forms ----

size_t gray_of_colors(const Rgba8* colors, uint8_t* grays, size_t count) noexcept
{
    const auto eighth = [](Wide<int16_t> sums) noexcept { return mul_rounded(sums, all<Wide<int16_t>>(4096)); };
    const uint8_t* from = bytes_at(colors);
    size_t done = 0;
    for (; done + kWidth <= count; done += kWidth)
        store(grays + done, Weights<1, 5, 2>::load_32(from + 4 * done, eighth));
    return done;
}

size_t widen_colors(const Rgba8* colors, Rgba16* wide, size_t count) noexcept
{
    const uint8_t* from = bytes_at(colors);
    uint8_t* to = bytes_at(wide);
    size_t done = 0;
    for (; done + kNumbers <= count; done += kNumbers) { // times 257 is the byte twice
        const Bytes v = before_interleave(load<Bytes>(from + 4 * done));
        store(to + 8 * done, interleave_low(v, v));
        store(to + 8 * done + kWidth, interleave_high(v, v));
    }
    return done;
}

size_t narrow_colors(const Rgba16* wide, Rgba8* colors, size_t count) noexcept
{
    const uint8_t* from = bytes_at(wide);
    uint8_t* to = bytes_at(colors);
    size_t done = 0;
    for (; done + kNumbers <= count; done += kNumbers) {
        const auto high = [&](size_t i) noexcept { return load<Words>(from + 8 * done + kWidth * i) >> 8; };
        store(to + 4 * done, low_bytes(high(0), high(1)));
    }
    return done;
}

size_t colors_of_gray(const uint8_t* grays, Rgba8* colors, size_t count) noexcept
{
    static constexpr auto kOrder = order_of<kWidth>([](size_t i) { return i % 4 == 3 ? size_t{kNone} : i / 4; });
    uint8_t* to = bytes_at(colors);
    size_t done = 0;
    for (; done + kNumbers <= count; done += kNumbers) {
        const Bytes gray = repeat<Bytes>(load_first<Quad<uint8_t>, kNumbers>(grays + done));
        store(to + 4 * done, as<uint32_t>(shuffle(gray, kOrder.template load<Bytes>())) | all<Numbers>(kAlpha));
    }
    return done;
}

/// Gray of four colours in 64 bits each.
size_t samples_of_colors(const Rgba16* wide, uint32_t* samples, size_t count) noexcept
{
    const uint8_t* from = bytes_at(wide);
    const auto channel = all<Longs>(0xFFFF);
    size_t done = 0;
    for (; done + kNumbers <= count; done += kNumbers) {
        const auto gray = [&](size_t i) noexcept {
            const auto colors = load<Longs>(from + 8 * done + kWidth * i);
            const Longs green = colors >> 16 & channel;
            const Longs sum = (green << 2) + green + ((colors >> 32 & channel) << 1) + (colors & channel);
            return as<uint32_t>((sum + all<Longs>(4)) >> 3);
        };
        store(samples + done, every_other<0>(gray(0), gray(1)));
    }
    return done;
}

/// The value of a sample in as many bits as are wanted.
template <bool kGrows> VK_SIMD_INLINE Numbers changed(Numbers v, const SampleChange& change, Numbers mask) noexcept
{
    v = shift_right(v, static_cast<int>(change.shift)) & mask;
    if constexpr (kGrows) {
        v = shift_left(v, static_cast<int>(32 - change.from));
        for (uint32_t have = change.from; have < 32; have *= 2)
            v |= shift_right(v, static_cast<int>(have));
        return shift_right(v, static_cast<int>(32 - change.to));
    } else {
        return shift_right(v, static_cast<int>(change.from - change.to));
    }
}

VK_SIMD_INLINE Numbers mask_of(const SampleChange& change) noexcept
{
    return all<Numbers>(~uint32_t{0} >> (32 - change.from));
}

template <bool kGrows>
size_t change_samples_by(const uint32_t* samples, uint32_t* out, size_t count, SampleChange change) noexcept
{
    const Numbers mask = mask_of(change);
    size_t done = 0;
    for (; done + kNumbers <= count; done += kNumbers)
        store(out + done,
              shift_left(changed<kGrows>(load<Numbers>(samples + done), change, mask), static_cast<int>(change.place)));
    return done;
}
size_t change_samples(const uint32_t* samples, uint32_t* out, size_t count, SampleChange change) noexcept
{
    return change.to > change.from ? change_samples_by<true>(samples, out, count, change)
                                   : change_samples_by<false>(samples, out, count, change);
}

template <bool kGrows>
size_t grays_by(const uint32_t* samples, uint8_t* grays, size_t count, SampleChange to_8) noexcept
{
    const Numbers mask = mask_of(to_8);
    size_t done = 0;
    for (; done + kWidth <= count; done += kWidth) {
        const auto gray = [&](size_t i) noexcept {
            return changed<kGrows>(load<Numbers>(samples + done + kNumbers * i), to_8, mask);
        };
        store(grays + done, bytes_of<0>({gray(0), gray(1), gray(2), gray(3)}));
    }
    return done;
}
size_t grays_of_samples(const uint32_t* samples, uint8_t* grays, size_t count, SampleChange to_8) noexcept
{
    return to_8.to > to_8.from ? grays_by<true>(samples, grays, count, to_8)
                               : grays_by<false>(samples, grays, count, to_8);
}

template <bool kGrows>
size_t colors_by(const uint32_t* samples, Rgba16* wide, size_t count, SampleChange to_16) noexcept
{
    const Numbers mask = mask_of(to_16);
    uint8_t* to = bytes_at(wide);
    size_t done = 0;
    for (; done + kNumbers <= count; done += kNumbers) {
        const Numbers gray = changed<kGrows>(load<Numbers>(samples + done), to_16, mask);
        const Numbers twice = before_interleave(gray | gray << 16);
        store(to + 8 * done, as<uint64_t>(interleave_low(twice, twice)) | all<Longs>(kAlpha16));
        store(to + 8 * done + kWidth, as<uint64_t>(interleave_high(twice, twice)) | all<Longs>(kAlpha16));
    }
    return done;
}
size_t colors_of_samples(const uint32_t* samples, Rgba16* wide, size_t count, SampleChange to_16) noexcept
{
    return to_16.to > to_16.from ? colors_by<true>(samples, wide, count, to_16)
                                 : colors_by<false>(samples, wide, count, to_16);
}

size_t widen_limits(const uint32_t* samples, SampleLimits* limits, size_t count, SampleChange values,
                    uint32_t flip) noexcept
{
    const Numbers mask = mask_of(values), turned = all<Numbers>(flip);
    Numbers least = all<Numbers>(limits->least), most = all<Numbers>(limits->most);
    size_t done = 0;
    for (; done + kNumbers <= count; done += kNumbers) {
        const Numbers value = changed<false>(load<Numbers>(samples + done), values, mask) ^ turned;
        least = min(least, value);
        most = max(most, value);
    }
    for (size_t i = 0; i < kNumbers; ++i) {
        limits->least = least.raw[i] < limits->least ? least.raw[i] : limits->least;
        limits->most = most.raw[i] > limits->most ? most.raw[i] : limits->most;
    }
    return done;
}

// ---- indices ----

size_t look_up(const uint8_t* indices, uint8_t* found, size_t count, const uint8_t* table) noexcept
{
    if constexpr (!kLooksUpBytes)
        return 0;
    const ByteTable entries(table);
    size_t done = 0;
    for (; done + kWidth <= count; done += kWidth)
        store(found + done, entries.at(load<Bytes>(indices + done)));
    return done;
}

size_t match_pair(const Rgba8* colors, uint8_t* indices, size_t count, PairRule rule) noexcept
{
    using Signed = Wide<int32_t>;
    const uint8_t* from = bytes_at(colors);
    const auto pair = [](int16_t low, int16_t high) noexcept {
        const uint32_t both = static_cast<uint16_t>(low) | static_cast<uint32_t>(static_cast<uint16_t>(high)) << 16;
        return as<int16_t>(all<Numbers>(both));
    };
    const auto outer = pair(rule.blue, rule.red), middle = pair(rule.green, 0);
    const auto limit = all<Signed>(rule.limit);
    size_t done = 0;
    for (; done + kWidth <= count; done += kWidth) {
        Numbers is_second[4];
        auto is_either = Signed{} != Signed{};
        for (size_t i = 0; i < 4; ++i) {
            const auto color = load<Numbers>(from + 4 * done + kWidth * i);
            const auto channels = all<Numbers>(0x00FF00FF);
            const Signed sum =
                mul_pairs(as<int16_t>(color & channels), outer) + mul_pairs(as<int16_t>(color >> 8 & channels), middle);
            const Signed twice = sum + sum;
            is_second[i] = as<uint32_t>(keep(twice < limit, all<Signed>(1)));
            is_either = is_either | (twice == limit);
        }
        if (any(is_either))
            break;
        store(indices + done, bytes_of<0>(is_second));
    }
    return done;
}

} // namespace

const StepLoops step_loops = {
    {unpack_gray12, unpack_gray16, unpack_fields<0, 10, 5>, unpack_fields<10, 0, 5>, unpack_fields<11, 0, 6>,
     unpack_24<true>, unpack_24<false>, unpack_exchanged<4>, unpack_48<true>, unpack_48<false>, unpack_exchanged<8>},
    {pack_gray12, pack_gray16, pack_fields<0, 10, 5>, pack_fields<10, 0, 5>, pack_fields<11, 0, 6>, pack_24<true>,
     pack_24<false>, pack_exchanged<4>, pack_48<true>, pack_48<false>, pack_exchanged<8>},
    gray_of_colors,
    widen_colors,
    narrow_colors,
    colors_of_gray,
    samples_of_colors,
    change_samples,
    grays_of_samples,
    colors_of_samples,
    widen_limits,
    look_up,
    match_pair,
};

} // namespace vk::pixel::VK_SIMD_SET
