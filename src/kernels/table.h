// Every pixel kernel as a row of data: what it reads, which forms it has, and how to call it with parameters drawn from
// their ranges. Tests compare the bodies of each level over this table, the benchmark times it, fuzzers call it.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "kernels/view.h"

/// Where a call takes its parameters from: the typical ones, or random ones of which a few are wild. The same seed
/// gives the same numbers everywhere.
class CKwDraw {
  public:
    CKwDraw() = default; ///< always the typical value
    explicit CKwDraw(std::uint64_t seed) : m_state(seed), m_random(true) {}

    /// Of `low` to `high`; once in 16 times any number at all, those that are none included.
    double Real(double low, double high, double typical);
    float RealF(double low, double high, double typical) { return static_cast<float>(Real(low, high, typical)); }
    /// Of `low` to `high`; once in 16 times any number at all.
    LONG Whole(LONG low, LONG high, LONG typical);
    bool Flag(bool typical);
    /// Any 64 bits (SplitMix64: Steele, Lea and Flood, "Fast splittable pseudorandom number generators", 2014).
    std::uint64_t Bits();
    /// Even for every caller of a range that has to be kept: `low` to `high`.
    LONG Within(LONG low, LONG high);

  private:
    std::uint64_t m_state = 0;
    bool m_random = false;
};

/// What a kernel is called with. `out` is the picture it writes, and the only one of a kernel without inputs.
struct tKernelCall {
    tView out;
    tView in[2];
    LONG bytesPerPixel;
    CKwDraw draw;
};

/// What a kernel takes, as bits.
enum : unsigned {
    kTakes8 = 1,       ///< 4-byte pixels
    kTakesFloat = 2,   ///< 16-byte pixels
    kTakesBoth = 3,    ///< both
    kInPlace = 4,      ///< the output may be the first input
    kOwnSizes = 8,     ///< each picture may have a size of its own; else all clips have one size
    kReadsFrame = 16,  ///< reads its inputs beyond their clips, inside their frames
    kWritesFrame = 32, ///< does not keep to the clip of its output
};

struct tKernel {
    const char* name;
    LONG inputs; ///< 0 to 2
    unsigned takes;
    HRESULT (*run)(tKernelCall call);
};

/// The rows by kind, and all of them.
std::span<const tKernel> KwPixelKernels();
std::span<const tKernel> KwSpatialKernels();
const std::vector<tKernel>& KwKernels();
