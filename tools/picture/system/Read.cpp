/**
 * @file Read.cpp
 * PNG, JPEG, TIFF and GIF files through the system's imaging component. What has transparency of any kind becomes
 * colour with alpha; inks become colours by the component. Rows are taken from it some at a time.
 */
#include "tools/Failure.h"
#include "tools/picture/Formats.h"
#include "tools/picture/Notes.h"
#include "tools/picture/system/Component.h"

#include <algorithm>
#include <cstring>

namespace vk::tool {

namespace {

/** A value of a file's notes, freed with this object. */
class Value {
public:
    Value(IWICMetadataQueryReader* notes, const wchar_t* name)
    {
        PropVariantInit(&value_);
        has_ = notes != nullptr && SUCCEEDED(notes->GetMetadataByName(name, &value_));
    }
    ~Value() { PropVariantClear(&value_); }
    Value(const Value&) = delete;
    Value& operator=(const Value&) = delete;

    int32_t number(int32_t otherwise) const
    {
        if (!has_) {
            return otherwise;
        }
        return value_.vt == VT_UI1 ? value_.bVal : value_.vt == VT_UI2 ? value_.uiVal : otherwise;
    }
    std::vector<uint8_t> bytes() const
    {
        const bool is_bytes = has_ && value_.vt == (VT_UI1 | VT_VECTOR);
        return is_bytes ? std::vector<uint8_t>(value_.caub.pElems, value_.caub.pElems + value_.caub.cElems)
                        : std::vector<uint8_t>();
    }

private:
    PROPVARIANT value_;
    bool has_;
};

enum class Kind { png, jpeg, tiff, gif };
constexpr const char* kNames[] = {"PNG", "JPEG", "TIFF", "GIF"};

class SystemReader : public PictureReader {
public:
    SystemReader(Input file, const std::string& name, Kind kind);

    bool next_page() override;

private:
    void open_frame(uint32_t index);
    void choose_form();
    bool palette_is_opaque();
    void convert_to(const GUID& format);
    void read_palette();
    void read_notes();
    void read_profile();
    void read_frame();
    void decode_row(uint8_t* row) override;
    void read_rows();
    void require(HRESULT result) const { tool::require(result, name_, kNames[static_cast<size_t>(kind_)]); }

