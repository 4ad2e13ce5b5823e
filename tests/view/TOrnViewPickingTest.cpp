#include <orn/geometry/TOrnSphere.h>
#include <orn/scene/TOrnNode.h>
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
    float z, half;

protected:
    void DoRender(TOrnCustomView* view) override {
        TOrnObject::DoRender(view);
        for (int index = 0; index < 2; ++index) {
            if (WantsNames(view)) glPushName(static_cast<GLuint>(view->GetNextID(this, index)));
            const float x0 = index == 0 ? -half : 0.0f, x1 = index == 0 ? 0.0f : half;
            glBegin(GL_QUADS);
            glVertex3f(x0, -half, z);
            glVertex3f(x1, -half, z);
            glVertex3f(x1, half, z);
            glVertex3f(x0, half, z);
            glEnd();
            if (WantsNames(view)) glPopName();
        }
    }
};

// The camera looks down −z from z = 2 (larger z is nearer) over 200 × 100 pixels, 50 per unit.
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
    TComponent form{nullptr};
};

TEST_F(PickTest, OverlappingObjectsComeNearestFirst) {
    // Render order is not depth order.
    for (float z : {0.0f, 0.5f, -0.5f})
        objects.push_back(std::make_unique<HalvedSquare>(z, z > 0 ? 0.2f : 0.5f));
    // (95, 50) is 0.1 left of the centre, inside all three squares.
    const TOrnSelectionHit hit = view.GetObj(95, 50);
    EXPECT_EQ(hit.Object, objects[1].get());
    const auto& list = view.SelectionList();
    ASSERT_EQ(list.size(), 3u);
    const size_t nearest[] = {1, 0, 2};
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(list[i].Object, objects[nearest[i]].get());
        EXPECT_EQ(list[i].Index, 0);
        // The squares are flat, so the point at the nearest depth is the point hit.
        EXPECT_NEAR(list[i].Point.x, -0.1, 1e-6);
        EXPECT_NEAR(list[i].Point.z, objects[nearest[i]]->z, 1e-5);
        EXPECT_TRUE(list[i].Path.empty()); // rendered by OnRender itself, through no node
    }
    EXPECT_TRUE(list[0].ZMin < list[1].ZMin && list[1].ZMin < list[2].ZMin);
    // Right of the centre, outside the small square: its right half is not hit.
    EXPECT_EQ(view.GetObj(115, 50).Index, 1);
    ASSERT_EQ(view.SelectionList().size(), 2u);
    EXPECT_EQ(view.SelectionList()[0].Object, objects[0].get());
}

TEST_F(PickTest, PickRegionIsCentredOnThePointWithYDownwards) {
    view.SetDrawMode(dmBitmap); // a pick draws in dmSelection all the same, and restores the mode
    // A small square above the centre: window row 50 − 0.6·50 = 20 from the top.
    objects.push_back(std::make_unique<HalvedSquare>(0.0f, 0.1f));
    objects.back()->Transformation()->Translation()->SetY(0.6f);
    EXPECT_EQ(view.GetObj(100, 20).Object, objects[0].get());
    EXPECT_EQ(view.GetObj(100, 80).Object, nullptr);
    EXPECT_TRUE(view.SelectionList().empty());
    // The pick region reaches SelectHeight / 2 pixels beyond the point.
    EXPECT_EQ(view.GetObj(100, 27).Object, objects[0].get()); // the square ends at row 25
    EXPECT_EQ(view.GetObj(100, 29).Object, nullptr);
    // Without a camera the scene is drawn unprojected, but the pick still narrows to the point.
    view.SetCamera(nullptr);
    objects.back()->Transformation()->Translation()->SetY(0);
    EXPECT_EQ(view.GetObj(100, 50).Object, objects[0].get());
    EXPECT_EQ(view.GetObj(10, 10).Object, nullptr);
    EXPECT_EQ(view.DrawMode(), dmBitmap);
}

TEST_F(PickTest, ManyHitsOutgrowTheFirstBuffer) {
    for (int i = 0; i < 1500; ++i)
        objects.push_back(std::make_unique<HalvedSquare>(-1.0f + i / 1000.0f));
    EXPECT_EQ(view.GetObj(90, 50).Object, objects.back().get());
    ASSERT_EQ(view.SelectionList().size(), 1500u);
    EXPECT_EQ(view.SelectionList().back().Object, objects.front().get());
}

