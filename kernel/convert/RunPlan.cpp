// Converting whole blocks of rows from one place to another.
//
// A result much larger than the caches is written past them where the path can: the memory then need not be read before
// it is written. Below that size the caches are faster. Rows that lie back to back count as one long row.
#include "kernel/convert/Fused.h"
#include "kernel/convert/Plan.h"
#include "simd/Simd.h"

namespace vk::pixel {
namespace {

constexpr size_t kStreamFrom = size_t{16} << 20; ///< half of the bytes read and written

/// True when the rows of a block follow each other without a bit between them.
bool is_dense(const Format& format, size_t width, size_t stride) noexcept
{
    return width * static_cast<size_t>(format.stored_bits()) == stride * 8;
}

} // namespace

void run_rows(Plan& plan, const uint8_t* src, size_t src_stride, uint8_t* dst, size_t dst_stride, size_t width,
              size_t rows) noexcept
{
    const size_t bytes = format_bytes(*plan.src, width) + format_bytes(*plan.dst, width);
    const bool streams =
        plan.fused != nullptr && plan.fused->stream != nullptr && rows != 0 && bytes / 2 >= kStreamFrom / rows;
    if (is_dense(*plan.src, width, src_stride) && is_dense(*plan.dst, width, dst_stride)) {
        width *= rows;
        rows = width != 0 ? 1 : 0;
    }
    for (size_t row = 0; row < rows; ++row, src += src_stride, dst += dst_stride) {
        if (streams) {
            stream_fused(plan, src, dst, width);
        } else {
            run_row(plan, src, dst, width, {});
        }
    }
    if (streams) {
        simd::fence();
    }
}

} // namespace vk::pixel
