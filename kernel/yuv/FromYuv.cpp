#include "kernel/yuv/FromYuv.h"

#include "kernel/yuv/Loops.h"
#include "kernel/yuv/Words.h"

namespace vk::yuv {

namespace {

/// Samples that whole groups of a row take, and room for the kernels.
size_t padded(uint32_t width) noexcept
{
    return (size_t{width} + 2 * kRoom - 1) / kRoom * kRoom + kRoom;
}

/// One more sample on both sides, as at the edge.
template <class Sample> void extend(Sample* row, size_t n) noexcept
{
    row[-1] = row[0];
    row[n] = row[n - 1];
}

} // namespace

ByteRows::ByteRows(const Picture& picture) noexcept
    : picture_(picture), kernels_(kernels()), formula_(to_bytes(picture.colors))
{}

bool ByteRows::open() noexcept
{
    const size_t line = padded(picture_.width);
    if (!memory_.allocate(line * 12))
        return false;
    auto* const words = reinterpret_cast<uint16_t*>(memory_.data());
    blended_[0] = words + kRoom / 2;
    blended_[1] = blended_[0] + line;
    chroma_[0] = words + 2 * line;
    chroma_[1] = words + 3 * line;
    y_ = memory_.data() + 8 * line;
    u_ = y_ + line;
    v_ = u_ + line;
    alpha_ = v_ + line;
    return true;
}

/// A row's luma; of packed rows all other samples come along.
const uint8_t* ByteRows::unpack(uint32_t row) noexcept
{
    const Groups* const groups = picture_.format->groups;
    const uint8_t* const from = picture_.row(0, row);
    if (!groups)
        return from;
    const size_t count = (size_t{picture_.width} + groups->pixels - 1) / groups->pixels;
    unpack_groups(*groups, from, count, {y_, u_, v_, alpha_});
    return y_;
}

/// Chroma for a row, as far as it does not depend on the column; where it depends on no row either, times 256.
void ByteRows::blend(uint32_t row, uint16_t* first, uint16_t* second) noexcept
{
    const size_t n = picture_.chroma_width();
    RowBlend blend = row_blend(picture_.down(), row, picture_.chroma_height());
    if (picture_.across().step == 1 && picture_.down().step == 1)
        blend.own_weight = 256;
    const bool v_first = picture_.format->v_first;
    uint16_t* const u = v_first ? second : first;
    uint16_t* const v = v_first ? first : second;
    switch (picture_.format->layout) {
    case Layout::pairs:
        kernels_.blend_pairs(picture_.row(1, blend.own), picture_.row(1, blend.other), blend, u, v, n);
        break;
    case Layout::planes:
        kernels_.blend(picture_.row(1, blend.own), picture_.row(1, blend.other), blend, u, n);
        kernels_.blend(picture_.row(2, blend.own), picture_.row(2, blend.other), blend, v, n);
        break;
    default:
        kernels_.blend(u_, u_, blend, u, n);
        kernels_.blend(v_, v_, blend, v, n);
    }
}

void ByteRows::spread() noexcept
{
    const size_t n = picture_.chroma_width();
    const int32_t shift = 8 - picture_.across().shift() - picture_.down().shift();
    for (int32_t i = 0; i < 2; ++i) {
        extend(blended_[i], n);
        kernels_.spread(blended_[i], n, picture_.across(), shift, chroma_[i]);
    }
}

bool ByteRows::is_fused() const noexcept
{
    const Format& format = *picture_.format;
    const bool is_single = format.layout == Layout::planes && format.chroma_x == 1 && format.chroma_y == 1;
    return kernels_.fused && !format.has_alpha() && (format.chroma_x == 2 || is_single);
}

void ByteRows::write_fused(uint32_t row, uint8_t* to, bool stream) noexcept
{
    const uint8_t* y = picture_.row(0, row);
    const FusedKernels& fused = *kernels_.fused;
    const size_t width = picture_.width;
    if (picture_.format->chroma_x == 1) {
        const uint8_t* const planes[] = {picture_.row(1, row), picture_.row(2, row)};
        const bool v_first = picture_.format->v_first;
        return fused.to_bgr_single(y, planes[v_first], planes[!v_first], width, formula_, to, stream);
    }
    if (const Groups* const groups = picture_.format->groups; groups) {
        const bool v_first = groups->v[0] < groups->u[0];
        fused.unpack(y, picture_.chroma_width(), groups->luma[0] == 0, y_, blended_[v_first], blended_[!v_first]);
        y = y_;
    } else {
        blend(row, blended_[0], blended_[1]);
    }
    extend(blended_[0], picture_.chroma_width());
    extend(blended_[1], picture_.chroma_width());
    const int32_t shift = 8 - picture_.across().shift() - picture_.down().shift();
    fused.to_bgr_pairs(y, blended_[0], blended_[1], width, picture_.centered, shift, formula_, to, stream);
}

void ByteRows::write(uint32_t row, uint8_t* to, bool stream) noexcept
{
    if (is_fused())
        return write_fused(row, to, stream);
    const uint8_t* const y = unpack(row);
    const size_t width = picture_.width;
    if (!picture_.format->has_chroma()) {
        for (size_t x = 0; x < width; ++x)
            to[x] = gray_byte(formula_, y[x]);
        return;
    }
    if (picture_.across().step == 1 && picture_.down().step == 1) {
        blend(row, chroma_[0], chroma_[1]);
    } else {
        blend(row, blended_[0], blended_[1]);
        spread();
    }
    if (!picture_.format->has_alpha())
        return kernels_.to_bgr(y, chroma_[0], chroma_[1], width, formula_, to, stream);
    for (size_t x = 0; x < width; ++x) {
        color_bytes(formula_, y[x], chroma_[0][x], chroma_[1][x], to + 4 * x);
        to[4 * x + 3] = alpha_[x];
    }
}

WordRows::WordRows(const Picture& picture) noexcept : picture_(picture), formula_(to_words(picture.colors)) {}

bool WordRows::open() noexcept
{
    const size_t line = padded(picture_.width);
    if (!memory_.allocate(line * 20))
        return false;
    auto* const words = reinterpret_cast<uint32_t*>(memory_.data());
    blended_[0] = words + kRoom / 4;
    blended_[1] = blended_[0] + line;
    chroma_[0] = words + 2 * line;
    chroma_[1] = words + 3 * line;
    y_ = reinterpret_cast<uint16_t*>(words + 4 * line);
    alpha_ = y_ + line;
    return true;
}

void WordRows::blend_pairs(uint32_t row) noexcept
{
    const RowBlend blend = row_blend(picture_.down(), row, picture_.chroma_height());
    const int32_t spare = 16 - picture_.colors.bits; // P010 keeps its bits in the upper ones
    const uint8_t* const own = picture_.row(1, blend.own);
    const uint8_t* const other = picture_.row(1, blend.other);
    for (size_t i = 0; i < 2 * size_t{picture_.chroma_width()}; ++i)
        blended_[i % 2][i / 2] = uint32_t{blend.own_weight} * (load_word<uint16_t>(own, i) >> spare) +
                                 uint32_t{blend.other_weight} * (load_word<uint16_t>(other, i) >> spare);
}

void WordRows::unpack_pairs(uint32_t row) noexcept
{
    const int32_t spare = 16 - picture_.colors.bits;
    const uint8_t* const from = picture_.row(0, row);
    for (size_t x = 0; x < picture_.width; ++x)
        y_[x] = static_cast<uint16_t>(load_word<uint16_t>(from, x) >> spare);
    blend_pairs(row);
}

void WordRows::unpack(uint32_t row) noexcept
{
    const uint8_t* const from = picture_.row(0, row);
    switch (picture_.format->layout) {
    case Layout::pairs:
        return unpack_pairs(row);
    case Layout::y410:
        for (size_t x = 0; x < picture_.width; ++x) {
            const auto word = load_word<uint32_t>(from, x);
            blended_[0][x] = word & 0x3FF;
            y_[x] = static_cast<uint16_t>(word >> 10 & 0x3FF);
            blended_[1][x] = word >> 20 & 0x3FF;
            alpha_[x] = static_cast<uint16_t>((word >> 30) * (65535 / 3));
        }
        return;
    case Layout::y416:
        for (size_t x = 0; x < picture_.width; ++x) {
            blended_[0][x] = load_word<uint16_t>(from, 4 * x);
            y_[x] = load_word<uint16_t>(from, 4 * x + 1);
            blended_[1][x] = load_word<uint16_t>(from, 4 * x + 2);
            alpha_[x] = load_word<uint16_t>(from, 4 * x + 3);
        }
        return;
    default:
        for (size_t x = 0; x < picture_.width; ++x)
            y_[x] = load_word<uint16_t>(from, x);
    }
}

void WordRows::spread() noexcept
{
    const size_t n = picture_.chroma_width();
    const int32_t shift = 4 - picture_.across().shift() - picture_.down().shift();
    for (int32_t i = 0; i < 2; ++i) {
        extend(blended_[i], n);
        spread_loop<uint32_t>(blended_[i], n, picture_.across(), shift, chroma_[i]);
    }
}

void WordRows::write(uint32_t row, uint8_t* to) noexcept
{
    unpack(row);
    if (!picture_.format->has_chroma()) {
        for (size_t x = 0; x < picture_.width; ++x)
            store_word(to, x, cut_word((y_[x] - formula_.black) * formula_.y));
        return;
    }
    spread();
    const size_t channels = picture_.format->has_alpha() ? 4 : 3;
    for (size_t x = 0; x < picture_.width; ++x) {
        uint16_t pixel[4] = {0, 0, 0, alpha_[x]};
        color_words(formula_, y_[x], chroma_[0][x], chroma_[1][x], pixel);
        std::memcpy(to + x * channels * 2, pixel, channels * 2);
    }
}

} // namespace vk::yuv
