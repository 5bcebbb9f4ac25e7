// What the views of keys below the timeline have in common: its places, its playhead, and the keys that they show.
#pragma once

#include "key_editor.h"
#include "widgets/spoken.h"
#include "widgets/timeline.h"

class QPainter;

namespace larkmoor {

class KeyStrip : public SpokenWidget {
    Q_OBJECT

  public:
    KeyStrip(KeyEditor& keys, Timeline& timeline, QWidget* parent);

    /// The field whose keys are worked on; null for none.
    virtual const tFieldInfo* selectedField() const = 0;
    Spoken spoken() const override;

  protected:
    static const QColor kKeyColour;

    KeyEditor& keys() const { return m_keys; }
    Timeline& timeline() const { return m_timeline; }
    double xOf(std::int64_t frame) const { return m_timeline.xOfFrame(static_cast<int>(frame)); }
    static QString nameOf(const tFieldInfo& field);
    /// A key at which the mouse or the keyboard is; none where it is at none.
    virtual std::optional<std::int64_t> heldFrame() const = 0;
    void paintPlayhead(QPainter& painter) const;

  private:
    KeyEditor& m_keys;
    Timeline& m_timeline;
};

} // namespace larkmoor
