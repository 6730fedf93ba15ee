/**
 * @file Values.h
 * Option values: words out of a list, and numbers.
 */
#ifndef VK_TOOLS_VALUES_H
#define VK_TOOLS_VALUES_H

#include "tools/Command.h"
#include "tools/Failure.h"

#include <algorithm>
#include <charconv>
#include <iterator>
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

/** The --fill option. */
inline COLORREF fill_option(const Arguments& arguments)
{
    const std::optional<std::string> text = arguments.value("--fill");
    uint32_t rgb = 0;
    if (text && (text->size() != 6 || !parse_number(*text, rgb, 16))) {
        throw UsageError("--fill needs six hexadecimal digits");
    }
    return (rgb & 0xFF) << 16 | (rgb & 0xFF00) | rgb >> 16;
}

} // namespace vk::tool

#endif
