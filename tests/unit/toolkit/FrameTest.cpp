#include "ToolkitDialog.h"

namespace {

constexpr FrameLayout kSizable = {
    .window = {400, 300}, .border = 6, .caption = 31, .inset = 0, .button = 45, .canMinimize = true, .canMaximize = true};

struct HitCase {
    POINT point;
    LRESULT expected;
};

void ExpectHits(const FrameLayout& layout, std::initializer_list<HitCase> cases) {
    for (const HitCase& entry : cases)
        EXPECT_EQ(HitTestFrame(layout, entry.point), entry.expected) << entry.point.x << "," << entry.point.y;
}

TEST(FrameLayoutTest, SizableWindow) {
    ExpectHits(kSizable,
               {{{0, 0}, HTTOPLEFT},      {{11, 2}, HTTOPLEFT},   {{2, 11}, HTTOPLEFT},        {{2, 12}, HTLEFT},
                {{100, 0}, HTTOP},        {{100, 5}, HTTOP},      {{100, 6}, HTCAPTION},       {{100, 30}, HTCAPTION},
                {{100, 31}, HTCLIENT},    {{15, 15}, HTSYSMENU},  {{399, 299}, HTBOTTOMRIGHT}, {{390, 297}, HTBOTTOMRIGHT},
                {{0, 299}, HTBOTTOMLEFT}, {{200, 295}, HTBOTTOM}, {{396, 150}, HTRIGHT},       {{399, 0}, HTTOPRIGHT},
                {{398, 15}, HTCLOSE},     {{354, 15}, HTCLOSE},   {{353, 15}, HTMAXBUTTON},    {{308, 15}, HTMINBUTTON},
                {{263, 15}, HTCAPTION},   {{200, 150}, HTCLIENT}});
}

TEST(FrameLayoutTest, FixedWindowHasNoEdgesAndItsButtonsCloseUp) {
    FrameLayout layout = kSizable;
    layout.border = 0;
    layout.canMaximize = false;
    ExpectHits(layout, {{{0, 0}, HTSYSMENU}, {{0, 299}, HTCLIENT}, {{399, 0}, HTCLOSE}, {{330, 10}, HTMINBUTTON}});
    EXPECT_TRUE(IsRectEmpty(std::vector{FrameButton(layout, HTMAXBUTTON)}.data()));
    layout.canMinimize = false;
    layout.hasIcon = false;
    ExpectHits(layout, {{{0, 0}, HTCAPTION}, {{330, 10}, HTCAPTION}, {{380, 10}, HTCLOSE}});
}

TEST(FrameLayoutTest, MaximizedWindowBeginsAtTheEdgeOfTheScreen) {
    FrameLayout layout = kSizable;
    layout.border = 0;
    layout.inset = 8;
    ExpectHits(
        layout,
        {{{391, 8}, HTCLOSE}, {{100, 8}, HTCAPTION}, {{100, 38}, HTCAPTION}, {{100, 39}, HTCLIENT}, {{20, 20}, HTSYSMENU}});
}

class FrameTest : public ToolkitDialogTest {
  protected:
    LRESULT HitAt(const ToolkitDialog& dialog, LONG x, LONG y) {
        RECT window = {};
        GetWindowRect(dialog.Handle(), &window);
        return SendMessageW(dialog.Handle(), WM_NCHITTEST, 0, MAKELPARAM(window.left + x, window.top + y));
    }
};

TEST_F(FrameTest, IsDrawnInTheThemeAndKeepsTheClientArea) {
    Run([this](ToolkitDialog& dialog) {
        const SIZE client = dialog.ClientSize();
        const SIZE systemFrame = dialog.WindowSize();
        dialog.AttachFrame(dialog.Handle(), m_paint);
        EXPECT_EQ(dialog.ClientSize().cx, client.cx);
        EXPECT_EQ(dialog.ClientSize().cy, client.cy);
        const SIZE size = dialog.WindowSize();
        SendMessageW(dialog.Handle(), WM_NCACTIVATE, TRUE, 0);
        EXPECT_EQ(dialog.PixelAt(size.cx / 2, 0), Color(ThemeColor::FrameActive));
        EXPECT_EQ(dialog.PixelAt(0, size.cy - 1), Color(ThemeColor::FrameActive));
        EXPECT_EQ(dialog.PixelAt(size.cx / 2, 3), Color(ThemeColor::CaptionFace));
        EXPECT_EQ(dialog.PixelAt(size.cx / 2, size.cy - 4), Color(COLOR_BTNFACE));
        SendMessageW(dialog.Handle(), WM_NCACTIVATE, FALSE, 0);
        EXPECT_EQ(dialog.PixelAt(size.cx / 2, 0), Color(ThemeColor::FrameInactive));
        EXPECT_EQ(HitAt(dialog, size.cx - 20, 15), HTCLOSE);
        EXPECT_EQ(HitAt(dialog, 1, size.cy / 2), HTLEFT);
        EXPECT_EQ(HitAt(dialog, size.cx / 2, 12), HTCAPTION);
        dialog.DetachFrame();
        EXPECT_EQ(dialog.WindowSize().cx, systemFrame.cx);
        EXPECT_EQ(dialog.WindowSize().cy, systemFrame.cy);
        EXPECT_EQ(dialog.ClientSize().cy, client.cy);
    });
}

TEST_F(FrameTest, ANewTitleIsDrawnByTheTheme) {
    Run([this](ToolkitDialog& dialog) {
        dialog.AttachFrame(dialog.Handle(), m_paint);
        SendMessageW(dialog.Handle(), WM_NCACTIVATE, TRUE, 0);
        const auto drawn = [&dialog, this] {
            int pixels = 0;
            for (LONG x = 30; x < 120; ++x)
                for (LONG y = 4; y < 28; ++y) {
                    const COLORREF color = dialog.PixelAt(x, y);
                    if (color != Color(ThemeColor::CaptionFace)) ++pixels;
                }
            return pixels;
        };
        EXPECT_GT(drawn(), 20);
        SetWindowTextW(dialog.Handle(), L"");
        EXPECT_EQ(drawn(), 0);
        EXPECT_TRUE(IsWindowVisible(dialog.Handle()));
    });
}

TEST_F(FrameTest, ACaptionButtonActsWhenItIsLetGoOverIt) {
    struct Case {
        LONG fromRight;  // where the mouse goes
        bool cancel;     // the capture is taken away before
        bool expected;
    };
    for (const Case& entry : {Case{60, false, true}, Case{200, false, false}, Case{60, true, false}}) {
        Run([&](ToolkitDialog& dialog) {
            dialog.AttachFrame(dialog.Handle(), m_paint);
            const HWND window = dialog.Handle();
            const LONG width = dialog.WindowSize().cx;
            POINT corner = {};
            RECT place = {};
            ClientToScreen(window, &corner);
            GetWindowRect(window, &place);
            SendMessageW(window, WM_NCLBUTTONDOWN, HTMAXBUTTON, MAKELPARAM(place.left + width - 60, place.top + 15));
            EXPECT_EQ(GetCapture(), window);
            EXPECT_EQ(dialog.PixelAt(width - 85, 5), Color(ThemeColor::CaptionButtonPressed));
            if (entry.cancel) SendMessageW(window, WM_CANCELMODE, 0, 0);
            const LPARAM there = MAKELPARAM(place.left + width - entry.fromRight - corner.x, place.top + 15 - corner.y);
            SendMessageW(window, WM_MOUSEMOVE, MK_LBUTTON, there);
            SendMessageW(window, WM_LBUTTONUP, 0, there);
            EXPECT_NE(GetCapture(), window);
            EXPECT_NE(dialog.PixelAt(width - 85, 5), Color(ThemeColor::CaptionButtonPressed));
            MSG message = {};
            EXPECT_EQ(PeekMessageW(&message, window, WM_SYSCOMMAND, WM_SYSCOMMAND, PM_REMOVE) != FALSE, entry.expected);
            EXPECT_EQ(message.wParam, entry.expected ? static_cast<WPARAM>(SC_MAXIMIZE) : 0);
        });
    }
}

TEST_F(FrameTest, MaximizesWithoutCoveringItsOwnCaptionAndRestores) {
    Run([this](ToolkitDialog& dialog) {
        dialog.AttachFrame(dialog.Handle(), m_paint);
        const SIZE before = dialog.WindowSize();
        SendMessageW(dialog.Handle(), WM_SYSCOMMAND, SC_MAXIMIZE, 0);
        ASSERT_TRUE(IsZoomed(dialog.Handle()));
        RECT work = {};
        SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0);
        POINT corner = {};
        ClientToScreen(dialog.Handle(), &corner);
        EXPECT_EQ(corner.x, work.left);
        EXPECT_GT(corner.y, work.top + 20);
        EXPECT_EQ(corner.x + dialog.ClientSize().cx, work.right);
        EXPECT_EQ(corner.y + dialog.ClientSize().cy, work.bottom);
        EXPECT_EQ(SendMessageW(dialog.Handle(), WM_NCHITTEST, 0, MAKELPARAM(work.right - 2, work.top + 2)), HTCLOSE);
        SendMessageW(dialog.Handle(), WM_SYSCOMMAND, SC_RESTORE, 0);
        EXPECT_EQ(dialog.WindowSize().cx, before.cx);
        EXPECT_EQ(dialog.WindowSize().cy, before.cy);
    });
}

}  // namespace
