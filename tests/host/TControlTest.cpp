#include <orn/host/TControl.h>

#include <gtest/gtest.h>

#include <memory>
#include <optional>

namespace orn {
namespace {

using Events = std::vector<std::string>;

// Logs what reaches it: "down x,y", "move x,y", "up x,y", "key".
class Probe : public TControl {
public:
    explicit Probe(TComponent* owner) : TControl(owner) { SetTabStop(true); }
    void Paint(TCanvas& canvas) override { canvas.FillRect(Rect(0, 0, Width(), Height())); }
    Events events;

protected:
    bool DoMouseDown(TMouseButton, TShiftState, int x, int y) override { return Log("down", x, y); }
    bool DoMouseMove(TShiftState, int x, int y) override { return Log("move", x, y); }
    bool DoMouseUp(TMouseButton, TShiftState, int x, int y) override { return Log("up", x, y); }
    bool DoKeyDown(std::uint16_t&, TShiftState) override { return Log("key"); }

private:
    bool Log(const std::string& what, std::optional<int> x = {}, int y = 0) {
        events.push_back(x ? what + " " + std::to_string(*x) + "," + std::to_string(y) : what);
        return true;
    }
};

class Parent : public TControlParent {
public:
    int invalidations = 0;

protected:
    void ControlInvalidated(TControl*) override { ++invalidations; }
};

TEST(TControlParent, RoutesToTheTopmostVisibleEnabledControlWhichHoldsTheMouseUntilReleaseAndTakesTheKeys) {
    Parent parent;
    Probe below(nullptr), above(nullptr);
    below.SetBounds(10, 10, 50, 50);
    above.SetBounds(30, 30, 50, 50);
    below.SetParent(&parent);
    above.SetParent(&parent);
    std::uint16_t key = 'A';
    EXPECT_FALSE(parent.DispatchKeyDown(key, {})); // no focus yet
    EXPECT_TRUE(parent.DispatchMouseDown(mbLeft, {}, 40, 45));
    EXPECT_TRUE(parent.DispatchMouseMove({}, 15, 15)); // over below alone, but above holds the mouse
    EXPECT_TRUE(parent.DispatchMouseUp(mbLeft, {}, 15, 15));
    EXPECT_TRUE(parent.DispatchKeyDown(key, {}));
    EXPECT_EQ(parent.FocusedControl(), &above);
    above.SetVisible(false);
    EXPECT_TRUE(parent.DispatchMouseDown(mbLeft, {}, 40, 45));
    EXPECT_FALSE(parent.DispatchMouseDown(mbLeft, {}, 5, 5)); // nothing there: the parent's own
    for (auto [x, y] : {std::pair{60, 40}, {40, 60}})         // the right and bottom edges are outside
        EXPECT_FALSE(parent.DispatchMouseDown(mbLeft, {}, x, y)) << x << "," << y;
    below.SetEnabled(false);
    EXPECT_FALSE(parent.DispatchMouseDown(mbLeft, {}, 40, 45)) << "a disabled control takes nothing";
    EXPECT_FALSE(parent.DispatchKeyDown(key, {}));
    EXPECT_EQ(parent.FocusedControl(), nullptr);
    EXPECT_EQ(above.events, (Events{"down 10,15", "move -15,-15", "up -15,-15", "key"}));
    EXPECT_EQ(below.events, (Events{"down 30,35"}));
}

TEST(TControlParent, ChangesRepaintThroughTheParentSizesClampAndEitherSideMayDieFirst) {
    auto parent = std::make_unique<Parent>();
    auto a = std::make_unique<Probe>(nullptr);
    Probe b(nullptr);
    a->SetParent(parent.get());
    b.SetParent(parent.get());
    const int before = parent->invalidations;
    b.SetColor(clRed);
    b.Font().SetHeight(-20);
    b.SetColor(clRed);
    EXPECT_EQ(parent->invalidations, before + 2);
    b.SetBounds(5, 6, -3, 1 << 30);
    EXPECT_EQ(b.BoundsRect(), Rect(5, 6, 5, 6 + TControl::kMaxControlSize));
    TBitmap bitmap;
    b.SetBounds(20, 0, 3, 2);
    b.PaintTo(bitmap);
    EXPECT_EQ(std::pair(bitmap.Width(), bitmap.Height()), std::pair(3, 2));
    a->SetBounds(0, 0, 10, 10);
    parent->DispatchMouseDown(mbLeft, {}, 1, 1); // a has focus and capture
    a.reset();
    EXPECT_EQ(parent->ControlCount(), 1);
    EXPECT_EQ(parent->FocusedControl(), nullptr);
    EXPECT_FALSE(parent->DispatchMouseMove({}, 1, 1));
    parent.reset();
    EXPECT_EQ(b.Parent(), nullptr);
    b.Invalidate(); // must not reach the dead parent
}

} // namespace
} // namespace orn
