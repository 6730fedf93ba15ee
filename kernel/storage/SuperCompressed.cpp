// Super-compressed storage: the record's side of it. The rows live in kernel/storage/SuperBands.h, which the record's
// `Handle` points to; all bytes of a row are kept, those behind its pixels too. `Data` is null: there is nothing that a
// caller could look at.
#include "kernel/format/RowMath.h"
#include "kernel/storage/Store.h"
#include "kernel/storage/SuperBands.h"
#include "kernel/storage/codec/Codec.h"
#include "kernel/system/Checks.h"

namespace vk {

namespace {

SuperBands* bands_of(const BITMAPHANDLE& bitmap) noexcept
{
    return static_cast<SuperBands*>(bitmap.Handle);
}

int create(BITMAPHANDLE& bitmap, const StoreRequest&) noexcept
{
    if (bitmap.Height < 1 || bitmap.Width < 1 || bitmap.BytesPerLine == 0 ||
        !row_holds_width(bitmap.BytesPerLine, bitmap.Width, bitmap.BitsPerPixel))
        return V_ERROR_INVALID_WIDTH_HEIGHT;
    SuperBands* const bands = SuperBands::create(static_cast<uint32_t>(bitmap.Width), bitmap.BytesPerLine,
                                                 static_cast<uint32_t>(bitmap.Height), bitmap.BitsPerPixel);
    if (!bands)
        return V_ERROR_NO_MEMORY;
    bitmap.Handle = bands;
    bitmap.Data = nullptr;
    bitmap.DataOffset = 0;
    return V_SUCCESS;
}

uint64_t extent(const BITMAPHANDLE& bitmap) noexcept
{
    const SuperBands* const bands = bands_of(bitmap);
    return bands ? bands->extent() : 0;
}

intptr_t read(BITMAPHANDLE& bitmap, uint64_t position, void* buffer, size_t bytes) noexcept
{
    const int result = bands_of(bitmap)->read(position, static_cast<uint8_t*>(buffer), bytes);
    return result == V_SUCCESS ? static_cast<intptr_t>(bytes) : result;
}

intptr_t write(BITMAPHANDLE& bitmap, uint64_t position, const void* buffer, size_t bytes) noexcept
{
    const int result = bands_of(bitmap)->write(position, static_cast<const uint8_t*>(buffer), bytes);
    return result == V_SUCCESS ? static_cast<intptr_t>(bytes) : result;
}

int resize(BITMAPHANDLE& bitmap, int32_t height) noexcept
{
    SuperBands* const bands = bands_of(bitmap);
    return bands && height >= 0 ? bands->resize(static_cast<uint32_t>(height)) : V_ERROR_INVALID_PARAMETER;
}

/// What was written and not yet packed is packed first.
uint64_t recount(const BITMAPHANDLE& bitmap) noexcept
{
    SuperBands* const bands = bands_of(bitmap);
    return bands ? bands->flush() : 0;
}

void destroy(BITMAPHANDLE& bitmap) noexcept
{
    if (SuperBands* const bands = bands_of(bitmap))
        bands->destroy();
}

bool reverses(const BITMAPHANDLE& bitmap) noexcept
{
    const SuperBands* const bands = bands_of(bitmap);
    return bands &&
           bands->holds(static_cast<uint32_t>(bitmap.Width), bitmap.BytesPerLine, static_cast<uint32_t>(bitmap.Height));
}

int reverse(BITMAPHANDLE& bitmap, const Reversal& reversal) noexcept
{
    return bands_of(bitmap)->reverse(reversal);
}

} // namespace

bool holds_codec_depth(int32_t bits) noexcept
{
    return codec::has_codec(bits);
}

const StoreCalls kSuperCompressedCalls = {
    .create = create,
    .extent = extent,
    .read = read,
    .write = write,
    .resize = resize,
    .recount = recount,
    .figures = nullptr,
    .destroy = destroy,
    .reverses = reverses,
    .reverse = reverse,
};

} // namespace vk
