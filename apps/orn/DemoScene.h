#pragma once

// The built-in demo scene of `orn render` (and of the view benchmark): everything it shows is made
// here from the library's own components, so that a scene file can take its place without touching
// the verbs.

#include <orn/geometry/TOrnBox.h>
#include <orn/geometry/TOrnCylinder.h>
#include <orn/geometry/TOrnSphere.h>
#include <orn/geometry/TOrnTorus.h>
#include <orn/scene/TOrnNode.h>
#include <orn/state/TOrnAttributes.h>
#include <orn/state/TOrnFog.h>
#include <orn/state/TOrnLight.h>
#include <orn/state/TOrnMaterial.h>
#include <orn/view/TOrnCamera.h>
#include <orn/view/TOrnView.h>

#include <cmath>
#include <numbers>

namespace orn::app {

/// A lit material whose diffuse colour is colour.
inline TOrnMaterial* DemoMaterial(TComponent* owner, TColor colour) {
    auto* m = new TOrnMaterial(owner);
    m->ColorDiffuse()->SetColor(colour);
    m->ColorAmbient()->SetColor(RGB(GetRValue(colour) / 4, GetGValue(colour) / 4, GetBValue(colour) / 4));
    m->ColorSpecular()->SetColor(RGB(90, 90, 90));
    m->SetShininess(40);
    return m;
}

/// A primitive shape of the demo: shared lit attributes, a material of its own.
template <class Shape> Shape* DemoShape(TComponent* owner, TOrnNode* scene, TOrnAttributes* lit, TColor colour) {
    auto* s = new Shape(owner);
    s->SetAttributes(lit);
    s->SetMaterial(DemoMaterial(owner, colour));
    scene->Add(s);
    return s;
}

/// The demo: a light, a faint fog, a floor, a torus in the middle and a ring of spheres, cylinders
/// and boxes, all owned by owner and held by the returned node.
inline TOrnNode* BuildDemoScene(TComponent* owner, int ringCount = 12) {
    auto* scene = new TOrnNode(owner);

    auto* light = new TOrnLight(owner);
    light->SetKind(lkDirection);
    light->Direction()->SetValues(0.4f, 0.9f, 0.6f); // towards the light, from above
    scene->Add(light);

    auto* fog = new TOrnFog(owner);
    fog->SetMode(fmLinear);
    fog->SetStartDepth(8);
    fog->SetEndDepth(30);
    fog->Color()->SetColor(RGB(24, 28, 40));
    scene->Add(fog);

    auto* lit = new TOrnAttributes(owner);
    lit->SetLighting(true);
    lit->SetShadeModel(smSmooth);

    auto* floor = DemoShape<TOrnBox>(owner, scene, lit, RGB(70, 74, 90));
    floor->SetWidth(9);
    floor->SetHeight(0.1f);
    floor->SetDepth(9);
    floor->Transformation()->Translation()->SetY(-0.8f);

    auto* torus = DemoShape<TOrnTorus>(owner, scene, lit, RGB(240, 180, 60));
    torus->SetRingRadius(0.9f);
    torus->SetTubeRadius(0.35f);
    torus->SetRings(48);
    torus->SetSides(24);
    torus->Transformation()->Rotation()->SetValues(60, 30, 0);
    torus->Transformation()->Translation()->SetY(0.4f);

    for (int i = 0; i < ringCount; ++i) {
        const double a = 2 * std::numbers::pi * i / ringCount;
        const TColor colour = RGB(static_cast<std::uint8_t>(127 + 127 * std::cos(a)),
                                  static_cast<std::uint8_t>(127 + 127 * std::sin(a)), 200);
        TOrnPrimitiveObj* shape = nullptr;
        switch (i % 3) {
        case 0: {
            auto* sphere = DemoShape<TOrnSphere>(owner, scene, lit, colour);
            sphere->SetRadius(0.4f);
            shape = sphere;
            break;
        }
        case 1: {
            auto* cylinder = DemoShape<TOrnCylinder>(owner, scene, lit, colour);
            cylinder->SetBaseRadius(0.3f);
            cylinder->SetTopRadius(0.3f);
            cylinder->SetHeight(0.8f);
            shape = cylinder;
            break;
        }
        default: {
            auto* box = DemoShape<TOrnBox>(owner, scene, lit, colour);
            box->SetWidth(0.6f);
            box->SetHeight(0.6f);
            box->SetDepth(0.6f);
            shape = box;
            break;
        }
        }
        shape->Transformation()->Translation()->SetValues(float(3 * std::cos(a)), -0.35f, float(3 * std::sin(a)));
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
