// Rows of a picture as rows of the bitmap that it becomes.
#pragma once

#include "kernel/rows/RowAccess.h"
#include "kernel/yuv/Kernels.h"
#include "kernel/yuv/Picture.h"

#include <cstddef>
#include <cstdint>

namespace vk::yuv {

/// Pictures of 8-bit samples.
class ByteRows {
public:
    explicit ByteRows(const Picture& picture) noexcept;

    /// False without memory.
    bool open() noexcept;
    /// Writes a row of the bitmap; with `stream` where the kernels can.
    void write(uint32_t row, uint8_t* to, bool stream) noexcept;
    /// Rows go from samples to colours at once.
    bool is_fused() const noexcept;

private:
    const uint8_t* unpack(uint32_t row) noexcept;
    void blend(uint32_t row, uint16_t* first, uint16_t* second) noexcept;
    void write_fused(uint32_t row, uint8_t* to, bool stream) noexcept;
    void spread() noexcept;

    const Picture& picture_;
    const Kernels& kernels_;
    const ToBytes formula_;
    RowBuffer memory_;
    uint8_t *y_ = nullptr, *u_ = nullptr, *v_ = nullptr, *alpha_ = nullptr; ///< of packed rows
    uint16_t* blended_[2] = {};                                             ///< behind one more sample
    uint16_t* chroma_[2] = {};                                              ///< for each pixel, times 256
};

/// Pictures of longer samples.
class WordRows {
public:
    explicit WordRows(const Picture& picture) noexcept;

    bool open() noexcept;
    void write(uint32_t row, uint8_t* to) noexcept;

private:
    void unpack(uint32_t row) noexcept;
    void unpack_pairs(uint32_t row) noexcept;
    void blend_pairs(uint32_t row) noexcept;
    void spread() noexcept;

    const Picture& picture_;
    const ToWords formula_;
    RowBuffer memory_;
    uint16_t *y_ = nullptr, *alpha_ = nullptr;
    uint32_t* blended_[2] = {}; ///< behind one more sample
    uint32_t* chroma_[2] = {};  ///< for each pixel, times 16
};

} // namespace vk::yuv
