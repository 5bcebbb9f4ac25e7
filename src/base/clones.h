// Row loops compiled for several generations of processors.
#pragma once

/// Clones a row loop for newer processors; the loader picks one. The clones differ in speed alone: no fused
/// multiply-add is allowed in this project, so every clone gives the same bytes.
#if defined(__x86_64__) && defined(__linux__) && !defined(__clang__) && !defined(__SANITIZE_ADDRESS__) &&              \
    !defined(__SANITIZE_THREAD__)
#define KWCLONES __attribute__((target_clones("arch=x86-64-v4", "arch=x86-64-v3", "default")))
#else
#define KWCLONES
#endif
