#include "key_editor.h"

#include <algorithm>

namespace larkmoor {

namespace {

QString nameOf(const tFieldInfo& field) {
    return QString(field.label).remove('&').remove(':');
}

/// Of one place that has `frame`.
auto keyAt(Curve& curve, std::int64_t frame) {
    return std::ranges::find(curve.keys, frame, &Key::frame);
}

} // namespace

KeyEditor::KeyEditor(Document& document, QObject* parent) : QObject(parent), m_document(document) {
    connect(&document, &Document::changed, this, &KeyEditor::forget);
    connect(&document, &Document::selectionChanged, this, &KeyEditor::forget);
}

void KeyEditor::setFacts(const PictureFacts& facts) {
    m_facts = facts;
    forget();
}

void KeyEditor::forget() {
    m_curves.reset();
    emit changed();
}

void KeyEditor::setFrame(std::int64_t frame) {
    if (frame == m_frame) return;
    // Without keys all frames have the same values, and what is half typed can stay so while the film plays.
    const bool moves = !curves().empty();
    if (moves) emit aboutToMove();
    m_frame = frame;
    if (moves) emit changed();
}

const EffectInfo* KeyEditor::info() const {
    const ProjectEffect* const effect = m_document.selectedEffect();
    return effect ? effect->info : nullptr;
}

const Effect& KeyEditor::object() const {
    if (!m_object || &m_object->info() != info()) m_object = m_document.module().create(*info());
    return *m_object;
}

Curves KeyEditor::settled(const ProjectEffect& effect) const {
    Curves curves = effect.curves;
    if (m_facts.frames == 0 || !needsTotal(curves)) return curves;
    const std::int64_t out = m_document.project()->out.value_or(m_facts.frames);
    if (m_document.selected().kind == Slot::Kind::Transition)
        larkmoor::settle(curves, m_facts.overlapStart - in(), m_facts.overlapStart + m_facts.overlapFrames - 1 - in(),
                         m_facts.rate);
    else
        larkmoor::settle(curves, 0, out - in() - 1, m_facts.rate);
    return curves;
}

const Curves& KeyEditor::curves() const {
    if (m_curves) return *m_curves;
    m_curves.emplace();
    if (const ProjectEffect* const effect = m_document.selectedEffect()) {
        m_curves = settled(*effect);
        Span none;
        shift(*m_curves, none, in());
    }
    return *m_curves;
}

Span KeyEditor::span() const {
    const ProjectEffect* const effect = m_document.selectedEffect();
    Span span = effect ? effect->span : Span();
    Curves none;
    shift(none, span, in());
    return span;
}

std::vector<std::byte> KeyEditor::recordAtFrame(std::int64_t frame) const {
    const ProjectEffect* const effect = m_document.selectedEffect();
    if (!effect) return {};
    if (effect->curves.empty()) return effect->record;
    return recordAt(m_document.module(), object(), effect->record, settled(*effect), frame - in());
}

std::vector<std::vector<double>> KeyEditor::numbers(const tFieldInfo& field,
                                                    std::span<const std::int64_t> frames) const {
    std::vector<std::vector<double>> all;
    const ProjectEffect* const effect = m_document.selectedEffect();
    if (!effect || !canMove(field)) return all;
    const Curves every = settled(*effect);
    const Curve* const curve = findCurve(every, field);
    const Curves one = curve ? Curves{*curve} : Curves{};
    for (const std::int64_t frame : frames)
        all.push_back(fieldNumbers(field, recordAt(m_document.module(), object(), effect->record, one, frame - in())));
    return all;
}

bool KeyEditor::hasKey(const tFieldInfo& field) const {
    const Curve* const curve = findCurve(curves(), field);
    return curve && std::ranges::count(curve->keys, m_frame, &Key::frame) > 0;
}

std::optional<std::int64_t> KeyEditor::neighbour(const tFieldInfo& field, int direction) const {
    const Curve* const curve = findCurve(curves(), field);
    if (!curve) return {};
    if (direction > 0) {
        const auto next = std::ranges::upper_bound(curve->keys, m_frame, {}, &Key::frame);
        return next == curve->keys.end() ? std::nullopt : std::optional(next->frame);
    }
    const auto next = std::ranges::lower_bound(curve->keys, m_frame, {}, &Key::frame);
    return next == curve->keys.begin() ? std::nullopt : std::optional(std::prev(next)->frame);
}

/// Keys that are changed stand at frames.
void KeyEditor::edit(const QString& text, const std::function<void(ProjectEffect&)>& change, const QString& mergeKey) {
    const ProjectEffect* const selected = m_document.selectedEffect();
    if (!selected) return;
    const Slot slot = m_document.selected();
    m_document.change(
        text,
        [&](Project& project) {
            ProjectEffect& effect = *effectIn(project, slot);
            effect.curves = settled(effect);
            change(effect);
        },
        mergeKey);
}

void KeyEditor::setRecord(const QString& text, const std::vector<std::byte>& record, const QString& mergeKey,
                          std::optional<bool> ownLevels) {
    const ProjectEffect* const selected = m_document.selectedEffect();
    if (!selected) return;
    const bool own = ownLevels.value_or(selected->ownLevels);
    if (selected->curves.empty()) {
        const Slot slot = m_document.selected();
        m_document.change(
            text,
            [&](Project& project) {
                ProjectEffect& effect = *effectIn(project, slot);
                effect.record = record;
                effect.ownLevels = own;
            },
            mergeKey);
        return;
    }
    const std::vector<std::byte> now = this->record();
    const std::int64_t frame = m_frame - in();
    if (record == now && own == selected->ownLevels) return;
    edit(
        text,
        [&](ProjectEffect& effect) {
            std::vector<std::byte> base = record;
            for (const tFieldInfo& field : effect.info->fields) {
                if (!findCurve(effect.curves, field)) continue;
                const std::vector<std::byte> value = fieldBytes(field, record);
                if (value != fieldBytes(field, now)) setKey(effect.curves, field, frame, value);
                putFieldBytes(field, base, fieldBytes(field, effect.record));
            }
            effect.record = std::move(base);
            effect.ownLevels = own;
        },
        mergeKey.isEmpty() ? QString() : mergeKey + QStringLiteral("/%1").arg(m_frame));
}

void KeyEditor::toggle(const tFieldInfo& field) {
    emit aboutToMove();
    const bool removes = hasKey(field);
    const std::vector<std::byte> value = fieldBytes(field, record());
    const std::int64_t frame = m_frame - in();
    m_document.settle();
    edit(removes ? tr("Remove a key of %1").arg(nameOf(field)) : tr("Add a key of %1").arg(nameOf(field)),
         [&](ProjectEffect& effect) {
             if (removes)
                 removeKey(effect.curves, field, frame);
             else
                 setKey(effect.curves, field, frame, value);
             if (!findCurve(effect.curves, field)) putFieldBytes(field, effect.record, value);
         });
}

void KeyEditor::go(const tFieldInfo& field, int direction) {
    if (const auto frame = neighbour(field, direction)) emit frameWanted(*frame);
}

void KeyEditor::move(const tFieldInfo& field, std::int64_t from, std::int64_t to) {
    if (from == to) return;
    m_document.settle();
    edit(tr("Move a key of %1").arg(nameOf(field)), [&](ProjectEffect& effect) {
        Curve* const curve = findCurve(effect.curves, field);
        if (!curve || keyAt(*curve, from - in()) == curve->keys.end()) return;
        std::erase_if(curve->keys, [&](const Key& key) { return key.frame == to - in(); });
        keyAt(*curve, from - in())->frame = to - in();
        std::ranges::sort(curve->keys, {}, &Key::frame);
    });
}

void KeyEditor::copy(const tFieldInfo& field, std::int64_t from, std::int64_t to) {
    if (from == to) return;
    m_document.settle();
    edit(tr("Copy a key of %1").arg(nameOf(field)), [&](ProjectEffect& effect) {
        Curve* const curve = findCurve(effect.curves, field);
        if (!curve || keyAt(*curve, from - in()) == curve->keys.end()) return;
        Key key = *keyAt(*curve, from - in());
        key.frame = to - in();
        std::erase_if(curve->keys, [&](const Key& other) { return other.frame == key.frame; });
        curve->keys.push_back(std::move(key));
        std::ranges::sort(curve->keys, {}, &Key::frame);
    });
}

void KeyEditor::remove(const tFieldInfo& field, std::int64_t frame) {
    m_document.settle();
    const std::vector<std::byte> value = fieldBytes(field, recordAtFrame(frame));
    edit(tr("Remove a key of %1").arg(nameOf(field)), [&](ProjectEffect& effect) {
        removeKey(effect.curves, field, frame - in());
        if (!findCurve(effect.curves, field)) putFieldBytes(field, effect.record, value);
    });
}

void KeyEditor::setWay(const tFieldInfo& field, std::int64_t frame, Way way) {
    if (!canMove(field)) return;
    m_document.settle();
    edit(tr("Change the way from a key of %1").arg(nameOf(field)), [&](ProjectEffect& effect) {
        Curve* const curve = findCurve(effect.curves, field);
        if (!curve) return;
        if (const auto key = keyAt(*curve, frame - in()); key != curve->keys.end()) key->way = way;
    });
}

void KeyEditor::setNumber(const tFieldInfo& field, std::int64_t frame, double number) {
    number = std::clamp(number, field.minimum, field.maximum);
    std::vector<std::byte> record = recordAtFrame(frame);
    setFieldText(field, record, QString::number(number, 'g', 6).toStdString());
    edit(
        tr("Change a key of %1").arg(nameOf(field)),
        [&](ProjectEffect& effect) { setKey(effect.curves, field, frame - in(), fieldBytes(field, record)); },
        QStringLiteral("key/%1/%2").arg(field.name).arg(frame));
}

void KeyEditor::setSpan(std::optional<std::int64_t> from, std::optional<std::int64_t> to) {
    if (!canHaveSpan()) return;
    if (from && to && *to < *from) (from == span().from ? from : to).reset();
    m_document.settle();
    const Slot slot = m_document.selected();
    m_document.change(tr("Set where the effect works"), [&](Project& project) {
        Span& span = effectIn(project, slot)->span;
        span = {};
        if (from) span.from = *from - in();
        if (to) span.to = *to - in();
    });
}

} // namespace larkmoor
