// UTF-8 to wide characters and back: every code point, every kind of malformed text, every size of buffer.
#include "kernel/system/Text.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

constexpr bool kUtf16 = sizeof(wchar_t) == 2;

/// A code point in UTF-8, by the book.
std::string utf8(uint32_t code)
{
    const auto byte = [](uint32_t value) { return static_cast<char>(value); };
    if (code < 0x80)
        return {byte(code)};
    if (code < 0x800)
        return {byte(0xC0 | code >> 6), byte(0x80 | (code & 63))};
    if (code < 0x10000)
        return {byte(0xE0 | code >> 12), byte(0x80 | (code >> 6 & 63)), byte(0x80 | (code & 63))};
    return {byte(0xF0 | code >> 18), byte(0x80 | (code >> 12 & 63)), byte(0x80 | (code >> 6 & 63)),
            byte(0x80 | (code & 63))};
}

std::wstring wide(uint32_t code)
{
    if (!kUtf16 || code < 0x10000)
        return {static_cast<wchar_t>(code)};
    return {static_cast<wchar_t>(0xD800 + ((code - 0x10000) >> 10)),
            static_cast<wchar_t>(0xDC00 + ((code - 0x10000) & 0x3FF))};
}

TEST(Text, EveryCodePointThereAndBack)
{
    for (uint32_t code = 1; code <= 0x10FFFF; ++code) {
        std::string narrow = utf8(code);
        std::wstring broad = wide(code);
        narrow += 'z';
        broad += L'z';
        const bool is_surrogate = code >= 0xD800 && code <= 0xDFFF;
        wchar_t to_wide[8];
        char to_narrow[8];
        ASSERT_EQ(!is_surrogate, vk::utf8_to_wide(narrow.c_str(), to_wide, 8)) << code;
        ASSERT_EQ(!is_surrogate, vk::wide_to_utf8(broad.c_str(), to_narrow, 8)) << code;
        if (!is_surrogate) {
            ASSERT_EQ(broad, to_wide);
            ASSERT_EQ(narrow, to_narrow);
        }
    }
}

TEST(Text, MalformedIsRefused)
{
    const std::string lead[] = {"", "ab", "\xC3\xA9"};
    const std::string malformed[] = {"\x80",
                                     "\xBF",
                                     "\xC0\x80",
                                     "\xC1\xBF",
                                     "\xC3",
                                     "\xC3z",
                                     "\xE2\x82",
                                     "\xE2\x82z",
                                     "\xE0\x9F\xBF",
                                     "\xED\xA0\x80",
                                     "\xED\xBF\xBF",
                                     "\xF0\x9F\x98",
                                     "\xF0\x8F\xBF\xBF",
                                     "\xF4\x90\x80\x80",
                                     "\xF5\x80\x80\x80",
                                     "\xF8\x88\x80\x80\x80",
                                     "\xFE",
                                     "\xFF"};
    wchar_t out[32];
    for (const std::string& start : lead)
        for (const std::string& bad : malformed) {
            EXPECT_FALSE(vk::utf8_to_wide((start + bad).c_str(), out, 32));
            EXPECT_FALSE(vk::utf8_to_wide((start + bad + "xyz").c_str(), out, 32));
        }
    const auto unit = [](uint32_t value) { return static_cast<wchar_t>(value); };
    const std::wstring units[] = {{unit(0xD800)},
                                  {unit(0xDFFF)},
                                  {unit(0xDBFF), L'x'},
                                  {unit(0xDC00), unit(0xD800)},
                                  {unit(0xD800), unit(0xD800), unit(0xDC00)}};
    char narrow[32];
    for (const std::wstring& bad : units)
        EXPECT_FALSE(vk::wide_to_utf8(bad.c_str(), narrow, 32));
    if (!kUtf16) {
        for (const uint32_t beyond : {0x110000u, 0x7FFFFFFFu, 0xFFFFFFFFu})
            EXPECT_FALSE(vk::wide_to_utf8(std::wstring{unit(beyond)}.c_str(), narrow, 32));
    }
}

TEST(Text, FitsWithItsZeroOrNotAtAll)
{
    const std::string narrow = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";
    std::wstring broad = L"a\u00E9\u20AC";
    broad += wide(0x1F600);
    for (size_t room = 0; room < 14; ++room) {
        std::wstring to_wide(15, L'#');
        std::string to_narrow(15, '#');
        EXPECT_EQ(room > broad.size(), vk::utf8_to_wide(narrow.c_str(), to_wide.data(), room));
        EXPECT_EQ(room > narrow.size(), vk::wide_to_utf8(broad.c_str(), to_narrow.data(), room));
        EXPECT_EQ(L'#', to_wide[room]) << "nothing behind the room";
        EXPECT_EQ('#', to_narrow[room]);
    }
}

} // namespace
