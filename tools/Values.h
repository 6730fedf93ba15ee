/**
 * @file Values.h
 * Option values: words out of a list, and numbers.
 */
#ifndef VK_TOOLS_VALUES_H
#define VK_TOOLS_VALUES_H

#include "tools/Command.h"
#include "tools/Failure.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <iterator>
#include <optional>
#include <string>

namespace vk::tool {

/** A word and what it stands for. */
template <class T> struct Word {
    const char* word;
    T value;
};

template <class T, size_t N> const Word<T>* find_word(const Word<T> (&words)[N], const std::string& text)
{
    const auto found = std::find_if(std::begin(words), std::end(words), [&](const auto& w) { return text == w.word; });
    return found == std::end(words) ? nullptr : found;
}

template <class T, size_t N> T require_word(const Word<T> (&words)[N], const char* option, const std::string& text)
{
    const Word<T>* const found = find_word(words, text);
    if (found == nullptr) {
        throw UsageError(std::string(option) + " does not know " + text);
    }
    return found->value;
}

/** The whole text as a number of the type; false when it is not one. */
template <class T> bool parse_number(const std::string& text, T& value, int base = 10)
{
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    return error == std::errc() && end == text.data() + text.size();
}

inline bool parse_number(const std::string& text, double& value)
{
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size();
}

/** An option's whole number within limits. */
inline int32_t number_option(const Arguments& arguments, const char* option, int32_t otherwise, int32_t least,
                             int32_t most)
{
    int32_t value = otherwise;
    const std::optional<std::string> text = arguments.value(option);
    if (text && (!parse_number(*text, value) || value < least || value > most)) {
        throw UsageError(std::string(option) + " needs a number from " + std::to_string(least) + " to " +
                         std::to_string(most));
    }
    return value;
}

/** The --tolerance option: how far channels of 8 bits may be apart. */
inline uint32_t tolerance_option(const Arguments& arguments)
{
    return static_cast<uint32_t>(number_option(arguments, "--tolerance", 0, 0, 255));
}

/** An option's number, at least 1. */
inline int32_t count_option(const Arguments& arguments, const char* option, int32_t otherwise)
{
    int32_t value = otherwise;
    const std::optional<std::string> text = arguments.value(option);
    if (text && (!parse_number(*text, value) || value < 1)) {
        throw UsageError(std::string(option) + " needs a number of at least 1");
    }
    return value;
}

/** A colour of six hexadecimal digits; nothing when the option is not there. */
inline std::optional<COLORREF> color_option(const Arguments& arguments, const char* option)
{
    const std::optional<std::string> text = arguments.value(option);
    uint32_t rgb = 0;
    if (!text) {
        return std::nullopt;
    }
    if (text->size() != 6 || !parse_number(*text, rgb, 16)) {
        throw UsageError(std::string(option) + " needs six hexadecimal digits");
    }
    return (rgb & 0xFF) << 16 | (rgb & 0xFF00) | rgb >> 16;
}

/** The --fill option. */
inline COLORREF fill_option(const Arguments& arguments)
{
    return color_option(arguments, "--fill").value_or(0);
}

/** So many whole numbers with commas between them; nothing when the option is not there. */
template <size_t kCount>
std::optional<std::array<int32_t, kCount>> integers_option(const Arguments& arguments, const char* option)
{
    const std::optional<std::string> text = arguments.value(option);
    if (!text) {
        return std::nullopt;
    }
    std::array<int32_t, kCount> numbers{};
    size_t at = 0;
    for (size_t i = 0; i < kCount; ++i) {
        const size_t end = i + 1 < kCount ? text->find(',', at) : text->size();
        if (end == std::string::npos || at > text->size() || !parse_number(text->substr(at, end - at), numbers[i])) {
            throw UsageError(std::string(option) + " needs " + std::to_string(kCount) + " whole numbers");
        }
        at = end + 1;
    }
    return numbers;
}

/** A width and a height; 0 for one that is not given. */
struct Sides {
    int32_t width = 0;
    int32_t height = 0;
};

/** The --size option: WxH, Wx or xH; nothing when it is not there. */
inline std::optional<Sides> size_option(const Arguments& arguments)
{
    const std::optional<std::string> text = arguments.value("--size");
    if (!text) {
        return std::nullopt;
    }
    Sides sides;
    const size_t cross = text->find('x');
    const auto read = [](const std::string& digits, int32_t& side) {
        return digits.empty() || (parse_number(digits, side) && side > 0);
    };
    if (cross == std::string::npos || text->size() == 1 || !read(text->substr(0, cross), sides.width) ||
        !read(text->substr(cross + 1), sides.height)) {
        throw UsageError("--size needs WxH, Wx or xH");
    }
    return sides;
}

/** The --rect option: left, top, width and height. */
inline std::optional<RECT> rect_option(const Arguments& arguments)
{
    const auto numbers = integers_option<4>(arguments, "--rect");
    if (!numbers) {
        return std::nullopt;
    }
    const auto [left, top, width, height] = *numbers;
    constexpr int32_t kMost = 1 << 30;
    if (std::abs(left) > kMost || std::abs(top) > kMost || width < 1 || width > kMost || height < 1 || height > kMost) {
        throw UsageError("--rect needs left, top, width and height");
    }
    return RECT{left, top, left + width, top + height};
}

} // namespace vk::tool

#endif
