#include "ToolkitDialog.h"

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

}  // namespace
