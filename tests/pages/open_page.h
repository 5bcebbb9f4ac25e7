// A settings page of the loaded module on an effect of its own, driven as a toolkit drives it.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "host/object.h"
#include "module.h"
#include "platform/page.h"

/// Writes down what a page tells.
class CNotedSink : public larkmoor::ObjectOf<IKwPageSink> {
  public:
    std::vector<tPageNotice> notices;
    HRESULT answer = S_OK;
    std::function<void(const tPageNotice&)> then;

    HRESULT OnPageNotice(const tPageNotice* notice) override {
        notices.push_back(*notice);
        if (then) then(*notice);
        return answer;
    }
    int Count(LONG code, LONG control = -1) const {
        int count = 0;
        for (const tPageNotice& notice : notices)
            count += notice.code == code && (control < 0 || notice.control == control);
        return count;
    }
};

/// The page class of an effect, or null ids for an effect without one.
inline CLSID PageClassOf(IUnknown* effect) {
    CLSID found{};
    CAUUID pages{};
    const auto named = KwQuery<ISpecifyPropertyPages>(effect);
    if (named && SUCCEEDED(named->GetPages(&pages)) && pages.cElems > 0) found = pages.pElems[0];
    std::free(pages.pElems);
    return found;
}

namespace larkmoor {
inline void PrintTo(const EffectInfo& info, std::ostream* out) {
    *out << info.className;
}
} // namespace larkmoor

inline std::vector<larkmoor::EffectInfo> EffectsWithPages() {
    std::vector<larkmoor::EffectInfo> all(larkmoor::module().effects().begin(), larkmoor::module().effects().end());
    std::erase_if(all,
                  [](const auto& info) { return PageClassOf(larkmoor::module().create(info).object()) == CLSID{}; });
    return all;
}

struct tOpenPage {
    larkmoor::Effect effect;
    larkmoor::MessageQueue queue; ///< the window, which outlives the page
    CComPtr<IUnknown> object;
    CComPtr<IPropertyPage> page;
    CComPtr<IKwPage> model;
    CComPtr<CNotedSink> sink = larkmoor::makeObject<CNotedSink>();

    explicit tOpenPage(const char* name, bool open = true) : tOpenPage(larkmoor::module().find(name), open) {}
    explicit tOpenPage(const larkmoor::EffectInfo& info, bool open = true)
        : effect(larkmoor::module().create(info)),
          object(larkmoor::module().createObject(PageClassOf(effect.object()))),
          page(KwQuery<IPropertyPage>(object.Get())), model(KwQuery<IKwPage>(object.Get())) {
        Take(effect);
        model->SetPageSink(sink.Get());
        if (open) {
            EXPECT_EQ(page->Activate(&queue, nullptr, FALSE), S_OK);
        }
    }
    ~tOpenPage() {
        if (model) model->SetPageSink(nullptr);
        if (page) page->Deactivate();
    }

    void Take(const larkmoor::Effect& other) {
        IUnknown* objects[] = {other.object()};
        EXPECT_EQ(page->SetObjects(1, objects), S_OK);
    }

    std::vector<tPageControl> Controls() const {
        std::vector<tPageControl> all;
        tPageControl control{};
        for (LONG i = 0; model->GetControl(i, &control, sizeof control) == S_OK; ++i) all.push_back(control);
        return all;
    }
    tPageControl Control(LONG id) const {
        tPageControl control{};
        EXPECT_EQ(model->FindControl(id, &control, sizeof control), S_OK) << id;
        return control;
    }
    std::string Text(LONG id) const { return Control(id).text; }
    LONG Value(LONG id) const { return Control(id).value; }
    std::string Item(LONG id, LONG index) const {
        const char* text = nullptr;
        return model->GetItem(id, index, &text) == S_OK ? text : "?";
    }
    std::string Chosen(LONG id) const { return Item(id, Value(id)); }

