// Taking mixed pixels: linear or cubic, and means of many samples where the picture shrinks.
#pragma once

#include "kernel/sampling/Cells.h"
#include "kernel/sampling/Painter.h"

namespace vk::sampling {

/// What to mix, as a caller's flags say.
struct Filtering {
    bool is_cubic = false;
    bool is_area = false;   ///< the mean of several samples where pixels lie closer on the canvas
    bool has_edges = false; ///< the picture's edge pixels go on behind its edge, as far as the picture's own pixels ask
};

class FilterPainter final : public Painter {
public:
    FilterPainter(const Mapping& mapping, const Cells& cells, const Filtering& filtering) noexcept;

    /// Makes room for sums. SUCCESS or ERROR_NO_MEMORY.
    int open() noexcept;

    void paint(const Source& source, int32_t row, int32_t left, int32_t right, uint8_t* out) noexcept override;

private:
    struct Sums;

    void paint_cells(const Source& source, int32_t row, int32_t left, int32_t right, uint8_t* out) noexcept;
    void add_samples(const Source& source, const Raster& raster, int32_t row, int32_t left, int32_t right,
                     Sums* sums) noexcept;
    void paint_means(const Source& source, const Raster& raster, int32_t row, int32_t left, int32_t right,
                     uint8_t* out) noexcept;
    void fill(uint8_t* cells, int64_t count) const noexcept;
    bool sees(const Source& source, const Track& track, int32_t i) const noexcept;
    const uint8_t* cell(const Source& source, int64_t x, int64_t y) const noexcept;
    void gather(const Source& source, const Track& track, int32_t i, int32_t before, int32_t side,
                const uint8_t** cells) const noexcept;
    void mix_single(const Source& source, const Track& track, int32_t i, uint8_t* out) const noexcept;
    Raster raster_for(int32_t row, int32_t left) const noexcept;
    void add_sample(const Source& source, const Track& track, int32_t i, const Raster& raster, int64_t row,
                    Sums& sums) const noexcept;
    void finish(const Sums& sums, const Raster& raster, uint8_t* out) const noexcept;

    const Cells& cells_;
    const Filtering filtering_;
    Mix plain_;
    Mix fast_;
    Track track_;
    RowBuffer sums_;
    alignas(64) uint8_t fill_[kLongest * Cells::kLargest];
    alignas(64) uint8_t row_[kLongest * Cells::kLargest + kSlack];
};

} // namespace vk::sampling
