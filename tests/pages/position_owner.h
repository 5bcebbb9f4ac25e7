// An owner of a trackbar or spinner that writes down what it is told and, as a page does, moves the control.
#pragma once

#include <string>
#include <vector>

#include "pages/controls/position_range.h"

class CRecordingOwner : public IControlOwner {
  public:
    LONG small = 1, large = 0;
    bool moves = true;
    /// Scroll codes with the position after each, as in "1:51 8:51", and notices by name.
    std::string log;
    int changes = 0;
    std::vector<std::uintptr_t> words;

    std::intptr_t OnControlMessage(CPageControl& from, UINT message, std::uintptr_t wParam,
                                   std::intptr_t lParam) override {
        if (message == WM_HSCROLL) {
            words.push_back(wParam);
            auto& control = *reinterpret_cast<CPositionControl*>(lParam);
            if (&from != &control) return Add("foreign"), 0;
            const LONG code = static_cast<LONG>(wParam & 0xFFFF);
            if (moves && code < 8) TrackbarScroll(code, control, small, large);
            Add(std::to_string(code) + ":" + std::to_string(control.Range().pos));
        } else {
            last = {message, wParam, lParam};
            OnOther(message, lParam);
        }
        return 0;
    }
    void OnControlNotice(const tPageNotice& notice) override {
        switch (notice.code) {
        case KWNOTICE_CHANGED:
            ++changes;
            break;
        case KWNOTICE_SETTLED:
            Add("settled");
            break;
        case KWNOTICE_CAPTURE:
            Add(notice.x ? "capture" : "free");
            break;
        case KWNOTICE_TIMER:
            Add(notice.y ? "timer" : "still");
            break;
        case KWNOTICE_FOCUS:
            Add("focus");
            break;
        default:
            Add("?");
        }
    }
    /// What came since the last call.
    std::string Take() { return std::exchange(log, {}); }
    int TakeChanges() { return std::exchange(changes, 0); }

    struct {
        UINT message = 0;
        std::uintptr_t wParam = 0;
        std::intptr_t lParam = 0;
    } last;

  protected:
    ~CRecordingOwner() = default;
    virtual void OnOther(UINT /*message*/, std::intptr_t /*lParam*/) {}

  private:
    void Add(const std::string& word) { log += (log.empty() ? "" : " ") + word; }
};
