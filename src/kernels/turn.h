// Vectors of four-byte values at any address, and rows of them turned into columns.
#pragma once

#include <cstddef>
#include <cstring>
#include <utility>

#include "base/bodies.h"

template <class Vector, class Value>
KWINLINE inline Vector KwRead(const Value* from) {
    Vector values;
    std::memcpy(&values, from, sizeof values);
    return values;
}
template <class Vector, class Value>
KWINLINE inline void KwWrite(Value* to, const Vector& values) {
    std::memcpy(to, &values, sizeof values);
}

/// The first or second half of a pair of vectors.
template <int kHalf, class Half, class Pair>
KWINLINE inline Half KwHalf(const Pair& pair) {
    constexpr int kCount = sizeof(Half) / sizeof(Half{}[0]);
    return [&]<int... l>(std::integer_sequence<int, l...>) KWINLINE {
        return __builtin_shufflevector(pair, pair, (kHalf * kCount + l)...);
    }
    (std::make_integer_sequence<int, kCount>{});
}

/// One step of turning rows into columns: pairs of rows `kStep` apart change places of parts.
template <int kStep, class Row, std::size_t kRows>
KWINLINE inline void SwapParts(Row (&rows)[kRows]) {
    KWUNROLL
    for (std::size_t i = 0; i < kRows; ++i) {
        if (i & kStep) continue;
        const Row a = rows[i], b = rows[i + kStep];
        [&]<int... e>(std::integer_sequence<int, e...>) KWINLINE {
            constexpr int kSecond = kRows;
            rows[i] = __builtin_shufflevector(a, b, (e & kStep ? kSecond + e - kStep : e)...);
            rows[i + kStep] = __builtin_shufflevector(a, b, (e & kStep ? kSecond + e : e + kStep)...);
        }
        (std::make_integer_sequence<int, kRows>{});
    }
}

/// Calls `load(r, c)`, which gives the values of row r from column c on, for the parts of `kRows` rows of as many, and
/// `store(c, r, values)` with those of column c from row r on.
template <class Row, int kRows, class LoadPart, class StorePart>
KWINLINE inline void KwTurn(LoadPart load, StorePart store) {
    constexpr int kPart = sizeof(Row) / 4;
    for (int r = 0; r < kRows; r += kPart)
        for (int c = 0; c < kRows; c += kPart) {
            Row rows[kPart];
            KWUNROLL
            for (int i = 0; i < kPart; ++i) rows[i] = load(r + i, c);
            SwapParts<1>(rows);
            SwapParts<2>(rows);
            if constexpr (kPart > 4) SwapParts<4>(rows);
            if constexpr (kPart > 8) SwapParts<8>(rows);
            KWUNROLL
            for (int i = 0; i < kPart; ++i) store(c + i, r, rows[i]);
        }
}

/// Calls `store(x, r, pixels)` with those of column x from row r on, for the columns `from` to `to` of `kRows` rows of
/// `width` pixels, and for those up to a whole number of `kRows`; beyond `width` pixels are 0.
template <class Row, int kRows, class StorePart>
KWINLINE inline void KwTurnPixels(const std::byte* const (&rows)[kRows], std::ptrdiff_t from, std::ptrdiff_t to,
                                  std::ptrdiff_t width, StorePart store) {
    std::byte last[kRows][kRows * 4]{};
    for (std::ptrdiff_t x = from; x < to; x += kRows) {
        const std::byte* pixels[kRows];
        for (int r = 0; r < kRows; ++r) {
            pixels[r] = rows[r] + x * 4;
            if (width - x >= kRows) continue;
            std::memcpy(last[r], pixels[r], static_cast<std::size_t>(width - x) * 4);
            pixels[r] = last[r];
        }
        KwTurn<Row, kRows>([&](int r, int c) KWINLINE { return KwRead<Row>(pixels[r] + c * 4); },
                           [&](int c, int r, const Row& turned) KWINLINE { store(x + c, r, turned); });
    }
}
