/**
 * @file Write.cpp
 * PNG, JPEG and TIFF files through the system's imaging component. Notes of PNG and JPEG files, which not every
 * system's codecs write, are put between the codec's bytes; TIFF pictures are written upright.
 */
#include "tools/Failure.h"
#include "tools/picture/Formats.h"
#include "tools/picture/Notes.h"
#include "tools/picture/system/Component.h"

#include <algorithm>
#include <cstring>
#include <optional>

namespace vk::tool {

namespace {

enum class Kind { png, jpeg, tiff };
constexpr const char* kNames[] = {"PNG", "JPEG", "TIFF"};

struct TiffCompression {
    const char* name;
    BYTE value;
    bool is_facsimile;
};

constexpr TiffCompression kCompressions[] = {
    {"none", WICTiffCompressionNone, false},    {"packbits", WICTiffCompressionRLE, false},
    {"lzw", WICTiffCompressionLZW, false},      {"deflate", WICTiffCompressionZIP, false},
    {"group3", WICTiffCompressionCCITT3, true}, {"group4", WICTiffCompressionCCITT4, true},
};

class SystemWriter : public PictureWriter {
public:
    SystemWriter(const std::string& name, const WriteOptions& options, Kind kind)
        : name_(name), options_(options), kind_(kind)
    {}

    bool keeps_orientation() const override { return kind_ != Kind::tiff; }
    bool keeps_pages() const override { return kind_ == Kind::tiff; }
    void begin(const PictureInfo& info) override;
    void write_row(const uint8_t* row) override;
    void finish() override;

private:
    const GUID& choose_format();
    bool is_ramp() const { return same_palette(info_.palette, gray_ramp(std::min(info_.bits, 8))); }
    void start();
    void set_options(IPropertyBag2* bag);
    BYTE tiff_compression() const;
    void set_palette();
    void set_tiff_profile();
    bool codec_swaps_bytes();
    void write_rows();
    void end_page();
    void require(HRESULT result) const { tool::require(result, name_, kNames[static_cast<size_t>(kind_)]); }

