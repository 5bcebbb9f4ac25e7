// A row of the benchmark: a kernel timed beside a plain copy of the same bytes, turn by turn, so that both meet the
// same state of the machine. The counter "copies" is the ratio of the two medians.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <ctime>
#include <map>
#include <memory>
#include <random>
#include <vector>

#include "kernels/view.h"

inline constexpr LONG kBenchWidth = 1920, kBenchHeight = 1080;

/// A 1920x1080 premultiplied picture: smooth gradients with noise, opaque but for a soft-edged hole of a sixteenth of
/// the picture's area. Pictures begin on a page, those of odd seeds half a page further: two that walk in step would
/// otherwise meet in the low address bits by chance, which costs up to a third of the time.
class CBenchPicture {
  public:
    CBenchPicture(LONG bytesPerPixel, unsigned seed)
        : m_stride(kBenchWidth * bytesPerPixel),
          m_memory(static_cast<std::size_t>(m_stride) * kBenchHeight + 2 * kPage) {
        const std::size_t past = reinterpret_cast<std::uintptr_t>(m_memory.data()) % kPage;
        m_data = m_memory.data() + (kPage - past) + seed % 2 * kPage / 2;
        std::minstd_rand random(seed);
        for (LONG y = 0; y < kBenchHeight; ++y)
            for (LONG x = 0; x < kBenchWidth; ++x) {
                const double u = double(x) / kBenchWidth, v = double(y) / kBenchHeight;
                const double edge = std::max(std::abs(u - 0.4), std::abs(v - 0.6)) * 8.0;
                const double a = std::floor(std::clamp((edge - 0.9) * 5.0, 0.0, 1.0) * 255.0);
                const auto level = [&](double at) {
                    const double c = 0.5 + 0.4 * std::sin(at * 5.0 + seed) + double(random() % 1000) / 10000.0;
                    return std::floor(std::clamp(c, 0.0, 1.0) * a);
                };
                const double bgra[4] = {level(u), level(v), level(u + v), a};
                for (int c = 0; c < 4; ++c) {
                    const std::size_t i =
                        static_cast<std::size_t>(y) * kBenchWidth * 4 + static_cast<std::size_t>(x * 4 + c);
                    const float real = static_cast<float>(bgra[c] / 255.0);
                    if (bytesPerPixel == 4)
                        m_data[i] = static_cast<std::uint8_t>(bgra[c]);
                    else
                        std::memcpy(m_data + i * 4, &real, 4);
                }
            }
    }

    CBenchPicture(const CBenchPicture&) = delete;
    CBenchPicture& operator=(const CBenchPicture&) = delete;

    tView View() { return {m_data, &kFrame, m_stride, nullptr}; }
    std::uint8_t* Data() { return m_data; }
    std::size_t Bytes() const { return static_cast<std::size_t>(m_stride) * kBenchHeight; }
    /// Row by row, as pictures are copied whose rows lie apart.
    void CopyTo(CBenchPicture& other) const {
        for (std::ptrdiff_t y = 0; y < kBenchHeight; ++y)
            std::memcpy(other.m_data + y * m_stride, m_data + y * m_stride, static_cast<std::size_t>(m_stride));
    }

  private:
    static constexpr RECT kFrame{0, 0, kBenchWidth, kBenchHeight};
    static constexpr std::size_t kPage = 4096;
    LONG m_stride;
    std::vector<std::uint8_t> m_memory;
    std::uint8_t* m_data;
};

/// What this thread has worked, in seconds: other programs' turns are not in it.
inline double Worked() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/// Pictures of one form, more of them than a cache holds.
struct tBenchRing {
    static constexpr std::size_t kPairs = 4;
    std::vector<std::unique_ptr<CBenchPicture>> sources, destinations;

    static tBenchRing& Of(LONG bytesPerPixel) {
        static std::map<LONG, tBenchRing> rings;
        tBenchRing& ring = rings[bytesPerPixel];
        for (unsigned i = 0; ring.sources.size() < kPairs; ++i) {
            ring.sources.push_back(std::make_unique<CBenchPicture>(bytesPerPixel, 2 * i + 1));
            ring.destinations.push_back(std::make_unique<CBenchPicture>(bytesPerPixel, 2 * i + 2));
        }
        return ring;
    }
};

/// Times `work(destination, source)` on pairs of pictures of one form in turn, so that none is in a cache, as a host's
/// are not. Each turn the pair that comes later is copied, source to destination, so that work in place meets real
/// content again; that copy is the measure beside it.
template <class Work>
void RunBenchRow(benchmark::State& state, LONG bytesPerPixel, Work&& work) {
    const tBenchRing& ring = tBenchRing::Of(bytesPerPixel);
    std::vector<double> copies, works;
    std::size_t turn = 0;
    for (auto _ : state) {
        const std::size_t i = turn++ % ring.kPairs, later = (i + ring.kPairs / 2) % ring.kPairs;
        const double start = Worked();
        ring.sources[later]->CopyTo(*ring.destinations[later]);
        benchmark::ClobberMemory();
        const double middle = Worked();
        work(*ring.destinations[i], *ring.sources[i]);
        benchmark::ClobberMemory();
        const double end = Worked();
        copies.push_back(middle - start);
        works.push_back(end - middle);
        state.SetIterationTime(works.back());
    }
    const auto median = [](std::vector<double>& v) {
        std::nth_element(v.begin(), v.begin() + static_cast<std::ptrdiff_t>(v.size() / 2), v.end());
        return v[v.size() / 2];
    };
    state.counters["copies"] = median(works) / median(copies);
}
