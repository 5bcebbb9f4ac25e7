// The controls that every toolkit has: texts, edits, check boxes, radio buttons and lists.
#pragma once

#include <string>
#include <vector>

#include "pages/controls/control.h"

/// A label, or the title of a group.
class CStaticText final : public CPageControl {
  public:
    using CPageControl::CPageControl;
    void SetText(const char* text) {
        if (m_text == text) return;
        m_text = text;
        Changed();
    }
    void Describe(tPageControl& out) const override { out.text = m_text.c_str(); }

  private:
    std::string m_text;
};

/// An edit of one line or several. It tells its owner EN_UPDATE as the user types and EN_KILLFOCUS when he leaves.
class CEdit final : public CPageControl {
  public:
    using CPageControl::CPageControl;
    const std::string& Text() const { return m_text; }
    /// The user changed the text since it was set.
    bool IsModified() const { return m_modified; }
    void SetText(std::string_view text);
    HRESULT Event(const tPageEvent& event) override;
    void Describe(tPageControl& out) const override { out.text = m_text.c_str(); }

  private:
    std::string m_text;
    bool m_modified = false;
};

/// A check box or radio button; a radio button's group is its owner's affair. It tells its owner BN_CLICKED.
class CCheck final : public CPageControl {
  public:
    CCheck(IControlOwner& owner, LONG id, const char* label) : CPageControl(owner, id), m_label(label) {}
    bool IsChecked() const { return m_checked; }
    void SetChecked(bool checked);
    HRESULT Event(const tPageEvent& event) override;
    void Describe(tPageControl& out) const override;

  private:
    std::string m_label;
    bool m_checked = false;
};

/// A drop-down list, each item with a number of its own. It tells its owner CBN_SELCHANGE.
class CList final : public CPageControl {
  public:
    CList(IControlOwner& owner, LONG id, bool sorted) : CPageControl(owner, id), m_sorted(sorted) {}
    /// A sorted list puts the item at its place without regard to case, behind equal ones.
    void Add(std::string text, LONG data);
    /// -1 for none. The user's choice alone is told to the owner.
    void Select(LONG index);
    LONG Selection() const { return m_selected; }
    /// The number of the chosen item, or `none`.
    LONG SelectedData(LONG none) const;
    /// The last item with a number; -1 for none.
    LONG FindData(LONG data) const;
    LONG FindText(std::string_view text) const;
    HRESULT Event(const tPageEvent& event) override;
    void Describe(tPageControl& out) const override;
    LONG ItemCount() const override { return static_cast<LONG>(m_items.size()); }
    const char* Item(LONG index) const override;

  private:
    struct tItem {
        std::string text;
        LONG data;
    };
    std::vector<tItem> m_items;
    LONG m_selected = -1;
    bool m_sorted;
};
