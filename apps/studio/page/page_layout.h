// Where the controls of a page stand, in pixels.
#pragma once

#include <span>
#include <vector>

#include <QFontMetrics>
#include <QRect>

#include "platform/page.h"

namespace larkmoor {

/// Pixels of the application's characters; a dialog unit is a quarter of the width and an eighth of the height.
struct DialogUnit {
    int width, height;

    /// The width is the average of the 52 letters.
    static DialogUnit of(const QFontMetrics& font);
    QPoint pixels(LONG x, LONG y) const;
    QRect pixels(const RECT& place) const {
        return {pixels(place.left, place.top), pixels(place.right, place.bottom) - QPoint(1, 1)};
    }
};

/// One control of a page to be laid out.
struct LayoutItem {
    tPageControlKind kind;
    RECT place; ///< dialog units
    bool visible;
    QSize wish;       ///< below this the control's text is cut; 0 for none
    int partner = -1; ///< of a spinner: the index of its edit
};

struct PageLayout {
    QSize size;
    std::vector<QRect> places; ///< one for each item
};

/// Places are those of the dialog. A control whose text needs more grows into the free space at its right; where there
/// is none the whole page gets wider, by up to a quarter; then texts grow to the left as well.
PageLayout layOutPage(std::span<const LayoutItem> items, SIZE dialog, DialogUnit unit);

} // namespace larkmoor
