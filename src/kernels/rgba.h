// A colour as records hold it.
#pragma once

/// Four numbers 0 to 1.
struct tKWRGBADOUBLE {
    double blue, green, red, alpha;
};
static_assert(sizeof(tKWRGBADOUBLE) == 32);
