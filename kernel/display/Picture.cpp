#include "kernel/display/Picture.h"

#include "kernel/system/SilentStatus.h"
#include "kernel/view/ViewPerspective.h"

#include <algorithm>
#include <cstring>

namespace vk::display {

namespace {

bool has_bits(const uint8_t* bytes, size_t count) noexcept
{
    return std::any_of(bytes, bytes + count, [](uint8_t byte) noexcept { return byte != 0; });
}

} // namespace

int ShownOverlay::open(BITMAPHANDLE& overlay, const BITMAPHANDLE& bitmap, COLORREF color, int32_t left,
                       int32_t right) noexcept
{
    BITMAPHANDLE* shown = &overlay;
    const int32_t to = bitmap.ViewPerspective;
    int result = V_SUCCESS;
    if (overlay.ViewPerspective != to && is_perspective(overlay.ViewPerspective) && is_perspective(to)) {
        const SilentStatus silent;
        result = copy_in_view_perspective(turned_.record(), overlay, kRecordSize, to, 0);
        shown = &turned_.record();
    }
    if (result == V_SUCCESS)
        result = check_rows(*shown);
    if (result != V_SUCCESS)
        return result;
    width_ = std::min<int32_t>(+shown->Width, right);
    height_ = shown->Height;
    for (size_t c = 0; c < 3; ++c)
        color_[c] = static_cast<uint8_t>(color >> (16 - 8 * c));
    color_[3] = 0xFF;
    if (left >= width_)
        height_ = 0; // nothing of it is seen
    result = access_.emplace(*shown).result();
    return result == V_SUCCESS && height_ > 0 ? rows_.emplace(*shown).open(left, width_) : result;
}

int ShownOverlay::draw(int32_t y, const Picker& columns, int32_t count, uint8_t* pixels, size_t bytes) noexcept
{
    if (y >= height_)
        return V_SUCCESS;
    const uint8_t* bits = nullptr;
    const int result = rows_->read(y, &bits);
    if (result != V_SUCCESS || !has_bits(bits, rows_->bytes()))
        return result;
    const int32_t first = rows_->first();
    for (int32_t i = 0; i < count; ++i, pixels += bytes) {
        const int32_t x = columns.column(i);
        if (x < width_ && (bits[(x - first) / 8] & 0x80 >> (x - first) % 8) != 0)
            std::memcpy(pixels, color_, bytes);
    }
    return V_SUCCESS;
}

int Picture::open(const Steps& columns, int32_t bits, int32_t rows) noexcept
{
    count_ = columns.count;
    bytes_ = static_cast<size_t>(bits / 8);
    const int32_t left = columns.pixel(0), right = columns.pixel(count_ - 1) + 1;
    const bool is_whole = columns.count == columns.target && columns.left + int64_t{columns.source} <= bitmap_.Width;
    const int32_t end = is_whole ? std::max(right, columns.left + columns.source) : right;
    int result = rows_.open(left, end);
    if (result == V_SUCCESS)
        result = picker_.open(columns, bitmap_.BitsPerPixel, rows_.first(), end);
    if (result == V_SUCCESS)
        result = pixels_.open(bitmap_, count_, bits, static_cast<uint64_t>(count_) * static_cast<uint64_t>(rows));
    return result == V_SUCCESS ? open_overlays(left, right) : result;
}

int Picture::open_overlays(int32_t left, int32_t right) noexcept
{
    auto* const table = static_cast<OverlayTable*>(bitmap_.Overlays);
    int result = V_SUCCESS;
    for (size_t i = 0; i < kOverlaySlots && table && result == V_SUCCESS; ++i) {
        BITMAPHANDLE& overlay = table->bitmaps[i];
        const V_OVERLAYATTRIBUTES& said = table->attributes[i];
        if (overlay.Flags & BITMAPFLAG_ALLOCATED && said.Flags & OVERLAYFLAG_VISIBLE)
            result = overlays_[i].emplace().open(overlay, bitmap_, said.Color, left, right);
    }
    return result;
}

int Picture::row(int32_t y, uint8_t* out) noexcept
{
    const uint8_t* row = nullptr;
    int result = rows_.read(y, &row);
    if (result != V_SUCCESS)
        return result;
    pixels_.run(picker_.run(row), out);
    for (std::optional<ShownOverlay>& overlay : overlays_)
        if (overlay && result == V_SUCCESS)
            result = overlay->draw(y, picker_, count_, out, bytes_);
    return result;
}

} // namespace vk::display
