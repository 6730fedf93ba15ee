// What dithering tests share: a record as a reference setup describes it, with its run.
#pragma once

#include "Vkdither.h"
#include "kernel/dither/Dither.h"
#include "tests/reference/DitherReference.h"
#include "tests/support/TestBitmap.h"

namespace vk::testing {

using reference::DitherSetup;
using Table = std::vector<uint32_t>;

constexpr size_t kTableSize = 32768; ///< entries of a match table

inline RGBQUAD quad(int red, int green, int blue, int reserved = 0)
{
    return {static_cast<uint8_t>(blue), static_cast<uint8_t>(green), static_cast<uint8_t>(red),
            static_cast<uint8_t>(reserved)};
}

/// A record as a setup wants it. Its palette is the setup's.
class Record {
public:
    explicit Record(DitherSetup& setup)
    {
        EXPECT_EQ(SUCCESS, V_InitBitmap(&bitmap_, BITMAPHANDLE_SIZE, setup.width, 1, setup.bits));
        bitmap_.Order = setup.order;
        bitmap_.LowBit = setup.low_bit;
        bitmap_.HighBit = setup.high_bit;
        bitmap_.Palette = setup.own_palette.empty() ? nullptr : setup.own_palette.data();
        bitmap_.Colors = static_cast<uint32_t>(setup.own_palette.size());
        bitmap_.DitheringMethod = setup.method;
    }
    ~Record() { V_StopDithering(&bitmap_); }
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;
    operator BITMAPHANDLE*() { return &bitmap_; }
    BITMAPHANDLE* operator->() { return &bitmap_; }
    int start(DitherSetup& setup)
    {
        return V_StartDitheringExt(&bitmap_, setup.palette.empty() ? nullptr : setup.palette.data(), setup.colors,
                                   setup.dst_bits, setup.match_table.empty() ? nullptr : setup.match_table.data());
    }
    DitherState& state() { return *dither_state(bitmap_); }

private:
    BITMAPHANDLE bitmap_{};
};

} // namespace vk::testing
