// The codec module for JPEG: include/Vkcodec.h on top of the JPEG library.
//
// The library reports errors by a jump. Nothing with a destructor lives in a function that may be left that way, and
// what the clean-up needs stands in a struct that is not kept in registers. Data may be hostile: pictures larger than a
// bitmap can be, scans without end and what the decoder would only warn of are refused.
#include "Vkcodec.h"
#include "Vkkrnx.h"

#include <climits>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>

// After cstdio, whose FILE it needs.
#include <jerror.h>
#include <jpeglib.h>

namespace {

/// More scans than any real progressive picture has; each costs a pass over all pixels.
constexpr int kMaxScans = 500;
constexpr long kMaxMemory = 1L << 30;

struct Errors {
    jpeg_error_mgr manager; ///< first, so that a pointer to it is one to this
    std::jmp_buf jump;
    int code;
};

[[noreturn]] void leave(j_common_ptr jpeg, int code)
{
    auto* const errors = reinterpret_cast<Errors*>(jpeg->err);
    errors->code = code;
    std::longjmp(errors->jump, 1);
}

void on_error(j_common_ptr jpeg)
{
    const int code = jpeg->err->msg_code;
    leave(jpeg, code == JERR_OUT_OF_MEMORY ? V_ERROR_NO_MEMORY : V_ERROR_INTERNAL);
}

void on_message(j_common_ptr jpeg, int level)
{
    const int code = jpeg->err->msg_code;
    if (level < 0 && (code == JWRN_JPEG_EOF || code == JWRN_HIT_MARKER || code == JWRN_HUFF_BAD_CODE))
        leave(jpeg, V_ERROR_INTERNAL);
}

void on_progress(j_common_ptr jpeg)
{
    if (reinterpret_cast<j_decompress_ptr>(jpeg)->input_scan_number > kMaxScans)
        leave(jpeg, V_ERROR_INTERNAL);
}

void set_up(Errors& errors)
{
    jpeg_std_error(&errors.manager);
    errors.manager.error_exit = on_error;
    errors.manager.emit_message = on_message;
    errors.code = V_SUCCESS;
}

struct Decoder {
    jpeg_decompress_struct jpeg;
    jpeg_progress_mgr progress;
    Errors errors;
    uint8_t* row;
};

struct Sink {
    V_CODECBEGIN begin;
    V_CODECPUTROW put;
    void* user;
};

int32_t dots_per_inch(unsigned density, unsigned unit)
{
    return static_cast<int32_t>(unit == 2 ? (density * 254 + 50) / 100 : unit == 1 ? density : 0);
}

/// Swaps red and blue.
void to_bgr(uint8_t* row, size_t pixels)
{
    for (uint8_t* const end = row + 3 * pixels; row != end; row += 3) {
        const uint8_t red = row[0];
        row[0] = row[2];
        row[2] = red;
    }
}

int decode_rows(Decoder& decoder, int32_t bits, const Sink& sink)
{
    jpeg_decompress_struct& jpeg = decoder.jpeg;
    jpeg_start_decompress(&jpeg);
    decoder.row = static_cast<uint8_t*>(std::malloc(size_t{jpeg.output_width} * static_cast<size_t>(bits / 8)));
    if (!decoder.row)
        return V_ERROR_NO_MEMORY;
    const auto height = static_cast<int32_t>(jpeg.output_height);
    for (int32_t y = 0; y < height; ++y) {
        JSAMPROW rows[] = {decoder.row};
        jpeg_read_scanlines(&jpeg, rows, 1);
        if (bits == 24)
            to_bgr(decoder.row, jpeg.output_width);
        const int result = sink.put(decoder.row, y, sink.user);
        if (result != V_SUCCESS)
            return result;
    }
    jpeg_finish_decompress(&jpeg);
    return V_SUCCESS;
}

/// May be left by a jump at any point.
int decode(Decoder& decoder, const void* data, size_t bytes, int32_t bits, const Sink& sink)
{
    jpeg_decompress_struct& jpeg = decoder.jpeg;
    jpeg_create_decompress(&jpeg);
    decoder.progress.progress_monitor = on_progress;
    jpeg.progress = &decoder.progress;
    jpeg.mem->max_memory_to_use = kMaxMemory;
    jpeg_mem_src(&jpeg, static_cast<const unsigned char*>(data), static_cast<unsigned long>(bytes));
    jpeg_read_header(&jpeg, TRUE);
    if (jpeg.num_components != 1 && jpeg.num_components != 3)
        return V_ERROR_FEATURE_NOT_SUPPORTED;
    jpeg.out_color_space = bits == 8 ? JCS_GRAYSCALE : JCS_RGB;
    V_CODECPICTURE picture{};
    picture.StructSize = sizeof picture;
    picture.Width = static_cast<int32_t>(jpeg.image_width);
    picture.Height = static_cast<int32_t>(jpeg.image_height);
    picture.BitsPerPixel = bits;
    if (jpeg.saw_JFIF_marker) {
        picture.XResolution = dots_per_inch(jpeg.X_density, jpeg.density_unit);
        picture.YResolution = dots_per_inch(jpeg.Y_density, jpeg.density_unit);
    }
    const int result = sink.begin(&picture, sink.user);
    return result == V_SUCCESS ? decode_rows(decoder, bits, sink) : result;
}

struct Encoder {
    jpeg_compress_struct jpeg;
    Errors errors;
    unsigned char* bytes;
    unsigned long size;
    uint8_t* row;
};

int encode(Encoder& encoder, const V_CODECPICTURE& picture, int32_t quality, V_CODECGETROW get, void* user)
{
    jpeg_compress_struct& jpeg = encoder.jpeg;
    const bool gray = picture.BitsPerPixel == 8;
    jpeg_create_compress(&jpeg);
    jpeg_mem_dest(&jpeg, &encoder.bytes, &encoder.size);
    jpeg.image_width = static_cast<JDIMENSION>(picture.Width);
    jpeg.image_height = static_cast<JDIMENSION>(picture.Height);
    jpeg.input_components = gray ? 1 : 3;
    jpeg.in_color_space = gray ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, quality, TRUE);
    if (picture.XResolution > 0 && picture.YResolution > 0) {
        jpeg.density_unit = 1;
        jpeg.X_density = static_cast<UINT16>(picture.XResolution);
        jpeg.Y_density = static_cast<UINT16>(picture.YResolution);
    }
    encoder.row = static_cast<uint8_t*>(std::malloc(size_t{jpeg.image_width} * (gray ? 1 : 3)));
    if (!encoder.row)
        return V_ERROR_NO_MEMORY;
    jpeg_start_compress(&jpeg, TRUE);
    for (int32_t y = 0; y < picture.Height; ++y) {
        const int result = get(encoder.row, y, user);
        if (result != V_SUCCESS)
            return result;
        if (!gray)
            to_bgr(encoder.row, jpeg.image_width);
        JSAMPROW rows[] = {encoder.row};
        jpeg_write_scanlines(&jpeg, rows, 1);
    }
    jpeg_finish_compress(&jpeg);
    return V_SUCCESS;
}

