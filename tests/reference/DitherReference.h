// A slow dither, written from the methods' descriptions alone and sharing nothing with the library: one pixel at a
// time, the whole picture's errors kept, every colour searched for. Colours of sources are the slow converter's.
#pragma once

#include "Vkkrnx.h"

#include <cstdint>
#include <map>
#include <vector>

namespace vk::reference {

/// What a run is started with. Empty palettes are null ones.
struct DitherSetup {
    int32_t width = 0;
    int32_t bits = 24;
    int32_t order = COLORORDER_BGR;
    int32_t low_bit = 0;
    int32_t high_bit = 7;
    std::vector<RGBQUAD> own_palette = {}; ///< of an indexed source; as many as the record has colours
    int32_t method = 0;
    std::vector<RGBQUAD> palette = {};
    uint32_t colors = 0;
    int32_t dst_bits = 8;
    std::vector<uint32_t> match_table = {}; ///< empty: none
};

class Dither {
public:
    explicit Dither(const DitherSetup& setup);

    /// The next row; a wide-gamut source row is changed.
    std::vector<uint8_t> row(uint8_t* source);

    /// The caller's table as the run leaves it.
    const std::vector<uint32_t>& match_table() const { return setup_.match_table; }
    /// How the palette is matched: 0 custom, 1 table, 2 to 8 fixed of 1 to 7 bits, 9 fixed of 8 bits, 10 the cube.
    int kind() const { return kind_; }

private:
    void choose_kind();
    std::vector<uint8_t> colors_of(uint8_t* source) const;
    size_t match(const RGBQUAD& color);

    DitherSetup setup_;
    int kind_ = 0;
    std::vector<RGBQUAD> entries_;                            ///< those that may be chosen
    std::vector<uint32_t> indices_;                           ///< and where they stand
    std::map<int, size_t> cache_;                             ///< place of an entry by 15-bit colour
    std::map<int, std::vector<std::vector<int64_t>>> errors_; ///< row, channel, column
    int y_ = 0;
};

} // namespace vk::reference
