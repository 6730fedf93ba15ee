// Super-compressed storage: rows kept compressed by a codec. This version has no codec, and says so: a request fails,
// and nothing falls back to another kind behind the caller's back. The entry holds the kind's place in the table.
#include "common/Checks.h"
#include "common/store/Store.h"

namespace vk {

namespace {

int create(BITMAPHANDLE&, const StoreRequest&) noexcept
{
    return V_ERROR_FEATURE_NOT_SUPPORTED;
}

intptr_t read(BITMAPHANDLE&, uint64_t, void*, size_t) noexcept
{
    return V_ERROR_FEATURE_NOT_SUPPORTED;
}

intptr_t write(BITMAPHANDLE&, uint64_t, const void*, size_t) noexcept
{
    return V_ERROR_FEATURE_NOT_SUPPORTED;
}

int resize(BITMAPHANDLE&, int32_t) noexcept
{
    return V_ERROR_FEATURE_NOT_SUPPORTED;
}

void figures(const BITMAPHANDLE&, StoreFigures&) noexcept {}

void destroy(BITMAPHANDLE&) noexcept {}

} // namespace

const Store kSuperCompressedStore = {
    .name = "super-compressed",
    .memory_type = TYPE_SUPERCOMPRESSED,
    .before_start = V_ERROR_INVALID_PARAMETER,
    .read_past_end = V_ERROR_INVALID_PARAMETER,
    .create = create,
    .extent = plain_size,
    .read = read,
    .write = write,
    .resize = resize,
    .recount = plain_size,
    .figures = figures,
    .destroy = destroy,
};

} // namespace vk
