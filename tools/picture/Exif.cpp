/**
 * @file Exif.cpp
 * The first directory of a TIFF structure: a byte order, where the directory is, its entries of twelve bytes each (tag,
 * type, count, value).
 */
#include "tools/picture/Exif.h"

#include <utility>

namespace vk::tool {

namespace {

enum Tag : uint32_t { kOrientation = 0x112, kXResolution = 0x11A, kYResolution = 0x11B, kUnit = 0x128 };
enum Type : uint32_t { kShort = 3, kRational = 5 };
enum Unit : uint32_t { kInch = 2, kCentimetre = 3 };
constexpr size_t kHeader = 8;
constexpr size_t kEntry = 12;

/** Numbers of either byte order; what is outside of the notes is 0. */
class Bytes {
public:
    Bytes(const uint8_t* bytes, size_t count) : bytes_(bytes), count_(count), little_(count > 0 && bytes[0] == 'I') {}

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

double rational(const Bytes& bytes, size_t at)
{
    const uint32_t below = bytes.number(at + 4, 4);
    return below == 0 ? 0 : static_cast<double>(bytes.number(at, 4)) / below;
}

class Writer {
public:
    void number(uint32_t value, size_t size)
    {
        for (size_t i = size; i-- > 0;) {
            bytes_.push_back(static_cast<uint8_t>(value >> 8 * i));
        }
    }
    void entry(Tag tag, Type type, uint32_t value)
    {
        number(tag, 2);
        number(type, 2);
        number(1, 4);
        number(type == kShort ? value << 16 : value, 4);
    }
    std::vector<uint8_t> take() { return std::move(bytes_); }

private:
    std::vector<uint8_t> bytes_{'M', 'M', 0, 42, 0, 0, 0, kHeader};
};

} // namespace

ExifNotes read_exif(const uint8_t* notes, size_t count)
{
    const Bytes bytes(notes, count);
    ExifNotes found;
    if (count < kHeader || bytes.number(2, 2) != 42) {
        return found;
    }
    const size_t directory = bytes.number(4, 4);
    const size_t entries = bytes.number(directory, 2);
    double across = 0;
    double down = 0;
    double per_inch = 1;
    for (size_t i = 0; i < entries; ++i) {
        const size_t at = directory + 2 + i * kEntry;
        const uint32_t tag = bytes.number(at, 2);
        const uint32_t value = bytes.number(at + 8, bytes.number(at + 2, 2) == kShort ? 2 : 4);
        if (tag == kOrientation && value >= 1 && value <= 8) {
            found.orientation = static_cast<int32_t>(value);
        } else if (tag == kXResolution) {
            across = rational(bytes, value);
        } else if (tag == kYResolution) {
            down = rational(bytes, value);
        } else if (tag == kUnit) {
            per_inch = value == kCentimetre ? 2.54 : value == kInch ? 1 : 0;
        }
    }
    constexpr double kMost = 1e6;
    if (across > 0 && down > 0 && across < kMost && down < kMost) {
        found.x_resolution = static_cast<int32_t>(across * per_inch + 0.5);
        found.y_resolution = static_cast<int32_t>(down * per_inch + 0.5);
    }
    return found;
}

std::vector<uint8_t> write_exif(const ExifNotes& notes)
{
    const bool sized = notes.x_resolution > 0 && notes.y_resolution > 0;
    const uint32_t entries = sized ? 4 : 1;
    const auto behind = static_cast<uint32_t>(kHeader + 2 + entries * kEntry + 4);
    Writer writer;
    writer.number(entries, 2);
    writer.entry(kOrientation, kShort, static_cast<uint32_t>(notes.orientation));
    if (sized) {
        writer.entry(kXResolution, kRational, behind);
        writer.entry(kYResolution, kRational, behind + 8);
        writer.entry(kUnit, kShort, kInch);
    }
    writer.number(0, 4);
    if (sized) {
        for (const int32_t dots : {notes.x_resolution, notes.y_resolution}) {
            writer.number(static_cast<uint32_t>(dots), 4);
            writer.number(1, 4);
        }
    }
    return writer.take();
}

} // namespace vk::tool
