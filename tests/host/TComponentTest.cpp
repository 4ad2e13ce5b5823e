#include <orn/host/EOrnError.h>
#include <orn/host/TComponentClass.h>
#include <orn/host/TControl.h>
#include <orn/host/TOrnClock.h>

#include <gtest/gtest.h>

#include <optional>

using namespace orn;

namespace {

using Heard = std::vector<std::pair<TOperation, TComponent*>>;

class Watcher : public TComponent {
public:
    explicit Watcher(TComponent* owner, bool listening = true) : TComponent(owner) {
        SetListening(listening);
    }
    Heard heard;
    void Notification(TComponent* c, TOperation op) override {
        TComponent::Notification(c, op);
        heard.emplace_back(op, c);
    }
};

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

} // namespace

TEST(TComponentOwnership, OnlyListenersAndFreeNotifiedHearOfOthersAcrossOwnersToo) {
    TComponent form(nullptr), other(nullptr);
    std::vector<Watcher*> deaf;
    for (int i = 0; i < 50; ++i)
        deaf.push_back(new Watcher(&form, false));
    auto* listener = new Watcher(&form);
    auto* a = new TComponent(&form);
    a->FreeNotification(deaf[7]);
    delete a;
    TComponent* hole = deaf[20];
    delete deaf[20]; // a hole in the middle of the owner's list
    EXPECT_EQ(listener->heard, (Heard{{opInsert, a}, {opRemove, a}, {opRemove, hole}}));
    EXPECT_EQ(deaf[7]->heard, (Heard{{opRemove, a}}));
    std::size_t heard = 0;
    for (Watcher* w : deaf)
        heard += w == hole ? 0 : w->heard.size();
    EXPECT_EQ(heard, 1u) << "deaf[7] alone, of a";
    ASSERT_EQ(form.ComponentCount(), 50);
    EXPECT_EQ(std::tuple(form.Components(20), form.Components(49)), std::tuple(deaf[21], listener));
    auto* foreign = new TComponent(&other);
    foreign->FreeNotification(deaf[0]);
    delete foreign;
    EXPECT_EQ(deaf[0]->heard, (Heard{{opRemove, foreign}}));
    foreign = new TComponent(nullptr);
    foreign->FreeNotification(deaf[1]);
    TComponent* second = deaf[1];
    delete deaf[1]; // must unsubscribe, or deleting foreign would call into freed memory (ASan)
    delete foreign;
    EXPECT_EQ(form.ComponentCount(), 49);
    // A listener moved to another owner listens there, and never hears of itself.
    other.InsertComponent(listener);
    auto* there = new TComponent(&other);
    new TComponent(&form);
    EXPECT_EQ(listener->heard,
              (Heard{{opInsert, a}, {opRemove, a}, {opRemove, hole}, {opRemove, second}, {opInsert, there}}));
}

TEST(TComponent, NamesAreCheckedAndUniqueIgnoringCaseDesigningSpreadsToOwnedAndPalettesListClassesOnce) {
    TComponent form(nullptr);
    TComponent *a = new TComponent(&form), *b = new TComponent(&form);
    form.SetDesigning(true);
    EXPECT_TRUE(a->ComponentState().Contains(csDesigning));
    a->SetName("Sphere1");
    for (const char* refused : {"sphere1", "1abc", "a b"})
        EXPECT_THROW(b->SetName(refused), EOrnError) << refused;
    EXPECT_EQ(b->Name(), "");
    b->SetName("_ok2");
    const std::string ok = b->Name();
    b->SetName("");
    EXPECT_EQ(ok + "|" + b->Name(), "_ok2|");
    EXPECT_EQ(form.FindComponent("SPHERE1"), a);
    a->SetName("Renamed");
    EXPECT_EQ(form.FindComponent("sphere1"), nullptr);
    b->SetName("Sphere1"); // a former name is free again, also after its holder is gone
    delete a;
    EXPECT_EQ(form.FindComponent("renamed"), nullptr);
    a = new TComponent(&form);
    EXPECT_TRUE(a->ComponentState().Contains(csDesigning));
    a->SetName("Renamed");
    EXPECT_EQ(form.FindComponent("RENAMED"), a);
    a->Loading();
    const bool loading = a->ComponentState().Contains(csLoading);
    a->Loaded();
    EXPECT_EQ(std::pair(loading, a->ComponentState().Contains(csLoading)), std::pair(true, false));
    RegisterComponents("Test Page", {ClassOf<TComponent>(), ClassOf<TComponent>()});
    auto classes = GetPaletteClasses("Test Page");
    ASSERT_EQ(classes.size(), 1u);
    EXPECT_STREQ(classes[0]->Name, "TComponent");
    EXPECT_EQ(classes[0]->Create(&form)->Owner(), &form);
    EXPECT_TRUE(GetPaletteClasses("No Such Page").empty());
}

