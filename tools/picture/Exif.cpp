/**
 * @file Exif.cpp
 * The first directory of a TIFF structure: a byte order, where the directory is, its entries of twelve bytes each (tag,
 * type, count, value).
 */
#include "tools/picture/Exif.h"

#include <cstring>

namespace vk::tool {

namespace {

constexpr uint32_t kOrientationTag = 0x112;
constexpr uint32_t kShort = 3;
constexpr size_t kHeader = 8;
constexpr size_t kEntry = 12;

/** Numbers of either byte order; what is outside of the notes is 0. */
class Notes {
public:
    Notes(const uint8_t* bytes, size_t count) : bytes_(bytes), count_(count), little_(count > 0 && bytes[0] == 'I') {}

    uint32_t number(size_t at, size_t size) const
    {
        uint32_t value = 0;
        for (size_t i = 0; i < size && at < count_ && size <= count_ - at; ++i) {
            value |= static_cast<uint32_t>(bytes_[at + i]) << 8 * (little_ ? i : size - 1 - i);
        }
        return value;
    }

private:
    const uint8_t* bytes_;
    size_t count_;
    bool little_;
};

} // namespace

int32_t exif_orientation(const uint8_t* bytes, size_t count)
{
    const Notes notes(bytes, count);
    if (count < kHeader || notes.number(2, 2) != 42) {
        return 1;
    }
    const size_t directory = notes.number(4, 4);
    const size_t entries = notes.number(directory, 2);
    for (size_t i = 0; i < entries; ++i) {
        const size_t at = directory + 2 + i * kEntry;
        if (notes.number(at, 2) == kOrientationTag && notes.number(at + 2, 2) == kShort) {
            const uint32_t value = notes.number(at + 8, 2);
            return value >= 1 && value <= 8 ? static_cast<int32_t>(value) : 1;
        }
    }
    return 1;
}

std::array<uint8_t, kExifBytes> exif_of(int32_t orientation)
{
    return {'M', 'M', 0, 42, 0, 0, 0, 8, 0, 1, 0x01, 0x12, 0, 3, 0, 0, 0, 1, 0, static_cast<uint8_t>(orientation)};
}

} // namespace vk::tool
