#include "geometry/GeometryTestSupport.h"
#include "support/MemoryExchange.h"

#include <orn/geometry/TOrnPolygon.h>

#include <gtest/gtest.h>

using namespace orn;
using orn::test::Entries;

namespace {

struct PolygonFixture : ::testing::Test {
    TComponent form{nullptr};
    TOrnPolygon* poly = new TOrnPolygon(&form);
    void Square() {
        poly->AddValues(0, 0, 0, 0, 0);
        poly->AddValues(1, 0, 0, 1, 0);
        poly->AddValues(1, 1, 0, 1, 1);
        poly->AddValues(0, 1, 0, 0, 1);
    }
};

} // namespace

TEST_F(PolygonFixture, BuildsAnOutlineInPoolOrderWhoseTypeFilledAndClosedSwitchAtOnce) {
    Square();
    EXPECT_EQ(poly->Count(), 0); // no outline before the first build
    poly->Init();
    ASSERT_EQ(poly->PrimitiveCount(), 1);
    EXPECT_EQ(Entries(poly->Primitive(0)), (std::vector<std::uint32_t>{0, 1, 2, 3}));
    EXPECT_TRUE(poly->Points()->GetFlag(2, 0));
    EXPECT_EQ(poly->Points()->GetVector(1, daNormal), (TOrnMathVector{0, 0, 1})); // AutoCalcNormals
    const std::tuple<bool, bool, GLenum> cases[] = {{true, false, GL_POLYGON},
                                                    {false, false, GL_LINE_STRIP},
                                                    {false, true, GL_LINE_LOOP},
                                                    {true, true, GL_POLYGON}}; // filled wins
    for (auto [filled, closed, type] : cases) {
        poly->SetFilled(filled);
        poly->SetClosed(closed);
        EXPECT_EQ(poly->Primitive(0)->Type(), type) << filled << closed;
    }
    EXPECT_TRUE(poly->Initialized()); // no rebuild needed
}

TEST_F(PolygonFixture, InsertAndDeleteActOnTheOutlineButTheRebuildFollowsPoolOrder) {
    Square();
    poly->Init();
    poly->InsertValues(1, 0.5f, -1, 0, 0, 0);
    EXPECT_EQ(Entries(poly->Primitive(0)), (std::vector<std::uint32_t>{0, 4, 1, 2, 3}));
    poly->Delete(2);
    EXPECT_EQ(Entries(poly->Primitive(0)), (std::vector<std::uint32_t>{0, 4, 2, 3}));
    EXPECT_EQ(poly->Points()->Count(), 5);
    poly->InsertValues(-9, 2, 2, 0, 0, 0); // clamped to the front
    EXPECT_EQ(poly->Primitive(0)->Indices(0), 5u);
    poly->Init(); // intended: pool order, and the deleted point is back
    EXPECT_EQ(Entries(poly->Primitive(0)), (std::vector<std::uint32_t>{0, 1, 2, 3, 4, 5}));
}

TEST_F(PolygonFixture, OnConstructFillsTheOutlineInsteadAndInitClearPointsDiscardsThePoints) {
    Square();
    poly->OnConstruct = [this](TObject* sender) {
        for (std::uint32_t i : {3, 2, 1, 0})
            poly->AddIndex(i, sender == poly ? 0 : 1);
    };
    poly->Init();
    EXPECT_EQ(Entries(poly->Primitive(0)), (std::vector<std::uint32_t>{3, 2, 1, 0}));
    EXPECT_EQ(poly->Points()->GetVector(0, daNormal), (TOrnMathVector{0, 0, -1}));
    poly->OnConstruct = nullptr;
    poly->SetInitClearPoints(true);
    poly->Init();
    EXPECT_EQ(poly->Points()->Count() + poly->Count(), 0);
}

TEST_F(PolygonFixture, AddValuesUsesTheNormalPropertyAndTexture) {
    TOrnNormal n;
    n.SetValues(0, 1, 0);
    poly->SetNormal(&n);
    poly->SetNormal(nullptr); // ignored value, still a change
    poly->AddValues(1, 2, 3, 0.5f, 0.25f);
    EXPECT_EQ(poly->Points()->GetVector(0, daNormal), (TOrnMathVector{0, 1, 0}));
    EXPECT_EQ(poly->Points()->GetVector(0, daTexture), (TOrnMathVector{0.5, 0.25, 0}));
    EXPECT_FALSE(poly->Points()->GetFlag(0, 1));
}

TEST_F(PolygonFixture, ValuesOfOnePointAreCheckedByIndexAndKind) {
    Square();
    poly->Init();
    poly->SetValues(2, daVertex, {5, 5, 0});
    EXPECT_FALSE(poly->Initialized());
    EXPECT_EQ(poly->GetValues(2, daVertex), (TOrnMathVector{5, 5, 0}));
    poly->SetValues(4, daVertex, {7, 7, 7});
    poly->SetValues(-1, daVertex, {7, 7, 7});
    poly->SetValues(0, daColor, {7, 7, 7});
    EXPECT_EQ(poly->GetValues(4, daVertex), (TOrnMathVector{}));
    EXPECT_EQ(poly->GetValues(0, daVertex), (TOrnMathVector{0, 0, 0}));
}

TEST_F(PolygonFixture, PointsRoundTripThroughTheExchangeAndDamagedOnesAreIgnored) {
    Square();
    test::MemoryExchange ex;
    ex.Save(*poly);
    TOrnPolygon back(&form);
    ex.Load(back);
    ASSERT_EQ(back.Points()->Count(), 4);
    EXPECT_EQ(back.Points()->GetVector(2, daVertex), (TOrnMathVector{1, 1, 0}));
    EXPECT_EQ(back.Points()->GetVector(3, daTexture), (TOrnMathVector{0, 1, 0}));
    ex.Set("Points", "1,2,3;garbage");
    ex.Load(back);
    EXPECT_EQ(back.Points()->Count(), 4);
}
