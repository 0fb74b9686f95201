#include "ToolkitDialog.h"

namespace {

TEST(ResizeRuleTest, EachEdgeFollowsTheGrowthByItsFraction) {
    struct Case {
        ResizeRule rule;
        SIZE growth;
        RECT expected;
    };
    const RECT place = {10, 20, 110, 40};
    const Case cases[] = {
        {ResizeRule::Stay(), {50, 30}, {10, 20, 110, 40}},
        {ResizeRule::StretchRight(), {50, 30}, {10, 20, 160, 40}},
        {ResizeRule::MoveRight(), {50, 30}, {60, 20, 160, 40}},
        {ResizeRule::MoveDown(), {50, 30}, {10, 50, 110, 70}},
        {ResizeRule::MoveRightDown(), {50, 30}, {60, 50, 160, 70}},
        {ResizeRule::StretchDown(), {50, 30}, {10, 20, 110, 70}},
        {ResizeRule::StretchBoth(), {50, 30}, {10, 20, 160, 70}},
        {ResizeRule::StretchBoth(), {-4, -6}, {10, 20, 106, 34}},
        {{0.5F, 0, 1, 0}, {31, 0}, {26, 20, 141, 40}},
    };
    for (const Case& entry : cases) {
        const RECT result = ResizedPlace(place, entry.growth, entry.rule);
        EXPECT_TRUE(EqualRect(&result, &entry.expected))
            << result.left << "," << result.top << "," << result.right << "," << result.bottom;
    }
    // Neighbours that share a moving edge neither overlap nor part.
    for (LONG growth = 0; growth < 20; ++growth) {
        const RECT left = ResizedPlace({0, 0, 50, 10}, {growth, 0}, {0, 0, 0.5F, 0});
        const RECT right = ResizedPlace({50, 0, 100, 10}, {growth, 0}, {0.5F, 0, 1, 0});
        EXPECT_EQ(left.right, right.left);
        EXPECT_EQ(right.right, 100 + growth);
    }
}

class ResizeDialogTest : public ToolkitDialogTest {
  protected:
    static RECT PlaceOf(const ToolkitDialog& dialog, int id) {
        RECT place = {};
        GetWindowRect(dialog.Item(id), &place);
        MapWindowPoints(nullptr, dialog.Handle(), reinterpret_cast<POINT*>(&place), 2);
        return place;
    }
    static void Grow(const ToolkitDialog& dialog, LONG x, LONG y) {
        const SIZE size = dialog.WindowSize();
        SetWindowPos(dialog.Handle(), nullptr, 0, 0, size.cx + x, size.cy + y, SWP_NOMOVE | SWP_NOZORDER);
    }
};

TEST_F(ResizeDialogTest, ControlsFollowAndComeBack) {
    Run([](ToolkitDialog& dialog) {
        dialog.Resize().Begin(dialog.Handle());
        dialog.Resize().SetRule(10, ResizeRule::StretchRight());
        dialog.Resize().SetRule(11, ResizeRule::MoveRight());
        dialog.Resize().SetRule(15, ResizeRule::StretchBoth());
        const RECT edit = PlaceOf(dialog, 10);
        const RECT combo = PlaceOf(dialog, 11);
        const RECT list = PlaceOf(dialog, 15);
        const RECT button = PlaceOf(dialog, 12);
        Grow(dialog, 60, 44);
        EXPECT_EQ(PlaceOf(dialog, 10).right, edit.right + 60);
        EXPECT_EQ(PlaceOf(dialog, 10).left, edit.left);
        EXPECT_EQ(PlaceOf(dialog, 11).left, combo.left + 60);
        EXPECT_EQ(PlaceOf(dialog, 15).right, list.right + 60);
        EXPECT_EQ(PlaceOf(dialog, 12).left, button.left);
        Grow(dialog, -60, -44);
        for (const auto& [id, place] : {std::pair{10, edit}, {11, combo}, {15, list}}) {
            const RECT now = PlaceOf(dialog, id);
            EXPECT_TRUE(EqualRect(&now, &place)) << id;
        }
    });
}

TEST_F(ResizeDialogTest, TheLeastClientAreaStaysWhenTheFrameChanges) {
    Run([this](ToolkitDialog& dialog) {
        dialog.Resize().Begin(dialog.Handle());
        const SIZE first = dialog.ClientSize();
        const auto expectFirstIsLeast = [&] {
            EXPECT_EQ(dialog.ClientSize().cx, first.cx);
            EXPECT_EQ(dialog.ClientSize().cy, first.cy);
            Grow(dialog, -50, -50);
            EXPECT_EQ(dialog.ClientSize().cx, first.cx);
            EXPECT_EQ(dialog.ClientSize().cy, first.cy);
        };
        dialog.AttachFrame(dialog.Handle(), m_paint);
        expectFirstIsLeast();
        SendMessageW(dialog.Handle(), WM_SYSCOMMAND, SC_MAXIMIZE, 0);
        SendMessageW(dialog.Handle(), WM_SYSCOMMAND, SC_RESTORE, 0);
        expectFirstIsLeast();
        dialog.DetachFrame();
        expectFirstIsLeast();
    });
}

TEST_F(ResizeDialogTest, AMovedDropDownListKeepsItsList) {
    Run([](ToolkitDialog& dialog) {
        dialog.Resize().Begin(dialog.Handle());
        dialog.Resize().SetRule(11, ResizeRule::MoveRight());
        const auto dropped = [&dialog] {
            RECT list = {};
            SendMessageW(dialog.Item(11), CB_GETDROPPEDCONTROLRECT, 0, reinterpret_cast<LPARAM>(&list));
            return list.bottom - list.top;
        };
        const LONG before = dropped();
        Grow(dialog, 40, 0);
        EXPECT_EQ(dropped(), before);
    });
}

}  // namespace
