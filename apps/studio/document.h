// What is worked on: a project, its history, and what of it is selected.
#pragma once

#include <functional>
#include <memory>

#include <QObject>
#include <QUndoStack>

#include "project.h"

namespace larkmoor {

/// A place in a project: what it is made of, or an effect.
struct Slot {
    enum class Kind { None, Source, Transition, Effect };
    Kind kind = Kind::None;
    int index = 0; ///< of `Kind::Effect`
    friend bool operator==(const Slot&, const Slot&) = default;
};

/// The effect in a slot; null where there is none.
const ProjectEffect* effectIn(const Project& project, Slot slot);
ProjectEffect* effectIn(Project& project, Slot slot);

/// Whether nothing tells one from the other.
bool same(const Project& a, const Project& b);

/// Moves the keys and the ranges of all its effects.
void moveKeys(Project& project, std::int64_t frames);

/// The project as a chain of unchanging values: each change makes the next one and a step of the history.
class Document : public QObject {
    Q_OBJECT

  public:
    using Snapshot = std::shared_ptr<const Project>;

    explicit Document(Module module, QObject* parent = nullptr);

    const Module& module() const { return m_module; }
    /// Null while nothing is open.
    const Snapshot& project() const { return m_project; }
    QUndoStack& history() { return m_history; }

    /// The project's file; empty for one that has none yet.
    const QString& path() const { return m_path; }
    QString name() const;
    bool isChanged() const { return m_project && (m_recovered || !m_history.isClean()); }

    /// Begins anew, without a history. `recovered` work counts as changed.
    void start(Project project, const QString& path, bool recovered = false);
    void close();
    /// Throws Error.
    void save(const QString& path);

    /// One step of the history. Steps of one `key` that follow each other become one until `settle`.
    /// @param edit changes a copy; a copy that comes out the same makes no step.
    void change(const QString& text, const std::function<void(Project&)>& edit, const QString& key = {});
    void settle() { m_mergeKey.clear(); }
    /// What brings a changed project back into what is possible, as part of the step.
    void setFitter(std::function<void(Project&)> fitter) { m_fitter = std::move(fitter); }

    Slot selected() const { return m_selected; }
    void select(Slot slot);
    const ProjectEffect* selectedEffect() const;

  signals:
    /// Another project, or none.
    void started();
    /// The state or the selection is to change: whoever holds something half done hands it in now.
    void aboutToChange();
    /// The same one in another state.
    void changed();
    void selectionChanged();
    void titleChanged();

  private:
    class Step;
    void show(Snapshot project, Slot selected);
    Slot nearest(Slot slot) const;

    Module m_module;
    Snapshot m_project;
    QUndoStack m_history;
    std::function<void(Project&)> m_fitter;
    QString m_path, m_mergeKey;
    Slot m_selected;
    bool m_recovered = false;
};

} // namespace larkmoor
