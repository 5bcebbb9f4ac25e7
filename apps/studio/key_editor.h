// The keys of the selected effect, as they are edited at the playhead.
#pragma once

#include <QObject>
#include <optional>

#include "document.h"
#include "preview.h"

namespace larkmoor {

/// Frames are those of the timeline, counted in the source's pictures before any cut. Every change is a step of the
/// document's history.
class KeyEditor : public QObject {
    Q_OBJECT

  public:
    explicit KeyEditor(Document& document, QObject* parent = nullptr);

    /// What the pictures are: the place of keys at the ends.
    void setFacts(const PictureFacts& facts);
    void setFrame(std::int64_t frame);
    std::int64_t frame() const { return m_frame; }

    /// Null where no effect is selected.
    const EffectInfo* info() const;
    /// Of the selected effect at the playhead.
    std::vector<std::byte> record() const { return recordAtFrame(m_frame); }
    std::vector<std::byte> recordAtFrame(std::int64_t frame) const;
    /// With the keys at the output's ends at their frames.
    const Curves& curves() const;
    Span span() const;

    /// The numbers of a field that moves, at each of some frames.
    std::vector<std::vector<double>> numbers(const tFieldInfo& field, std::span<const std::int64_t> frames) const;
    bool hasKey(const tFieldInfo& field) const;
    /// The frame of the key before (-1) or behind (1) the playhead.
    std::optional<std::int64_t> neighbour(const tFieldInfo& field, int direction) const;

    /// The record at the playhead is to be this one: fields with keys get one there.
    /// @param mergeKey of steps that follow one another in a drag.
    /// @param ownLevels whether it brings levels that the user has set; left out, that stays as it is.
    void setRecord(const QString& text, const std::vector<std::byte>& record, const QString& mergeKey,
                   std::optional<bool> ownLevels = {});
    /// Adds a key at the playhead with the value there, or removes the one that is there. The last key that goes
    /// leaves its value.
    void toggle(const tFieldInfo& field);
    void go(const tFieldInfo& field, int direction);
    /// A key that stands there already gives way.
    void move(const tFieldInfo& field, std::int64_t from, std::int64_t to);
    void copy(const tFieldInfo& field, std::int64_t from, std::int64_t to);
    void remove(const tFieldInfo& field, std::int64_t frame);
    void setWay(const tFieldInfo& field, std::int64_t frame, Way way);
    /// The value of a key of one number; steps of a drag, up to `settle`.
    void setNumber(const tFieldInfo& field, std::int64_t frame, double number);
    /// Ends a drag.
    void settle() { m_document.settle(); }
    /// Only for what stands in the stack.
    bool canHaveSpan() const { return m_document.selected().kind == Slot::Kind::Effect; }
    void setSpan(std::optional<std::int64_t> from, std::optional<std::int64_t> to);

  signals:
    /// Keys, their effect or the playhead.
    void changed();
    /// The playhead is to move, and values with it: whoever holds something half done hands it in now.
    void aboutToMove();
    void frameWanted(qint64 frame);

  private:
    void forget();
    void edit(const QString& text, const std::function<void(ProjectEffect&)>& change, const QString& mergeKey = {});
    Curves settled(const ProjectEffect& effect) const;
    const Effect& object() const;
    std::int64_t in() const { return m_document.project() ? m_document.project()->in : 0; }

    Document& m_document;
    PictureFacts m_facts;
    std::int64_t m_frame = 0;
    mutable std::optional<Curves> m_curves; ///< until something changes
    mutable std::optional<Effect> m_object; ///< of the selected effect's class, for what it makes of two values
};

} // namespace larkmoor
