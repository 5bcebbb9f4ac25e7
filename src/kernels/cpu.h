// Which hand-written bodies of kernels run. They differ from the plain loops in speed alone.
#pragma once

/// Whether this processor and system offer 512-bit byte permutations (AVX-512 BW, VL and VBMI).
bool KwCpuPermutesBytes();

/// Whether kernels may use hand-written bodies; true at the start. Safe from any thread.
bool KwFastPaths();

/// Allows or forbids hand-written bodies for all threads, from their next kernel call on. Returns what held before.
bool KwSetFastPaths(bool allowed);
