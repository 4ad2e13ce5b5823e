// Writes a lit, fogged scene into an ORNGL scene file, reads it back into a fresh form and renders
// what was read into a PNG. Each shape carries its own position and colour; one shared material
// gives them all the same highlight.
//
//   example_scene_file [scene.orngl] [image.png]
#include <orn/orn.h>

#include <cmath>
#include <cstdio>
#include <exception>
#include <numbers>
#include <string>

using namespace orn;

namespace {

// A shape at (x, y, z) whose colour is its ambient and diffuse colour, under the shared material.
template <class Shape>
Shape* Place(TComponent* form, TOrnNode* scene, TOrnMaterial* shine, TColor colour, float x, float y,
             float z) {
    auto* shape = new Shape(form);
    shape->Transformation()->Translation()->SetValues(x, y, z);
    shape->Color()->SetColor(colour);
    shape->SetColorMaterial(5);
    shape->SetMaterial(shine);
    scene->Add(shape);
    return shape;
}

void BuildScene(TComponent* form, TOrnNode* scene) {
    auto* light = new TOrnLight(form);
    light->SetKind(lkDirection);
    light->Direction()->SetValues(0.4f, 0.9f, 0.6f);
    scene->Add(light);
    auto* fog = new TOrnFog(form);
    fog->SetMode(fmLinear);
    fog->SetStartDepth(6);
    fog->SetEndDepth(16);
    fog->Color()->SetColor(RGB(24, 28, 40));
    scene->Add(fog);
    auto* lit = new TOrnAttributes(form);
    lit->SetLighting(true);
    lit->SetShadeModel(smSmooth);
    scene->Add(lit);
    auto* shine = new TOrnMaterial(form);
    shine->SetName("Shine");
    shine->ColorSpecular()->SetColor(RGB(90, 90, 90));
    shine->SetShininess(40);
    scene->Add(shine);

    auto* floor = Place<TOrnBox>(form, scene, shine, RGB(70, 74, 90), 0, -0.8f, 0);
    floor->SetWidth(9);
    floor->SetHeight(0.1f);
    floor->SetDepth(9);
    auto* centre = Place<TOrnSphere>(form, scene, shine, RGB(240, 180, 60), 0, 0.4f, 0);
    centre->SetRadius(0.8f);
    centre->SetSlices(48);
    centre->SetStacks(32);
    for (int i = 0; i < 8; ++i) {
        const double a = 2 * std::numbers::pi * i / 8;
        const auto x = float(3 * std::cos(a)), z = float(3 * std::sin(a));
        const TColor colour = RGB(static_cast<std::uint8_t>(127 + 127 * std::cos(a)),
                                  static_cast<std::uint8_t>(127 + 127 * std::sin(a)), 200);
        if (i % 2 == 0) {
            auto* torus = Place<TOrnTorus>(form, scene, shine, colour, x, -0.45f, z);
            torus->SetRingRadius(0.35f);
            torus->SetTubeRadius(0.15f);
        } else {
            auto* cylinder = Place<TOrnCylinder>(form, scene, shine, colour, x, -0.75f, z);
            cylinder->SetBaseRadius(0.3f);
            cylinder->SetTopRadius(0.3f);
            cylinder->SetHeight(0.9f);
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    const std::string sceneFile = argc > 1 ? argv[1] : "demo.orngl";
    const std::string imageFile = argc > 2 ? argv[2] : "scene_file.png";
    try {
        TOrnPerspectiveCamera camera(nullptr);
        camera.SetViewFar(40);
        camera.Transformation()->SetOrder(toTraRotSca);
        camera.Transformation()->Translation()->SetValues(0, 0.4f, -10);
        camera.Transformation()->Rotation()->SetValues(25, -30, 0);
        {
            TComponent form(nullptr);
            auto* scene = new TOrnNode(&form);
            BuildScene(&form, scene);
            TOrnExchange exchange(nullptr);
            exchange.SetDescription("A lit, fogged demo scene");
            exchange.SetCamera(&camera);
            exchange.SaveToFile(*scene, sceneFile);
        }
        TComponent form(nullptr);
        auto* scene = new TOrnNode(&form);
        TOrnExchange exchange(nullptr);
        exchange.SetCamera(&camera);
        exchange.LoadFromFile(*scene, sceneFile);
        auto* view = new TOrnView(&form);
        view->SetCamera(&camera);
        view->SetBackgroundColor(RGB(24, 28, 40));
        view->OnRender = [scene](TOrnView* v) { scene->Render(v); };
        view->GetImage(800, 600)->SaveToFile(imageFile);
        view->SetCamera(nullptr);
        std::printf("wrote %s (%d objects) and %s\n", sceneFile.c_str(), scene->CountAllItems(),
                    imageFile.c_str());
    } catch (const std::exception& e) {
        std::fprintf(stderr, "scene_file: %s\n", e.what());
        return 1;
    }
    return 0;
}
