/**
 * @file Notes.cpp
 * Chunks of PNG files (length, type, data, CRC-32) and segments of JPEG files (a mark, its length, data), numbers in
 * both with the highest byte first.
 */
#include "tools/picture/Notes.h"

#include "tools/picture/Exif.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

namespace vk::tool {

namespace {

constexpr double kMetresPerInch = 0.0254;
constexpr size_t kMostNotes = size_t{64} << 20; ///< bytes of a chunk that is believed

uint32_t number(const uint8_t* bytes, size_t size)
{
    uint32_t value = 0;
    for (size_t i = 0; i < size; ++i) {
        value = value << 8 | bytes[i];
    }
    return value;
}

void append(std::vector<uint8_t>& bytes, uint32_t value, size_t size)
{
    for (size_t i = size; i-- > 0;) {
        bytes.push_back(static_cast<uint8_t>(value >> 8 * i));
    }
}

void append(std::vector<uint8_t>& bytes, std::string_view text)
{
    bytes.insert(bytes.end(), text.begin(), text.end());
}

/** The CRC-32 of PNG's chunks, from the highest power on. */
uint32_t crc_of(const uint8_t* bytes, size_t count)
{
    uint32_t crc = ~uint32_t{0};
    for (const uint8_t* const end = bytes + count; bytes != end; ++bytes) {
        crc ^= *bytes;
        for (int bit = 0; bit < 8; ++bit) {
            crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320u : 0);
        }
    }
    return ~crc;
}

void append_chunk(std::vector<uint8_t>& bytes, std::string_view type, const std::vector<uint8_t>& data)
{
    append(bytes, static_cast<uint32_t>(data.size()), 4);
    const size_t start = bytes.size();
    append(bytes, type);
    bytes.insert(bytes.end(), data.begin(), data.end());
    append(bytes, crc_of(&bytes[start], bytes.size() - start), 4);
}

/** A zlib stream that holds data as it is, in blocks of up to 65,535 bytes, and ends with its Adler-32. */
std::vector<uint8_t> stored(const std::vector<uint8_t>& data)
{
    constexpr size_t kBlock = 0xFFFF;
    std::vector<uint8_t> stream = {0x78, 0x01};
    for (size_t at = 0; at < data.size(); at += kBlock) {
        const size_t count = std::min(kBlock, data.size() - at);
        const auto low = static_cast<uint8_t>(count), high = static_cast<uint8_t>(count >> 8);
        const uint8_t is_last = at + count == data.size();
        stream.insert(stream.end(), {is_last, low, high, static_cast<uint8_t>(~low), static_cast<uint8_t>(~high)});
        stream.insert(stream.end(), &data[at], &data[at] + count);
    }
    uint32_t a = 1;
    uint32_t b = 0;
    for (const uint8_t byte : data) {
        a = (a + byte) % 65521;
        b = (b + a) % 65521;
    }
    append(stream, b << 16 | a, 4);
    return stream;
}

/** Reads `count` bytes; fewer are none. */
std::vector<uint8_t> take(InputFile& file, size_t count)
{
    std::vector<uint8_t> bytes(std::min(count, kMostNotes));
    if (count > kMostNotes || file.read(bytes.data(), count) != count) {
        bytes.clear();
    }
    return bytes;
}

/** The pieces of a profile, each with its place among them. */
class Profile {
public:
    void add(const uint8_t* segment, size_t bytes)
    {
        constexpr size_t kHeader = 14; // a name of 12 bytes, the piece's number, how many there are
        if (bytes > kHeader && std::memcmp(segment, kName, sizeof kName) == 0) {
            pieces_[segment[12]].assign(segment + kHeader, segment + bytes);
            ++count_;
            claimed_ = segment[13];
        }
    }
    /** All of them in order; nothing where some are missing. */
    std::vector<uint8_t> whole() const
    {
        std::vector<uint8_t> all;
        for (const std::vector<uint8_t>& piece : pieces_) {
            all.insert(all.end(), piece.begin(), piece.end());
        }
        return count_ == claimed_ ? all : std::vector<uint8_t>();
    }

