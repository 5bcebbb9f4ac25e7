// How controls and record follow each other: what the user does becomes a value, what the record holds is shown.
#include <cmath>

#include "pages/page.h"
#include "support/value_format.h"
#include "support/value_read.h"

namespace {

constexpr std::size_t kEditBytes = 260; ///< an edit is read up to this, the ending zero included
constexpr UINT kHandleReplace = 2052, kHandleGet = 2053;

template <class T>
T Read(const std::byte* at) {
    T value;
    std::memcpy(&value, at, sizeof value);
    return value;
}
template <class T>
void Write(std::byte* at, T value) {
    std::memcpy(at, &value, sizeof value);
}

std::size_t ElementSize(tFieldType type) {
    return type == KWTYPE_DOUBLE ? sizeof(double) : sizeof(float);
}

} // namespace

// --- from the controls

void CPropPageBase::OnHScroll(tBound& bound, LONG code) {
    if (bound.item->kind == KWCONTROL_SPINNER) {
        OnSpin(static_cast<CSpinner&>(*bound.control), code);
        return;
    }
    const tPageItem& item = *bound.item;
    const tFieldInfo* const field = Field(item);
    // The end of a gesture brings no position of its own.
    if (item.kind != KWCONTROL_TRACKBAR || !field || code >= KWSCROLL_END) return;
    const LONG position =
        TrackbarScroll(code, static_cast<CTrackbar&>(*bound.control), item.scale->smallStep, item.scale->largeStep);
    SetNumber(*field, item.scale->toValue(position));
    Push(*field, false);
    ShowMate(bound);
    ApplyChanges();
    ShowRecord(bound.control.get());
}

double CPropPageBase::ReadEdit(const CEdit& edit, double present, double minimum, double maximum, double step) {
    const std::string text = edit.Text().substr(0, kEditBytes - 1);
    if (text.empty()) return present;
    const double value = std::min(std::max(ReadDouble(text.c_str(), nullptr), minimum), maximum);
    // A step that was typed counts as one although binary fractions fall short of it, those of floats by up to 1e-7 of
    // the value. A record that holds no number takes any.
    const double slack = 1e-7 * std::max(std::fabs(value), step);
    return std::fabs(value - present) < step - slack ? present : value;
}

void CPropPageBase::OnEdit(tBound& bound) {
    const tFieldInfo& field = *Field(*bound.item);
    double minimum = field.minimum, maximum = field.maximum;
    for (const tPagePair& pair : m_info.pairs) {
        const tFieldInfo *const low = FieldNamed(pair.low), *const high = FieldNamed(pair.high);
        if (low == &field && pair.lowEdit == tPairEdit::STOPS) maximum = std::min(maximum, Number(*high));
        if (high == &field && pair.highEdit == tPairEdit::STOPS) minimum = std::max(minimum, Number(*low));
    }
    const double present = Number(field);
    const double value = ReadEdit(static_cast<CEdit&>(*bound.control), present, minimum, maximum, field.step);
    if (value == present || (std::isnan(value) && std::isnan(present))) {
        ShowRecord();
        return;
    }
    SetNumber(field, value);
    Push(field, true);
    ApplyChanges();
    ShowRecord();
}

void CPropPageBase::Push(const tFieldInfo& field, bool fromEdit) {
    for (const tPagePair& pair : m_info.pairs) {
        const tFieldInfo *const low = FieldNamed(pair.low), *const high = FieldNamed(pair.high);
        if (low == &field && (!fromEdit || pair.lowEdit == tPairEdit::PUSHES) && Number(*low) > Number(*high))
            SetNumber(*high, Number(*low));
        if (high == &field && (!fromEdit || pair.highEdit == tPairEdit::PUSHES) && Number(*high) < Number(*low))
            SetNumber(*low, Number(*high));
    }
}

void CPropPageBase::OnColor(tBound& bound) {
    const tPageItem& item = *bound.item;
    const tFieldInfo* const field = Field(item);
    if (!field) return;
    float color[4]{};
    bound.control->Message(kColorPickGet, 0, reinterpret_cast<std::intptr_t>(color));
    const std::string_view letters = item.elements ? item.elements : field->components;
    for (std::size_t i = 0; i < letters.size(); ++i)
        if (const std::size_t at = std::string_view("bgra").find(letters[i]); at != std::string_view::npos)
            SetNumber(*field, color[at], static_cast<LONG>(i));
    ApplyChanges();
    ShowRecord(bound.control.get());
}

void CPropPageBase::OnPlacement(tBound& bound) {
    const tFieldInfo* const x = Field(*bound.item);
    if (!x) return;
    tPlacementHandle handle{};
    if (!bound.control->Message(kHandleGet, 0, reinterpret_cast<std::intptr_t>(&handle))) return;
    const tFieldInfo* const y = bound.item->secondField ? FieldNamed(bound.item->secondField) : nullptr;
    SetNumber(*x, handle.x);
    if (y)
        SetNumber(*y, handle.y);
    else
        SetNumber(*x, handle.y, 1);
    ApplyChanges();
    ShowRecord(bound.control.get());
}

