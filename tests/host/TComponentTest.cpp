#include <orn/host/EOrnError.h>
#include <orn/host/TComponent.h>
#include <orn/host/TComponentClass.h>

#include <gtest/gtest.h>

#include <vector>

using namespace orn;

namespace {

// Keeps a raw reference to another component and clears it when told of its removal.
class Watcher : public TComponent {
public:
    explicit Watcher(TComponent* owner, bool listening = true) : TComponent(owner) {
        SetListening(listening);
    }
    TComponent* target = nullptr;
    int inserts = 0;
    int removes = 0;
    void Notification(TComponent* c, TOperation op) override {
        TComponent::Notification(c, op);
        inserts += op == opInsert;
        removes += op == opRemove;
        if (op == opRemove && c == target) target = nullptr;
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
    listener->target = deaf[7]->target = a;
    a->FreeNotification(deaf[7]);
    delete a;
    delete deaf[20]; // a hole in the middle of the owner's list
    EXPECT_EQ(std::pair(listener->inserts, listener->removes), std::pair(1, 2));
    EXPECT_EQ(std::pair(deaf[7]->inserts, deaf[7]->removes), std::pair(0, 1));
    EXPECT_EQ(listener->target, nullptr);
    EXPECT_EQ(deaf[7]->target, nullptr);
    int heard = 0;
    for (Watcher* w : deaf)
        heard += w == deaf[20] ? 0 : w->inserts + w->removes;
    EXPECT_EQ(heard, 1) << "deaf[7] alone, of a";
    // Index order survives removals.
    ASSERT_EQ(form.ComponentCount(), 50);
    EXPECT_EQ(form.Components(20), deaf[21]);
    EXPECT_EQ(form.Components(49), listener);

    auto* foreign = new TComponent(&other);
    deaf[0]->target = foreign;
    foreign->FreeNotification(deaf[0]);
    delete foreign;
    EXPECT_EQ(deaf[0]->target, nullptr);
    foreign = new TComponent(nullptr);
    foreign->FreeNotification(deaf[1]);
    delete deaf[1]; // must unsubscribe, or deleting foreign would call into freed memory (ASan)
    delete foreign;
    EXPECT_EQ(form.ComponentCount(), 49);
    // A listener moved to another owner listens there.
    other.InsertComponent(listener);
    new TComponent(&other);
    new TComponent(&form);
    EXPECT_EQ(listener->inserts, 2);
}

TEST(TComponent, NamesAreCheckedAndUniqueIgnoringCaseAndDesigningSpreadsToOwned) {
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
}

TEST(TComponentPalette, PagesListTheirClassesOnce) {
    RegisterComponents("Test Page", {ClassOf<TComponent>(), ClassOf<TComponent>()});
    auto classes = GetPaletteClasses("Test Page");
    ASSERT_EQ(classes.size(), 1u);
    EXPECT_STREQ(classes[0]->Name, "TComponent");
    TComponent owner(nullptr);
    TComponent* made = classes[0]->Create(&owner);
    EXPECT_EQ(made->Owner(), &owner);
    EXPECT_TRUE(GetPaletteClasses("No Such Page").empty());
}
