// 64 neighbouring samples as bit masks, and the greatest of those that a mask picks. Bit n stands
// for the n-th sample, so older samples are lower bits. For processors with SSE2.
//
//   window   oldest                                                     newest
//            |......|<---- word 1 ---->|<---- word 0 ---->|             Count - 1
//                   base               base           base + 63
//   bit              0              63  0               63
//
//   samples    -5 -2  3 40 70 31 -4 -60 -9  6 ...     (older to newer)
//   Negative    1  1  0  0  0  0  1  1  1  0          below 0
//   Strong      0  0  0  0  1  0  0  1  0  0          here above 50 or below -50
//   crossings   0  0  1  0  0  0  0  0  0  1          ~Negative & (Negative << 1)
//
// The scan goes from the newest sample to the oldest, so from word 0 on and from the top bit down.
// A cycle is a stretch between crossings in which a strong sample of each sign stands.
#pragma once

#include <cstdint>
#include <emmintrin.h>

namespace Sonorel {

struct SampleMasks {
    std::uint64_t Negative; // below 0
    std::uint64_t Strong;   // above the high level or below the low one
};

namespace lanes {

inline __m128i Load(const std::int16_t* at) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
}

// Sign bits of 16 bytes.
inline std::uint64_t Signs(__m128i bytes) {
    return static_cast<unsigned>(_mm_movemask_epi8(bytes));
}

} // namespace lanes

// A high level of -1 or more and a low one of 0 or less: strong samples are high or low by their
// sign. Levels within a byte's range are compared after narrowing the samples to bytes, which
// saturates and so keeps order and sign.
class NarrowLevels {
public:
    static constexpr std::int32_t NoLow = -128; // a low level that nothing is below
    static bool Fit(std::int32_t high, std::int32_t low) { return high <= 126 && low >= -127; }

    NarrowLevels(std::int32_t high, std::int32_t low)
        : High(_mm_set1_epi8(static_cast<char>(high))), Low(_mm_set1_epi8(static_cast<char>(low))) {
    }

    SampleMasks Of(const std::int16_t* samples) const {
        SampleMasks masks{};
        for (int k = 0; k < 64; k += 16) {
            const __m128i bytes =
                _mm_packs_epi16(lanes::Load(samples + k), lanes::Load(samples + k + 8));
            masks.Negative |= lanes::Signs(bytes) << k;
            const __m128i strong =
                _mm_or_si128(_mm_cmpgt_epi8(bytes, High), _mm_cmpgt_epi8(Low, bytes));
            masks.Strong |= lanes::Signs(strong) << k;
        }
        return masks;
    }

private:
    __m128i High;
    __m128i Low;
};

// Any level of 16 bits.
class WideLevels {
public:
    static constexpr std::int32_t NoLow = -32768;

    WideLevels(std::int32_t high, std::int32_t low)
        : High(_mm_set1_epi16(static_cast<std::int16_t>(high))),
          Low(_mm_set1_epi16(static_cast<std::int16_t>(low))) {}

    SampleMasks Of(const std::int16_t* samples) const {
        SampleMasks masks{};
        for (int k = 0; k < 64; k += 16) {
            const __m128i a = lanes::Load(samples + k);
            const __m128i b = lanes::Load(samples + k + 8);
            masks.Negative |= lanes::Signs(_mm_packs_epi16(a, b)) << k;
            masks.Strong |= lanes::Signs(_mm_packs_epi16(Beyond(a), Beyond(b))) << k;
        }
        return masks;
    }

private:
    __m128i Beyond(__m128i samples) const {
        return _mm_or_si128(_mm_cmpgt_epi16(samples, High), _mm_cmpgt_epi16(Low, samples));
    }

    __m128i High;
    __m128i Low;
};

// Finds the greatest of many samples, or the smallest, and where it is. Samples come in groups of
// eight in descending order of place, so that of equal ones the one at the highest place wins.
class PeakSearch {
public:
    explicit PeakSearch(bool smallest) : Flip(_mm_set1_epi16(smallest ? -1 : 0)) {}

    // Eight samples, the first of them at place, which is below 2^15; picked: a bit for each that
    // counts. A picked sample is above 0, or when looking for the smallest below -1.
    void Look(const std::int16_t* samples, std::int32_t place, unsigned picked) {
        const __m128i bits = _mm_setr_epi16(1, 2, 4, 8, 16, 32, 64, 128);
        const __m128i spread =
            _mm_and_si128(_mm_set1_epi16(static_cast<std::int16_t>(picked)), bits);
        const __m128i values =
            _mm_and_si128(_mm_xor_si128(lanes::Load(samples), Flip), _mm_cmpeq_epi16(spread, bits));
        const __m128i better = _mm_cmpgt_epi16(values, Best);
        const __m128i here = _mm_set1_epi16(static_cast<std::int16_t>(place));
        Best = _mm_max_epi16(Best, values);
        Places = _mm_or_si128(_mm_and_si128(better, here), _mm_andnot_si128(better, Places));
    }

    // Place of the winner, if anything was picked.
    std::int32_t Place() const {
        const __m128i winners = _mm_cmpeq_epi16(Best, Greatest(Best));
        const __m128i exact = _mm_add_epi16(Places, _mm_setr_epi16(0, 1, 2, 3, 4, 5, 6, 7));
        return _mm_extract_epi16(Greatest(_mm_and_si128(winners, exact)), 0);
    }

private:
    // The greatest of eight, in each of them.
    static __m128i Greatest(__m128i v) {
        v = _mm_max_epi16(v, _mm_shuffle_epi32(v, _MM_SHUFFLE(1, 0, 3, 2)));
        v = _mm_max_epi16(v, _mm_shuffle_epi32(v, _MM_SHUFFLE(2, 3, 0, 1)));
        return _mm_max_epi16(v, _mm_shufflehi_epi16(_mm_shufflelo_epi16(v, _MM_SHUFFLE(2, 3, 0, 1)),
                                                    _MM_SHUFFLE(2, 3, 0, 1)));
    }

    __m128i Flip;
    __m128i Best = _mm_setzero_si128();
    __m128i Places = _mm_setzero_si128();
};

} // namespace Sonorel