TEST(TControlParent,
     RoutesToTheTopmostVisibleEnabledControlHoldingTheMouseRepaintsOnChangeAndEitherSideMayDieFirst) {
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
    EXPECT_EQ((std::tuple{parent.DispatchKeyDown(key, {}), parent.FocusedControl()}),
              std::tuple(true, &above));
    above.SetVisible(false);
    EXPECT_TRUE(parent.DispatchMouseDown(mbLeft, {}, 40, 45));
    EXPECT_FALSE(parent.DispatchMouseDown(mbLeft, {}, 5, 5)); // nothing there: the parent's own
    for (auto [x, y] : {std::pair{60, 40}, {40, 60}})         // the right and bottom edges are outside
        EXPECT_FALSE(parent.DispatchMouseDown(mbLeft, {}, x, y)) << x << "," << y;
    below.SetEnabled(false);
    EXPECT_FALSE(parent.DispatchMouseDown(mbLeft, {}, 40, 45)) << "a disabled control takes nothing";
    EXPECT_EQ((std::tuple{parent.DispatchKeyDown(key, {}), parent.FocusedControl()}),
              std::tuple(false, nullptr));
    EXPECT_EQ(above.events, (Events{"down 10,15", "move -15,-15", "up -15,-15", "key"}));
    EXPECT_EQ(below.events, (Events{"down 30,35"}));
    auto owner = std::make_unique<Parent>();
    auto a = std::make_unique<Probe>(nullptr);
    Probe b(nullptr);
    a->SetParent(owner.get());
    b.SetParent(owner.get());
    const int before = owner->invalidations;
    b.SetColor(clRed);
    b.Font().SetHeight(-20);
    b.SetColor(clRed);
    EXPECT_EQ(owner->invalidations, before + 2);
    b.SetBounds(5, 6, -3, 1 << 30);
    EXPECT_EQ(b.BoundsRect(), Rect(5, 6, 5, 6 + TControl::kMaxControlSize));
    TBitmap bitmap;
    b.SetBounds(20, 0, 3, 2);
    b.PaintTo(bitmap);
    EXPECT_EQ(std::pair(bitmap.Width(), bitmap.Height()), std::pair(3, 2));
    a->SetBounds(0, 0, 10, 10);
    owner->DispatchMouseDown(mbLeft, {}, 1, 1); // a has focus and capture
    a.reset();
    EXPECT_EQ(
        (std::tuple{owner->ControlCount(), owner->FocusedControl(), owner->DispatchMouseMove({}, 1, 1)}),
        std::tuple(1, nullptr, false));
    owner.reset();
    EXPECT_EQ(b.Parent(), nullptr);
    b.Invalidate(); // must not reach the dead owner
}

TEST(TOrnClock, OverridesNestAndRestoreTheSteadyNanosecondClockAndFrequencyBelowOneIsRefused) {
    EXPECT_EQ(TOrnClock::Frequency(), 1'000'000'000);
    std::int64_t fakeNow = 42;
    {
        TOrnClockOverride outer([&] { return fakeNow; }, 1000);
        EXPECT_EQ(TOrnClock::Counter(), 42);
        {
            TOrnClockOverride inner([] { return std::int64_t{7}; }, 3);
            EXPECT_EQ(std::pair(TOrnClock::Counter(), TOrnClock::Frequency()),
                      std::pair(std::int64_t{7}, std::int64_t{3}));
        }
        fakeNow = 43;
        EXPECT_THROW(TOrnClock::SetSource([] { return std::int64_t{1}; }, 0), EOrnError);
        EXPECT_THROW(TOrnClockOverride([] { return std::int64_t{1}; }, -1), EOrnError);
        EXPECT_EQ(std::pair(TOrnClock::Counter(), TOrnClock::Frequency()),
                  std::pair(std::int64_t{43}, std::int64_t{1000}));
        // An empty source inside an override means the steady clock, until the override ends.
        TOrnClock::SetSource(nullptr, 0);
        EXPECT_EQ(TOrnClock::Frequency(), 1'000'000'000);
    }
    EXPECT_EQ(TOrnClock::Frequency(), 1'000'000'000);
    EXPECT_NE(TOrnClock::Counter(), 43);
}
