// Walks over the rows of pictures.
#pragma once

namespace larkmoor {

/// Whether `holds(y)` is true of every row. Rows far apart are asked first: a title or a wipe is met soon.
template <class Holds>
bool everyRow(int height, Holds&& holds) {
    constexpr int apart = 16;
    for (int first = 0; first < apart; ++first)
        for (int y = first; y < height; y += apart)
            if (!holds(y)) return false;
    return true;
}

} // namespace larkmoor
