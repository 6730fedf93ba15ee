// YUV pictures in real numbers: where each code's samples are, told by texts of its own, and what colours they mean.
#pragma once

#include "Vkyuv.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/TestBitmap.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace vk::testing {

/// A code. Packed bytes: a group as letters and the number of each sample in the group; planes: their letters, by
/// blanks.
struct YuvCode {
    const char* code;
    const char* lies;
    int bits;
    int across, down; ///< pixels for a chroma sample
    int luma = 1;     ///< pixels for a luma sample
};

constexpr YuvCode kYuvCodes[] = {
    {"YUY2", "Y0U0Y1V0", 8, 2, 1},    {"UYVY", "U0Y0V0Y1", 8, 2, 1},
    {"cyuv", "U0Y0V0Y1", 8, 2, 1},    {"Y42T", "U0Y0V0Y1", 8, 2, 1},
    {"YVYU", "Y0V0Y1U0", 8, 2, 1},    {"Y41P", "U0Y0V0Y1U1Y2V1Y3Y4Y5Y6Y7", 8, 4, 1},
    {"Y211", "Y0U0Y1V0", 8, 4, 1, 2}, {"Y41T", "U0Y0V0Y1U1Y2V1Y3Y4Y5Y6Y7", 8, 4, 1},
    {"AYUV", "V0U0Y0A0", 8, 1, 1},    {"I420", "Y U V", 8, 2, 2},
    {"IYUV", "Y U V", 8, 2, 2},       {"YV12", "Y V U", 8, 2, 2},
    {"I422", "Y U V", 8, 2, 1},       {"YV16", "Y V U", 8, 2, 1},
    {"I444", "Y U V", 8, 1, 1},       {"YVU9", "Y V U", 8, 4, 4},
    {"IF09", "Y V U", 8, 4, 4},       {"NV12", "Y UV", 8, 2, 2},
    {"NV21", "Y VU", 8, 2, 2},        {"P010", "Y UV", 10, 2, 2},
    {"P016", "Y UV", 16, 2, 2},       {"Y410", "fields", 10, 1, 1},
    {"Y416", "words", 16, 1, 1},      {"Y800", "Y", 8, 0, 0},
    {"Y16 ", "Y", 16, 0, 0},
};

inline uint32_t number_of(const char* code)
{
    uint32_t number = 0;
    std::memcpy(&number, code, sizeof number);
    return number;
}

/// A picture in memory that ends, or begins, at a page that may not be touched. Rows have gaps.
struct TestPicture {
    V_YUVPICTURE picture{};
    uint64_t bytes = 0;
    std::vector<std::unique_ptr<GuardedBuffer>> planes;

    TestPicture(const YuvCode& code, int32_t width, int32_t height, TestRandom& random)
    {
        const auto edge = random.one_in(2) ? GuardedBuffer::Edge::front : GuardedBuffer::Edge::back;
        const auto gap = static_cast<int64_t>(random.below(5));
        picture.StructSize = sizeof picture;
        picture.Code = number_of(code.code);
        picture.Width = width;
        picture.Height = height;
        bytes = V_GetYuvSize(&picture);
        EXPECT_NE(0u, bytes);
        for (int i = 0; i < 4 && picture.Strides[i] != 0; ++i) {
            const int64_t row = picture.Strides[i];
            const int64_t rows = i == 0 ? height : (height + code.down - 1) / code.down;
            picture.Strides[i] += gap;
            planes.push_back(
                std::make_unique<GuardedBuffer>(static_cast<size_t>(picture.Strides[i] * (rows - 1) + row), edge));
            picture.Planes[i] = planes.back()->data();
        }
    }
    void fill(TestRandom& random)
    {
        for (const auto& plane : planes)
            random.fill(plane->data(), plane->size());
    }
};

/// Where a sample is.
struct SamplePlace {
    int plane = 0;
    int64_t row = 0;
    int64_t byte = 0;
    int shift = 0; ///< of a sample of more than 8 bits
};

inline SamplePlace place_of(const YuvCode& code, char letter, int64_t x, int64_t y)
{
    const std::string lies = code.lies;
    const int bytes = code.bits > 8 ? 2 : 1;
    if (lies == "fields")
        return {0, y, 4 * x, letter == 'U' ? 0 : letter == 'Y' ? 10 : letter == 'V' ? 20 : 30};
    if (lies == "words")
        return {0, y, 8 * x + 2 * static_cast<int64_t>(std::string("UYVA").find(letter))};
    if (std::isdigit(lies[1])) {
        const int64_t in_group = std::count(lies.begin(), lies.end(), letter);
        for (size_t i = 0; i < lies.size(); i += 2)
            if (lies[i] == letter && lies[i + 1] - '0' == x % in_group)
                return {0, y, x / in_group * static_cast<int64_t>(lies.size() / 2) + static_cast<int64_t>(i / 2)};
    }
    const size_t at = lies.find(letter);
    const int plane = static_cast<int>(std::count(lies.begin(), lies.begin() + static_cast<ptrdiff_t>(at), ' '));
    const size_t start = lies.rfind(' ', at) == std::string::npos ? 0 : lies.rfind(' ', at) + 1;
    const size_t width = std::min(lies.find(' ', at), lies.size()) - start;
    return {plane, y, (x * static_cast<int64_t>(width) + static_cast<int64_t>(at - start)) * bytes, 16 - code.bits};
}