    static constexpr char kName[12] = "ICC_PROFILE";

private:
    std::array<std::vector<uint8_t>, 256> pieces_;
    size_t count_ = 0;
    size_t claimed_ = 0;
};

constexpr std::string_view kExif{"Exif\0", 6};

void take_exif(const uint8_t* notes, size_t bytes, PictureInfo& info)
{
    const ExifNotes exif = read_exif(notes, bytes);
    info.orientation = exif.orientation;
    if (info.x_resolution == 0 && exif.x_resolution > 0 && exif.y_resolution > 0) {
        info.x_resolution = exif.x_resolution;
        info.y_resolution = exif.y_resolution;
    }
}

void take_density(const std::vector<uint8_t>& segment, PictureInfo& info)
{
    constexpr double kUnits[] = {0, 1, 2.54};
    if (segment.size() < 12 || std::memcmp(segment.data(), "JFIF", 5) != 0 || segment[7] > 2) {
        return;
    }
    const double unit = kUnits[segment[7]];
    info.x_resolution = static_cast<int32_t>(number(&segment[8], 2) * unit + 0.5);
    info.y_resolution = static_cast<int32_t>(number(&segment[10], 2) * unit + 0.5);
}

} // namespace

void read_png_notes(InputFile& file, PictureInfo& info)
{
    file.seek(8, SEEK_SET);
    for (std::vector<uint8_t> head = take(file, 8); !head.empty(); head = take(file, 8)) {
        const size_t bytes = number(head.data(), 4);
        const std::string_view type(reinterpret_cast<const char*>(&head[4]), 4);
        if (type == "IDAT" || type == "IEND") {
            return;
        }
        if (type != "pHYs" && type != "eXIf") {
            file.seek(static_cast<int64_t>(bytes) + 4, SEEK_CUR);
            continue;
        }
        const std::vector<uint8_t> data = take(file, bytes);
        if (type == "eXIf") {
            info.orientation = read_exif(data.data(), data.size()).orientation;
        } else if (data.size() == 9 && data[8] == 1) {
            info.x_resolution = static_cast<int32_t>(number(data.data(), 4) * kMetresPerInch + 0.5);
            info.y_resolution = static_cast<int32_t>(number(&data[4], 4) * kMetresPerInch + 0.5);
        }
        file.seek(4, SEEK_CUR);
    }
}

void read_jpeg_notes(InputFile& file, PictureInfo& info)
{
    Profile profile;
    file.seek(2, SEEK_SET);
    for (std::vector<uint8_t> head = take(file, 4); !head.empty() && head[0] == 0xFF; head = take(file, 4)) {
        const uint32_t bytes = number(&head[2], 2);
        if (head[1] == 0xDA || bytes < 2) { // the scans begin
            break;
        }
        const std::vector<uint8_t> segment = take(file, bytes - 2);
        if (head[1] == 0xE0) {
            take_density(segment, info);
        } else if (head[1] == 0xE1 && segment.size() > 6 && std::memcmp(segment.data(), kExif.data(), 6) == 0) {
            take_exif(&segment[6], segment.size() - 6, info);
        } else if (head[1] == 0xE2) {
            profile.add(segment.data(), segment.size());
        }
    }
    info.profile = profile.whole();
}

namespace {

/** A TIFF file's numbers, in its order of bytes; what is not there is 0. */
class TiffNumbers {
public:
    explicit TiffNumbers(InputFile& file) : file_(file), is_little_(bytes_at(0, 1) == 'I') {}

    uint32_t at(uint64_t place, size_t size) const
    {
        const uint32_t value = bytes_at(place, size);
        if (!is_little_) {
            return value;
        }
        const uint32_t swapped = value << 24 | (value & 0xFF00) << 8 | (value >> 8 & 0xFF00) | value >> 24;
        return swapped >> (32 - 8 * size);
    }
    /** A page's directory; 0: there is none. */
    uint32_t directory(uint32_t page) const
    {
        uint32_t place = at(4, 4);
        for (uint32_t i = 0; i < page && place != 0; ++i) {
            place = at(place + uint64_t{2} + uint64_t{kEntry} * at(place, 2), 4);
        }
        return place;
    }
    double rational(uint32_t place) const
    {
        const uint32_t below = at(place + uint64_t{4}, 4);
        return below == 0 ? 0 : static_cast<double>(at(place, 4)) / below;
    }

    static constexpr uint32_t kEntry = 12;

private:
    uint32_t bytes_at(uint64_t place, size_t size) const
    {
        const auto offset = static_cast<int64_t>(place);
        const std::vector<uint8_t> bytes =
            file_.seek(offset, SEEK_SET) == offset ? take(file_, size) : std::vector<uint8_t>();
        return number(bytes.data(), bytes.size());
    }

    InputFile& file_;
    bool is_little_;
};

} // namespace