#if defined(_WIN32)
#define VK_MODULE_EXPORT extern "C" __declspec(dllexport)
#else
#define VK_MODULE_EXPORT extern "C" __attribute__((visibility("default")))
#endif

} // namespace

VK_MODULE_EXPORT int fltLoadBuffer(const void* data, size_t bytes, int32_t bits, V_CODECBEGIN begin, V_CODECPUTROW put,
                                   void* user)
{
    if (!data || !begin || !put || bytes > ULONG_MAX)
        return V_ERROR_INVALID_PARAMETER;
    if (bits != 8 && bits != 24)
        return V_ERROR_FEATURE_NOT_SUPPORTED;
    static_assert(sizeof(Decoder) < 1 << 16);
    Decoder decoder{};
    set_up(decoder.errors);
    decoder.jpeg.err = &decoder.errors.manager;
    const Sink sink{begin, put, user};
    if (setjmp(decoder.errors.jump) == 0)
        decoder.errors.code = decode(decoder, data, bytes, bits, sink);
    std::free(decoder.row);
    jpeg_destroy_decompress(&decoder.jpeg);
    return decoder.errors.code;
}

VK_MODULE_EXPORT int fltSaveBuffer(const V_CODECPICTURE* picture, int32_t quality, V_CODECGETROW get,
                                   V_CODECWRITE write, void* user)
{
    if (!picture || picture->StructSize != sizeof *picture || !get || !write || quality < 1 || quality > 100 ||
        picture->Width < 1 || picture->Height < 1)
        return V_ERROR_INVALID_PARAMETER;
    if ((picture->BitsPerPixel != 8 && picture->BitsPerPixel != 24) || picture->Width > JPEG_MAX_DIMENSION ||
        picture->Height > JPEG_MAX_DIMENSION)
        return V_ERROR_FEATURE_NOT_SUPPORTED;
    Encoder encoder{};
    set_up(encoder.errors);
    encoder.jpeg.err = &encoder.errors.manager;
    if (setjmp(encoder.errors.jump) == 0)
        encoder.errors.code = encode(encoder, *picture, quality, get, user);
    int result = encoder.errors.code;
    if (result == V_SUCCESS)
        result = write(encoder.bytes, encoder.size, user);
    std::free(encoder.row);
    jpeg_destroy_compress(&encoder.jpeg);
    std::free(encoder.bytes);
    return result;
}
