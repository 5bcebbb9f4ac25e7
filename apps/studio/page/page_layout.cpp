#include "page_layout.h"

#include <algorithm>

namespace larkmoor {

namespace {

// Pixels between a grown control and the next one: a frame needs more than a text.
constexpr int gapOf(tPageControlKind kind) {
    return kind == KWCONTROL_LIST ? 6 : 3;
}

class Layouter {
  public:
    Layouter(std::span<const LayoutItem> items, SIZE dialog, DialogUnit unit) : m_items(items) {
        const QPoint size = unit.pixels(dialog.cx, dialog.cy);
        m_layout.size = {size.x(), size.y()};
        for (const LayoutItem& item : items) m_layout.places.push_back(unit.pixels(item.place));
    }

    /// False where a text is still cut.
    bool fit(bool leftToo) {
        bool fits = true;
        for (std::size_t i = 0; i < m_items.size(); ++i) {
            if (!m_items[i].visible || m_items[i].kind == KWCONTROL_GROUP) continue;
            growDown(i);
            if (!growAcross(i, leftToo) && m_items[i].kind != KWCONTROL_LIST) fits = false;
        }
        for (std::size_t i = 0; i < m_items.size(); ++i)
            if (const int edit = m_items[i].partner; edit >= 0) {
                m_layout.places[i].setTop(m_layout.places[edit].top());
                m_layout.places[i].setBottom(m_layout.places[edit].bottom());
            }
        return fits;
    }

    PageLayout take() { return std::move(m_layout); }

  private:
    // The place of a drop-down list in a dialog may count in the list that drops down.
    void growDown(std::size_t i) {
        QRect& place = m_layout.places[i];
        const int wish = m_items[i].wish.height();
        if (m_items[i].kind == KWCONTROL_LIST && place.height() > 2 * wish) place.setHeight(wish);
        if (const int more = wish - place.height(); more > 0) {
            place.setTop(place.top() - more / 2);
            place.setHeight(wish);
        }
    }

    bool growAcross(std::size_t i, bool leftToo) {
        QRect& place = m_layout.places[i];
        const int wish = m_items[i].wish.width();
        if (place.width() >= wish) return true;
        const int gap = gapOf(m_items[i].kind);
        int left = gap, right = m_layout.size.width() - gap;
        for (std::size_t other = 0; other < m_items.size(); ++other) {
            const QRect& block = m_layout.places[other];
            if (other == i || !m_items[other].visible || block.bottom() < place.top() || block.top() > place.bottom())
                continue;
            if (m_items[other].kind == KWCONTROL_GROUP && block.contains(place.center())) {
                left = std::max(left, block.left() + gap);
                right = std::min(right, block.right() - gap);
            } else if (block.left() > place.left()) {
                right = std::min(right, block.left() - gap);
            } else if (block.right() < place.right()) {
                left = std::max(left, block.right() + gap);
            }
        }
        place.setRight(std::max(place.right(), std::min(place.left() + wish - 1, right)));
        if (leftToo) place.setLeft(std::min(place.left(), std::max(place.right() - wish + 1, left)));
        return place.width() >= wish;
    }

    std::span<const LayoutItem> m_items;
    PageLayout m_layout;
};

int scaled(LONG units, int pixels, int parts) {
    const std::int64_t product = std::int64_t{units} * pixels;
    return static_cast<int>((product + (product < 0 ? -parts : parts) / 2) / parts);
}

} // namespace

DialogUnit DialogUnit::of(const QFontMetrics& font) {
    const int alphabet = font.horizontalAdvance("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz");
    return {(alphabet + 26) / 52, font.height()};
}

QPoint DialogUnit::pixels(LONG x, LONG y) const {
    return {scaled(x, width, 4), scaled(y, height, 8)};
}

PageLayout layOutPage(std::span<const LayoutItem> items, SIZE dialog, DialogUnit unit) {
    const int widest = unit.width + (unit.width + 3) / 4;
    for (const bool leftToo : {false, true})
        for (int width = unit.width; width <= widest; ++width) {
            Layouter layouter(items, dialog, {width, unit.height});
            if (layouter.fit(leftToo) || (leftToo && width == widest)) return layouter.take();
        }
    return {};
}

} // namespace larkmoor
