// UTF-8 to wide characters and back, as the kernel does it and as the POSIX back end does for names: every code point,
// every kind of malformed text, every size of buffer.
#include "kernel/system/Text.h"
#include "tests/support/TestBitmap.h"

#if !defined(_WIN32)
#include "platform/posix/Posix.h"
#endif

namespace {

constexpr bool kUtf16 = sizeof(wchar_t) == 2;

struct Converter {
    bool (*to_wide)(const char* text, wchar_t* out, size_t capacity);
    bool (*to_narrow)(const wchar_t* text, char* out, size_t capacity);
};

constexpr Converter kConverters[] = {
    {vk::utf8_to_wide, vk::wide_to_utf8},
#if !defined(_WIN32)
    {[](const char* text, wchar_t* out, size_t capacity) {
         return vk::backend::posix::from_utf8(text, out, capacity) == vk::Status::ok;
     },
     [](const wchar_t* text, char* out, size_t capacity) {
         return vk::backend::posix::to_utf8(text, out, capacity) == vk::Status::ok;
     }},
#endif
};

/// A code point in UTF-8, by the book.
std::string utf8(uint32_t code)
{
    const auto byte = [](uint32_t value) { return static_cast<char>(value); };
    const auto rest = [&](uint32_t shift) { return byte(0x80 | (code >> shift & 63)); };
    if (code < 0x80)
        return {byte(code)};
    if (code < 0x800)
        return {byte(0xC0 | code >> 6), rest(0)};
    if (code < 0x10000)
        return {byte(0xE0 | code >> 12), rest(6), rest(0)};
    return {byte(0xF0 | code >> 18), rest(12), rest(6), rest(0)};
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
    for (const Converter& converter : kConverters)
        for (uint32_t code = 1; code <= 0x10FFFF; ++code) {
            const std::string narrow = utf8(code) + 'z';
            const std::wstring broad = wide(code) + L'z';
            const bool is_surrogate = code >= 0xD800 && code <= 0xDFFF;
            wchar_t to_wide[8];
            char to_narrow[8];
            ASSERT_EQ(!is_surrogate, converter.to_wide(narrow.c_str(), to_wide, 8)) << code;
            ASSERT_EQ(!is_surrogate, converter.to_narrow(broad.c_str(), to_narrow, 8)) << code;
            ASSERT_TRUE(is_surrogate || (broad == to_wide && narrow == to_narrow)) << code;
        }
}

TEST(Text, MalformedIsRefused)
{
    constexpr const char* kMalformed[] = {"\x80",
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
    const auto unit = [](uint32_t value) { return static_cast<wchar_t>(value); };
    std::vector<std::wstring> units = {{unit(0xD800)},
                                       {unit(0xDFFF)},
                                       {unit(0xDBFF), L'x'},
                                       {unit(0xDC00), unit(0xD800)},
                                       {unit(0xD800), unit(0xD800), unit(0xDC00)}};
    if (!kUtf16)
        units.insert(units.end(), {{unit(0x110000)}, {unit(0x7FFFFFFF)}, {unit(0xFFFFFFFF)}});
    wchar_t out[32];
    char narrow[32];
    for (const Converter& converter : kConverters) {
        for (const std::string start : {"", "ab", "\xC3\xA9"})
            for (const char* bad : kMalformed)
                for (const char* end : {"", "xyz"})
                    EXPECT_FALSE(converter.to_wide((start + bad + end).c_str(), out, 32)) << start << bad << end;
        for (const std::wstring& bad : units)
            EXPECT_FALSE(converter.to_narrow(bad.c_str(), narrow, 32));
    }
}

TEST(Text, FitsWithItsZeroOrNotAtAll)
{
    const std::string narrow = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";
    const std::wstring broad = L"a\u00E9\u20AC" + wide(0x1F600);
    for (const Converter& converter : kConverters)
        for (size_t room = 0; room < 14; ++room) {
            std::wstring to_wide(15, L'#');
            std::string to_narrow(15, '#');
            EXPECT_EQ(room > broad.size(), converter.to_wide(narrow.c_str(), to_wide.data(), room));
            EXPECT_EQ(room > narrow.size(), converter.to_narrow(broad.c_str(), to_narrow.data(), room));
            EXPECT_EQ(L'#', to_wide[room]) << "nothing behind the room";
            EXPECT_EQ('#', to_narrow[room]);
        }
}

} // namespace
