#include "validate/picture.h"

#include <cstring>

#include <sys/mman.h>
#include <unistd.h>

#include "host/error.h"

namespace larkmoor::validate {

namespace {

constexpr std::byte gapByte{0xA5};

float wildFloat(std::uint32_t bits) {
    constexpr std::uint32_t chosen[] = {0x7FC00000, 0x7F800000, 0xFF800000, 0x7F7FFFFF, 0xFF7FFFFF, 1, 0x80000000};
    if (bits % 4 == 0) bits = chosen[bits / 4 % std::size(chosen)];
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

} // namespace

Picture::Picture(PixelFormat format, int width, int height, const Layout& layout)
    : m_rowBytes(static_cast<std::size_t>(width * bytesPerPixel(format))), m_gap(layout.gap) {
    const std::size_t stride = m_rowBytes + static_cast<std::size_t>(layout.gap);
    const std::size_t needed = stride * static_cast<std::size_t>(height - 1) + m_rowBytes;
    const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    m_bytes = (needed + page - 1) / page * page;
    const std::size_t mapped = m_bytes + 2 * page;
    void* const memory = ::mmap(nullptr, mapped, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) throw Error("memory is short");
    m_memory.reset(memory, [mapped](void* p) { ::munmap(p, mapped); });
    m_pages = static_cast<std::byte*>(memory) + page;
    if (::mprotect(m_pages, m_bytes, PROT_READ | PROT_WRITE) != 0) throw Error("memory is short");
    std::memset(m_pages, static_cast<int>(gapByte), m_bytes);

    std::byte* const first = layout.atEnd ? m_pages + m_bytes - needed : m_pages;
    const auto step = static_cast<std::ptrdiff_t>(stride);
    const ImageView view = layout.upsideDown ? ImageView{first + step * (height - 1), width, height, -step, format}
                                             : ImageView{first, width, height, step, format};
    m_surface = Surface::wrap(view, layout.left, layout.top, m_memory);
    m_surface.setInfo({1.0, 25.0, 400000});
}

std::byte* Picture::row(int y) const {
    const ImageView view = m_surface.view();
    return view.data + view.stride * y;
}

void Picture::fill(std::uint32_t seed, bool wild) {
    std::mt19937 random(seed);
    const ImageView view = m_surface.view();
    for (int y = 0; y < view.height; ++y)
        for (int x = 0; x < view.width; ++x) {
            const std::uint32_t alpha = random() % 3 ? 255 : random() % 256;
            for (int c = 0; c < 4; ++c) {
                const std::uint32_t value = wild ? random() : c == 3 ? alpha : random() % (alpha + 1);
                if (view.format != PixelFormat::Float128) {
                    row(y)[x * 4 + c] = static_cast<std::byte>(value);
                    continue;
                }
                const float number = wild ? wildFloat(value) : static_cast<float>(value) / 255.0f;
                std::memcpy(row(y) + (x * 4 + c) * 4, &number, sizeof number);
            }
        }
}

void Picture::protect() {
    if (::mprotect(m_pages, m_bytes, PROT_READ) != 0) throw Error("memory cannot be protected");
}

std::vector<std::byte> Picture::pixels() const {
    std::vector<std::byte> all;
    for (int y = 0; y < m_surface.view().height; ++y) all.insert(all.end(), row(y), row(y) + m_rowBytes);
    return all;
}

bool Picture::gapsStand() const {
    const ImageView view = m_surface.view();
    for (int line = 0; line + 1 < view.height; ++line) {
        // The gap lies behind each row but the one that is last in memory.
        const std::byte* const gap = row(view.stride < 0 ? line + 1 : line) + m_rowBytes;
        for (int i = 0; i < m_gap; ++i)
            if (gap[i] != gapByte) return false;
    }
    return true;
}

} // namespace larkmoor::validate
