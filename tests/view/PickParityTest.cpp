// Picking draws only the shapes that the nodes' indexes find near the pick volume. The answer must
// be the one that drawing every shape gives: the same scene built from shapes that never report
// bounds (and so are always drawn) is the reference, also after the scene changed.
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

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <vector>

namespace orn {
namespace {

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

class PickParity : public test::ViewTest {};

TEST_F(PickParity, IndexedPickEqualsDrawingEverythingOnRandomScenes) {
    TOrnPerspectiveCamera camera(nullptr);
    camera.Transformation()->Translation()->SetZ(-22);
    camera.SetViewFar(100);
    TOrnView view(nullptr);
    view.SetBounds(160, 120);
    view.SetCamera(&camera);
    TOrnNode* drawn = nullptr;
    view.OnRender = [&drawn](TOrnView* v) { drawn->Render(v); };
    view.OpenGLConnect();
    // The centre, points all over, and the edges and corners of the view.
    const std::pair<int, int> points[] = {{80, 60},  {0, 0},   {159, 119}, {0, 60},   {159, 60}, {80, 0},
                                          {80, 119}, {30, 40}, {120, 90},  {55, 100}, {140, 20}, {10, 110}};
    int hits = 0, shared = 0;
    for (unsigned seed = 1; seed <= 4; ++seed) {
        Scene indexed(seed, false), reference(seed, true);
        for (int round = 0; round < 4; indexed.Change(round), reference.Change(round), ++round) {
            for (const auto& [x, y] : points) {
                drawn = reference.root;
                const std::vector<TOrnSelectionHit> expected = (view.GetObj(x, y), view.SelectionList());
                drawn = indexed.root;
                const std::vector<TOrnSelectionHit> got = (view.GetObj(x, y), view.SelectionList());
                ASSERT_EQ(got.size(), expected.size()) << "seed " << seed << " at " << x << ", " << y;
                for (size_t i = 0; i < got.size(); ++i) {
                    EXPECT_EQ(indexed.order.at(got[i].Object), reference.order.at(expected[i].Object)) << i;
                    EXPECT_EQ(got[i].Index, expected[i].Index) << i;
                    EXPECT_TRUE(got[i].ZMin == expected[i].ZMin && got[i].ZMax == expected[i].ZMax) << i;
                    const TOrnMathVector &p = got[i].Point, &q = expected[i].Point;
                    EXPECT_TRUE(p.x == q.x && p.y == q.y && p.z == q.z) << i;
                    ASSERT_EQ(got[i].Path.size(), 2u) << i;
                    EXPECT_EQ(indexed.order.at(got[i].Path[1]), reference.order.at(expected[i].Path[1])) << i;
                    shared += indexed.order.at(got[i].Object) % 7 == 0;
                }
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
