#include "kernel/window/Samples.h"

#include "kernel/colorres/GrayScale.h"
#include "kernel/format/PackedBits.h"
#include "kernel/window/LinearWindow.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vk {

namespace {

/// The most significant bits that have a table.
constexpr int32_t kTableBits = 16;

template <class Sample> Sample sample_at(const uint8_t* row, size_t index) noexcept
{
    Sample sample;
    std::memcpy(&sample, row + index * sizeof sample, sizeof sample);
    return sample;
}

} // namespace

SampleRange SampleForm::range() const noexcept
{
    const auto largest = static_cast<int64_t>(significant.mask());
    return is_signed ? SampleRange{-(largest + 1) / 2, largest / 2} : SampleRange{0, largest};
}

int sample_form(const BITMAPHANDLE& bitmap, uint32_t flags, SampleForm* form) noexcept
{
    const GrayKind kind = gray_kind(bitmap);
    const int32_t bits = bitmap.BitsPerPixel;
    const bool is_known = bits == 8 || bits == 12 || bits == 16 || bits == 32;
    if (kind == GrayKind::none || !is_known)
        return V_ERROR_INVALID_BITS_PER_PIXEL;
    form->bits = bits;
    form->significant = gray_range_of(bitmap);
    form->is_signed = (bitmap.Flags & BITMAPFLAG_SIGNED) || (flags & WINDOWFLAG_SIGNED);
    form->is_inverted = kind == GrayKind::inverted;
    return V_SUCCESS;
}

int WindowRows::open(const SampleForm& form, const V_WINDOW* window) noexcept
{
    const SampleRange range = form.range();
    V_WINDOW whole = {};
    whole.Function = WINDOW_LINEAR;
    whole.Width = static_cast<double>(form.significant.mask()) + 1;
    whole.Center = static_cast<double>(range.first) + whole.Width / 2;
    const V_WINDOW& used = window ? *window : whole;
    const WindowSteps steps(used, {0, WindowSteps::kMost}, range);
    form_ = form;
    flip_ = (used.Flags & WINDOWFLAG_INVERTED) ? 0xFF : 0;
    loops_ = form.bits == 16 && used.Function != WINDOW_SIGMOID ? linear_loops_sets.best() : nullptr;
    if (loops_) {
        linear_ = find_linear(steps, used, form);
        loops_ = linear_.is_found ? loops_ : nullptr;
    }
    if (loops_)
        return V_SUCCESS;
    if (form.significant.bits > kTableBits) {
        if (!steps_.allocate(sizeof(int64_t) * (WindowSteps::kMost + 1)))
            return V_ERROR_NO_MEMORY;
        auto* const at = reinterpret_cast<int64_t*>(steps_.data());
        for (int32_t step = 0; step <= WindowSteps::kMost; ++step)
            at[step] = steps.at(step);
        return V_SUCCESS;
    }
    if (!table_.allocate(uint64_t{form.significant.mask()} + 1))
        return V_ERROR_NO_MEMORY;
    fill_table(steps);
    return V_SUCCESS;
}

void WindowRows::fill_table(const WindowSteps& steps) noexcept
{
    uint8_t* const table = table_.data();
    each_level(steps, form_.range(), [&](int64_t first, int64_t end, int32_t value) noexcept {
        for (int64_t sample = first; sample < end; ++sample)
            table[form_.stored(sample)] = static_cast<uint8_t>(value ^ flip_);
    });
}

/// Looks for the last step that is not behind the sample.
void WindowRows::run_steps(const uint8_t* row, int32_t count, uint8_t* levels) const noexcept
{
    const auto* const at = reinterpret_cast<const int64_t*>(steps_.data());
    const uint32_t sign = sign_bit(form_);
    for (int32_t i = 0; i < count; ++i) {
        const uint32_t stored = form_.significant.extract(sample_at<uint32_t>(row, static_cast<size_t>(i)));
        const int64_t sample = int64_t{stored ^ sign} - sign;
        uint32_t level = 0;
        for (uint32_t half = 128; half > 0; half /= 2)
            level += sample >= at[level + half] ? half : 0;
        levels[i] = static_cast<uint8_t>(level ^ flip_);
    }
}

/// 16-bit samples, eight at a time: fewer loads leave more room for those from the table.
template <bool is_whole> void WindowRows::look_up(const uint8_t* row, size_t count, uint8_t* levels) const noexcept
{
    const uint8_t* const table = table_.data();
    const uint32_t shift = form_.significant.shift;
    const uint64_t mask = form_.significant.mask();
    const auto level = [=](uint64_t sample) noexcept {
        return uint64_t{table[is_whole ? sample : sample >> shift & mask]};
    };
    const auto four = [&](uint64_t samples) noexcept {
        return level(samples & UINT16_MAX) | level(samples >> 16 & UINT16_MAX) << 8 |
               level(samples >> 32 & UINT16_MAX) << 16 | level(samples >> 48) << 24;
    };
    size_t done = 0;
    for (; done + 8 <= count; done += 8) {
        const uint8_t* const at = row + 2 * done;
        __builtin_prefetch(reinterpret_cast<const void*>(reinterpret_cast<uintptr_t>(at) + kAhead), 0, 3);
        const uint64_t made = four(sample_at<uint64_t>(at, 0)) | four(sample_at<uint64_t>(at, 1)) << 32;
        std::memcpy(levels + done, &made, sizeof made);
    }
    for (; done < count; ++done)
        levels[done] = static_cast<uint8_t>(level(sample_at<uint16_t>(row, done)));
}

void WindowRows::run(const uint8_t* row, int32_t first, int32_t count, uint8_t* levels, bool streams) const noexcept
{
    const uint32_t mask = form_.significant.mask();
    const uint32_t shift = form_.significant.shift;
    const uint8_t* const table = table_.data();
    const auto start = static_cast<size_t>(first);
    const auto most = static_cast<size_t>(count);
    if (form_.bits == 8) {
        const uint32_t flip = form_.is_inverted ? 0xFF : 0; // indices as gray levels
        for (size_t i = 0; i < most; ++i)
            levels[i] = table[(row[start + i] ^ flip) >> shift & mask];
    } else if (form_.bits == 12) {
        for (uint32_t x = static_cast<uint32_t>(first); x < static_cast<uint32_t>(first + count); ++x)
            *levels++ = table[pixel_at<12>(row, x) >> shift & mask];
    } else if (loops_) {
        loops_->run(linear_, form_, flip_, row + 2 * start, levels, most, streams);
    } else if (form_.bits == 16) {
        const bool is_whole = mask == UINT16_MAX;
        is_whole ? look_up<true>(row + 2 * start, most, levels) : look_up<false>(row + 2 * start, most, levels);
    } else if (steps_.data()) {
        run_steps(row + 4 * start, count, levels);
    } else {
        for (size_t i = 0; i < most; ++i)
            levels[i] = table[sample_at<uint32_t>(row, start + i) >> shift & mask];
    }
}

} // namespace vk