    ComThread thread_;
    std::string name_;
    Kind kind_;
    Input file_;
    PictureInfo file_info_; ///< what the file says for all of its pictures
    Com<IWICImagingFactory> factory_;
    Com<IStream> stream_;
    Com<IWICBitmapDecoder> decoder_;
    Com<IWICBitmapFrameDecode> frame_;
    Com<IWICBitmapSource> source_; ///< the frame, or what converts it
    const PixelForm* form_ = nullptr;
    uint32_t frames_ = 0;
    uint32_t index_ = 0;
    std::vector<uint8_t> rows_; ///< those taken last
    int32_t first_row_ = 0;
    int32_t next_row_ = 0;
};

SystemReader::SystemReader(Input file, const std::string& name, Kind kind)
    : name_(name), kind_(kind), file_(std::move(file)), factory_(imaging_factory(name))
{
    if (kind_ == Kind::png) {
        read_png_notes(*file_, file_info_);
    } else if (kind_ == Kind::jpeg) {
        read_jpeg_notes(*file_, file_info_);
    }
    if ((kind_ == Kind::png && !png_is_whole(*file_)) || (kind_ == Kind::jpeg && !jpeg_is_whole(*file_))) {
        throw FileError(name_, std::string(kNames[static_cast<size_t>(kind_)]) + ": the file is damaged or cut");
    }
    file_->rewind();
    stream_ = stream_of(*file_);
    require(factory_->CreateDecoderFromStream(stream_.get(), nullptr, WICDecodeMetadataCacheOnDemand, decoder_.out()));
    UINT frames = 0;
    require(decoder_->GetFrameCount(&frames));
    frames_ = frames;
    open_frame(0);
}

bool SystemReader::next_page()
{
    if (index_ + 1 >= frames_) {
        return false;
    }
    open_frame(++index_);
    return true;
}

void SystemReader::open_frame(uint32_t index)
{
    source_.reset();
    require(decoder_->GetFrame(index, frame_.out()));
    UINT width = 0;
    UINT height = 0;
    require(frame_->GetSize(&width, &height));
    check_size(name_, width, height, *file_);
    info_ = file_info_;
    info_.format = kNames[static_cast<size_t>(kind_)];
    info_.width = static_cast<int32_t>(width);
    info_.height = static_cast<int32_t>(height);
    choose_form();
    read_notes();
    rows_.clear();
    first_row_ = next_row_ = 0;
}

/** Takes the frame's own form where rows of ours have it, else the nearest that they have. */
void SystemReader::choose_form()
{
    GUID format;
    require(frame_->GetPixelFormat(&format));
    form_ = form_of(format);
    if (form_ != nullptr && form_->is_indexed && !palette_is_opaque()) {
        form_ = nullptr;
        format = GUID_WICPixelFormat32bppPBGRA; // or any with alpha
    }
    require(frame_->QueryInterface(IID_IWICBitmapSource, reinterpret_cast<void**>(source_.out())));
    if (form_ == nullptr) {
        const bool is_deep = format == GUID_WICPixelFormat64bppPRGBA || format == GUID_WICPixelFormat64bppBGRA;
        const bool has_alpha = format == GUID_WICPixelFormat32bppPBGRA || format == GUID_WICPixelFormat32bppPRGBA;
        const GUID& taken = is_deep     ? GUID_WICPixelFormat64bppRGBA
                            : has_alpha ? GUID_WICPixelFormat32bppBGRA
                                        : GUID_WICPixelFormat24bppBGR;
        convert_to(taken);
        form_ = form_of(taken);
    }
    info_.bits = form_->bits;
    info_.order = form_->order;
    if (form_->is_indexed) {
        read_palette();
    } else if (info_.bits <= 8) {
        info_.palette = gray_ramp(info_.bits);
    }
}

void SystemReader::convert_to(const GUID& format)
{
    Com<IWICFormatConverter> converter;
    require(factory_->CreateFormatConverter(converter.out()));
    require(converter->Initialize(frame_.get(), format, WICBitmapDitherTypeNone, nullptr, 0,
                                  WICBitmapPaletteTypeMedianCut));
    require(converter->QueryInterface(IID_IWICBitmapSource, reinterpret_cast<void**>(source_.out())));
}

bool SystemReader::palette_is_opaque()
{
    Com<IWICPalette> palette;
    require(factory_->CreatePalette(palette.out()));
    require(frame_->CopyPalette(palette.get()));
    BOOL has_alpha = FALSE;
    require(palette->HasAlpha(&has_alpha));
    return has_alpha == FALSE;
}

/** Entries that the file leaves out are black. */
void SystemReader::read_palette()
{
    Com<IWICPalette> palette;
    require(factory_->CreatePalette(palette.out()));
    require(frame_->CopyPalette(palette.get()));
    WICColor colors[256] = {};
    UINT count = 0;
    require(palette->GetColors(256, colors, &count));
    info_.palette.assign(size_t{1} << info_.bits, RGBQUAD{0, 0, 0, 0});
    for (size_t i = 0; i < std::min<size_t>(count, info_.palette.size()); ++i) {
        info_.palette[i] = {static_cast<BYTE>(colors[i]), static_cast<BYTE>(colors[i] >> 8),
                            static_cast<BYTE>(colors[i] >> 16), 0};
    }
}

void SystemReader::read_notes()
{
    if (kind_ == Kind::gif) {
        read_frame();
    } else if (kind_ == Kind::tiff) {
        read_tiff_notes(*file_, index_, info_);
    }
    if (kind_ == Kind::tiff || kind_ == Kind::png) {
        read_profile();
    }
}

/** Some systems' codecs know nothing of profiles. */
void SystemReader::read_profile()
{
    Com<IWICColorContext> context;
    require(factory_->CreateColorContext(context.out()));
    IWICColorContext* contexts[] = {context.get()};
    UINT count = 0;
    UINT bytes = 0;
    WICColorContextType type = WICColorContextUninitialized;
    if (FAILED(frame_->GetColorContexts(1, contexts, &count)) || count == 0 || FAILED(context->GetType(&type)) ||
        type != WICColorContextProfile || FAILED(context->GetProfileBytes(0, nullptr, &bytes))) {
        return;
    }
    info_.profile.resize(bytes);
    require(context->GetProfileBytes(bytes, info_.profile.data(), &bytes));
}

void SystemReader::read_frame()
{
    constexpr int32_t kUnit = 10; // delays are in hundredths
    Com<IWICMetadataQueryReader> all;
    Com<IWICMetadataQueryReader> notes;
    decoder_->GetMetadataQueryReader(all.out());
    frame_->GetMetadataQueryReader(notes.out());
    const auto of = [&](const wchar_t* name) { return Value(notes.get(), name).number(0); };
    Frame frame;
    frame.left = of(L"/imgdesc/Left");
    frame.top = of(L"/imgdesc/Top");
    frame.canvas_width = std::max(Value(all.get(), L"/logscrdesc/Width").number(0), frame.left + info_.width);
    frame.canvas_height = std::max(Value(all.get(), L"/logscrdesc/Height").number(0), frame.top + info_.height);
    frame.delay = of(L"/grctlext/Delay") * kUnit;
    const int32_t disposal = of(L"/grctlext/Disposal");
    frame.disposal = disposal == 2 ? Disposal::clear : disposal == 3 ? Disposal::restore : Disposal::keep;
    const std::vector<uint8_t> loops = Value(all.get(), L"/appext/data").bytes();
    if (loops.size() >= 4 && loops[0] == 3 && loops[1] == 1) {
        frame.loops = loops[2] | loops[3] << 8;
    }
    info_.frame = frame;
}

void SystemReader::read_rows()
{
    constexpr size_t kAtOnce = size_t{1} << 18;
    const size_t bytes = info_.row_bytes();
    const auto most = static_cast<int32_t>(std::max<size_t>(kAtOnce / bytes, 1));
    first_row_ = next_row_;
    const WICRect rows = {0, first_row_, info_.width, std::min(most, info_.height - first_row_)};
    rows_.resize(bytes * static_cast<size_t>(rows.Height));
    require(source_->CopyPixels(&rows, static_cast<UINT>(bytes), static_cast<UINT>(rows_.size()), rows_.data()));
    file_->check();
}

void SystemReader::decode_row(uint8_t* row)
{
    const size_t bytes = info_.row_bytes();
    if (static_cast<size_t>(next_row_ - first_row_) * bytes >= rows_.size()) {
        read_rows();
    }
    std::memcpy(row, &rows_[static_cast<size_t>(next_row_ - first_row_) * bytes], bytes);
    ++next_row_;
    if (form_->is_red_first) {
        swap_channels(row, info_.width, info_.bits);
    }
}

std::unique_ptr<PictureReader> read_by_system(Input file, const std::string& name, Kind kind)
{
    return std::make_unique<SystemReader>(std::move(file), name, kind);
}

} // namespace

std::unique_ptr<PictureReader> read_png(Input file, const std::string& name)
{
    return read_by_system(std::move(file), name, Kind::png);
}

std::unique_ptr<PictureReader> read_jpeg(Input file, const std::string& name)
{
    return read_by_system(std::move(file), name, Kind::jpeg);
}

std::unique_ptr<PictureReader> read_tiff(Input file, const std::string& name)
{
    return read_by_system(std::move(file), name, Kind::tiff);
}

std::unique_ptr<PictureReader> read_gif(Input file, const std::string& name)
{
    return read_by_system(std::move(file), name, Kind::gif);
}

} // namespace vk::tool
