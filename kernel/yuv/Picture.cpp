#include "kernel/yuv/Picture.h"

#include "Vksystem.h"

#include <cstdint>

namespace vk::yuv {

namespace {

/// A plane's rows lie within what an address can tell.
bool is_stride(int64_t stride, uint64_t row_bytes, uint32_t rows) noexcept
{
    if (stride == INT64_MIN)
        return false;
    const auto distance = static_cast<uint64_t>(stride < 0 ? -stride : stride);
    uint64_t bytes = 0;
    return distance >= row_bytes && !__builtin_mul_overflow(distance, uint64_t{rows}, &bytes) && bytes <= INT64_MAX;
}

int place_plane(const V_YUVPICTURE& given, int32_t plane, Picture& picture) noexcept
{
    auto* const first = static_cast<uint8_t*>(given.Planes[0]);
    auto* own = static_cast<uint8_t*>(given.Planes[plane]);
    if (!own && first && given.Offsets[plane] != 0)
        own = first + given.Offsets[plane];
    if (!own)
        return V_ERROR_NULL_PTR;
    const Format& format = *picture.format;
    if (!is_stride(given.Strides[plane], format.row_bytes(plane, picture.width), format.rows(plane, picture.height)))
        return V_ERROR_INVALID_PARAMETER;
    picture.planes[plane] = own;
    picture.strides[plane] = static_cast<ptrdiff_t>(given.Strides[plane]);
    return V_SUCCESS;
}

} // namespace

int check_picture(const V_YUVPICTURE& given, Picture* picture) noexcept
{
    picture->format = find_format(given.Code);
    if (!picture->format)
        return V_ERROR_FEATURE_NOT_SUPPORTED;
    if (given.Width < 1 || given.Height < 1)
        return V_ERROR_INVALID_WIDTH_HEIGHT;
    if (given.Matrix > YUVMATRIX_2020 || given.Range > YUVRANGE_FULL || given.Siting > YUVSITING_CENTER)
        return V_ERROR_INVALID_PARAMETER;
    picture->width = static_cast<uint32_t>(given.Width);
    picture->height = static_cast<uint32_t>(given.Height);
    picture->colors = {given.Matrix, given.Range, picture->format->bits};
    picture->centered = given.Siting == YUVSITING_CENTER;
    int result = V_SUCCESS;
    for (int32_t plane = 0; plane < picture->format->planes() && result == V_SUCCESS; ++plane)
        result = place_plane(given, plane, *picture);
    return result;
}

uint64_t lay_out(V_YUVPICTURE& picture) noexcept
{
    const Format* const format = find_format(picture.Code);
    if (!format || picture.Width < 1 || picture.Height < 1)
        return 0;
    V_YUVPICTURE laid_out = picture;
    uint64_t total = 0;
    for (int32_t plane = 0; plane < 4; ++plane) {
        const bool is_there = plane < format->planes();
        const uint64_t row = is_there ? format->row_bytes(plane, static_cast<uint32_t>(picture.Width)) : 0;
        const uint32_t rows = is_there ? format->rows(plane, static_cast<uint32_t>(picture.Height)) : 0;
        uint64_t bytes = 0;
        laid_out.Strides[plane] = static_cast<int64_t>(row);
        laid_out.Offsets[plane] = is_there ? total : 0;
        if (plane != 0)
            laid_out.Planes[plane] = nullptr;
        if (__builtin_mul_overflow(row, uint64_t{rows}, &bytes) || __builtin_add_overflow(total, bytes, &total) ||
            total > INT64_MAX)
            return 0;
    }
    picture = laid_out;
    return total;
}

} // namespace vk::yuv
