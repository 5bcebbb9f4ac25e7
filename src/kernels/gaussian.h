// Gaussian blur by a recursive filter: its cost does not depend on the radius, and small radii cost less.
#pragma once

#include <memory>

#include "kernels/view.h"
#include "platform/memory.h"

/// Memory that a caller with many pictures keeps from one to the next: to touch 33 MB for the first time
/// costs a tenth of a blur of 1920x1080.
class CKwScratch {
  public:
    /// Room for `bytes`, at least 64 bytes aligned, with anything in it; null without memory. The room before is gone.
    void* Room(std::size_t bytes);

  private:
    struct tFree {
        void operator()(void* memory) const { KwFreeAligned(memory); }
    };
    std::unique_ptr<void, tFree> m_memory;
    std::size_t m_bytes = 0;
};

/// Taps of the recursive line filter. `n` and `d` make the causal half, `m` and `d` the anti-causal one; `bn` and `bm`
/// stand for a line that goes on with its end value.
struct tGaussianCoefficients {
    double n[5], d[5], m[5], bn[5], bm[5];
};

/// The standard deviation, in pixels, of the Gaussian that falls to 1/255 of its peak at |`radius`| + 1.5 pixels.
double KwGaussianSigma(double radius);

/// Fourth-order approximation of the Gaussian of standard deviation `sigma`, in pixels: R. Deriche, "Recursively
/// implementing the Gaussian and its derivatives", INRIA report 1893, 1993. Any value gives some coefficients,
/// not-a-number included.
tGaussianCoefficients KwGaussianCoefficients(double sigma);

/// Blurs all four channels; radii in pixels, of either sign. A radius of 0 still softens a little (see
/// `KwGaussianSigma`). The first pass is kept as floats, the second rounded to the nearest level, ties to even. Pixels
/// beyond the rectangle count as its nearest ones. The views may share memory in any way. The 16-byte form is left as
/// it is; so is the destination when memory runs out, without an error. `kept`: see there; at most 64 MB are.
HRESULT KwDibGaussianBlur(const tView& destination, const tView& source, LONG bytesPerPixel, double horizontalRadius,
                          double verticalRadius, CKwScratch* kept = nullptr);

/// The same for one channel (numbers as in `KwDibChannelOffset`); the destination's other three stay as they are.
HRESULT KwDibGaussianBlurChannel(const tView& destination, const tView& source, LONG bytesPerPixel,
                                 double horizontalRadius, double verticalRadius, LONG channel);
