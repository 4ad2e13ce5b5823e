#include <orn/geometry/TOrnBox.h>
#include <orn/geometry/TOrnCylinder.h>
#include <orn/geometry/TOrnDisc.h>
#include <orn/geometry/TOrnLine.h>
#include <orn/geometry/TOrnPoint.h>
#include <orn/geometry/TOrnRectangle.h>
#include <orn/geometry/TOrnSphere.h>
#include <orn/geometry/TOrnTorus.h>
#include <orn/geometry/TOrnTriangle.h>
#include <orn/scene/TOrnNode.h>
#include <orn/view/TOrnView.h>

#include "view/ViewTestSupport.h"

#include <GL/gl.h>
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <memory>
#include <random>
#include <tuple>
#include <vector>

namespace orn {
namespace {

using test::VectorNear;
using test::ViewTest;

// A square of side 2·half at depth z, its left half named as index list 0, its right half as 1.
struct HalvedSquare : TOrnObject {
    HalvedSquare(float zValue, float halfValue = 0.5f) : TOrnObject(nullptr), z(zValue), half(halfValue) {}
    float z, half;
    void DoRender(TOrnCustomView* view) override {
        TOrnObject::DoRender(view);
        for (int index = 0; index < 2; ++index) {
            if (WantsNames(view)) glPushName(static_cast<GLuint>(view->GetNextID(this, index)));
            const float x0 = index == 0 ? -half : 0.0f, x1 = x0 + half;
            glBegin(GL_QUADS);
            glVertex3f(x0, -half, z), glVertex3f(x1, -half, z), glVertex3f(x1, half, z),
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
    for (size_t i = 0; i < 3; ++i) {
        const HalvedSquare* nearest = objects[i == 0 ? 1 : i == 1 ? 0 : 2].get();
        EXPECT_EQ(list[i].Object, nearest);
        EXPECT_EQ(list[i].Index, 0);
        // The squares are flat, so the point at the nearest depth is the point hit.
        EXPECT_TRUE(VectorNear(list[i].Point, {-0.1, 0, nearest->z}, 1e-5));
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
    EXPECT_EQ(view.GetObj(100, 57).Object, objects[0].get()); // the square ends at row 55
    EXPECT_EQ(view.GetObj(100, 59).Object, nullptr);
    EXPECT_EQ(view.GetObj(10, 10).Object, nullptr);
    objects.back()->Transformation()->Translation()->SetY(0.6f); // rows count downwards here too
    EXPECT_EQ(view.GetObj(100, 20).Object, objects[0].get());
    EXPECT_EQ(view.GetObj(100, 80).Object, nullptr);
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
        EXPECT_TRUE(VectorNear(hit.Point, c.front, 1e-6));
    }
    // 0.2 off the centre the ray meets a face just inside the round surface.
    const TOrnMathVector p = view.GetObj(60, 50).Point;
    EXPECT_NEAR(p.x, -0.8, 1e-6);
    EXPECT_LT(p.z, -1 + std::sqrt(0.96));
    EXPECT_GT(p.z, -1 + std::sqrt(0.96) - 0.02);
}

TEST_F(PickTest, WinFrom3DAndWinTo3DUndoEachOtherAndGetPointFindsTheSceneSurface) {
    // Before any render the camera alone places the point, also for a view that never connected.
    EXPECT_NEAR(view.WinFrom3D({0, 1, 0}).y, 0, 1e-6);
    TOrnView never(nullptr);
    never.SetBounds(200, 100);
    never.SetCamera(&camera);
    EXPECT_TRUE(VectorNear(never.WinFrom3D({1, 0.5, 0}), {150, 25, 0.1919192}, 1e-6));
    // During a render a point is taken in the coordinates the object sees.
    TOrnMathVector inside;
    view.OnRender = [&](TOrnView* v) {
        glTranslatef(1, 0, 0);
        inside = v->WinFrom3D({0, 0, 0});
    };
    view.RenderScene();
    EXPECT_TRUE(VectorNear(inside, {150, 50, 0.1919192}, 1e-6));
    const TOrnMathVector w = view.WinFrom3D({0.4, -0.3, 0.2});
    EXPECT_TRUE(VectorNear(w, {120, 65, 0.1717172}, 1e-6));
    EXPECT_TRUE(VectorNear(view.WinTo3D(w.x, w.y, w.z), {0.4, -0.3, 0.2}, 1e-6));
    view.OnRender = [this](TOrnView* v) { objects[0]->Render(v); };
    objects.push_back(std::make_unique<HalvedSquare>(0.25f));
    TOrnMathVector p;
    ASSERT_TRUE(view.GetPoint(100, 50, p));
    EXPECT_TRUE(VectorNear(p, {0.01, -0.01, 0.25}, 1e-3)); // the pixel centre, half a pixel off the axes
    EXPECT_FALSE(view.GetPoint(2, 2, p) || view.GetPoint(200, 50, p) || view.GetPoint(-1, 50, p));
    TOrnPerspectiveCamera perspective(nullptr);
    perspective.Transformation()->Rotation()->SetX(20.0f);
    view.SetCamera(&perspective);
    objects[0] = std::make_unique<HalvedSquare>(0.1f, 1.2f);
    objects[0]->Transformation()->Rotation()->SetY(35.0f);
    int checked = 0;
    for (int x = 60; x <= 140; x += 20) {
        for (int y = 30; y <= 70; y += 20) {
            if (!view.GetPoint(x, y, p)) continue;
            ++checked;
            const TOrnMathVector back = view.WinFrom3D(p);
            EXPECT_TRUE(VectorNear({back.x, back.y, 0}, {x + 0.5, y + 0.5, 0}, 1.0)) << x << "," << y;
        }
    }
    EXPECT_GE(checked, 10);
}

// Picking draws only the shapes that the nodes' indexes find near the pick volume. The answer must
// be the one that drawing every shape gives: the same scene built from shapes that never report
// bounds (and so are always drawn) is the reference, also after the scene changed.
template <class T> class AlwaysDrawn : public T {
public:
    using T::T;
    bool GetBounds(TOrnBounds&) override { return false; }
};

template <class... Shapes> TOrnPrimitiveObj* Make(int kind, bool alwaysDrawn, TComponent* owner) {
    TOrnPrimitiveObj* made = nullptr;
    int k = 0;
    ((made = k++ != kind ? made : alwaysDrawn ? new AlwaysDrawn<Shapes>(owner) : new Shapes(owner)), ...);
    return made;
}

/// One random scene: groups with transformations of their own, shapes of every kind placed,
/// turned and scaled at random, and some shapes shared into a second group.
struct Scene {
    TComponent form{nullptr};
    TOrnNode* root = new TOrnNode(&form);
    std::vector<TOrnNode*> groups;
    std::vector<TOrnPrimitiveObj*> shapes;
    std::map<const void*, int> order{{root, -1}}; // shape or node → its number in the scene
    std::mt19937 rng;

    float Uniform(double lo, double hi) { return float(std::uniform_real_distribution<>(lo, hi)(rng)); }
    void Place(TOrnTransformation& t, double reach) {
        t.Translation()->SetValues(Uniform(-reach, reach), Uniform(-0.8 * reach, 0.8 * reach),
                                   Uniform(-4, 4));
        t.Rotation()->SetValues(Uniform(0, 360), Uniform(0, 360), Uniform(0, 360));
        t.Scale()->SetValues(Uniform(0.3, 1.5), Uniform(0.3, 1.5), Uniform(0.3, 1.5));
    }

    Scene(unsigned seed, bool alwaysDrawn) : rng(seed) {
        for (int g = 0; g < 4; ++g) {
            root->Add(groups.emplace_back(new TOrnNode(&form)));
            Place(*groups.back()->Transformation(), 3);
            order[groups.back()] = -2 - g;
        }
        for (int i = 0; i < 120; ++i) {
            shapes.push_back(Make<TOrnSphere, TOrnBox, TOrnCylinder, TOrnDisc, TOrnTorus, TOrnTriangle,
                                  TOrnRectangle, TOrnLine, TOrnPoint>(i % 9, alwaysDrawn, &form));
            order[shapes.back()] = i;
            Place(*shapes.back()->Transformation(), 9);
            groups[static_cast<size_t>(i) % 4]->Add(shapes.back());
            if (i % 7 == 0) groups[static_cast<size_t>(i + 1) % 4]->AddIndirect(shapes.back());
        }
    }
    /// Round 0 grows what group 0 shares with group 1 (not told), 1 moves and switches, 2 regroups.
    void Change(int round) {
        for (size_t i = 0; i < shapes.size(); ++i) {
            if (round == 0 && i % 28 == 0) shapes[i]->Transformation()->Scale()->SetValues(8, 8, 8);
            if (round == 1 && i % 5 == 0) Place(*shapes[i]->Transformation(), 9);
            if (round == 1 && i % 11 == 0) shapes[i]->SetEnabled(!shapes[i]->Enabled());
            if (round == 2 && i % 13 == 0) groups[(i + 2) % 4]->Add(shapes[i]);
        }
    }
};

TEST_F(PickTest, IndexedPickEqualsDrawingEverythingOnRandomScenes) {
    TOrnPerspectiveCamera perspective(nullptr);
    perspective.Transformation()->Translation()->SetZ(-22);
    perspective.SetViewFar(100);
    view.SetBounds(160, 120);
    view.SetCamera(&perspective);
    TOrnNode* drawn = nullptr;
    view.OnRender = [&drawn](TOrnView* v) { drawn->Render(v); };
    // The centre, points all over, and the edges and corners of the view.
    const std::pair<int, int> points[] = {{80, 60},  {0, 0},   {159, 119}, {0, 60},   {159, 60}, {80, 0},
                                          {80, 119}, {30, 40}, {120, 90},  {55, 100}, {140, 20}, {10, 110}};
    // Every hit at (x, y) as its shape's number, index list, depths, point and group's number.
    auto pick = [&](const Scene& s, int x, int y) {
        drawn = s.root;
        view.GetObj(x, y);
        std::vector<std::tuple<int, int, double, double, double, double, double, int>> out;
        for (const TOrnSelectionHit& h : view.SelectionList())
            out.emplace_back(s.order.at(h.Object), h.Index, h.ZMin, h.ZMax, h.Point.x, h.Point.y, h.Point.z,
                             h.Path.size() == 2 ? s.order.at(h.Path[1]) : -99);
        return out;
    };
    int hits = 0, shared = 0;
    for (unsigned seed = 1; seed <= 4; ++seed) {
        Scene indexed(seed, false), reference(seed, true);
        for (int round = 0; round < 4; indexed.Change(round), reference.Change(round), ++round) {
            for (const auto& [x, y] : points) {
                const auto got = pick(indexed, x, y);
                ASSERT_EQ(got, pick(reference, x, y)) << "seed " << seed << " at " << x << ", " << y;
                for (const auto& hit : got)
                    shared += std::get<0>(hit) % 7 == 0;
                hits += static_cast<int>(got.size());
            }
        }
    }
    // The scenes are dense enough for the comparison to mean something, shared shapes included.
    EXPECT_GT(hits, 80);
    EXPECT_GT(shared, 5);
}

} // namespace
} // namespace orn