void read_tiff_notes(InputFile& file, uint32_t page, PictureInfo& info)
{
    enum Tag : uint32_t { kOrientation = 274, kXResolution = 282, kYResolution = 283, kUnit = 296 };
    constexpr double kUnits[] = {0, 0, 1, 2.54};
    constexpr uint32_t kUsual = 2;
    const TiffNumbers numbers(file);
    const uint32_t directory = numbers.directory(page);
    const uint32_t entries = directory == 0 ? 0 : numbers.at(directory, 2);
    uint32_t unit = kUsual;
    double resolution[2] = {0, 0};
    for (uint32_t i = 0; i < entries; ++i) {
        const uint64_t entry = directory + uint64_t{2} + uint64_t{TiffNumbers::kEntry} * i;
        const uint32_t tag = numbers.at(entry, 2);
        const uint32_t word = numbers.at(entry + 8, 2);
        if (tag == kOrientation && word >= 1 && word <= 8) {
            info.orientation = static_cast<int32_t>(word);
        } else if (tag == kUnit) {
            unit = word;
        } else if (tag == kXResolution || tag == kYResolution) {
            resolution[tag - kXResolution] = numbers.rational(numbers.at(entry + 8, 4));
        }
    }
    constexpr double kMost = 1e6;
    if (unit < std::size(kUnits) && resolution[0] < kMost && resolution[1] < kMost) {
        info.x_resolution = static_cast<int32_t>(resolution[0] * kUnits[unit] + 0.5);
        info.y_resolution = static_cast<int32_t>(resolution[1] * kUnits[unit] + 0.5);
    }
}

bool png_is_whole(InputFile& file)
{
    constexpr int64_t kAround = 12; // a chunk's length, type and CRC
    int64_t at = 8;
    while (file.seek(at, SEEK_SET) == at) {
        const std::vector<uint8_t> head = take(file, 8);
        if (head.empty()) {
            return false;
        }
        at += kAround + number(head.data(), 4);
        if (std::memcmp(&head[4], "IEND", 4) == 0) {
            return file.seek(at - 1, SEEK_SET) == at - 1 && take(file, 1).size() == 1;
        }
    }
    return false;
}

bool jpeg_is_whole(InputFile& file)
{
    std::vector<uint8_t> part(size_t{1} << 16);
    uint8_t before = 0;
    file.seek(2, SEEK_SET);
    for (size_t count = file.read(part.data(), part.size()); count != 0; count = file.read(part.data(), part.size())) {
        for (size_t i = 0; i < count; before = part[i++]) {
            if (before == 0xFF && part[i] == 0xD9) {
                return true;
            }
        }
    }
    return false;
}

std::vector<uint8_t> png_notes(const PictureInfo& info, bool gray)
{
    std::vector<uint8_t> notes;
    if (is_profile_of(info.profile, gray)) {
        std::vector<uint8_t> data;
        append(data, std::string_view("ICC profile\0\0", 13)); // its name, and how it is packed
        const std::vector<uint8_t> packed = stored(info.profile);
        data.insert(data.end(), packed.begin(), packed.end());
        append_chunk(notes, "iCCP", data);
    }
    if (info.x_resolution > 0 && info.y_resolution > 0) {
        std::vector<uint8_t> data;
        for (const int32_t dpi : {info.x_resolution, info.y_resolution}) {
            append(data, static_cast<uint32_t>(dpi / kMetresPerInch + 0.5), 4);
        }
        data.push_back(1); // metres
        append_chunk(notes, "pHYs", data);
    }
    if (info.orientation != TOP_LEFT) {
        append_chunk(notes, "eXIf", write_exif({.orientation = info.orientation}));
    }
    return notes;
}

std::vector<uint8_t> jpeg_notes(const PictureInfo& info)
{
    constexpr size_t kMostPiece = 0xFFFF - 2 - 14;
    constexpr size_t kMostPieces = 255;
    std::vector<uint8_t> notes;
    if (info.orientation != TOP_LEFT) {
        const std::vector<uint8_t> exif = write_exif({.orientation = info.orientation});
        append(notes, 0xFFE1, 2);
        append(notes, static_cast<uint32_t>(2 + kExif.size() + exif.size()), 2);
        append(notes, kExif);
        notes.insert(notes.end(), exif.begin(), exif.end());
    }
    const size_t pieces = (info.profile.size() + kMostPiece - 1) / kMostPiece;
    for (size_t i = 0; i < pieces && pieces <= kMostPieces; ++i) {
        const size_t count = std::min(kMostPiece, info.profile.size() - i * kMostPiece);
        append(notes, 0xFFE2, 2);
        append(notes, static_cast<uint32_t>(2 + 14 + count), 2);
        append(notes, std::string_view(Profile::kName, sizeof Profile::kName));
        append(notes, static_cast<uint32_t>(i + 1), 1);
        append(notes, static_cast<uint32_t>(pieces), 1);
        const uint8_t* const piece = &info.profile[i * kMostPiece];
        notes.insert(notes.end(), piece, piece + count);
    }
    return notes;
}

} // namespace vk::tool
