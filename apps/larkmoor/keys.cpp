#include "keys.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "host/services.h"

namespace larkmoor {

namespace {

std::size_t sizeOf(const tFieldInfo& field) {
    const std::size_t element = field.type == KWTYPE_DOUBLE ? 8 : field.type == KWTYPE_BYTES ? 1 : 4;
    return element * static_cast<std::size_t>(std::max<LONG>(field.count, 0));
}

double load(const tFieldInfo& field, std::span<const std::byte> value, std::size_t element) {
    double number = 0;
    float single = 0;
    if (field.type == KWTYPE_DOUBLE) {
        std::memcpy(&number, value.data() + element * sizeof number, sizeof number);
        return number;
    }
    std::memcpy(&single, value.data() + element * sizeof single, sizeof single);
    return single;
}

void store(const tFieldInfo& field, std::span<std::byte> value, std::size_t element, double number) {
    const auto single = static_cast<float>(number);
    if (field.type == KWTYPE_DOUBLE)
        std::memcpy(value.data() + element * sizeof number, &number, sizeof number);
    else
        std::memcpy(value.data() + element * sizeof single, &single, sizeof single);
}

/// From one value to another; around the circle of 0 to 1 the shorter way, and of two equal ones a ramp's.
double distance(const tFieldInfo& field, double from, double to) {
    const double way = to - from;
    if (field.ramp != KWRAMP_HUE) return way;
    return way >= 0.5 ? way - 1 : way <= -0.5 ? way + 1 : way;
}

/// `CKwHermiteCubicEval::hermite`, which the module exports: one value at `x` between `x0` and `x1`.
using Hermite = double (*)(const void* self, double p0, double p1, double m0, double m1, double x, double x0,
                           double x1);

Hermite hermiteOf(const Module& module) {
    const auto found = reinterpret_cast<Hermite>(module.symbol("_ZNK19CKwHermiteCubicEval7hermiteEddddddd"));
    if (!found) throw Error("the module does not offer smooth curves; keys can be linear with it");
    return found;
}

/// One curve at a place on its way.
class Course {
  public:
    /// @param over the ends stand for 0 and 1.
    Course(const Curve& curve, bool over) : m_field(*curve.field), m_keys(curve.keys), m_over(over) {}

    std::vector<std::byte> at(const Module& module, const Effect& effect, std::span<const std::byte> base,
                              double x) const {
        const auto next = std::ranges::upper_bound(m_keys, x, {}, [&](const Key& key) { return place(key); });
        if (next == m_keys.begin()) return m_keys.front().value;
        const auto i = static_cast<std::size_t>(next - m_keys.begin()) - 1;
        const Key& key = m_keys[i];
        if (m_keys.size() == 2 && m_keys[0].way == Way::Linear && canMove(m_field)) {
            // As a ramp between two records is, to the last bit, its end included.
            const double share = (x - place(m_keys[0])) / (place(m_keys[1]) - place(m_keys[0]));
            return linear(effect, base, m_keys[0], m_keys[1], std::min(share, 1.0));
        }
        if (next == m_keys.end() || place(key) == x || key.way == Way::Hold || !canMove(m_field)) return key.value;
        if (key.way == Way::Smooth) return smooth(hermiteOf(module), i, x);
        return linear(effect, base, key, *next, (x - place(key)) / (place(*next) - place(key)));
    }

  private:
    std::vector<std::byte> linear(const Effect& effect, std::span<const std::byte> base, const Key& first,
                                  const Key& last, double share) const {
        std::vector<std::byte> from(base.begin(), base.end()), to = from;
        putFieldBytes(m_field, from, first.value);
        putFieldBytes(m_field, to, last.value);
        return fieldBytes(m_field, interpolate(effect, from, to, share));
    }

    double place(const Key& key) const {
        if (m_over) return key.frame == startFrame ? 0 : 1;
        return static_cast<double>(key.frame);
    }

    std::vector<std::byte> smooth(Hermite hermite, std::size_t i, double x) const {
        std::vector<std::byte> value = m_keys[i].value;
        for (std::size_t e = 0; e < static_cast<std::size_t>(m_field.count); ++e) {
            const double p0 = load(m_field, m_keys[i].value, e);
            const double p1 = p0 + distance(m_field, p0, load(m_field, m_keys[i + 1].value, e));
            double number =
                hermite(nullptr, p0, p1, slopeAt(i, e), slopeAt(i + 1, e), x, place(m_keys[i]), place(m_keys[i + 1]));
            // Rounding alone could leave the values on both sides.
            number = std::clamp(number, std::min(p0, p1), std::max(p0, p1));
            if (m_field.ramp == KWRAMP_HUE && (number < 0 || number > 1)) number -= std::floor(number);
            store(m_field, value, e, number);
        }
        return value;
    }

