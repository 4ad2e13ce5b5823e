#pragma once

// The built-in demo scene of `orn render` (and of the view benchmark): everything it shows is made
// here, so that a scene file can take its place without touching the verbs.

#include <orn/scene/TOrnNode.h>
#include <orn/scene/TOrnObject.h>
#include <orn/view/TOrnCamera.h>
#include <orn/view/TOrnView.h>

#include <GL/gl.h>

#include <cmath>
#include <numbers>

namespace orn::app {

/// A unit cube around its origin whose faces have colours of their own.
class DemoCube : public TOrnObject {
public:
    using TOrnObject::TOrnObject;

protected:
    void DoRender(TOrnCustomView* view) override {
        TOrnObject::DoRender(view);
        static constexpr float kFaces[6][4][3] = {
            {{-.5f, -.5f, .5f}, {.5f, -.5f, .5f}, {.5f, .5f, .5f}, {-.5f, .5f, .5f}},
            {{.5f, -.5f, -.5f}, {-.5f, -.5f, -.5f}, {-.5f, .5f, -.5f}, {.5f, .5f, -.5f}},
            {{.5f, -.5f, .5f}, {.5f, -.5f, -.5f}, {.5f, .5f, -.5f}, {.5f, .5f, .5f}},
            {{-.5f, -.5f, -.5f}, {-.5f, -.5f, .5f}, {-.5f, .5f, .5f}, {-.5f, .5f, -.5f}},
            {{-.5f, .5f, .5f}, {.5f, .5f, .5f}, {.5f, .5f, -.5f}, {-.5f, .5f, -.5f}},
            {{-.5f, -.5f, -.5f}, {.5f, -.5f, -.5f}, {.5f, -.5f, .5f}, {-.5f, -.5f, .5f}}};
        static constexpr float kShade[6] = {1.0f, 0.55f, 0.8f, 0.7f, 0.95f, 0.45f};
        float rgba[4];
        Color()->GetParams(rgba);
        glBegin(GL_QUADS);
        for (int f = 0; f < 6; ++f) {
            glColor3f(rgba[0] * kShade[f], rgba[1] * kShade[f], rgba[2] * kShade[f]);
            for (const auto& v : kFaces[f])
                glVertex3fv(v);
        }
        glEnd();
    }
};

/// A square grid of lines in the x–z plane, 2·half wide, one line per unit.
class DemoGrid : public TOrnObject {
public:
    using TOrnObject::TOrnObject;
    int half = 4;

protected:
    void DoRender(TOrnCustomView* view) override {
        TOrnObject::DoRender(view);
        glBegin(GL_LINES);
        for (int i = -half; i <= half; ++i) {
            glVertex3f(float(i), 0, float(-half));
            glVertex3f(float(i), 0, float(half));
            glVertex3f(float(-half), 0, float(i));
            glVertex3f(float(half), 0, float(i));
        }
        glEnd();
    }
};

/// The demo: a grid, a large cube in the middle and a ring of smaller cubes, all owned by owner
/// and held by the returned node.
inline TOrnNode* BuildDemoScene(TComponent* owner, int ringCount = 12) {
    auto* scene = new TOrnNode(owner);
    auto* grid = new DemoGrid(owner);
    grid->Color()->SetColor(RGB(90, 90, 110));
    grid->Transformation()->Translation()->SetY(-0.75f);
    scene->Add(grid);

    auto* centre = new DemoCube(owner);
    centre->Color()->SetColor(RGB(240, 180, 60));
    centre->Transformation()->Rotation()->SetValues(20, 35, 0);
    centre->Transformation()->Scale()->SetValues(1.5f, 1.5f, 1.5f);
    scene->Add(centre);

    for (int i = 0; i < ringCount; ++i) {
        const double a = 2 * std::numbers::pi * i / ringCount;
        auto* cube = new DemoCube(owner);
        cube->Color()->SetColor(RGB(static_cast<std::uint8_t>(127 + 127 * std::cos(a)),
                                    static_cast<std::uint8_t>(127 + 127 * std::sin(a)), 200));
        cube->Transformation()->Translation()->SetValues(float(3 * std::cos(a)), -0.4f,
                                                         float(3 * std::sin(a)));
        cube->Transformation()->Scale()->SetValues(0.6f, 0.6f, 0.6f);
        scene->Add(cube);
    }
    return scene;
}

/// Places a camera so that the whole demo is in view.
inline void AimDemoCamera(TOrnCamera& camera) {
    camera.SetViewFar(40);
    // Push the scene back after turning it about its own centre.
    camera.Transformation()->SetOrder(toTraRotSca);
    camera.Transformation()->Translation()->SetValues(0, 0.4f, -10);
    camera.Transformation()->Rotation()->SetValues(25, -30, 0);
    if (auto* ortho = dynamic_cast<TOrnOrthographicCamera*>(&camera)) {
        ortho->SetViewWidth(8);
        ortho->SetViewHeight(8);
    }
}

/// Lets view draw scene with its background and axes set for the demo.
inline void ShowDemoScene(TOrnView& view, TOrnNode* scene) {
    view.SetBackgroundColor(RGB(24, 28, 40));
    view.Coordinates()->SetLength(1.2f);
    view.OnRender = [scene](TOrnView* v) { scene->Render(v); };
}

} // namespace orn::app
