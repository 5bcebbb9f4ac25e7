// Chroma to the size of luma and back, without loss on the way there and back.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace larkmoor {

/// Whether and where chroma has half the samples of luma along an axis.
enum class ChromaStep {
    Same,    ///< a sample for each of luma's
    Centred, ///< one between two of luma's
    Sited,   ///< one at every other of luma's, from the first on
};

/// Samples of chroma along an axis that has `length` of luma.
constexpr int chromaLength(int length, ChromaStep step) {
    return step == ChromaStep::Same ? length : (length + 1) / 2;
}

/// Brings planes of chroma between two sizes: `widen` interpolates by cubics through the samples (Catmull and Rom, "A
/// class of local interpolating splines", 1974; Deslauriers and Dubuc, "Symmetric iterative interpolation processes",
/// 1989), and `shrink` is a low pass that makes of such a plane the small one again, whatever its content. Rows follow
/// one another without gaps. Not shared between threads.
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
    static Means meansOf(int length, int smallLength);

    void widenRow(const float* in, float* out);
    void shrinkRow(const float* in, float* out);

    int m_width, m_height, m_smallWidth, m_smallHeight;
    ChromaStep m_across, m_down;
    std::vector<float> m_even, m_odd; ///< of one row, with margins
    std::vector<float> m_half;        ///< large across, small down
    std::vector<float> m_spare;       ///< a row
    Means m_meansAcross, m_meansDown; ///< for centred samples
};

} // namespace larkmoor
