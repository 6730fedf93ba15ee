/**
 * @file Gif.cpp
 * Puts GIF files together on Windows. The system's imaging component packs each frame's indices as a file of its own,
 * from which they are taken; what stands around them (places, delays, loops, clear indices), which not every system's
 * codec writes, is written here. Gif_frames.cpp makes what goes into the files.
 */
#include "tools/picture/Gif.h"
#include "tools/Failure.h"
#include "tools/picture/Formats.h"
#include "tools/picture/system/Component.h"

#include <algorithm>
#include <bit>
#include <initializer_list>

namespace vk::tool {

namespace {

constexpr uint8_t kExtension = 0x21;
constexpr uint8_t kImage = 0x2C;
constexpr uint8_t kEnd = 0x3B;
constexpr uint8_t kHasColors = 0x80;
constexpr uint8_t kIsWoven = 0x40;

/** The descriptor's flags and the packed pixels of a file's only picture. */
struct PackedPixels {
    bool is_woven;
    std::vector<uint8_t> blocks; ///< with the size of the codes in front and an empty block behind
};

class SystemSink : public GifSink {
public:
    SystemSink(OutputFile& file, const std::string& name) : file_(file), name_(name), factory_(imaging_factory(name)) {}

    void start(const GifScreen& screen) override;
    void begin_frame(const GifFrame& frame) override;
    void put_line(const uint8_t* indices) override;
    void finish() override;

private:
    void end_frame();
    void pack_lines();
    PackedPixels packed_pixels();
    std::vector<uint8_t> codec_file();
    void write(std::initializer_list<int> bytes)
    {
        for (const int byte : bytes) {
            const auto one = static_cast<uint8_t>(byte);
            file_.write(&one, 1);
        }
    }
    void require(HRESULT result) const { tool::require(result, name_, "GIF"); }

