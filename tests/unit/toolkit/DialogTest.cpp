#include "ToolkitDialog.h"
#include "toolkit/MessageMap.h"
#include "toolkit/TaskDialog.h"
#include "toolkit/Wnd.h"

namespace {

using DialogTest = ToolkitDialogTest;

TEST_F(DialogTest, EnterEscapeAndClosingEndIt) {
    struct Case {
        UINT message;
        WPARAM wParam;
        INT_PTR expected;
    };
    for (const Case& entry :
         {Case{WM_COMMAND, IDOK, IDOK}, Case{WM_COMMAND, IDCANCEL, IDCANCEL}, Case{WM_SYSCOMMAND, SC_CLOSE, IDCANCEL}}) {
        class Plain : public CDialog {
          public:
            explicit Plain(const Case& end) : CDialog(500), m_end(end) {}

          private:
            bool OnInitDialog() override {
                PostMessageW(Handle(), m_end.message, m_end.wParam, 0);
                return true;
            }
            const Case m_end;
        };
        EXPECT_EQ(Plain(entry).DoModal(nullptr), entry.expected);
    }
    class Missing : public CDialog {
      public:
        Missing() : CDialog(999) {}
    };
    EXPECT_EQ(Missing().DoModal(nullptr), -1);
}

// Counts how often its window gets a text.
class CountingWnd : public CWnd {
  public:
    int changes = 0;

  protected:
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override {
        if (message == WM_SETTEXT) ++changes;
        return CWnd::OnMessage(message, wParam, lParam);
    }
};

TEST_F(DialogTest, ATextThatIsShownAlreadyIsNotSetAgain) {
    Run([](ToolkitDialog& dialog) {
        CountingWnd label;
        ASSERT_TRUE(label.SubclassDlgItem(dialog.Handle(), 14));
        dialog.SetItemText(14, L"Label");
        label.SetText(L"Label");
        EXPECT_EQ(label.changes, 0);
        dialog.SetItemText(14, L"Other");
        label.SetText(L"");
        label.SetText(L"");
        EXPECT_EQ(label.changes, 2);
        EXPECT_EQ(label.Text(), L"");
    });
}

TEST_F(DialogTest, AWindowOutlivesTheObjectThatTookItOverAndTheOtherWayRound) {
    Run([](ToolkitDialog& dialog) {
        const auto original = GetWindowLongPtrW(dialog.Item(14), GWLP_WNDPROC);
        {
            CountingWnd label;
            ASSERT_TRUE(label.SubclassDlgItem(dialog.Handle(), 14));
            EXPECT_FALSE(label.SubclassDlgItem(dialog.Handle(), IDOK)) << "one object, one window";
        }
        EXPECT_EQ(GetWindowLongPtrW(dialog.Item(14), GWLP_WNDPROC), original);
        SetWindowTextW(dialog.Item(14), L"after");
        EXPECT_EQ(dialog.ItemText(14), L"after");

        CountingWnd late;
        ASSERT_TRUE(late.SubclassDlgItem(dialog.Handle(), 14));
        DestroyWindow(dialog.Item(14));
        EXPECT_EQ(late.Handle(), nullptr);
        EXPECT_FALSE(late.SubclassDlgItem(dialog.Handle(), 998));
    });
}

// Three dialogs, one over the other, which nobody answers: a dialog, over it a message, over that a message box.
class Nested : public CDialog {
  public:
    Nested() : CDialog(500) {}
    INT_PTR message = 0;
    int box = 0;

