#include <orn/scene/TOrnObject.h>
#include <orn/view/TOrnView.h>

#include "view/ViewTestSupport.h"

#include <GL/gl.h>
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

namespace orn {
namespace {

using test::ViewTest;

// A square of side 2·half at depth z, drawn as two halves (left: index list 0, right: 1), each
// named as a generated-geometry object names its index lists.
class HalvedSquare : public TOrnObject {
public:
    HalvedSquare(float zValue, float halfValue = 0.5f) : TOrnObject(nullptr), z(zValue), half(halfValue) {}
    float z;
    float half;

protected:
    void DoRender(TOrnCustomView* view) override {
        TOrnObject::DoRender(view);
        for (int index = 0; index < 2; ++index) {
            const bool named = WantsNames(view);
            if (named) glPushName(static_cast<GLuint>(view->GetNextID(this, index)));
            const float x0 = index == 0 ? -half : 0.0f;
            const float x1 = index == 0 ? 0.0f : half;
            glBegin(GL_QUADS);
            glVertex3f(x0, -half, z);
            glVertex3f(x1, -half, z);
            glVertex3f(x1, half, z);
            glVertex3f(x0, half, z);
            glEnd();
            if (named) glPopName();
        }
    }
};

class PickTest : public ViewTest {
protected:
    void SetUp() override {
        ViewTest::SetUp();
        if (IsSkipped()) return;
        view.SetBounds(200, 100);
        view.SetCamera(&camera);
        view.OnRender = [this](TOrnView* v) {
            for (auto& o : objects)
                o->Render(v);
        };
        view.OpenGLConnect();
    }
    TOrnOrthographicCamera camera{nullptr};
    TOrnView view{nullptr};
    std::vector<std::unique_ptr<HalvedSquare>> objects;
};

TEST_F(PickTest, OverlappingObjectsComeNearestFirst) {
    // The camera looks down −z from z = 2: larger z is nearer. Render order is not depth order.
    objects.push_back(std::make_unique<HalvedSquare>(0.0f));
    objects.push_back(std::make_unique<HalvedSquare>(0.5f, 0.2f));
    objects.push_back(std::make_unique<HalvedSquare>(-0.5f));
    // 50 pixels per unit: (95, 50) is 0.1 left of the centre, inside all three squares.
    const TOrnSelectionHit hit = view.GetObj(95, 50);
    EXPECT_EQ(hit.Object, objects[1].get());
    EXPECT_EQ(hit.Index, 0);
    const auto& list = view.SelectionList();
    ASSERT_EQ(list.size(), 3u);
    EXPECT_EQ(list[0].Object, objects[1].get());
    EXPECT_EQ(list[1].Object, objects[0].get());
    EXPECT_EQ(list[2].Object, objects[2].get());
    EXPECT_LT(list[0].ZMin, list[1].ZMin);
    EXPECT_LT(list[1].ZMin, list[2].ZMin);
    for (const auto& h : list)
        EXPECT_EQ(h.Index, 0);

    // Right of the centre, outside the small square: its right half is not hit.
    view.GetObj(115, 50);
    ASSERT_EQ(view.SelectionList().size(), 2u);
    EXPECT_EQ(view.SelectionList()[0].Object, objects[0].get());
    EXPECT_EQ(view.SelectionList()[0].Index, 1);
}

TEST_F(PickTest, EmptySpaceHitsNothing) {
    objects.push_back(std::make_unique<HalvedSquare>(0.0f, 0.2f));
    const TOrnSelectionHit hit = view.GetObj(5, 5);
    EXPECT_EQ(hit.Object, nullptr);
    EXPECT_TRUE(view.SelectionList().empty());
}

TEST_F(PickTest, PickRegionIsCentredOnThePointWithYDownwards) {
    // A small square above the centre: window row 50 − 0.6·50 = 20 from the top.
    auto square = std::make_unique<HalvedSquare>(0.0f, 0.1f);
    objects.push_back(std::move(square));
    objects.back()->Transformation()->Translation()->SetY(0.6f);
    EXPECT_EQ(view.GetObj(100, 20).Object, objects[0].get());
    EXPECT_EQ(view.GetObj(100, 80).Object, nullptr);
    // The pick region reaches SelectHeight / 2 pixels beyond the point.
    EXPECT_EQ(view.GetObj(100, 27).Object, objects[0].get()); // the square ends at row 25
    EXPECT_EQ(view.GetObj(100, 29).Object, nullptr);
}

TEST_F(PickTest, PickRendersInSelectionModeAndRestoresTheMode) {
    std::vector<TOrnDrawMode> seen;
    view.OnRender = [&](TOrnView* v) { seen.push_back(v->DrawMode()); };
    view.SetDrawMode(dmBitmap);
    view.GetObj(10, 10);
    EXPECT_EQ(seen, (std::vector<TOrnDrawMode>{dmSelection}));
    EXPECT_EQ(view.DrawMode(), dmBitmap);
    EXPECT_FALSE(view.GetCurrent() && view.DrawMode() != dmBitmap);
}

TEST_F(PickTest, ManyHitsOutgrowTheFirstBuffer) {
    for (int i = 0; i < 1500; ++i)
        objects.push_back(std::make_unique<HalvedSquare>(-1.0f + i / 1000.0f));
    const TOrnSelectionHit hit = view.GetObj(90, 50);
    EXPECT_EQ(hit.Object, objects.back().get());
    ASSERT_EQ(view.SelectionList().size(), 1500u);
    EXPECT_EQ(view.SelectionList().back().Object, objects.front().get());
}

TEST_F(PickTest, WithoutCameraThePickStillNarrowsToThePoint) {
    view.SetCamera(nullptr);
    objects.push_back(std::make_unique<HalvedSquare>(0.0f, 0.2f));
    EXPECT_EQ(view.GetObj(100, 50).Object, objects[0].get());
    EXPECT_EQ(view.GetObj(10, 10).Object, nullptr);
}

TEST_F(PickTest, GetPointAndWinFrom3DAgreeWithinAPixel) {
    TOrnPerspectiveCamera perspective(nullptr);
    perspective.Transformation()->Rotation()->SetX(20.0f);
    view.SetCamera(&perspective);
    objects.push_back(std::make_unique<HalvedSquare>(0.1f, 1.2f));
    objects.back()->Transformation()->Rotation()->SetY(35.0f);
    int checked = 0;
    for (int x = 60; x <= 140; x += 20) {
        for (int y = 30; y <= 70; y += 20) {
            TOrnMathVector p;
            if (!view.GetPoint(x, y, p)) continue;
            ++checked;
            const TOrnMathVector w = view.WinFrom3D(p);
            EXPECT_NEAR(w.x, x + 0.5, 1.0) << x << "," << y;
            EXPECT_NEAR(w.y, y + 0.5, 1.0) << x << "," << y;
        }
    }
    EXPECT_GE(checked, 10);
}

TEST_F(PickTest, GetPointFindsTheSceneSurface) {
    objects.push_back(std::make_unique<HalvedSquare>(0.25f));
    TOrnMathVector p;
    ASSERT_TRUE(view.GetPoint(100, 50, p));
    EXPECT_NEAR(p.z, 0.25, 1e-3);
    EXPECT_NEAR(p.x, 0.01, 0.011);           // the pixel centre, half a pixel (0.01 units) off the axis
    EXPECT_FALSE(view.GetPoint(2, 2, p));    // background
    EXPECT_FALSE(view.GetPoint(200, 50, p)); // outside
    EXPECT_FALSE(view.GetPoint(-1, 50, p));
}

TEST_F(PickTest, WinTo3DUndoesWinFrom3D) {
    view.RenderScene();
    const TOrnMathVector p{0.4, -0.3, 0.2};
    const TOrnMathVector w = view.WinFrom3D(p);
    // Orthographic, 200 × 100, height 2 units: 50 pixels per unit, y downwards.
    EXPECT_NEAR(w.x, 100 + 0.4 * 50, 1e-6);
    EXPECT_NEAR(w.y, 50 + 0.3 * 50, 1e-6);
    const TOrnMathVector back = view.WinTo3D(w.x, w.y, w.z);
    EXPECT_NEAR(back.x, p.x, 1e-6);
    EXPECT_NEAR(back.y, p.y, 1e-6);
    EXPECT_NEAR(back.z, p.z, 1e-6);
}

TEST_F(PickTest, WinFrom3DDuringARenderSeesTheObjectsCoordinates) {
    TOrnMathVector inside;
    view.OnRender = [&](TOrnView* v) {
        glPushMatrix();
        glTranslatef(1, 0, 0);
        inside = v->WinFrom3D({0, 0, 0});
        glPopMatrix();
    };
    view.RenderScene();
    const TOrnMathVector outside = view.WinFrom3D({1, 0, 0});
    EXPECT_NEAR(inside.x, outside.x, 1e-6);
    EXPECT_NEAR(inside.y, outside.y, 1e-6);
    EXPECT_NEAR(outside.x, 150, 1e-6);
}

TEST_F(PickTest, WinFrom3DBeforeAnyRenderUsesTheCamera) {
    const TOrnMathVector w = view.WinFrom3D({0, 1, 0});
    EXPECT_NEAR(w.x, 100, 1e-6);
    EXPECT_NEAR(w.y, 0, 1e-6);
}

TEST_F(ViewTest, WinFrom3DOfAViewThatNeverConnected) {
    TOrnOrthographicCamera camera(nullptr);
    TOrnView view(nullptr);
    view.SetBounds(200, 100);
    view.SetCamera(&camera);
    const TOrnMathVector w = view.WinFrom3D({1, 0.5, 0});
    EXPECT_NEAR(w.x, 150, 1e-6);
    EXPECT_NEAR(w.y, 25, 1e-6);
    EXPECT_FALSE(view.Active());
}

} // namespace
} // namespace orn
