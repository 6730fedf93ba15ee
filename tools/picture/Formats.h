/**
 * @file Formats.h
 * What the format files share: their entry points, the limits on sizes, and gray ramps.
 */
#ifndef VK_TOOLS_FORMATS_H
#define VK_TOOLS_FORMATS_H

#include "tools/picture/InputFile.h"
#include "tools/picture/Picture.h"

namespace vk::tool {

std::unique_ptr<PictureReader> read_pnm(Input file, const std::string& name);
std::unique_ptr<PictureReader> read_png(Input file, const std::string& name);
std::unique_ptr<PictureReader> read_jpeg(Input file, const std::string& name);
std::unique_ptr<PictureReader> read_tiff(Input file, const std::string& name);
std::unique_ptr<PictureReader> read_webp(Input file, const std::string& name);
std::unique_ptr<PictureReader> read_gif(Input file, const std::string& name);
std::unique_ptr<PictureReader> read_bmp(Input file, const std::string& name);

std::unique_ptr<PictureWriter> write_bmp(const std::string& name);
std::unique_ptr<PictureWriter> write_pnm(const std::string& name);
std::unique_ptr<PictureWriter> write_png(const std::string& name, const WriteOptions& options);
std::unique_ptr<PictureWriter> write_jpeg(const std::string& name, const WriteOptions& options);
std::unique_ptr<PictureWriter> write_tiff(const std::string& name, const WriteOptions& options);
std::unique_ptr<PictureWriter> write_webp(const std::string& name, const WriteOptions& options);
std::unique_ptr<PictureWriter> write_gif(const std::string& name, const WriteOptions& options);

/** A reader of the same pictures in sRGB colours. */
std::unique_ptr<PictureReader> in_srgb(std::unique_ptr<PictureReader> reader, const std::string& name);

/** A row of 64-bit pixels of this width has 128 MiB; no row size comes near 32 bits. */
constexpr int64_t kMaxWidth = int64_t{1} << 24;
constexpr int64_t kMaxHeight = 0x7FFFFFFF;
/** For what a decoder has to keep in memory as a whole: interlaced and progressive files. */
constexpr uint64_t kMaxBuffered = uint64_t{1} << 30;

/** FileError when a file claims a size that is 0, beyond the limits or, for a file of so many bytes, beyond belief. */
void check_size(const std::string& name, int64_t width, int64_t height, InputFile& file);
void check_size(const std::string& name, int64_t width, int64_t height, uint64_t file_bytes);

std::vector<RGBQUAD> gray_ramp(int32_t bits);

/** A row as gray or as red, green and blue of 8 bits, alpha dropped. The row's palette has to be gray for gray. */
void plain_samples(const PictureInfo& info, const uint8_t* row, bool gray, uint8_t* samples);

/** The frame that a page is to be written as, with what the options say. */
Frame frame_of(const PictureInfo& info, const WriteOptions& options);

bool same_palette(const std::vector<RGBQUAD>& a, const std::vector<RGBQUAD>& b);

/** Swaps the first and the third sample of every pixel. */
template <typename Sample> void swap_red_blue(Sample* samples, size_t pixels, size_t channels = 3)
{
    for (Sample* const end = samples + pixels * channels; samples != end; samples += channels) {
        const Sample first = samples[0];
        samples[0] = samples[2];
        samples[2] = first;
    }
}

} // namespace vk::tool

#endif
