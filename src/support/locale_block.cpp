#include "support/locale_block.h"

#include <algorithm>

#include "support/named_strings.h"
#include "support/strings.h"
#include "support/value_format.h"

namespace {

/// Templates of the clock and music labels with the separators put in.
void EnterNamedStrings(const tLOCALEBLOCK& locale) {
    const char* const whole = locale.smpteWhole.text;
    const char* const nonDrop = locale.smpteNonDrop.text;
    const char* const drop = locale.smpteDrop.text;
    const char* const measure = locale.measureBeat.text;
    const char* const beat = locale.beatTick.text;
    const auto label = [&](const char* key, UINT id, auto... marks) {
        char text[260];
        FormatValue(locale, text, GetResourceString(nullptr, id), marks...);
        SetNamedString(key, text);
    };
    SetNamedString("SMPTE.Whole", whole);
    SetNamedString("SMPTE.NonDrop", nonDrop);
    SetNamedString("SMPTE.Drop", drop);
    SetNamedString("m.b", measure);
    SetNamedString("b.t", beat);
    label("SMPTE.Label.NonDrop", 48304, whole, whole, nonDrop);
    label("SMPTE.Label.Drop", 48304, whole, whole, drop);
    label("SMPTE.Label.NonDrop.Full", 48305, whole, whole, nonDrop);
    label("SMPTE.Label.Drop.Full", 48305, whole, whole, drop);
    label("MusicTime.Label", 48306, measure, beat);
    label("MusicTime.Label.Full", 48307, measure, beat);
}

tLOCALEMARK NamedMark(const char* key, std::string_view otherwise) {
    std::string value;
    tLOCALEMARK mark;
    mark = GetNamedString(key, value) ? std::string_view(value) : otherwise;
    return mark;
}

} // namespace

std::string_view LocaleItem(const tLOCALEBLOCK& locale, LONG item) noexcept {
    switch (item) {
    case kItemDecimal:
        return locale.facts.decimal.View();
    case kItemList:
        return locale.facts.listSeparator.View();
    case kItemTime:
        return locale.facts.timeSeparator.View();
    case kItemSmpteWhole:
        return locale.smpteWhole.View();
    case kItemSmpteNonDrop:
        return locale.smpteNonDrop.View();
    case kItemSmpteDrop:
        return locale.smpteDrop.View();
    case kItemMeasureBeat:
        return locale.measureBeat.View();
    case kItemBeatTick:
        return locale.beatTick.View();
    default:
        return {};
    }
}

tLOCALEBLOCK MakeLocaleBlock(const tLOCALEFACTS& facts) noexcept {
    tLOCALEBLOCK block{sizeof(tLOCALEBLOCK), facts};
    const std::string_view decimal = facts.decimal.View(), thousands = facts.thousands.View();
    if (decimal.empty() || decimal == thousands) block.facts.decimal = thousands == "." ? "," : ".";
    block.smpteWhole = NamedMark("SMPTE.Whole", ":");
    block.smpteNonDrop = NamedMark("SMPTE.NonDrop", ".");
    block.smpteDrop = NamedMark("SMPTE.Drop", ",");
    block.measureBeat = NamedMark("m.b", ".");
    block.beatTick = NamedMark("b.t", ".");
    return block;
}

const tLOCALEBLOCK& UserLocale() noexcept {
    static const tLOCALEBLOCK user = [] {
        const tLOCALEBLOCK block = MakeLocaleBlock(KwReadLocale());
        EnterNamedStrings(block);
        return block;
    }();
    return user;
}

ULONG GetLocaleBlock(void* dest, ULONG size) noexcept {
    if (!dest || size < sizeof(ULONG)) return 0;
    tLOCALEBLOCK block = UserLocale();
    block.size = std::min<ULONG>(size, sizeof block);
    std::memcpy(dest, &block, block.size);
    return block.size;
}
