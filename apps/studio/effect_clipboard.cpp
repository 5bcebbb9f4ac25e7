#include "effect_clipboard.h"

#include <QApplication>
#include <QClipboard>

#include "text.h"

namespace larkmoor {

namespace {

void put(std::vector<ProjectEffect> effects) {
    if (effects.empty()) return;
    // What made the pictures elsewhere is laid over them here.
    for (ProjectEffect& effect : effects) effect.over = effect.info->kind == EffectKind::Generator;
    QApplication::clipboard()->setText(text(effectsText(effects)));
}

} // namespace

void copyEffect(const Document& document) {
    if (const ProjectEffect* const effect = document.selectedEffect()) put({*effect});
}

void copyAllEffects(const Document& document) {
    if (document.project()) put(document.project()->effects);
}

void pasteEffects(Document& document) {
    if (!document.project()) return;
    const auto pasted = parseEffects(document.module(), QApplication::clipboard()->text().toStdString());
    const Slot selected = document.selected();
    const int at = selected.kind == Slot::Kind::Effect ? selected.index + 1 : 0;
    Slot last = selected;
    document.change(Document::tr("Paste"), [&](Project& project) {
        auto place = project.effects.begin() + at;
        for (const ProjectEffect& effect : pasted) {
            if (effect.info->kind != EffectKind::Transition) {
                place = project.effects.insert(place, effect) + 1;
                last = {Slot::Kind::Effect, static_cast<int>(place - project.effects.begin()) - 1};
            } else if (project.second) {
                project.second->transition = effect;
                last = {Slot::Kind::Transition, 0};
            } else {
                throw Error(Document::tr("%1 joins two clips; add a second clip first.")
                                .arg(text(effect.info->name))
                                .toStdString());
            }
        }
    });
    document.select(last);
}

} // namespace larkmoor
