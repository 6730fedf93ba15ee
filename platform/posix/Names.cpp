// File names between wchar_t, here one Unicode code point each, and the UTF-8 the system takes.
//
// Strict both ways: surrogates, overlong forms and values past U+10FFFF are refused, so that a name has one spelling.
#include "platform/posix/Posix.h"

namespace vk::backend::posix {

static_assert(sizeof(wchar_t) == 4);

namespace {

constexpr uint32_t kLastCodePoint = 0x10FFFF;

bool is_code_point(uint32_t value) noexcept
{
    return value <= kLastCodePoint && (value < 0xD800 || value > 0xDFFF);
}

size_t utf8_length(uint32_t code) noexcept
{
    return code < 0x80 ? 1 : code < 0x800 ? 2 : code < 0x10000 ? 3 : 4;
}

void put_utf8(uint32_t code, size_t length, char* out) noexcept
{
    constexpr uint32_t kLead[5] = {0, 0, 0xC0, 0xE0, 0xF0};
    for (size_t i = length - 1; i > 0; --i) {
        out[i] = static_cast<char>(0x80 | (code & 0x3F));
        code >>= 6;
    }
    out[0] = static_cast<char>(kLead[length] | code);
}

/// Reads one code point and moves past it; false for bytes that are not UTF-8. The final zero ends a cut sequence.
bool get_utf8(const unsigned char*& in, uint32_t& code) noexcept
{
    const uint32_t lead = *in++;
    if (lead < 0x80) {
        code = lead;
        return true;
    }
    const size_t length = lead >= 0xF0 && lead < 0xF8 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead >= 0xF8)
        return false;
    code = lead & (0x7Fu >> length);
    for (size_t i = 1; i < length; ++i) {
        if ((*in & 0xC0) != 0x80)
            return false;
        code = code << 6 | (*in++ & 0x3Fu);
    }
    return is_code_point(code) && utf8_length(code) == length;
}

} // namespace

Status to_utf8(const wchar_t* text, char* utf8, size_t room) noexcept
{
    if (text == nullptr)
        return Status::bad_name;
    size_t used = 0;
    for (; *text != 0; ++text) {
        const auto code = static_cast<uint32_t>(*text);
        if (!is_code_point(code))
            return Status::bad_name;
        const size_t length = utf8_length(code);
        if (length >= room - used)
            return Status::bad_name;
        put_utf8(code, length, utf8 + used);
        used += length;
    }
    utf8[used] = 0;
    return Status::ok;
}

Status from_utf8(const char* utf8, wchar_t* text, size_t room) noexcept
{
    const auto* in = reinterpret_cast<const unsigned char*>(utf8);
    size_t used = 0;
    while (*in != 0) {
        uint32_t code = 0;
        if (!get_utf8(in, code))
            return Status::bad_name;
        if (used + 1 >= room)
            return Status::too_long;
        text[used++] = static_cast<wchar_t>(code);
    }
    if (used >= room)
        return Status::too_long;
    text[used] = 0;
    return Status::ok;
}

} // namespace vk::backend::posix
