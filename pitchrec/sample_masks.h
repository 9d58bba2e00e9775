// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Compares 64 consecutive samples at a time with SSE2, and finds the largest of selected samples.
// The result of a comparison is a word of 64 bits: bit n belongs to the n-th sample, so lower bits
// belong to older samples.
//
//   window   oldest                                                     newest
//            |......|<---- word 1 ---->|<---- word 0 ---->|             Count - 1
//                   base               base           base + 63
//   bit              0              63  0               63
//
//   samples    -5 -2  3 40 70 31 -4 -60 -9  6 ...     (older to newer)
//   Negative    1  1  0  0  0  0  1  1  1  0          below 0
//   Strong      0  0  0  0  1  0  0  1  0  0          above a level of 50 or below one of -50
//   crossings   0  0  1  0  0  0  0  0  0  1          ~Negative & (Negative << 1)
//
// The scan runs from the newest sample to the oldest: word 0 first, and in each word from the
// highest bit down. A segment between two crossings is a cycle if it contains strong samples of
// both signs.
#pragma once

#include <cstdint>
#include <emmintrin.h>

namespace Sonorel {

struct SampleMasks {
    std::uint64_t Negative; // samples below 0
    std::uint64_t Strong;   // samples above the high level or below the low level
};

namespace simd {

// Eight samples from an address of any alignment.
inline __m128i Load(const std::int16_t* samples) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(samples));
}

// The sign bits of 16 bytes.
inline std::uint64_t Signs(__m128i bytes) {
    return static_cast<unsigned>(_mm_movemask_epi8(bytes));
}

} // namespace simd

// Compares samples with a high level of -1 or more and a low level of 0 or less, both in the range
// of a byte. The samples are narrowed to bytes first, 16 per register. Narrowing saturates, so the
// results are those of the full samples.
class NarrowLevels {
public:
    static constexpr std::int32_t NoLowLevel = -128; // no sample is below it
    static bool CanHold(std::int32_t high, std::int32_t low) { return high <= 126 && low >= -127; }

    NarrowLevels(std::int32_t high, std::int32_t low)
        : High(_mm_set1_epi8(static_cast<char>(high))), Low(_mm_set1_epi8(static_cast<char>(low))) {
    }

    SampleMasks Compare(const std::int16_t* samples) const {
        SampleMasks masks{};
        for (int k = 0; k < 64; k += 16) {
            const __m128i bytes =
                _mm_packs_epi16(simd::Load(samples + k), simd::Load(samples + k + 8));
            masks.Negative |= simd::Signs(bytes) << k;
            const __m128i strong =
                _mm_or_si128(_mm_cmpgt_epi8(bytes, High), _mm_cmpgt_epi8(Low, bytes));
            masks.Strong |= simd::Signs(strong) << k;
        }
        return masks;
    }

private:
    __m128i High;
    __m128i Low;
};

// The same for levels of 16 bits.
class WideLevels {
public:
    static constexpr std::int32_t NoLowLevel = -32768;

    WideLevels(std::int32_t high, std::int32_t low)
        : High(_mm_set1_epi16(static_cast<std::int16_t>(high))),
          Low(_mm_set1_epi16(static_cast<std::int16_t>(low))) {}

    SampleMasks Compare(const std::int16_t* samples) const {
        SampleMasks masks{};
        for (int k = 0; k < 64; k += 16) {
            const __m128i a = simd::Load(samples + k);
            const __m128i b = simd::Load(samples + k + 8);
            masks.Negative |= simd::Signs(_mm_packs_epi16(a, b)) << k;
            masks.Strong |= simd::Signs(_mm_packs_epi16(Beyond(a), Beyond(b))) << k;
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

// Finds the index of the largest or smallest of selected samples. Samples are passed in groups of
// eight, by descending index, so that of equal samples the one with the highest index is found.
class PeakSearch {
public:
    explicit PeakSearch(bool smallest) : Flip(_mm_set1_epi16(smallest ? -1 : 0)) {}

    // Compares eight samples. index: of the first of them, below 2^15; selected: bit n selects the
    // n-th. Selected samples must be above 0 in a search for the largest and below -1 in a search
    // for the smallest, since unselected ones count as 0.
    void Add(const std::int16_t* samples, std::int32_t index, unsigned selected) {
        const __m128i bits = _mm_setr_epi16(1, 2, 4, 8, 16, 32, 64, 128);
        const __m128i spread =
            _mm_and_si128(_mm_set1_epi16(static_cast<std::int16_t>(selected)), bits);
        const __m128i values =
            _mm_and_si128(_mm_xor_si128(simd::Load(samples), Flip), _mm_cmpeq_epi16(spread, bits));
        const __m128i better = _mm_cmpgt_epi16(values, Best);
        const __m128i here = _mm_set1_epi16(static_cast<std::int16_t>(index));
        Best = _mm_max_epi16(Best, values);
        Indices = _mm_or_si128(_mm_and_si128(better, here), _mm_andnot_si128(better, Indices));
    }

    // The index found. Meaningless if no sample was selected.
    std::int32_t Index() const {
        const __m128i winners = _mm_cmpeq_epi16(Best, Greatest(Best));
        const __m128i exact = _mm_add_epi16(Indices, _mm_setr_epi16(0, 1, 2, 3, 4, 5, 6, 7));
        return _mm_extract_epi16(Greatest(_mm_and_si128(winners, exact)), 0);
    }

private:
    // Sets all eight elements to the largest of them.
    static __m128i Greatest(__m128i v) {
        v = _mm_max_epi16(v, _mm_shuffle_epi32(v, _MM_SHUFFLE(1, 0, 3, 2)));
        v = _mm_max_epi16(v, _mm_shuffle_epi32(v, _MM_SHUFFLE(2, 3, 0, 1)));
        return _mm_max_epi16(v, _mm_shufflehi_epi16(_mm_shufflelo_epi16(v, _MM_SHUFFLE(2, 3, 0, 1)),
                                                    _MM_SHUFFLE(2, 3, 0, 1)));
    }

    __m128i Flip; // all bits set in a search for the smallest: inverts samples, so larger is better
    // For each position in a group: the best sample so far, and the index of its group.
    __m128i Best = _mm_setzero_si128();
    __m128i Indices = _mm_setzero_si128();
};

} // namespace Sonorel