    double slope(std::size_t i, std::size_t element) const {
        const double from = load(m_field, m_keys[i].value, element), to = load(m_field, m_keys[i + 1].value, element);
        return distance(m_field, from, to) / (place(m_keys[i + 1]) - place(m_keys[i]));
    }

    /// At a key, for the smooth ways on both sides of it.
    double slopeAt(std::size_t i, std::size_t element) const {
        if (i == 0 || i + 1 == m_keys.size() || m_keys[i - 1].way != Way::Smooth || m_keys[i].way != Way::Smooth)
            return 0;
        const double before = slope(i - 1, element), after = slope(i, element);
        if (!(before * after > 0)) return 0;
        const double h0 = place(m_keys[i]) - place(m_keys[i - 1]), h1 = place(m_keys[i + 1]) - place(m_keys[i]);
        const double w0 = 2 * h1 + h0, w1 = h1 + 2 * h0;
        return (w0 + w1) / (w0 / before + w1 / after);
    }

    const tFieldInfo& m_field;
    const std::vector<Key>& m_keys;
    bool m_over;
};

std::int64_t framesOf(std::int64_t microseconds, AVRational rate) {
    return av_rescale(microseconds, rate.num, std::int64_t{1000000} * rate.den);
}

template <class AnyCurves>
auto find(AnyCurves& curves, const tFieldInfo& field) -> decltype(curves.data()) {
    const auto found = std::ranges::find(curves, &field, &Curve::field);
    return found == curves.end() ? nullptr : &*found;
}

constexpr std::pair<Way, const char*> ways[] = {{Way::Hold, "hold"}, {Way::Linear, "linear"}, {Way::Smooth, "smooth"}};

} // namespace

std::vector<std::byte> interpolate(const Effect& effect, std::span<const std::byte> from, std::span<const std::byte> to,
                                   double share) {
    const auto ramp = KwQuery<IKwParamRamp>(effect.object());
    const auto first = createMemoryStream(from), last = createMemoryStream(to), out = createMemoryStream();
    const HRESULT status = ramp ? ramp->Interpolate(out.Get(), first.Get(), last.Get(), share) : HRESULT{E_NOINTERFACE};
    if (FAILED(status)) throw StatusError(effect.info().name + " cannot be animated.", status);
    return streamContent(out.Get());
}

bool canMove(const tFieldInfo& field) {
    return field.ramp != KWRAMP_START && (field.type == KWTYPE_FLOAT || field.type == KWTYPE_DOUBLE);
}

const char* wayName(Way way) {
    return std::ranges::find(ways, way, &std::pair<Way, const char*>::first)->second;
}

std::optional<Way> wayOf(std::string_view name) {
    for (const auto& [way, word] : ways)
        if (name == word) return way;
    return {};
}

std::vector<std::byte> fieldBytes(const tFieldInfo& field, std::span<const std::byte> record) {
    const auto place = std::min(static_cast<std::size_t>(field.offset), record.size());
    const auto rest = record.subspan(place);
    const std::size_t size = field.kind == KWFIELD_TEXT ? rest.size() : std::min(sizeOf(field), rest.size());
    return {rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(size)};
}

void putFieldBytes(const tFieldInfo& field, std::vector<std::byte>& record, std::span<const std::byte> value) {
    const auto place = static_cast<std::size_t>(field.offset);
    if (field.kind == KWFIELD_TEXT) record.resize(place + value.size());
    if (place > record.size()) return;
    std::copy_n(value.begin(), std::min(value.size(), record.size() - place),
                record.begin() + static_cast<std::ptrdiff_t>(place));
}

std::vector<double> fieldNumbers(const tFieldInfo& field, std::span<const std::byte> record) {
    std::vector<double> numbers;
    const std::vector<std::byte> value = fieldBytes(field, record);
    for (std::size_t i = 0; canMove(field) && i < static_cast<std::size_t>(field.count); ++i)
        numbers.push_back(load(field, value, i));
    return numbers;
}

Curve* findCurve(Curves& curves, const tFieldInfo& field) {
    return find(curves, field);
}
const Curve* findCurve(const Curves& curves, const tFieldInfo& field) {
    return find(curves, field);
}

std::vector<std::byte> recordAt(const Module& module, const Effect& effect, std::span<const std::byte> base,
                                const Curves& curves, std::int64_t frame, double progress) {
    std::vector<std::byte> record(base.begin(), base.end());
    for (const Curve& curve : curves) {
        if (curve.keys.empty()) continue;
        const bool over = curve.keys.front().frame == startFrame || curve.keys.back().frame == endFrame;
        const double x = over ? progress : static_cast<double>(frame);
        putFieldBytes(*curve.field, record, Course(curve, over).at(module, effect, base, x));
    }
    return record;
}

Curves rampCurves(const EffectInfo& info, std::span<const std::byte> from, std::span<const std::byte> to,
                  const std::optional<std::pair<std::int64_t, std::int64_t>>& frames) {
    Curves curves;
    for (const tFieldInfo& field : info.fields) {
        if (!canMove(field)) continue;
        Key first{frames ? frames->first : startFrame, fieldBytes(field, from)};
        Key last{frames ? frames->second : endFrame, fieldBytes(field, to)};
        if (first.value == last.value) continue;
        if (first.frame == last.frame) ++last.frame;
        curves.push_back({&field, {std::move(first), std::move(last)}});
    }
    return curves;
}

void checkEnds(const EffectInfo& info, const Curve& curve) {
    const bool one = curve.keys.size() < 2;
    const bool both = curve.keys.size() == 2 && curve.keys[0].frame == startFrame && curve.keys[1].frame == endFrame;
    if (info.kind == EffectKind::Transition && needsTotal({curve}) && !one && !both)
        throw Error("the keys of a transition stand at frames of the output, or one at its start and one at its end");
}

bool needsTotal(const Curves& curves) {
    return std::ranges::any_of(curves, [](const Curve& curve) {
        return std::ranges::any_of(curve.keys,
                                   [](const Key& key) { return key.frame == startFrame || key.frame == endFrame; });
    });
}

void settle(Curves& curves, std::int64_t start, std::int64_t end, AVRational rate) {
    for (Curve& curve : curves) {
        for (Key& key : curve.keys) {
            if (key.frame == startFrame || key.frame == endFrame)
                key.frame = key.frame == startFrame ? start : end;
            else if (key.timed)
                key.frame = framesOf(key.frame, rate);
            key.timed = false;
        }
        std::ranges::stable_sort(curve.keys, {}, &Key::frame);
        const auto same = [](const Key& a, const Key& b) { return a.frame == b.frame; };
        curve.keys.erase(std::unique(curve.keys.begin(), curve.keys.end(), same), curve.keys.end());
    }
}

void settle(Span& span, AVRational rate) {
    if (span.from && span.fromTimed) span.from = framesOf(*span.from, rate);
    if (span.to && span.toTimed) span.to = framesOf(*span.to, rate);
    span.fromTimed = span.toTimed = false;
}

void shift(Curves& curves, Span& span, std::int64_t frames) {
    for (Curve& curve : curves)
        for (Key& key : curve.keys)
            if (key.frame != startFrame && key.frame != endFrame) key.frame += frames;
    if (span.from) *span.from += frames;
    if (span.to) *span.to += frames;
}

void setKey(Curves& curves, const tFieldInfo& field, std::int64_t frame, std::span<const std::byte> value) {
    Curve* curve = findCurve(curves, field);
    // In the order of the effect's fields, as in a file.
    if (!curve) curve = &*curves.insert(std::ranges::upper_bound(curves, &field, {}, &Curve::field), Curve{&field, {}});
    const auto at = std::ranges::lower_bound(curve->keys, frame, {}, &Key::frame);
    if (at != curve->keys.end() && at->frame == frame) {
        at->value.assign(value.begin(), value.end());
        return;
    }
    // A key set on the way from one to another leaves the way's kind as it is.
    const Way way = !canMove(field) ? Way::Hold : at != curve->keys.begin() ? std::prev(at)->way : Way::Linear;
    curve->keys.insert(at, Key{frame, {value.begin(), value.end()}, way});
}

void removeKey(Curves& curves, const tFieldInfo& field, std::int64_t frame) {
    Curve* const curve = findCurve(curves, field);
    if (!curve) return;
    std::erase_if(curve->keys, [&](const Key& key) { return key.frame == frame; });
    if (curve->keys.empty()) std::erase_if(curves, [&](const Curve& each) { return each.field == &field; });
}

} // namespace larkmoor
