#include "PixelWeave.h"

#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace fxhost {

void PixelWeave::split(const uint8_t* argb, uint8_t* r, uint8_t* g, uint8_t* b, uint8_t* a, size_t count) {
    size_t x = 0;
#ifdef __SSE2__
    // 16 pixels a step: each channel is shifted to the low byte of its 32-bit lane, masked, and
    // packed down twice (the values fit, so the saturating packs never saturate).
    const __m128i low = _mm_set1_epi32(0xFF);
    for (; x + 16 <= count; x += 16) {
        __m128i p[4];
        for (int i = 0; i < 4; ++i) p[i] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(argb + 4 * x + 16 * i));
        uint8_t* planes[4] = {a, r, g, b};
        for (int c = 0; c < 4; ++c) {
            __m128i q[4];
            for (int i = 0; i < 4; ++i) q[i] = _mm_and_si128(_mm_srli_epi32(p[i], 8 * c), low);
            const __m128i words = _mm_packus_epi16(_mm_packs_epi32(q[0], q[1]), _mm_packs_epi32(q[2], q[3]));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(planes[c] + x), words);
        }
    }
#endif
    for (; x < count; ++x) {
        const uint8_t* p = argb + 4 * x;
        a[x] = p[0];
        r[x] = p[1];
        g[x] = p[2];
        b[x] = p[3];
    }
}

void PixelWeave::weave(const uint8_t* r, const uint8_t* g, const uint8_t* b, const uint8_t* a, uint8_t* argb,
                       size_t count) {
    size_t x = 0;
#ifdef __SSE2__
    const __m128i opaque = _mm_set1_epi8(static_cast<char>(0xFF));
    for (; x + 16 <= count; x += 16) {
        const __m128i va = a ? _mm_loadu_si128(reinterpret_cast<const __m128i*>(a + x)) : opaque;
        const __m128i vr = _mm_loadu_si128(reinterpret_cast<const __m128i*>(r + x));
        const __m128i vg = _mm_loadu_si128(reinterpret_cast<const __m128i*>(g + x));
        const __m128i vb = _mm_loadu_si128(reinterpret_cast<const __m128i*>(b + x));
        const __m128i arLow = _mm_unpacklo_epi8(va, vr), arHigh = _mm_unpackhi_epi8(va, vr);
        const __m128i gbLow = _mm_unpacklo_epi8(vg, vb), gbHigh = _mm_unpackhi_epi8(vg, vb);
        __m128i* out = reinterpret_cast<__m128i*>(argb + 4 * x);
        _mm_storeu_si128(out, _mm_unpacklo_epi16(arLow, gbLow));
        _mm_storeu_si128(out + 1, _mm_unpackhi_epi16(arLow, gbLow));
        _mm_storeu_si128(out + 2, _mm_unpacklo_epi16(arHigh, gbHigh));
        _mm_storeu_si128(out + 3, _mm_unpackhi_epi16(arHigh, gbHigh));
    }
#endif
    for (; x < count; ++x) {
        uint8_t* p = argb + 4 * x;
        p[0] = a ? a[x] : 255;
        p[1] = r[x];
        p[2] = g[x];
        p[3] = b[x];
    }
}

void PixelWeave::widen(const uint8_t* in, uint16_t* out, size_t count, int depth) {
    const uint32_t top = (1u << depth) - 1;
    for (size_t x = 0; x < count; ++x) out[x] = static_cast<uint16_t>((in[x] * top + 127) / 255);
}

void PixelWeave::narrow(const uint16_t* in, uint8_t* out, size_t count, int depth) {
    const uint32_t top = (1u << depth) - 1;
    for (size_t x = 0; x < count; ++x) {
        const uint32_t v = in[x] > top ? top : in[x];
        out[x] = static_cast<uint8_t>((v * 255 + top / 2) / top);
    }
}

}  // namespace fxhost
