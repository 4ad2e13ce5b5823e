#include <orn/host/EOrnError.h>
#include <orn/host/TComponent.h>
#include <orn/host/TComponentClass.h>

#include <gtest/gtest.h>

#include <vector>

using namespace orn;

namespace {

using Heard = std::vector<std::pair<TOperation, TComponent*>>;

// Logs what it is told of.
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
    // Index order survives removals.
    ASSERT_EQ(form.ComponentCount(), 50);
    EXPECT_EQ(form.Components(20), deaf[21]);
    EXPECT_EQ(form.Components(49), listener);

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
    auto* a = new TComponent(&form);
    auto* b = new TComponent(&form);
    form.SetDesigning(true);
    EXPECT_TRUE(a->ComponentState().Contains(csDesigning));
    a->SetName("Sphere1");
    for (const char* refused : {"sphere1", "1abc", "a b"})
        EXPECT_THROW(b->SetName(refused), EOrnError) << refused;
    EXPECT_EQ(b->Name(), "");
    b->SetName("_ok2");
    EXPECT_EQ(b->Name(), "_ok2");
    b->SetName("");
    EXPECT_EQ(b->Name(), "");
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
    EXPECT_TRUE(a->ComponentState().Contains(csLoading));
    a->Loaded();
    EXPECT_FALSE(a->ComponentState().Contains(csLoading));
    // Palette pages list their classes once.
    RegisterComponents("Test Page", {ClassOf<TComponent>(), ClassOf<TComponent>()});
    auto classes = GetPaletteClasses("Test Page");
    ASSERT_EQ(classes.size(), 1u);
    EXPECT_STREQ(classes[0]->Name, "TComponent");
    EXPECT_EQ(classes[0]->Create(&form)->Owner(), &form);
    EXPECT_TRUE(GetPaletteClasses("No Such Page").empty());
}