    HRESULT Send(LONG id, LONG kind, LONG x = 0, LONG y = 0, LONG value = 0, ULONG modifiers = 0, LONG part = 0,
                 const char* text = nullptr) {
        const tPageEvent event{kind, x, y, value, modifiers, part, text};
        return model->SendEvent(id, &event);
    }
    HRESULT Key(LONG id, LONG key, ULONG modifiers = 0, LONG part = 0) {
        const HRESULT status = Send(id, KWEVENT_KEY, 0, 0, key, modifiers, part);
        Send(id, KWEVENT_KEY_UP, 0, 0, key, modifiers, part);
        return status;
    }
    void Type(LONG id, const std::string& text, LONG part = 0) {
        EXPECT_EQ(Send(id, KWEVENT_FOCUS, 0, 0, 0, 0, part) & 0x80000000, 0) << id;
        EXPECT_EQ(Send(id, KWEVENT_TEXT, 0, 0, 0, 0, part, text.c_str()), S_OK) << id;
        EXPECT_EQ(Send(id, KWEVENT_BLUR, 0, 0, 0, 0, part), S_OK) << id;
    }
    void Click(LONG id) { EXPECT_EQ(Send(id, KWEVENT_CLICK), S_OK) << id; }
    void Choose(LONG id, LONG index) { EXPECT_EQ(Send(id, KWEVENT_SELECT, 0, 0, index), S_OK) << id; }
    void Choose(LONG id, const std::string& text) {
        for (LONG i = 0; i < Control(id).itemCount; ++i)
            if (Item(id, i) == text) return Choose(id, i);
        ADD_FAILURE() << id << " has no " << text;
    }
    /// Drags the thumb of a trackbar that is drawn a pixel wide for each position.
    void Drag(LONG id, LONG position) {
        const tPageControl bar = Control(id);
        tTrackbarDetail detail{};
        Send(id, KWEVENT_SIZE, bar.maximum - bar.minimum + 7, 12);
        ASSERT_EQ(model->GetDetail(id, &detail, sizeof detail), S_OK);
        ASSERT_EQ(detail.thumb.right - detail.thumb.left, 7);
        Send(id, KWEVENT_PRESS, detail.thumb.left + 1);
        Send(id, KWEVENT_MOVE, position - bar.minimum + 1, 0, 1);
        Send(id, KWEVENT_RELEASE, position - bar.minimum + 1);
        EXPECT_EQ(Value(id), position) << id;
    }
    std::intptr_t Page(UINT message, std::uintptr_t wParam = 0, std::intptr_t lParam = 0) {
        std::intptr_t result = -1;
        EXPECT_EQ(model->SendPage(message, wParam, lParam, &result), S_OK);
        return result;
    }
    std::intptr_t Command(LONG id, UINT notification = 0) {
        return Page(WM_COMMAND, static_cast<std::uintptr_t>(id) | std::uintptr_t{notification} << 16);
    }
    /// Hands the page what was posted to its window. The number of messages.
    std::size_t Deliver() {
        const auto posted = queue.take();
        for (const auto& message : posted) Page(message.message, message.wParam, message.lParam);
        return posted.size();
    }
    /// Changes the record from elsewhere.
    void Set(std::string_view field, std::string_view value) {
        effect.set(field, value);
        Command(kPageRefresh);
    }
    double Number(std::string_view field, LONG element = 0) const {
        const tFieldInfo& known = effect.info().field(field);
        const std::vector<std::byte> record = effect.record();
        const std::byte* const at = record.data() + known.offset;
        const auto read = [&]<class T>(T value) {
            std::memcpy(&value, at + static_cast<std::size_t>(element) * sizeof value, sizeof value);
            return static_cast<double>(value);
        };
        return known.type == KWTYPE_LONG ? read(LONG{}) : known.type == KWTYPE_FLOAT ? read(float{}) : read(double{});
    }
};
