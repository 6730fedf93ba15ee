#include "kernel/yuv/ToYuv.h"

#include "kernel/yuv/Loops.h"
#include "kernel/yuv/Words.h"

#include <algorithm>
#include <utility>

namespace vk::yuv {

namespace {

/// Bytes of luma from which writing past the caches pays.
constexpr uint64_t kStreamFrom = uint64_t{4} << 20;

bool is_big(const Picture& picture) noexcept
{
    return uint64_t{picture.width} * picture.height >= kStreamFrom;
}

constexpr size_t kBefore = 32; ///< sums before a row's first, more than a filter's reach

size_t padded(uint32_t width) noexcept
{
    return (size_t{width} + 2 * kRoom - 1) / kRoom * kRoom + kRoom;
}

/// A row goes on as at its edges, as far as filters reach and groups go.
template <class Sum> void extend(Sum* row, size_t width) noexcept
{
    std::fill(row - 4, row, row[0]);
    std::fill(row + width, row + width + 8, row[width - 1]);
}

} // namespace

ByteRowsOut::ByteRowsOut(const Picture& picture) noexcept
    : picture_(picture), kernels_(kernels()), formula_(from_bytes(picture.colors)),
      stream_(is_fused() && is_big(picture))
{}

bool ByteRowsOut::open() noexcept
{
    const size_t line = padded(picture_.width);
    if (!memory_.allocate(line * 16 + 2 * kBefore))
        return false;
    uint8_t* at = memory_.data();
    for (uint16_t*& sums : sums_) {
        sums = reinterpret_cast<uint16_t*>(at) + kBefore;
        at += 2 * line;
    }
    for (uint8_t** const row :
         {&rows_[0].b, &rows_[0].g, &rows_[0].r, &rows_[1].b, &rows_[1].g, &rows_[1].r, &y_, &u_, &v_, &alpha_}) {
        *row = at + 2 * kBefore;
        at += line;
    }
    return true;
}

void ByteRowsOut::split(const uint8_t* colors, const Channels& to) noexcept
{
    if (!picture_.format->has_alpha())
        return kernels_.split(colors, picture_.width, to.b, to.g, to.r);
    for (size_t x = 0; x < picture_.width; ++x) {
        to.b[x] = colors[4 * x];
        to.g[x] = colors[4 * x + 1];
        to.r[x] = colors[4 * x + 2];
        alpha_[x] = colors[4 * x + 3];
    }
}

void ByteRowsOut::write_luma(const Channels& from) noexcept
{
    const Groups* const groups = picture_.format->groups;
    const size_t width = picture_.width;
    uint8_t* const to = groups ? y_ : picture_.row(0, row_);
    kernels_.luma(from.b, from.g, from.r, width, formula_, to);
    if (!groups)
        return;
    std::fill(y_ + width, y_ + width + Groups::kMost, y_[width - 1]);
    if (groups == &kY211)
        for (size_t x = 0; x < width; x += 2)
            y_[x] = y_[x + 1] = static_cast<uint8_t>((y_[x] + y_[x + 1] + 1) >> 1);
}

bool ByteRowsOut::is_fused() const noexcept
{
    const Format& format = *picture_.format;
    const bool is_single = format.layout == Layout::planes && format.chroma_x == 1;
    return kernels_.fused && (is_single || (format.chroma_x == 2 && format.chroma_y <= 2));
}

void ByteRowsOut::write_fused(const uint8_t* first, const uint8_t* second) noexcept
{
    const Format& format = *picture_.format;
    const uint32_t row = row_ - row_ % format.chroma_y;
    const uint32_t below = std::min(row + format.chroma_y, picture_.height) - 1;
    FusedRows rows{{first, second}, {picture_.row(0, row), picture_.row(0, below)}, {}, ChromaTo::planes, stream_};
    bool v_first = format.v_first;
    rows.chroma[0] = rows.chroma[1] = rows.luma[0];
    if (format.groups) {
        v_first = format.groups->v[0] < format.groups->u[0];
        rows.to = format.groups->luma[0] == 0 ? ChromaTo::luma_first : ChromaTo::chroma_first;
    } else {
        const int32_t last_plane = format.planes() - 1;
        rows.to = format.layout == Layout::pairs ? ChromaTo::pairs
                  : format.chroma_x == 1         ? ChromaTo::single_planes
                                                 : ChromaTo::planes;
        rows.chroma[0] = picture_.row(1, chroma_row_);
        rows.chroma[1] = picture_.row(last_plane, chroma_row_);
    }
    FromBytes formula = formula_;
    if (v_first)
        std::swap(formula.u, formula.v);
    kernels_.fused->from_bgr(rows, format.chroma_y, picture_.width, picture_.centered, formula);
    ++chroma_row_;
}

/// Of two rows the first waits for the second, in memory of ours unless it stays where it is.
void ByteRowsOut::put_fused(const uint8_t* colors, bool stays) noexcept
{
    const bool is_last = row_ + 1 == picture_.height;
    const bool is_second = row_ % picture_.format->chroma_y != 0;
    if (picture_.format->chroma_y == 1 || is_second || is_last) {
        write_fused(is_second ? first_ : colors, colors);
    } else {
        first_ = stays ? colors : rows_[0].b; // which has room for three rows of channels
        if (!stays)
            std::memcpy(rows_[0].b, colors, 3 * size_t{picture_.width});
    }
    ++row_;
}

void ByteRowsOut::put(const uint8_t* colors, bool stays) noexcept
{
    if (is_fused())
        return put_fused(colors, stays);
    const Channels& row = rows_[row_ % 2];
    split(colors, row);
    write_luma(row);
    const bool is_last = ++row_ == picture_.height;
    if (!picture_.format->has_chroma())
        return;
    collect(row);
    while (is_last && in_group_ != 0) // rows below the last are like it
        collect(row);
}

/// Rows are added in twos.
void ByteRowsOut::collect(const Channels& from) noexcept
{
    const int32_t step = picture_.down().step;
    if (step == 1 || in_group_ % 2 != 0) {
        const uint8_t* const first[] = {from.b, from.g, from.r};
        const uint8_t* const second[] = {waiting_.b, waiting_.g, waiting_.r};
        for (size_t i = 0; i < 3; ++i)
            kernels_.add(first[i], step == 1 ? nullptr : second[i], picture_.width, sums_[i], in_group_ > 1);
    }
    waiting_ = from;
    if (++in_group_ == step) {
        write_chroma();
        in_group_ = 0;
        ++chroma_row_;
    }
}

void ByteRowsOut::write_chroma() noexcept
{
    const Siting across = picture_.across();
    const int32_t shift = across.filter_shift() + picture_.down().filter_shift();
    const size_t n = picture_.chroma_width();
    const bool is_planar = picture_.format->layout == Layout::planes;
    const bool v_first = picture_.format->v_first;
    uint8_t* const u = is_planar ? picture_.row(v_first ? 2 : 1, chroma_row_) : u_;
    uint8_t* const v = is_planar ? picture_.row(v_first ? 1 : 2, chroma_row_) : v_;
    for (uint16_t* const sums : sums_)
        extend(sums, picture_.width);
    kernels_.chroma(sums_[0], sums_[1], sums_[2], n, across, formula_, shift, u, v);
    if (picture_.format->layout == Layout::pairs)
        kernels_.interleave(v_first ? v_ : u_, v_first ? u_ : v_, n, picture_.row(1, chroma_row_));
    else if (picture_.format->groups)
        write_groups();
}

void ByteRowsOut::write_groups() noexcept
{
    const Groups& groups = *picture_.format->groups;
    const size_t n = picture_.chroma_width();
    u_[n] = u_[n - 1]; // a group may have chroma for more pixels than are left
    v_[n] = v_[n - 1];
    const size_t count = (size_t{picture_.width} + groups.pixels - 1) / groups.pixels;
    if (groups.pixels == 2)
        return write_pairs(count, picture_.row(0, chroma_row_));
    pack_groups(groups, {y_, u_, v_, alpha_}, count, picture_.row(0, chroma_row_));
}

/// Groups of two pixels are luma and pairs of chroma by turns. Rows of channels are not needed any more by now.
void ByteRowsOut::write_pairs(size_t count, uint8_t* to) noexcept
{
    const Groups& groups = *picture_.format->groups;
    const bool v_first = groups.v[0] < groups.u[0];
    uint8_t* const pairs = rows_[row_ % 2].b;
    kernels_.interleave(v_first ? v_ : u_, v_first ? u_ : v_, count, pairs);
    if (groups.luma[0] == 0)
        kernels_.interleave(y_, pairs, 2 * count, to);
    else
        kernels_.interleave(pairs, y_, 2 * count, to);
}

WordRowsOut::WordRowsOut(const Picture& picture) noexcept
    : picture_(picture), formula_(from_words(picture.colors)), channels_(picture.format->has_alpha() ? 4 : 3)
{}

bool WordRowsOut::open() noexcept
{
    const size_t line = padded(picture_.width);
    if (!memory_.allocate(line * 18 + 4 * kBefore))
        return false;
    auto* at = reinterpret_cast<uint32_t*>(memory_.data());
    for (uint32_t*& sums : sums_) {
        sums = at + kBefore;
        at += line;
    }
    y_ = reinterpret_cast<uint16_t*>(at + kBefore);
    u_ = y_ + line;
    v_ = u_ + line;
    return true;
}

void WordRowsOut::write_luma(const uint8_t* colors) noexcept
{
    for (size_t x = 0; x < picture_.width; ++x) {
        const auto channel = [&](size_t i) noexcept { return load_word<uint16_t>(colors, channels_ * x + i); };
        y_[x] = static_cast<uint16_t>(formula_.luma(channel(0), channel(1), channel(2)));
    }
    if (picture_.format->layout == Layout::y410 || picture_.format->layout == Layout::y416)
        return;
    const int32_t spare = 16 - picture_.colors.bits;
    uint8_t* const to = picture_.row(0, row_);
    for (size_t x = 0; x < picture_.width; ++x)
        store_word(to, x, static_cast<uint16_t>(y_[x] << spare));
}

void WordRowsOut::put(const uint8_t* colors, bool) noexcept
{
    write_luma(colors);
    const bool is_last = ++row_ == picture_.height;
    if (!picture_.format->has_chroma())
        return;
    collect(colors);
    while (is_last && in_group_ != 0)
        collect(colors);
}

void WordRowsOut::collect(const uint8_t* colors) noexcept
{
    for (size_t i = 0; i < 3; ++i)
        for (size_t x = 0; x < picture_.width; ++x)
            sums_[i][x] = (in_group_ == 0 ? 0 : sums_[i][x]) + load_word<uint16_t>(colors, channels_ * x + i);
    if (++in_group_ == picture_.down().step) {
        write_chroma(colors);
        in_group_ = 0;
        ++chroma_row_;
    }
}

/// Alpha is that of the row that came last, the only one there is where there is alpha.
void WordRowsOut::write_chroma(const uint8_t* colors) noexcept
{
    const Siting across = picture_.across();
    const int32_t shift = across.filter_shift() + picture_.down().filter_shift();
    const size_t n = picture_.chroma_width();
    for (uint32_t* const sums : sums_)
        extend(sums, picture_.width);
    chroma_loop<int64_t, uint32_t, uint16_t>(sums_[0], sums_[1], sums_[2], n, across, formula_, shift, u_, v_);
    if (picture_.format->layout == Layout::pairs) {
        const int32_t spare = 16 - picture_.colors.bits;
        uint8_t* const to = picture_.row(1, chroma_row_);
        for (size_t k = 0; k < n; ++k) {
            store_word(to, 2 * k, static_cast<uint16_t>(u_[k] << spare));
            store_word(to, 2 * k + 1, static_cast<uint16_t>(v_[k] << spare));
        }
        return;
    }
    uint8_t* const to = picture_.row(0, chroma_row_);
    for (size_t x = 0; x < n; ++x) {
        const auto alpha = load_word<uint16_t>(colors, 4 * x + 3);
        if (picture_.format->layout == Layout::y410) {
            const uint32_t quarter = (alpha * 3u + 32767u) / 65535u;
            store_word(to, x, u_[x] | uint32_t{y_[x]} << 10 | uint32_t{v_[x]} << 20 | quarter << 30);
        } else {
            const uint16_t pixel[] = {u_[x], y_[x], v_[x], alpha};
            std::memcpy(to + x * sizeof pixel, pixel, sizeof pixel);
        }
    }
}

} // namespace vk::yuv