    ComThread thread_;
    OutputFile& file_;
    std::string name_;
    Com<IWICImagingFactory> factory_;
    Com<IWICPalette> palette_;
    Com<IStream> stream_; ///< of the frame's file
    Com<IWICBitmapEncoder> encoder_;
    Com<IWICBitmapFrameEncode> encoded_;
    std::optional<GifFrame> frame_; ///< the one at hand
    std::vector<uint8_t> lines_;    ///< of it, to be packed
};

int low(size_t value)
{
    return static_cast<int>(value & 0xFF);
}

int high(size_t value)
{
    return low(value >> 8);
}

void SystemSink::start(const GifScreen& screen)
{
    const auto width = static_cast<size_t>(screen.width);
    const auto height = static_cast<size_t>(screen.height);
    const int depth = std::countr_zero(screen.colors.size());
    write({'G', 'I', 'F', '8', '9', 'a', low(width), high(width), low(height), high(height)});
    write({kHasColors | 0x70 | (depth - 1), 0, 0});
    std::vector<WICColor> colors;
    for (const RGBQUAD& color : screen.colors) {
        write({color.rgbRed, color.rgbGreen, color.rgbBlue});
        colors.push_back(0xFF000000u | static_cast<WICColor>(color.rgbRed) << 16 |
                         static_cast<WICColor>(color.rgbGreen) << 8 | color.rgbBlue);
    }
    require(factory_->CreatePalette(palette_.out()));
    require(palette_->InitializeCustom(colors.data(), static_cast<UINT>(colors.size())));
    if (screen.loops) {
        write({kExtension, 0xFF, 11, 'N', 'E', 'T', 'S', 'C', 'A', 'P', 'E', '2', '.', '0'});
        write({3, 1, low(*screen.loops), high(*screen.loops), 0});
    }
}

void SystemSink::begin_frame(const GifFrame& frame)
{
    end_frame();
    frame_ = frame;
    require(CreateStreamOnHGlobal(nullptr, TRUE, stream_.out()));
    require(factory_->CreateEncoder(GUID_ContainerFormatGif, nullptr, encoder_.out()));
    require(encoder_->Initialize(stream_.get(), WICBitmapEncoderNoCache));
    require(encoder_->CreateNewFrame(encoded_.out(), nullptr));
    require(encoded_->Initialize(nullptr));
    require(encoded_->SetSize(frame.width, frame.height));
    GUID format = GUID_WICPixelFormat8bppIndexed;
    require(encoded_->SetPixelFormat(&format));
    if (format != GUID_WICPixelFormat8bppIndexed) {
        throw FileError(name_, "GIF: the system's codec takes no indices");
    }
    require(encoded_->SetPalette(palette_.get()));
}

void SystemSink::put_line(const uint8_t* indices)
{
    constexpr size_t kAtOnce = size_t{1} << 18;
    lines_.insert(lines_.end(), indices, indices + frame_->width);
    if (lines_.size() >= kAtOnce) {
        pack_lines();
    }
}

void SystemSink::pack_lines()
{
    if (!lines_.empty()) {
        require(encoded_->WritePixels(static_cast<UINT>(lines_.size() / frame_->width), frame_->width,
                                      static_cast<UINT>(lines_.size()), lines_.data()));
        lines_.clear();
    }
}

void SystemSink::end_frame()
{
    if (!frame_) {
        return;
    }
    pack_lines();
    require(encoded_->Commit());
    require(encoder_->Commit());
    const GifFrame& frame = *frame_;
    const PackedPixels packed = packed_pixels();
    write({kExtension, 0xF9, 4, frame.disposal << 2 | (frame.transparent ? 1 : 0), low(frame.delay), high(frame.delay),
           frame.transparent.value_or(0xFF), 0});
    write({kImage, low(frame.left), high(frame.left), low(frame.top), high(frame.top)});
    write({low(frame.width), high(frame.width), low(frame.height), high(frame.height)});
    write({packed.is_woven ? kIsWoven : 0});
    file_.write(packed.blocks.data(), packed.blocks.size());
    frame_.reset();
}

std::vector<uint8_t> SystemSink::codec_file()
{
    STATSTG about = {};
    require(stream_->Stat(&about, STATFLAG_NONAME));
    require(stream_->Seek({}, STREAM_SEEK_SET, nullptr));
    std::vector<uint8_t> bytes(static_cast<size_t>(about.cbSize.QuadPart));
    ULONG got = 0;
    require(stream_->Read(bytes.data(), static_cast<ULONG>(bytes.size()), &got));
    bytes.resize(got);
    encoded_.reset();
    encoder_.reset();
    stream_.reset();
    return bytes;
}

PackedPixels SystemSink::packed_pixels()
{
    constexpr size_t kScreen = 13;
    constexpr size_t kDescriptor = 10;
    const std::vector<uint8_t> bytes = codec_file();
    const auto byte = [&](size_t at) -> size_t {
        if (at >= bytes.size()) {
            throw FileError(name_, "GIF: the system's codec does not finish the picture");
        }
        return bytes[at];
    };
    const auto table = [&](size_t at) {
        const size_t flags = byte(at);
        return (flags & kHasColors) != 0 ? size_t{3} << ((flags & 7) + 1) : 0;
    };
    const auto behind_blocks = [&](size_t at) {
        while (byte(at) != 0) {
            at += byte(at) + 1;
        }
        return at + 1;
    };
    size_t at = kScreen + table(10);
    while (byte(at) == kExtension) {
        at = behind_blocks(at + 2);
    }
    if (byte(at) != kImage) {
        throw FileError(name_, "GIF: the system's codec writes no picture");
    }
    const size_t flags = at + kDescriptor - 1;
    const size_t pixels = at + kDescriptor + table(flags);
    const size_t end = behind_blocks(pixels + 1);
    return {(byte(flags) & kIsWoven) != 0,
            {bytes.begin() + static_cast<std::ptrdiff_t>(pixels), bytes.begin() + static_cast<std::ptrdiff_t>(end)}};
}

void SystemSink::finish()
{
    end_frame();
    write({kEnd});
}

} // namespace

std::unique_ptr<PictureWriter> write_gif(const std::string& name, const WriteOptions& options)
{
    return gif_writer(name, options, [](OutputFile& file, const std::string& file_name) -> std::unique_ptr<GifSink> {
        return std::make_unique<SystemSink>(file, file_name);
    });
}

} // namespace vk::tool
