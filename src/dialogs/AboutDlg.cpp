#include "dialogs/AboutDlg.h"

#include "common/CodePage.h"
#include "common/Version.h"
#include "dialogs/resource.h"
#include "toolkit/Gdi.h"
#include "toolkit/MessageMap.h"
#include "toolkit/TaskDialog.h"

LRESULT CHyperlink::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    static constexpr std::array kMap = {
        MapMessage<WM_LBUTTONUP, &CHyperlink::Open>(),
        MapMessage<WM_KEYDOWN, &CHyperlink::OnKeyDown>(),
        MapMessage<WM_GETDLGCODE, &CHyperlink::OnGetDialogCode>(),
        MapMessage<WM_SETCURSOR, &CHyperlink::OnSetCursor>(),
    };
    if (const auto result = DispatchByMap(*this, kMap, message, wParam, lParam)) return *result;
    return CXTPControl::OnMessage(message, wParam, lParam);
}

void CHyperlink::Open() const {
    OpenAddress(Handle(), m_target.c_str());
}

void CHyperlink::OnKeyDown(WPARAM key) const {
    if (key == VK_SPACE || key == VK_RETURN) Open();
}

// Enter is for the link, not for the default button, while it has the focus.
LRESULT CHyperlink::OnGetDialogCode(WPARAM, LPARAM typed) const {
    return typed != 0 && reinterpret_cast<const MSG*>(typed)->wParam == VK_RETURN ? DLGC_WANTMESSAGE : 0;
}

LRESULT CHyperlink::OnSetCursor() const {
    SetCursor(LoadCursorW(nullptr, MAKEINTRESOURCEW(32649)));  // the hand
    return TRUE;
}

void CHyperlink::OnDraw(HDC device, const RECT& area) {
    FillRect(device, &area, Paint().GetBrush(Paint().GetColor(COLOR_BTNFACE)));
    const COLORREF color = Paint().GetColor(ThemeColor::SeparatorText);
    const std::wstring text = Text();
    DrawControlText(device, Handle(), text.c_str(), area, color, DT_NOPREFIX);
    if (!IsHot() && !HasFocus()) return;
    const LONG width = TextSize(Handle(), FontOf(Handle()), text).cx;
    const RECT line = {area.left, area.bottom - 1, area.left + width, area.bottom};
    FillRect(device, &line, Paint().GetBrush(color));
}

CAboutDlg::CAboutDlg(CThemeManager& themes, HICON icon, HFONT nameFont)
    : CExDialog(IDD_ABOUT, themes),
      m_icon(icon),
      m_nameFont(nameFont),
      m_ok(themes.Paint()),
      m_contact(themes.Paint(), L"mailto:support@quorvel.example"),
      m_website(themes.Paint(), L"https://www.quorvel.example/") {}

bool CAboutDlg::OnInitDialog() {
    m_ok.SubclassDlgItem(Handle(), IDOK);
    m_contact.SubclassDlgItem(Handle(), IDC_ABOUT_CONTACT);
    m_website.SubclassDlgItem(Handle(), IDC_ABOUT_WEBSITE);
    SendMessageW(Item(IDC_ABOUT_ICON), STM_SETICON, reinterpret_cast<WPARAM>(m_icon), 0);
    SendMessageW(Item(IDC_ABOUT_NAME), WM_SETFONT, reinterpret_cast<WPARAM>(m_nameFont), FALSE);
    SetItemText(IDC_ABOUT_NAME, kApplicationName);
    SetItemText(IDC_ABOUT_VERSION, L"Version: " + NarrowToWide(kVersionText));
    return CExDialog::OnInitDialog();
}
