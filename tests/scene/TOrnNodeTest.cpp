#include <orn/host/EOrnError.h>
#include <orn/scene/TOrnNode.h>
#include <orn/scene/TOrnObject.h>
#include <orn/scene/TOrnRegistry.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

using namespace orn;
using testing::StrEq, testing::ThrowsMessage;

namespace {

struct NodeFixture : ::testing::Test {
    std::vector<std::string> events; // outlives the form, whose end the node still reports
    TComponent form{nullptr};
    TOrnNode* node = new TOrnNode(&form);
    TOrnObject* NewObject(const std::string& name) {
        auto* o = new TOrnObject(&form);
        o->SetName(name);
        return o;
    }
    void Watch() {
        node->OnItemNotify = [this](TComponent* c, TOperation op) {
            events.push_back(std::string(op == opInsert ? "+" : "-") + c->Name());
        };
    }
};

} // namespace

TEST_F(NodeFixture, AddSetNodeAndRemoveMoveTheItemWithItsChangeHandlerButIndirectItemsStayHome) {
    auto* other = new TOrnNode(&form);
    TOrnObject* a = NewObject("A");
    Watch();
    EXPECT_EQ(node->Add(a), 0);
    EXPECT_EQ(std::pair(a->Node() == node, bool(a->OnChange)), std::pair(true, true));
    a->SetNode(other);
    EXPECT_EQ(std::tuple(node->Count(), other->IndexOf(a), a->Node() == other), std::tuple(0, 0, true));
    EXPECT_EQ(node->Remove(a), -1);
    EXPECT_EQ(events, (std::vector<std::string>{"+A", "-A", "-A"})); // told even when not held
    EXPECT_EQ(node->AddIndirect(a), 0);
    EXPECT_EQ(node->Add(nullptr), -1); // and changes no bit
    EXPECT_EQ(std::tuple(node->Count(), node->Indirect(0), a->Node() == other), std::tuple(1, true, true));
    node->Remove(a);
    EXPECT_EQ(std::pair(other->IndexOf(a), bool(a->OnChange)), std::pair(0, true));
    EXPECT_EQ(other->Remove(a), 0);
    EXPECT_EQ(std::pair(a->Node() == nullptr, bool(a->OnChange)), std::pair(true, false));
}

TEST_F(NodeFixture, MoveClampsBothIndexesAndCarriesTheIndirectBitAndALinkToItselfIsRefused) {
    TOrnRender* items[5];
    for (int i = 0; i < 5; ++i)
        items[i] = NewObject("O" + std::to_string(i));
    for (int i = 0; i < 4; ++i)
        node->Add(items[i]);
    node->AddIndirect(items[4]);
    node->Move(7, -3);
    EXPECT_EQ(std::tuple(node->Items(0), node->Indirect(0), node->Indirect(4)),
              std::tuple(items[4], true, false));
    node->Exchange(0, 4);
    EXPECT_EQ(std::pair(node->Items(4), node->Indirect(4)), std::pair(items[4], true));
    EXPECT_THROW(node->Items(5), EOrnError);
    EXPECT_THROW(node->Exchange(0, 9), EOrnError);
    node->Move(-2, 9); // the first to the last place
    EXPECT_EQ(std::pair(node->Items(0), node->Items(4)), std::pair(items[0], items[3]));
    EXPECT_THAT([&] { node->Add(node); },
                ThrowsMessage<EOrnError>(StrEq("Can not create a link to myself.")));
    EXPECT_EQ(node->Count(), 5);
}

TEST_F(NodeFixture, ChangesInsideNestedItemsReachEveryEnclosingNode) {
    auto* inner = new TOrnNode(&form);
    for (int i = 0; i < 3; ++i)
        inner->Add(NewObject("I" + std::to_string(i)));
    TOrnObject* a = NewObject("A");
    inner->Add(a);
    node->Add(NewObject("B"));
    node->Add(inner);
    EXPECT_EQ(node->CountAllItems(), 5);
    int outerChanges = 0;
    node->OnChange = [&](TObject*) { ++outerChanges; };
    a->Transformation()->Rotation()->SetX(30);
    a->Color()->SetAlpha(0.5f);
    EXPECT_EQ(outerChanges, 2);
}

TEST_F(NodeFixture, DestroyedItemsLeaveEveryNodeAndADestroyedNodeReleasesItsItems) {
    auto* second = new TOrnNode(&form);
    TOrnObject* a = NewObject("A");
    TOrnObject* b = NewObject("B");
    node->Add(a);
    node->Add(b);
    second->AddIndirect(a);
    node->SetName("N");
    Watch();
    auto* sibling = NewObject("S"); // not an item: heard through free notification
    sibling->FreeNotification(node);
    delete sibling;
    delete a;
    EXPECT_EQ(std::pair(node->Count(), second->Count()), std::pair(1, 0));
    EXPECT_EQ(events, (std::vector<std::string>{"-S", "-A"}));
    delete node;
    EXPECT_EQ(std::pair(b->Node() == nullptr, bool(b->OnChange)), std::pair(true, false));
    EXPECT_EQ(events.at(2), "-N");
}

TEST(TOrnObject, ObjectNameFollowsTheComponentNameWhileEqualAndAssignKeepsTheColourOwner) {
    TComponent form(nullptr);
    auto* o = new TOrnObject(&form);
    o->SetName("Ball");
    EXPECT_EQ(o->ObjectName(), "Ball");
    o->SetObjectName("Red ball");
    o->SetName("Ball2");
    EXPECT_EQ(o->ObjectName(), "Red ball");
    auto* loading = new TOrnObject(&form);
    loading->Loading();
    loading->SetName("Loaded");
    EXPECT_EQ(loading->ObjectName(), "");
    // Assign takes the source's (empty) change handler; the colour still reports to its owner.
    loading->Assign(o);
    int changes = 0;
    loading->OnChange = [&](TObject*) { ++changes; };
    loading->Color()->SetColor(clBlue);
    EXPECT_EQ(changes, 1);
}

TEST(TOrnRegistry, NamesAreUniqueIgnoringCase) {
    // Collides with the registered TOrnNode, so the refused registration leaves the registry as it was.
    struct TORNNODE : TOrnObject {
        using TOrnObject::TOrnObject;
        static constexpr const char* StaticClassName() { return "TORNNODE"; }
    };
    EXPECT_EQ(GetRenderClass("tornnode"), ClassOf<TOrnNode>());
    const size_t before = GetRenderClassList().size();
    EXPECT_THAT([] { RegisterRenderClass(ClassOf<TORNNODE>()); },
                ThrowsMessage<EOrnError>(StrEq("This class was already registered.")));
    EXPECT_EQ(GetRenderClassList().size(), before);
    EXPECT_EQ(GetRenderClass("no such class"), nullptr);
}