  private:
    bool OnInitDialog() override {
        PostMessageW(Handle(), WM_APP, 0, 0);
        return true;
    }
    LRESULT OnMessage(UINT sent, WPARAM wParam, LPARAM lParam) override {
        if (sent == WM_APP) {
            PostMessageW(Handle(), WM_APP + 1, 0, 0);
            message = CTaskDialog(L"Content", L"Instruction", L"Title", TaskDialogButtons::OkCancel).DoModal(Handle());
            return 0;
        }
        if (sent == WM_APP + 1) box = MessageBoxW(GetLastActivePopup(Handle()), L"Text", L"Title", MB_OKCANCEL);
        return CDialog::OnMessage(sent, wParam, lParam);
    }
};

TEST_F(DialogTest, WhatIsModalOverADialogEndsWithIt) {
    Run([](ToolkitDialog& dialog) {
        constexpr UINT_PTR kTimer = 5;
        static HWND outer;
        outer = dialog.Handle();
        const auto cancel = [](HWND, UINT, UINT_PTR timer, DWORD) {
            KillTimer(nullptr, timer);
            CancelModalWindows(outer);
        };
        SetTimer(nullptr, kTimer, 500, cancel);
        Nested nested;
        EXPECT_EQ(nested.DoModal(outer), IDCANCEL);
        EXPECT_EQ(nested.message, IDCANCEL);
        EXPECT_EQ(nested.box, IDCANCEL);
        EXPECT_TRUE(IsWindowEnabled(outer));
        EXPECT_TRUE(IsWindow(outer));
    });
}

// What the table of a class and that of its base heard, in order.
class MappedBase : public CWnd {
  public:
    std::string heard;

  protected:
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override {
        static constexpr std::array kMap = {
            MapMessage<WM_APP, &MappedBase::OnBase>(),
            MapCommand<&MappedBase::OnAnyClick>(kAnyId, BN_CLICKED),
        };
        if (const auto result = DispatchByMap(*this, kMap, message, wParam, lParam)) return *result;
        return CWnd::OnMessage(message, wParam, lParam);
    }

  private:
    LRESULT OnBase(WPARAM wParam, LPARAM lParam) {
        heard += "base " + std::to_string(wParam) + " " + std::to_string(lParam) + ";";
        return 77;
    }
    void OnAnyClick(int id) { heard += "click " + std::to_string(id) + ";"; }
};

class Mapped : public MappedBase {
  protected:
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override {
        static constexpr std::array kMap = {
            MapMessage<WM_APP, &Mapped::OnFirst>(),      MapMessage<WM_APP, &Mapped::OnSecond>(),
            MapMessage<WM_MOUSEMOVE, &Mapped::OnMove>(), MapCommand<&Mapped::OnGo>(12, BN_CLICKED),
            MapNotify<&Mapped::OnNotification>(4, 9),
        };
        if (const auto result = DispatchByMap(*this, kMap, message, wParam, lParam)) return *result;
        return MappedBase::OnMessage(message, wParam, lParam);
    }

  private:
    bool OnFirst() { return heard += "first;", false; }
    std::optional<LRESULT> OnSecond(WPARAM wParam) {
        heard += "second;";
        return wParam == 0 ? std::optional<LRESULT>(5) : std::nullopt;
    }
    void OnMove(POINT point) { heard += std::to_string(point.x) + "," + std::to_string(point.y) + ";"; }
    void OnGo() { heard += "go;"; }
    LRESULT OnNotification(const NMHDR& header) { return heard += "notify;", static_cast<LRESULT>(header.code); }
};

TEST(MessageMapTest, FindsTheHandlerAndGoesOnToTheBase) {
    Mapped window;
    ASSERT_TRUE(window.CreateMessageOnly());
    NMHDR header = {window.Handle(), 4, 9};
    NMHDR other = {window.Handle(), 4, 8};
    struct Case {
        UINT message;
        WPARAM wParam;
        LPARAM lParam;
        LRESULT result;
        const char* heard;
    };
    for (const Case& entry :
         {Case{WM_APP, 0, 3, 5, "first;second;"}, Case{WM_APP, 2, 3, 77, "first;second;base 2 3;"},
          Case{WM_MOUSEMOVE, 0, MAKELPARAM(-3, 40), 0, "-3,40;"}, Case{WM_COMMAND, MAKEWPARAM(12, BN_CLICKED), 0, 0, "go;"},
          Case{WM_COMMAND, MAKEWPARAM(13, BN_CLICKED), 0, 0, "click 13;"},
          Case{WM_COMMAND, MAKEWPARAM(12, EN_CHANGE), 0, 0, ""},
          Case{WM_NOTIFY, 4, reinterpret_cast<LPARAM>(&header), 9, "notify;"},
          Case{WM_NOTIFY, 4, reinterpret_cast<LPARAM>(&other), 0, ""}}) {
        window.heard.clear();
        EXPECT_EQ(SendMessageW(window.Handle(), entry.message, entry.wParam, entry.lParam), entry.result);
        EXPECT_EQ(window.heard, entry.heard);
    }
}

}  // namespace