    ComThread thread_;
    std::string name_;
    WriteOptions options_;
    Kind kind_;
    PictureInfo info_;
    std::optional<OutputFile> file_;
    Com<IWICImagingFactory> factory_;
    Com<IStream> stream_;
    Com<IWICBitmapEncoder> encoder_;
    Com<IWICBitmapFrameEncode> frame_;
    const PixelForm* form_ = nullptr; ///< of the encoder's rows
    bool gray_ = false;               ///< JPEG: without colours
    std::vector<uint8_t> rows_;       ///< as the encoder takes them
    size_t row_bytes_ = 0;            ///< of these
    bool swaps_bytes_ = false;        ///< of samples of 16 bits, for a codec that exchanges them
};

/** The format of the component's that rows of this picture are, or for JPEG become. */
const GUID& SystemWriter::choose_format()
{
    gray_ = info_.order == COLORORDER_GRAY || is_gray(info_.palette);
    if (kind_ == Kind::jpeg) {
        return gray_ ? GUID_WICPixelFormat8bppGray : GUID_WICPixelFormat24bppBGR;
    }
    switch (info_.bits) {
    case 1:
        return is_ramp() ? GUID_WICPixelFormatBlackWhite : GUID_WICPixelFormat1bppIndexed;
    case 2:
        return is_ramp() ? GUID_WICPixelFormat2bppGray : GUID_WICPixelFormat2bppIndexed;
    case 4:
        return is_ramp() ? GUID_WICPixelFormat4bppGray : GUID_WICPixelFormat4bppIndexed;
    case 8:
        return is_ramp() ? GUID_WICPixelFormat8bppGray : GUID_WICPixelFormat8bppIndexed;
    case 16:
        return GUID_WICPixelFormat16bppGray;
    case 24:
        return GUID_WICPixelFormat24bppBGR;
    case 32:
        return GUID_WICPixelFormat32bppBGRA;
    case 48:
        return GUID_WICPixelFormat48bppRGB;
    case 64:
        return GUID_WICPixelFormat64bppRGBA;
    default:
        throw OperationError(std::string(kNames[static_cast<size_t>(kind_)]) + " cannot hold a picture of " +
                             std::to_string(info_.bits) + " bits per pixel");
    }
}

void SystemWriter::begin(const PictureInfo& info)
{
    if (kind_ == Kind::jpeg && (options_.progressive || options_.optimized)) {
        throw OperationError(std::string("JPEG: the system's codec does not write ") +
                             (options_.progressive ? "progressive files" : "optimized codes"));
    }
    info_ = info;
    const GUID& wanted = choose_format();
    form_ = form_of(wanted);
    if (kind_ == Kind::tiff) {
        tiff_compression(); // refuses before there is a file
    }
    if (encoder_) {
        end_page();
    } else {
        start();
    }
    Com<IPropertyBag2> bag;
    require(encoder_->CreateNewFrame(frame_.out(), bag.out()));
    set_options(bag.get());
    require(frame_->Initialize(bag.get()));
    require(frame_->SetSize(static_cast<UINT>(info.width), static_cast<UINT>(info.height)));
    if (info.x_resolution > 0 && info.y_resolution > 0 && kind_ != Kind::png) { // whose notes have it
        require(frame_->SetResolution(info.x_resolution, info.y_resolution));
    }
    GUID format = wanted;
    require(frame_->SetPixelFormat(&format));
    if (format != wanted) {
        throw OperationError(name_ + ": the system's codec does not write pictures of " + std::to_string(info.bits) +
                             " bits per pixel to " + kNames[static_cast<size_t>(kind_)]);
    }
    set_palette();
    set_tiff_profile();
    const auto bits = static_cast<size_t>(form_->bits);
    swaps_bytes_ = kind_ == Kind::png && (bits == 16 || bits >= 48) && codec_swaps_bytes();
    row_bytes_ = (static_cast<size_t>(info.width) * bits + 31) / 32 * 4;
    rows_.clear();
}

void SystemWriter::start()
{
    constexpr const GUID* kContainers[] = {&GUID_ContainerFormatPng, &GUID_ContainerFormatJpeg,
                                           &GUID_ContainerFormatTiff};
    file_.emplace(name_);
    factory_ = imaging_factory(name_);
    if (kind_ == Kind::png) {
        stream_ = stream_of(*file_, png_notes(info_, gray_), kPngHeader);
    } else {
        const bool is_jpeg = kind_ == Kind::jpeg;
        stream_ = stream_of(*file_, is_jpeg ? jpeg_notes(info_) : std::vector<uint8_t>(), is_jpeg ? kJpegHeader : 0);
    }
    require(factory_->CreateEncoder(*kContainers[static_cast<size_t>(kind_)], nullptr, encoder_.out()));
    require(encoder_->Initialize(stream_.get(), WICBitmapEncoderNoCache));
}

void set_option(IPropertyBag2* bag, const wchar_t* name, VARIANT value)
{
    std::wstring text = name;
    PROPBAG2 option = {};
    option.pstrName = text.data();
    bag->Write(1, &option, &value); // a codec that does not know an option does as it pleases
}

VARIANT byte_value(BYTE byte)
{
    VARIANT value;
    VariantInit(&value);
    value.vt = VT_UI1;
    value.bVal = byte;
    return value;
}

void SystemWriter::set_options(IPropertyBag2* bag)
{
    if (kind_ == Kind::jpeg) {
        VARIANT quality;
        VariantInit(&quality);
        quality.vt = VT_R4;
        quality.fltVal = static_cast<float>(options_.quality) / 100;
        set_option(bag, L"ImageQuality", quality);
        const int shared = options_.chroma_across * options_.chroma_down;
        set_option(bag, L"JpegYCrCbSubsampling",
                   byte_value(shared == 4   ? WICJpegYCrCbSubsampling420
                              : shared == 2 ? WICJpegYCrCbSubsampling422
                                            : WICJpegYCrCbSubsampling444));
    } else if (kind_ == Kind::tiff) {
        set_option(bag, L"TiffCompressionMethod", byte_value(tiff_compression()));
    }
}

BYTE SystemWriter::tiff_compression() const
{
    if (options_.compression.empty()) {
        return info_.bits == 1 ? WICTiffCompressionCCITT4 : WICTiffCompressionLZW;
    }
    const auto* const found =
        std::find_if(std::begin(kCompressions), std::end(kCompressions),
                     [&](const TiffCompression& one) { return options_.compression == one.name; });
    if (found == std::end(kCompressions)) {
        throw UsageError("--compression does not know " + options_.compression + " on this system");
    }
    if (found->is_facsimile && info_.bits != 1) {
        throw OperationError("TIFF: " + options_.compression + " does not hold pictures of " +
                             std::to_string(info_.bits) + " bits per pixel");
    }
    return found->value;
}

void SystemWriter::set_palette()
{
    if (!form_->is_indexed) {
        return;
    }
    std::vector<WICColor> colors;
    for (const RGBQUAD& color : info_.palette) {
        colors.push_back(0xFF000000u | static_cast<WICColor>(color.rgbRed) << 16 |
                         static_cast<WICColor>(color.rgbGreen) << 8 | color.rgbBlue);
    }
    Com<IWICPalette> palette;
    require(factory_->CreatePalette(palette.out()));
    require(palette->InitializeCustom(colors.data(), static_cast<UINT>(colors.size())));
    require(frame_->SetPalette(palette.get()));
}

/** Some systems' codecs know nothing of profiles. */
void SystemWriter::set_tiff_profile()
{
    if (kind_ != Kind::tiff || info_.profile.empty()) {
        return;
    }
    Com<IWICColorContext> context;
    require(factory_->CreateColorContext(context.out()));
    require(context->InitializeFromMemory(info_.profile.data(), static_cast<UINT>(info_.profile.size())));
    IWICColorContext* contexts[] = {context.get()};
    frame_->SetColorContexts(1, contexts);
}

void SystemWriter::write_row(const uint8_t* row)
{
    constexpr size_t kAtOnce = size_t{1} << 18;
    const size_t at = rows_.size();
    rows_.resize(at + row_bytes_);
    if (kind_ == Kind::jpeg) {
        plain_samples(info_, row, gray_, &rows_[at]);
        if (!gray_) {
            swap_channels(&rows_[at], info_.width, 24);
        }
    } else {
        std::memcpy(&rows_[at], row, row_bytes_);
        if (form_->is_red_first) {
            swap_channels(&rows_[at], info_.width, info_.bits);
        }
        for (size_t i = at; swaps_bytes_ && i < rows_.size(); i += 2) {
            std::swap(rows_[i], rows_[i + 1]);
        }
    }
    if (rows_.size() >= kAtOnce) {
        write_rows();
    }
}

/** Some systems' codec writes samples of 16 bits with their bytes exchanged, which it does not do in reading: has it
 * write a pixel and read it. */
bool SystemWriter::codec_swaps_bytes()
{
    constexpr uint16_t kGray = 0x0102;
    Com<IStream> stream;
    Com<IWICBitmapEncoder> encoder;
    Com<IWICBitmapFrameEncode> frame;
    require(CreateStreamOnHGlobal(nullptr, TRUE, stream.out()));
    require(factory_->CreateEncoder(GUID_ContainerFormatPng, nullptr, encoder.out()));
    require(encoder->Initialize(stream.get(), WICBitmapEncoderNoCache));
    require(encoder->CreateNewFrame(frame.out(), nullptr));
    require(frame->Initialize(nullptr));
    require(frame->SetSize(1, 1));
    GUID format = GUID_WICPixelFormat16bppGray;
    require(frame->SetPixelFormat(&format));
    uint8_t pixel[4] = {kGray & 0xFF, kGray >> 8};
    require(frame->WritePixels(1, sizeof pixel, sizeof pixel, pixel));
    require(frame->Commit());
    require(encoder->Commit());
    require(stream->Seek({}, STREAM_SEEK_SET, nullptr));
    Com<IWICBitmapDecoder> decoder;
    Com<IWICBitmapFrameDecode> back;
    require(factory_->CreateDecoderFromStream(stream.get(), nullptr, WICDecodeMetadataCacheOnDemand, decoder.out()));
    require(decoder->GetFrame(0, back.out()));
    require(back->CopyPixels(nullptr, sizeof pixel, sizeof pixel, pixel));
    return pixel[0] == kGray >> 8;
}

void SystemWriter::write_rows()
{
    if (!rows_.empty()) {
        require(frame_->WritePixels(static_cast<UINT>(rows_.size() / row_bytes_), static_cast<UINT>(row_bytes_),
                                    static_cast<UINT>(rows_.size()), rows_.data()));
        rows_.clear();
    }
}

void SystemWriter::end_page()
{
    write_rows();
    require(frame_->Commit());
    frame_.reset();
}

void SystemWriter::finish()
{
    end_page();
    require(encoder_->Commit());
    encoder_.reset();
    stream_.reset();
    file_->commit();
}

std::unique_ptr<PictureWriter> write_by_system(const std::string& name, const WriteOptions& options, Kind kind)
{
    return std::make_unique<SystemWriter>(name, options, kind);
}

} // namespace

std::unique_ptr<PictureWriter> write_png(const std::string& name, const WriteOptions& options)
{
    return write_by_system(name, options, Kind::png);
}

std::unique_ptr<PictureWriter> write_jpeg(const std::string& name, const WriteOptions& options)
{
    return write_by_system(name, options, Kind::jpeg);
}

std::unique_ptr<PictureWriter> write_tiff(const std::string& name, const WriteOptions& options)
{
    return write_by_system(name, options, Kind::tiff);
}

} // namespace vk::tool
