// Chroma to the size of luma and back, without loss on the way there and back.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace larkmoor {

/// Whether and where chroma has half the samples of luma along an axis: none, a sample for each of luma's; else how far
/// each lies behind the first of two of luma's, in 1/256 of their distance: 0, 64, 128, 192 or 256.
using ChromaStep = std::optional<int>;

/// Shares in 1/1024 of four neighbours in a sample between the middle two, by eighths of the way: a cubic through all
/// of them (Catmull and Rom, "A class of local interpolating splines", 1974).
inline constexpr std::array<std::int16_t, 4> chromaCubics[8] = {
    {0, 1024, 0, 0},      {-49, 987, 93, -7},   {-72, 888, 232, -24}, {-75, 745, 399, -45},
    {-64, 576, 576, -64}, {-45, 399, 745, -75}, {-24, 232, 888, -72}, {-7, 93, 987, -49}};

/// Samples of chroma along an axis that has `length` of luma.
constexpr int chromaLength(int length, ChromaStep step) {
    return step ? (length + 1) / 2 : length;
}

/// Brings planes of chroma between two sizes: `widen` interpolates by cubics through the samples (see above;
/// Deslauriers and Dubuc, "Symmetric iterative interpolation processes", 1989), and `shrink` is a low pass that makes
/// of such a plane the small one again, whatever its content. Rows follow one another without gaps. Not shared between
/// threads.
class ChromaScaler {
  public:
    ChromaScaler(int width, int height, ChromaStep across, ChromaStep down);

    /// Samples of the small plane.
    std::size_t smallSize() const;

    /// @param small of `smallSize`
    /// @param large of width * height
    void widen(std::span<const float> small, std::span<float> large);
    void shrink(std::span<const float> large, std::span<float> small);

  private:
    /// Solves for the samples whose widened pairs have given means: a matrix of five diagonals as its two triangles.
    struct Means {
        std::vector<float> below, below2, above, above2, inverse;
    };
    /// Shares of four neighbours in each of two samples, from the second before the chroma and from the one before it
    /// on.
    using Pair = std::array<float, 8>;
    static Pair pairOf(int place);
    static Means meansOf(int length, int smallLength, const Pair& pair);

    void widenRow(const float* in, float* out);
    void shrinkRow(const float* in, float* out);

    int m_width, m_height, m_smallWidth, m_smallHeight;
    ChromaStep m_across, m_down;
    std::vector<float> m_even, m_odd;  ///< of one row, with margins
    std::vector<float> m_half;         ///< large across, small down
    std::vector<float> m_spare;        ///< a row
    Pair m_pairAcross{}, m_pairDown{}; ///< for samples that do not sit at the first of two
    Means m_meansAcross, m_meansDown;
};

} // namespace larkmoor
