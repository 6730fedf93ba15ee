// Pixels combined with the stream of a cipher, each bit of an area with a bit of its own.
#include "kernel/bitmap/Alloc.h"
#include "kernel/bitmap/Duplicate.h"
#include "kernel/bitmap/Record.h"
#include "kernel/bitmap/Staged.h"
#include "kernel/combine/Bits.h"
#include "kernel/combine/Walk.h"
#include "kernel/fill/ChaCha.h"
#include "kernel/fill/ChangePixels.h"
#include "kernel/fill/FillBitmap.h"

#include <algorithm>

namespace vk::fill {

namespace {

class ScrambleRun final : public combine::RunOperation {
public:
    ScrambleRun(const BITMAPHANDLE& bitmap, const Area& area, uint32_t key) noexcept
        : area_(area), bits_(static_cast<uint32_t>(bitmap.BitsPerPixel)),
          order_(combine::bit_order(bitmap.BitsPerPixel))
    {
        cipher_.key = {key,
                       static_cast<uint32_t>(area.left),
                       static_cast<uint32_t>(area.top),
                       static_cast<uint32_t>(area.width()),
                       static_cast<uint32_t>(area.height()),
                       bits_,
                       0,
                       0};
    }

    int begin_row(int32_t row, int32_t left) noexcept override
    {
        cipher_.nonce = {static_cast<uint32_t>(row - area_.top), 0, 0};
        left_ = left;
        return V_SUCCESS;
    }

    void run(combine::Line to, combine::Line, combine::Line, int32_t count) noexcept override
    {
        const combine::Logic exclusive_or(0x6);
        const uint64_t place = uint64_t{bits_} * static_cast<uint32_t>(to.column);
        const uint64_t first = uint64_t{bits_} * static_cast<uint32_t>(left_ + to.column - area_.left);
        const uint64_t bits = uint64_t{bits_} * static_cast<uint32_t>(count);
        for (uint64_t done = 0; done < bits;) {
            const uint64_t begin = (first + done) % kBlockBits; // within the first block of this round
            const uint64_t some = std::min(bits - done, kBlocks * kBlockBits - begin);
            const auto blocks = static_cast<size_t>((begin + some + kBlockBits - 1) / kBlockBits);
            cipher_.blocks(static_cast<uint32_t>((first + done) / kBlockBits), blocks, stream_);
            combine::combine_bits(to.data, place + done, stream_, begin, some, exclusive_or, order_);
            done += some;
        }
    }

private:
    static constexpr size_t kBlocks = 64;
    static constexpr uint64_t kBlockBits = kChaChaBlock * 8;

    const Area area_;
    const uint32_t bits_;
    const combine::BitOrder order_;
    ChaCha cipher_{};
    int32_t left_ = 0;
    alignas(64) uint8_t stream_[kBlocks * kChaChaBlock];
};

int scramble_accessed(BITMAPHANDLE& bitmap, const Area& area, uint32_t key, Progress& progress,
                      combine::OnFailure on_failure) noexcept
{
    ScrambleRun operation(bitmap, area, key);
    return walk(bitmap, area, {}, {}, operation, progress, on_failure);
}

} // namespace

int scramble_area(BITMAPHANDLE& bitmap, const Area& area, uint32_t key) noexcept
{
    return change_pixels(bitmap, area, [&](Progress& progress) noexcept {
        return scramble_accessed(bitmap, area, key, progress, combine::OnFailure::put_back);
    });
}

int copy_scrambled(BITMAPHANDLE& made, BITMAPHANDLE& source, uint32_t struct_size, const Area& area,
                   uint32_t key) noexcept
{
    const ProgressShare whole;
    const int copied = copy_bitmap(made, source, struct_size, area.empty() ? whole : whole.pass(0, 2));
    if (copied != V_SUCCESS || area.empty())
        return copied;
    BitmapAccess access(made);
    int result = access.result();
    Progress progress(area.height(), whole.pass(1, 2));
    if (result == V_SUCCESS)
        result = progress.begin();
    if (result == V_SUCCESS)
        result = scramble_accessed(made, area, key, progress, combine::OnFailure::discard);
    result = first_failure(result, access.release());
    if (result != V_SUCCESS)
        free_bitmap(made);
    if (result != V_SUCCESS)
        clear_record(made, struct_size);
    return result;
}

} // namespace vk::fill
