#pragma once
#include "toolkit/ScrolledList.h"

// A list box in the theme's colours. Its items are drawn by the dialog's WM_DRAWITEM (LBS_OWNERDRAWFIXED | LBS_HASSTRINGS in
// the template); with check boxes, Space and a click on the box change them, which the dialog hears as LBN_DBLCLK's
// neighbour kItemChecked by WM_COMMAND.
class CXTPListBox : public CXTPScrolledList {
  public:
    enum class Kind { Plain, Checks };
    // Notification code of WM_COMMAND: the box of the selected item was changed.
    static constexpr WORD kItemChecked = 100;

    explicit CXTPListBox(CXTPPaintManager& paint, Kind kind = Kind::Plain) : CXTPScrolledList(paint), m_kind(kind) {}

    void Clear() { SendMessageW(Handle(), LB_RESETCONTENT, 0, 0); }
    void Add(const std::wstring& text) { SendMessageW(Handle(), LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text.c_str())); }
    void Remove(int item) { SendMessageW(Handle(), LB_DELETESTRING, static_cast<WPARAM>(item), 0); }
    // Position, selection and data of the items stay.
    void SetItemText(int item, const std::wstring& text);
    int Selected() const { return static_cast<int>(SendMessageW(Handle(), LB_GETCURSEL, 0, 0)); }  // -1: none
    void Select(int item) { SendMessageW(Handle(), LB_SETCURSEL, static_cast<WPARAM>(item), 0); }
    bool IsChecked(int item) const { return SendMessageW(Handle(), LB_GETITEMDATA, static_cast<WPARAM>(item), 0) == 1; }
    void SetChecked(int item, bool checked);

  protected:
    void PreSubclassWindow() override;
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

  private:
    LRESULT OnDrawItem(const DRAWITEMSTRUCT& item) const;
    bool OnCharacter(WPARAM character);
    std::optional<LRESULT> OnClick(POINT point, WPARAM keys);
    void OnThemeChanged() const;
    void Toggle(int item);
    std::wstring ItemText(UINT item) const;
    RECT CheckBoxIn(const RECT& item) const;

    const Kind m_kind;
};