TEST_F(PickTest, ASphereIsHitOnItsFrontThroughTheNodesThatLeadToIt) {
    // One sphere of radius 1 at z = −1, in node a directly and in node b as a shared item.
    auto *root = new TOrnNode(&form), *a = new TOrnNode(&form), *b = new TOrnNode(&form);
    auto* sphere = new TOrnSphere(&form);
    sphere->Transformation()->Translation()->SetZ(-1);
    a->Transformation()->Translation()->SetX(-1);
    b->Transformation()->Translation()->SetValues(1, 0.5f, 0);
    a->Add(sphere);
    b->AddIndirect(sphere);
    root->Add(a);
    root->Add(b);
    view.OnRender = [root](TOrnView* v) { root->Render(v); };
    const struct {
        int x, y;
        TOrnNode* node;
        TOrnMathVector front;
    } cases[] = {{50, 50, a, {-1, 0, 0}}, {150, 25, b, {1, 0.5, 0}}};
    for (const auto& c : cases) {
        const TOrnSelectionHit hit = view.GetObj(c.x, c.y);
        EXPECT_EQ(hit.Object, sphere);
        EXPECT_EQ(hit.Path, (std::vector<TOrnCustomNode*>{root, c.node}));
        EXPECT_NEAR(hit.Point.x, c.front.x, 1e-6);
        EXPECT_NEAR(hit.Point.y, c.front.y, 1e-6);
        EXPECT_NEAR(hit.Point.z, c.front.z, 1e-6);
    }
    // 0.2 off the centre the ray meets a face just inside the round surface.
    const TOrnMathVector p = view.GetObj(60, 50).Point;
    EXPECT_NEAR(p.x, -0.8, 1e-6);
    EXPECT_LT(p.z, -1 + std::sqrt(0.96));
    EXPECT_GT(p.z, -1 + std::sqrt(0.96) - 0.02);
}

TEST_F(PickTest, GetPointFindsTheSceneSurfaceWhereWinFrom3DPutsIt) {
    objects.push_back(std::make_unique<HalvedSquare>(0.25f));
    TOrnMathVector p;
    ASSERT_TRUE(view.GetPoint(100, 50, p));
    EXPECT_NEAR(p.z, 0.25, 1e-3);
    EXPECT_NEAR(p.x, 0.01, 0.011); // the pixel centre, half a pixel (0.01 units) off the axis
    EXPECT_FALSE(view.GetPoint(2, 2, p) || view.GetPoint(200, 50, p) || view.GetPoint(-1, 50, p));
    objects.clear();
    TOrnPerspectiveCamera perspective(nullptr);
    perspective.Transformation()->Rotation()->SetX(20.0f);
    view.SetCamera(&perspective);
    objects.push_back(std::make_unique<HalvedSquare>(0.1f, 1.2f));
    objects.back()->Transformation()->Rotation()->SetY(35.0f);
    int checked = 0;
    for (int x = 60; x <= 140; x += 20) {
        for (int y = 30; y <= 70; y += 20) {
            if (!view.GetPoint(x, y, p)) continue;
            ++checked;
            const TOrnMathVector w = view.WinFrom3D(p);
            EXPECT_NEAR(w.x, x + 0.5, 1.0) << x << "," << y;
            EXPECT_NEAR(w.y, y + 0.5, 1.0) << x << "," << y;
        }
    }
    EXPECT_GE(checked, 10);
}

TEST_F(PickTest, WinTo3DUndoesWinFrom3D) {
    // Before any render the camera alone places the point, also for a view that never connected.
    EXPECT_NEAR(view.WinFrom3D({0, 1, 0}).y, 0, 1e-6);
    TOrnView never(nullptr);
    never.SetBounds(200, 100);
    never.SetCamera(&camera);
    EXPECT_NEAR(never.WinFrom3D({1, 0.5, 0}).x, 150, 1e-6);
    EXPECT_NEAR(never.WinFrom3D({1, 0.5, 0}).y, 25, 1e-6);
    // During a render a point is taken in the coordinates the object sees.
    TOrnMathVector inside;
    view.OnRender = [&](TOrnView* v) {
        glTranslatef(1, 0, 0);
        inside = v->WinFrom3D({0, 0, 0});
    };
    view.RenderScene();
    EXPECT_NEAR(inside.x, 150, 1e-6);
    EXPECT_NEAR(inside.y, 50, 1e-6);
    const TOrnMathVector p{0.4, -0.3, 0.2};
    const TOrnMathVector w = view.WinFrom3D(p);
    EXPECT_NEAR(w.x, 100 + 0.4 * 50, 1e-6);
    EXPECT_NEAR(w.y, 50 + 0.3 * 50, 1e-6);
    const TOrnMathVector back = view.WinTo3D(w.x, w.y, w.z);
    EXPECT_NEAR(back.x, p.x, 1e-6);
    EXPECT_NEAR(back.y, p.y, 1e-6);
    EXPECT_NEAR(back.z, p.z, 1e-6);
}

} // namespace
} // namespace orn