/// What a picture's samples and colours are in real numbers.
class YuvReference {
public:
    YuvReference(const YuvCode& code, const V_YUVPICTURE& picture) : code_(code), picture_(picture)
    {
        constexpr double kWeights[][2] = {{0.299, 0.114}, {0.2126, 0.0722}, {0.2627, 0.0593}};
        kr_ = kWeights[picture.Matrix][0];
        kb_ = kWeights[picture.Matrix][1];
        const double values = std::ldexp(1, code.bits);
        const bool full = picture.Range == YUVRANGE_FULL;
        black_ = full ? 0 : values / 16;
        luma_ = full ? values - 1 : 219 * values / 256;
        chroma_ = full ? values - 1 : 224 * values / 256;
        neutral_ = values / 2;
        most_ = values - 1;
    }

    double sample(char letter, int64_t x, int64_t y) const
    {
        const SamplePlace at = place_of(code_, letter, x, y);
        const auto* const from =
            static_cast<const uint8_t*>(picture_.Planes[at.plane]) + picture_.Strides[at.plane] * at.row + at.byte;
        if (code_.bits == 8)
            return *from;
        if (std::string(code_.lies) == "fields")
            return (from[0] | from[1] << 8 | from[2] << 16 | static_cast<uint32_t>(from[3]) << 24) >> at.shift &
                   (letter == 'A' ? 3u : 1023u);
        return (from[0] | from[1] << 8) >> (std::string(code_.lies) == "words" || letter == 'A' ? 0 : at.shift);
    }

    /// Chroma at a pixel.
    double chroma(char letter, int x, int y) const
    {
        const auto along = [&](int at, int step, int size, bool centered, double& part) {
            const double place = centered ? (at - (step - 1) / 2.0) / step : at / static_cast<double>(step);
            const double low = std::floor(place);
            part = place - low;
            const int last = (size + step - 1) / step - 1;
            return std::pair{std::clamp(static_cast<int>(low), 0, last),
                             std::clamp(static_cast<int>(low) + 1, 0, last)};
        };
        double right = 0, lower = 0;
        const auto [x0, x1] = along(x, code_.across, picture_.Width, picture_.Siting == YUVSITING_CENTER, right);
        const auto [y0, y1] = along(y, code_.down, picture_.Height, true, lower);
        const double top = sample(letter, x0, y0) * (1 - right) + sample(letter, x1, y0) * right;
        const double bottom = sample(letter, x0, y1) * (1 - right) + sample(letter, x1, y1) * right;
        return top * (1 - lower) + bottom * lower;
    }

    /// Blue, green, red of a pixel, of colours up to `most`.
    std::array<double, 3> color(int x, int y, double most) const
    {
        const double level = (sample('Y', x / code_.luma, y) - black_) / luma_;
        const double u = code_.across == 0 ? 0 : (chroma('U', x, y) - neutral_) / chroma_;
        const double v = code_.across == 0 ? 0 : (chroma('V', x, y) - neutral_) / chroma_;
        const double blue = level + 2 * (1 - kb_) * u;
        const double red = level + 2 * (1 - kr_) * v;
        const double green = (level - kr_ * red - kb_ * blue) / (1 - kr_ - kb_);
        std::array<double, 3> bgr{blue, green, red};
        for (double& channel : bgr)
            channel = std::clamp(channel, 0.0, 1.0) * most;
        return bgr;
    }

    using Color = std::array<double, 3>; // blue, green, red up to 1

    double luma_of(const Color& c) const { return black_ + luma_ * level_of(c); }
    /// A chroma sample of colours `at(x, y)`.
    template <class At> double chroma_of(char letter, int k, int r, At at) const
    {
        double sum = 0, weights = 0;
        const bool centered = picture_.Siting == YUVSITING_CENTER;
        const int s = code_.across;
        for (int j = 0; j < code_.down; ++j)
            for (int i = centered ? 0 : 1 - s; i < s; ++i) {
                const double weight = centered ? 1 : s - std::abs(i);
                const Color c =
                    at(std::clamp(k * s + i, 0, picture_.Width - 1), std::min(r * code_.down + j, picture_.Height - 1));
                sum += weight * (letter == 'U' ? (c[0] - level_of(c)) / (2 * (1 - kb_))
                                               : (c[2] - level_of(c)) / (2 * (1 - kr_)));
                weights += weight;
            }
        return std::clamp(neutral_ + chroma_ * sum / weights, 0.0, most_);
    }

private:
    double level_of(const Color& c) const { return kb_ * c[0] + (1 - kb_ - kr_) * c[1] + kr_ * c[2]; }

    const YuvCode& code_;
    const V_YUVPICTURE& picture_;
    double kr_, kb_, black_, luma_, chroma_, neutral_, most_;
};

} // namespace vk::testing
