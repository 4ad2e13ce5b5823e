// Picking draws only the shapes whose bounds meet the pick volume. The answer must be the one that
// drawing every shape gives: the same scene built from shapes that never report bounds (and so are
// always drawn) is the reference.
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

template <template <class> class Wrap> TOrnPrimitiveObj* MakeShape(int kind, TComponent* owner) {
    switch (kind) {
    case 0:
        return new Wrap<TOrnSphere>(owner);
    case 1:
        return new Wrap<TOrnBox>(owner);
    case 2:
        return new Wrap<TOrnCylinder>(owner);
    case 3:
        return new Wrap<TOrnDisc>(owner);
    case 4:
        return new Wrap<TOrnTorus>(owner);
    case 5:
        return new Wrap<TOrnTriangle>(owner);
    case 6:
        return new Wrap<TOrnRectangle>(owner);
    case 7:
        return new Wrap<TOrnLine>(owner);
    default:
        return new Wrap<TOrnPoint>(owner);
    }
}
template <class T> using Plain = T;

/// One random scene: groups with transformations of their own, shapes of every kind placed,
/// turned and scaled at random, and some shapes shared into a second group.
struct Scene {
    TComponent form{nullptr};
    TOrnNode* root = new TOrnNode(&form);
    std::map<const TObject*, int> order; // shape → its number in the scene

    Scene(unsigned seed, bool alwaysDrawn) {
        std::mt19937 rng(seed);
        auto uniform = [&](double lo, double hi) {
            return float(std::uniform_real_distribution<>(lo, hi)(rng));
        };
        std::vector<TOrnNode*> groups;
        for (int g = 0; g < 4; ++g) {
            auto* group = new TOrnNode(&form);
            group->Transformation()->Translation()->SetValues(uniform(-3, 3), uniform(-3, 3), uniform(-2, 2));
            group->Transformation()->Rotation()->SetValues(uniform(0, 360), uniform(0, 360), 0);
            group->Transformation()->Scale()->SetValues(uniform(0.5, 1.5), uniform(0.5, 1.5), 1);
            root->Add(group);
            groups.push_back(group);
        }
        for (int i = 0; i < 120; ++i) {
            const int kind = i % 9;
            TOrnPrimitiveObj* shape =
                alwaysDrawn ? MakeShape<AlwaysDrawn>(kind, &form) : MakeShape<Plain>(kind, &form);
            order[shape] = i;
            TOrnTransformation& t = *shape->Transformation();
            t.Translation()->SetValues(uniform(-9, 9), uniform(-7, 7), uniform(-4, 4));
            t.Rotation()->SetValues(uniform(0, 360), uniform(0, 360), uniform(0, 360));
            t.Scale()->SetValues(uniform(0.3, 1.5), uniform(0.3, 1.5), uniform(0.3, 1.5));
            groups[static_cast<size_t>(i) % groups.size()]->Add(shape);
            if (i % 7 == 0) groups[(static_cast<size_t>(i) + 1) % groups.size()]->AddIndirect(shape);
        }
    }
};

class PickParity : public test::ViewTest {};

TEST_F(PickParity, CulledPickEqualsDrawingEverythingOnRandomScenes) {
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
    int hits = 0;
    for (unsigned seed = 1; seed <= 4; ++seed) {
        Scene culled(seed, false), reference(seed, true);
        for (const auto& [x, y] : points) {
            drawn = reference.root;
            const std::vector<TOrnSelectionHit> expected = (view.GetObj(x, y), view.SelectionList());
            drawn = culled.root;
            const std::vector<TOrnSelectionHit> got = (view.GetObj(x, y), view.SelectionList());
            ASSERT_EQ(got.size(), expected.size()) << "seed " << seed << " at " << x << ", " << y;
            for (size_t i = 0; i < got.size(); ++i) {
                EXPECT_EQ(culled.order.at(got[i].Object), reference.order.at(expected[i].Object)) << i;
                EXPECT_EQ(got[i].Index, expected[i].Index) << i;
                EXPECT_EQ(got[i].ZMin, expected[i].ZMin) << i;
                EXPECT_EQ(got[i].ZMax, expected[i].ZMax) << i;
            }
            hits += static_cast<int>(got.size());
        }
    }
    EXPECT_GT(hits, 40); // the scenes are dense enough for the comparison to mean something
    view.SetCamera(nullptr);
}

} // namespace
} // namespace orn
