// What the controls of a page are called, and which fields of the effect's record they set.
#pragma once

#include <span>
#include <vector>

#include <QString>

#include "platform/page.h"

namespace larkmoor {

struct NamedControl {
    LONG id;
    tPageControlKind kind;
    LONG buddy;
    QString text, help;
};

/// A text without its mnemonic's mark and its colon.
QString plainName(QString text);

/// A name for each control: its own text, the labels that reach it, or those that stand before it.
std::vector<QString> controlNames(std::span<const NamedControl> controls, const QString& title);

/// The index of the field that each control sets, by the sentence of help that both have; -1 for none. Fields that
/// share a sentence come in the order of the controls.
std::vector<int> controlFields(std::span<const NamedControl> controls, std::span<const QString> helpOfFields);

} // namespace larkmoor
