// One colour written by whole cache lines.
#include "kernel/fill/FillRun.h"

#include <immintrin.h>

namespace vk::fill {

void stream_pattern_avx512(uint8_t* to, const uint8_t* pattern, size_t lines) noexcept
{
    const __m512i parts[3] = {_mm512_loadu_si512(pattern), _mm512_loadu_si512(pattern + 64),
                              _mm512_loadu_si512(pattern + 128)};
    const auto put = [](uint8_t* at, __m512i value) noexcept {
        _mm512_stream_si512(reinterpret_cast<__m512i*>(at), value);
    };
    size_t line = 0;
    for (; line + 3 <= lines; line += 3, to += 192) {
        put(to, parts[0]);
        put(to + 64, parts[1]);
        put(to + 128, parts[2]);
    }
    for (size_t i = 0; line + i < lines; ++i)
        put(to + 64 * i, parts[i]);
}

} // namespace vk::fill