// --- to the controls

void CPropPageBase::ShowRecord(const CPageControl* except) {
    for (tBound& bound : m_controls) {
        if (bound.item->enabledBy) {
            const tFieldInfo* const gate = FieldNamed(bound.item->enabledBy);
            const bool enabled = gate && Number(*gate) != 0;
            if (enabled != bound.enabled) {
                bound.enabled = enabled;
                Notify(KWNOTICE_CHANGED, bound.item->id);
            }
        }
        if (bound.control.get() != except) Show(bound);
    }
    for (const tBound& bound : m_controls)
        if (bound.item->showsMate) ShowMate(bound);
}

void CPropPageBase::Show(tBound& bound) {
    const tPageItem& item = *bound.item;
    const tFieldInfo* const field = Field(item);
    if (!field) return;
    switch (item.kind) {
    case KWCONTROL_EDIT: {
        const double value = Number(*field);
        auto& edit = static_cast<CEdit&>(*bound.control);
        edit.SetText(field->kind == KWFIELD_WHOLE ? FormatText(field->format, KwTrunc(value))
                                                  : FormatText(field->format, value));
        return;
    }
    case KWCONTROL_CHECK:
        static_cast<CCheck&>(*bound.control).SetChecked(Number(*field) != 0);
        return;
    case KWCONTROL_RADIO:
        // One of two is chosen by 0, the other by anything else.
        static_cast<CCheck&>(*bound.control)
            .SetChecked(field->choiceCount == 2 ? (Number(*field) != 0) == (item.value != 0)
                                                : Number(*field) == item.value);
        return;
    case KWCONTROL_LIST: {
        auto& list = static_cast<CList&>(*bound.control);
        list.Select(list.FindData(KwTrunc(Number(*field))));
        return;
    }
    case KWCONTROL_TRACKBAR:
        bound.control->Message(KWPOS_SET, 1, item.scale->toPosition(Number(*field)));
        return;
    case KWCONTROL_COLOR: {
        float color[4] = {0, 0, 0, 1};
        const std::string_view letters = item.elements ? item.elements : field->components;
        for (std::size_t i = 0; i < letters.size(); ++i)
            if (const std::size_t at = std::string_view("bgra").find(letters[i]); at != std::string_view::npos)
                color[at] = static_cast<float>(Number(*field, static_cast<LONG>(i)));
        bound.control->Message(kColorPickSet, 0, reinterpret_cast<std::intptr_t>(color));
        return;
    }
    case KWCONTROL_PLACEMENT: {
        tPlacementHandle handle{};
        if (!bound.control->Message(kHandleGet, 0, reinterpret_cast<std::intptr_t>(&handle))) return;
        handle.x = Number(*field);
        const tFieldInfo* const y = item.secondField ? FieldNamed(item.secondField) : nullptr;
        handle.y = y ? Number(*y) : Number(*field, 1);
        bound.control->Message(kHandleReplace, 0, reinterpret_cast<std::intptr_t>(&handle));
        return;
    }
    default:
        return;
    }
}

void CPropPageBase::ShowMate(const tBound& bound) {
    if (bound.item->kind != KWCONTROL_TRACKBAR || bound.item->buddy == 0) return;
    if (tBound* const mate = Find(bound.item->buddy))
        mate->control->Message(KWPOS_SET_DEFAULT, 0, bound.control->Message(KWPOS_GET, 0, 0));
}

void CPropPageBase::ShowControl(LONG id, bool visible) {
    tBound* const bound = Find(id);
    if (!bound || bound->visible == visible) return;
    bound->visible = visible;
    Notify(KWNOTICE_CHANGED, id);
}

// --- the record

const tFieldInfo* CPropPageBase::FieldNamed(std::string_view name) const {
    const auto found = std::ranges::find_if(m_fields, [&](const tFieldInfo& field) { return field.name == name; });
    return name.empty() || found == m_fields.end() ? nullptr : &*found;
}

double CPropPageBase::Number(const tFieldInfo& field, LONG element) const {
    const std::byte* const at =
        m_Params.data() + field.offset + static_cast<std::size_t>(element) * ElementSize(field.type);
    switch (field.type) {
    case KWTYPE_LONG:
        return Read<LONG>(at);
    case KWTYPE_FLOAT:
        return double{Read<float>(at)};
    case KWTYPE_DOUBLE:
        return Read<double>(at);
    case KWTYPE_BYTES:
        break;
    }
    return 0;
}

void CPropPageBase::SetNumber(const tFieldInfo& field, double value, LONG element) {
    std::byte* const at = m_Params.data() + field.offset + static_cast<std::size_t>(element) * ElementSize(field.type);
    switch (field.type) {
    case KWTYPE_LONG:
        return Write<LONG>(at, KwTrunc(value));
    case KWTYPE_FLOAT:
        return Write<float>(at, static_cast<float>(value));
    case KWTYPE_DOUBLE:
        return Write<double>(at, value);
    case KWTYPE_BYTES:
        break;
    }
}
