#include "document.h"

#include <QFileInfo>
#include <QUndoCommand>
#include <algorithm>

namespace larkmoor {

namespace {

template <class AnyProject>
auto find(AnyProject& project, Slot slot) -> decltype(project.effects.data()) {
    switch (slot.kind) {
    case Slot::Kind::Source:
        if (auto* const generator = std::get_if<ProjectGenerator>(&project.source)) return &generator->generator;
        return nullptr;
    case Slot::Kind::Transition:
        return project.second ? &project.second->transition : nullptr;
    case Slot::Kind::Effect:
        return slot.index >= 0 && slot.index < static_cast<int>(project.effects.size())
                   ? &project.effects[static_cast<std::size_t>(slot.index)]
                   : nullptr;
    case Slot::Kind::None:
        break;
    }
    return nullptr;
}

bool same(const AVRational& a, const AVRational& b) {
    return a.num == b.num && a.den == b.den;
}

bool same(const ProjectEffect& a, const ProjectEffect& b) {
    return a.info == b.info && a.on == b.on && a.over == b.over && a.ownLevels == b.ownLevels && a.record == b.record &&
           a.curves == b.curves && a.span == b.span;
}

bool same(const ProjectClip& a, const ProjectClip& b) {
    return a.path == b.path && a.rate.has_value() == b.rate.has_value() && (!a.rate || same(*a.rate, *b.rate));
}

bool same(const ProjectGenerator& a, const ProjectGenerator& b) {
    return same(a.generator, b.generator) && a.width == b.width && a.height == b.height && same(a.rate, b.rate) &&
           a.duration == b.duration;
}

bool same(const ProjectSecond& a, const ProjectSecond& b) {
    return a.path == b.path && same(a.transition, b.transition) && a.duration == b.duration;
}

} // namespace

bool same(const Project& a, const Project& b) {
    const bool sources = std::visit(
        [&](const auto& source) {
            const auto* const other = std::get_if<std::decay_t<decltype(source)>>(&b.source);
            return other && same(source, *other);
        },
        a.source);
    return sources && a.second.has_value() == b.second.has_value() && (!a.second || same(*a.second, *b.second)) &&
           a.in == b.in && a.out == b.out &&
           std::ranges::equal(a.effects, b.effects,
                              [](const ProjectEffect& one, const ProjectEffect& other) { return same(one, other); });
}

const ProjectEffect* effectIn(const Project& project, Slot slot) {
    return find(project, slot);
}
ProjectEffect* effectIn(Project& project, Slot slot) {
    return find(project, slot);
}

void moveKeys(Project& project, std::int64_t frames) {
    const auto move = [&](ProjectEffect& effect) { shift(effect.curves, effect.span, frames); };
    if (auto* const made = std::get_if<ProjectGenerator>(&project.source)) move(made->generator);
    if (project.second) move(project.second->transition);
    for (ProjectEffect& effect : project.effects) move(effect);
}

/// From one state to the next.
class Document::Step : public QUndoCommand {
  public:
    Step(Document& document, const QString& text, QString key, Snapshot after)
        : QUndoCommand(text), m_document(document), m_key(std::move(key)), m_before(document.m_project),
          m_after(std::move(after)), m_selected(document.m_selected) {}

    void undo() override {
        m_document.settle();
        m_document.show(m_before, m_selected);
    }
    void redo() override { m_document.show(m_after, m_document.m_selected); }
    int id() const override { return 1; }
    bool mergeWith(const QUndoCommand* later) override {
        const auto& step = static_cast<const Step&>(*later);
        if (m_key.isEmpty() || m_key != step.m_key || m_document.m_mergeKey != m_key) return false;
        m_after = step.m_after;
        setObsolete(same(*m_before, *m_after)); // a drag that was taken back
        return true;
    }

  private:
    Document& m_document;
    const QString m_key;
    Snapshot m_before, m_after;
    Slot m_selected;
};

Document::Document(Module module, QObject* parent) : QObject(parent), m_module(std::move(module)) {
    connect(&m_history, &QUndoStack::cleanChanged, this, &Document::titleChanged);
}

QString Document::name() const {
    return m_path.isEmpty() ? tr("Untitled") : QFileInfo(m_path).completeBaseName();
}

void Document::start(Project project, const QString& path, bool recovered) {
    m_history.clear();
    settle();
    m_path = path;
    m_recovered = recovered;
    m_project = std::make_shared<const Project>(std::move(project));
    m_selected = nearest({Slot::Kind::Effect, static_cast<int>(m_project->effects.size()) - 1});
    emit started();
    emit changed();
    emit selectionChanged();
    emit titleChanged();
}

void Document::close() {
    m_history.clear();
    settle();
    m_path.clear();
    m_recovered = false;
    m_project.reset();
    m_selected = {};
    emit started();
    emit changed();
    emit selectionChanged();
    emit titleChanged();
}

void Document::save(const QString& path) {
    saveProject(*m_project, path.toStdString(), true);
    m_path = path;
    m_recovered = false;
    m_history.setClean();
    emit titleChanged();
}

void Document::change(const QString& text, const std::function<void(Project&)>& edit, const QString& key) {
    if (!m_project) return;
    emit aboutToChange();
    Project next = *m_project;
    edit(next);
    if (m_fitter) m_fitter(next);
    if (same(next, *m_project)) return;
    // Only a step of the same key that was the last one takes the new one in.
    const bool merges = !key.isEmpty() && key == m_mergeKey;
    if (!merges) settle();
    const int before = m_history.index();
    auto* const step = new Step(*this, text, key, std::make_shared<const Project>(std::move(next)));
    m_history.push(step);
    // Where the step has cancelled itself out, the one below is of an earlier drag.
    m_mergeKey = m_history.index() < before ? QString() : key;
}

void Document::select(Slot slot) {
    slot = nearest(slot);
    if (slot == m_selected) return;
    emit aboutToChange();
    m_selected = slot;
    settle();
    emit selectionChanged();
}

const ProjectEffect* Document::selectedEffect() const {
    return m_project ? effectIn(*m_project, m_selected) : nullptr;
}

void Document::show(Snapshot project, Slot selected) {
    m_project = std::move(project);
    const Slot slot = nearest(selected);
    const bool moved = !(slot == m_selected);
    m_selected = slot;
    emit changed();
    if (moved) emit selectionChanged();
}

Slot Document::nearest(Slot slot) const {
    if (!m_project) return {};
    if (slot.kind == Slot::Kind::Source) return {Slot::Kind::Source, 0};
    if (effectIn(*m_project, slot)) return slot;
    const int count = static_cast<int>(m_project->effects.size());
    if (slot.kind == Slot::Kind::Effect && count > 0) return {Slot::Kind::Effect, std::clamp(slot.index, 0, count - 1)};
    if (count > 0) return {Slot::Kind::Effect, count - 1};
    if (m_project->second) return {Slot::Kind::Transition, 0};
    return {Slot::Kind::Source, 0};
}

} // namespace larkmoor
