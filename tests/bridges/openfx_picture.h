// A host's picture with memory around it that nobody may write to.
#pragma once

#include <cstring>
#include <vector>

#include "bridges/openfx/picture.h"

namespace openfxhost {

using namespace larkmoor::openfx;

struct Picture {
    Picture(Area area, bool isFloat, Alpha state, int padding = 0, bool topDown = false)
        : bounds(area), floats(isFloat), alpha(state), rowBytes(area.width() * pixelBytes() + padding),
          memory(static_cast<std::size_t>(rowBytes * (area.height() + 2)), std::byte{0xA5}),
          first(memory.data() + rowBytes * (topDown ? area.height() : 1)) {
        if (topDown) rowBytes = -rowBytes;
    }

    int pixelBytes() const { return floats ? 16 : 4; }
    std::byte* at(int x, int y) { return first + (y - bounds.y1) * rowBytes + (x - bounds.x1) * pixelBytes(); }
    /// The highest row first.
    std::vector<std::byte> pixels(const Area& area) {
        std::vector<std::byte> all;
        for (int y = area.y2 - 1; y >= area.y1; --y)
            all.insert(all.end(), at(area.x1, y), at(area.x1, y) + area.width() * pixelBytes());
        return all;
    }
    /// Whether anything but `area` differs from `before`.
    bool differsOutside(Picture before, const Area& area) {
        before.first = before.memory.data() + (first - memory.data());
        for (int y = area.y1; y < area.y2; ++y)
            std::memcpy(before.at(area.x1, y), at(area.x1, y), static_cast<std::size_t>(area.width()) * pixelBytes());
        return before.memory != memory;
    }

    Area bounds;
    bool floats;
    Alpha alpha;
    std::ptrdiff_t rowBytes;
    std::vector<std::byte> memory;
    std::byte* first; ///< the pixel at x1, y1
};

} // namespace openfxhost
