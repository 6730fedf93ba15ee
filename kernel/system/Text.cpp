#include "kernel/system/Text.h"

#include <cstdint>

namespace vk {

namespace {

constexpr bool kWideIsUtf16 = sizeof(wchar_t) == 2;
constexpr uint32_t kMalformed = 0xFFFFFFFF;

bool is_surrogate(uint32_t code) noexcept
{
    return code >= 0xD800 && code <= 0xDFFF;
}

/// Reads one code point and moves `text` behind it.
uint32_t next_utf8(const char*& text) noexcept
{
    const auto byte = [&](int i) { return static_cast<uint8_t>(text[i]); };
    const uint8_t lead = byte(0);
    if (lead < 0x80) {
        ++text;
        return lead;
    }
    const int length = lead >= 0xF0 && lead <= 0xF4  ? 4
                       : lead >= 0xE0 && lead < 0xF0 ? 3
                       : lead >= 0xC2 && lead < 0xE0 ? 2
                                                     : 0;
    if (length == 0)
        return kMalformed;
    uint32_t code = lead & (0x7Fu >> length);
    for (int i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) // also stops at the final zero
            return kMalformed;
        code = code << 6 | (byte(i) & 0x3Fu);
    }
    constexpr uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    if (code < kLeast[length] || code > 0x10FFFF || is_surrogate(code))
        return kMalformed;
    text += length;
    return code;
}

uint32_t next_wide(const wchar_t*& text) noexcept
{
    const uint32_t unit = static_cast<uint32_t>(*text++) & (kWideIsUtf16 ? 0xFFFFu : 0xFFFFFFFFu);
    if (!is_surrogate(unit))
        return unit <= 0x10FFFF ? unit : kMalformed;
    if (!kWideIsUtf16 || unit >= 0xDC00)
        return kMalformed;
    const uint32_t low = static_cast<uint32_t>(*text) & 0xFFFFu;
    if (low < 0xDC00 || low > 0xDFFF)
        return kMalformed;
    ++text;
    return 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
}

} // namespace

bool utf8_to_wide(const char* text, wchar_t* out, size_t capacity) noexcept
{
    size_t used = 0;
    for (;;) {
        const uint32_t code = next_utf8(text);
        const size_t units = kWideIsUtf16 && code > 0xFFFF ? 2 : 1;
        if (code == kMalformed || used + units > capacity)
            return false;
        if (units == 2) {
            out[used] = static_cast<wchar_t>(0xD800 + ((code - 0x10000) >> 10));
            out[used + 1] = static_cast<wchar_t>(0xDC00 + ((code - 0x10000) & 0x3FF));
        } else {
            out[used] = static_cast<wchar_t>(code);
        }
        used += units;
        if (code == 0)
            return true;
    }
}

bool wide_to_utf8(const wchar_t* text, char* out, size_t capacity) noexcept
{
    size_t used = 0;
    for (;;) {
        const uint32_t code = next_wide(text);
        if (code == kMalformed)
            return false;
        const int length = code < 0x80 ? 1 : code < 0x800 ? 2 : code < 0x10000 ? 3 : 4;
        if (used + static_cast<size_t>(length) > capacity)
            return false;
        constexpr uint8_t kLead[] = {0, 0x00, 0xC0, 0xE0, 0xF0};
        for (int i = 0; i < length; ++i) {
            const uint32_t bits = code >> (6 * (length - 1 - i));
            out[used++] = static_cast<char>(i == 0 ? (kLead[length] | bits) : (0x80u | (bits & 0x3Fu)));
        }
        if (code == 0)
            return true;
    }
}

} // namespace vk
