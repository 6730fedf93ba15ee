/**
 * @file Bmp_write.cpp
 * Writes BMP files: rows are gathered in a bitmap, which the library makes a DIB of. Samples of 16 bits become 8;
 * pictures with alpha get a header that says so.
 */
#include "tools/picture/Formats.h"
#include "tools/picture/OutputFile.h"

#include "tools/Bitmap.h"
#include "tools/Failure.h"

#include <array>
#include <cstring>
#include <optional>

namespace vk::tool {

namespace {

constexpr size_t kFileHeader = 14;

/** The DIB that V_ConvertToDIB2 made. */
class Dib {
public:
    Dib(BITMAPHANDLE& bitmap, uint32_t type) : data_(V_ConvertToDIB2(&bitmap, type, &size_, 0))
    {
        if (data_ == nullptr) {
            throw OperationError("the library could not make a DIB of the picture");
        }
    }
    ~Dib() { V_FreeMemory(data_); }
    Dib(const Dib&) = delete;
    Dib& operator=(const Dib&) = delete;

    uint8_t* data() const { return static_cast<uint8_t*>(data_); }
    uint32_t size() const { return size_; }

private:
    uint32_t size_ = 0;
    void* data_;
};

template <typename Value> void put(uint8_t* at, Value value)
{
    std::memcpy(at, &value, sizeof value);
}

class BmpWriter : public PictureWriter {
public:
    explicit BmpWriter(const std::string& name) : name_(name) {}

    void begin(const PictureInfo& info) override
    {
        bitmap_.emplace(info);
        access_.emplace(*bitmap_);
        file_.emplace(name_);
    }
    void write_row(const uint8_t* row) override { access_->put(next_row_++, row, bitmap_->record().BytesPerLine); }
    void finish() override;

private:
    std::string name_;
    std::optional<Bitmap> bitmap_;
    std::optional<Access> access_;
    std::optional<OutputFile> file_;
    int32_t next_row_ = 0;
};

void BmpWriter::finish()
{
    access_.reset();
    const int32_t bits = bitmap_->record().BitsPerPixel;
    const bool alpha = bits == 32 || bits == 64;
    const Dib dib(bitmap_->record(), alpha ? DIB_V5HEADER : DIB_INFOHEADER);
    auto* const header = reinterpret_cast<BITMAPV5HEADER*>(dib.data());
    if (alpha) {
        header->bV5Compression = BI_BITFIELDS;
        header->bV5RedMask = 0xFF0000;
        header->bV5GreenMask = 0xFF00;
        header->bV5BlueMask = 0xFF;
        header->bV5AlphaMask = 0xFF000000;
    }
    const auto* const info = reinterpret_cast<const BITMAPINFOHEADER*>(dib.data());
    std::array<uint8_t, kFileHeader> start{'B', 'M'};
    put(start.data() + 2, static_cast<uint32_t>(kFileHeader + dib.size()));
    put(start.data() + 10, static_cast<uint32_t>(kFileHeader + info->biSize + info->biClrUsed * sizeof(RGBQUAD)));
    file_->write(start.data(), start.size());
    file_->write(dib.data(), dib.size());
    file_->commit();
}

} // namespace

std::unique_ptr<PictureWriter> write_bmp(const std::string& name)
{
    return std::make_unique<BmpWriter>(name);
}

} // namespace vk::tool
