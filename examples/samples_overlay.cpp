// The sample controls over a rendered scene: a lit sphere and ring drawn headless, with a gauge,
// a colour grid, a calendar and a performance graph painted on the canvas view, written as a PNG.
#include <orn/geometry/TOrnSphere.h>
#include <orn/geometry/TOrnTorus.h>
#include <orn/samples/TOrnCalendar.h>
#include <orn/samples/TOrnColorGrid.h>
#include <orn/samples/TOrnGauge.h>
#include <orn/samples/TOrnPerformanceGraph.h>
#include <orn/scene/TOrnNode.h>
#include <orn/state/TOrnAttributes.h>
#include <orn/state/TOrnLight.h>
#include <orn/state/TOrnMaterial.h>
#include <orn/view/TOrnCamera.h>
#include <orn/view/TOrnCanvasView.h>

#include <cmath>
#include <cstdio>
#include <exception>

using namespace orn;

namespace {

// A lit material of one colour.
TOrnMaterial* Material(TComponent* owner, TColor colour) {
    auto* m = new TOrnMaterial(owner);
    m->ColorDiffuse()->SetColor(colour);
    m->ColorSpecular()->SetColor(RGB(120, 120, 120));
    m->SetShininess(50);
    return m;
}

// A light, a sphere and a ring around it.
TOrnNode* BuildScene(TComponent* owner) {
    auto* scene = new TOrnNode(owner);
    auto* light = new TOrnLight(owner);
    light->SetKind(lkDirection);
    light->Direction()->SetValues(0.3f, 0.8f, 0.7f);
    scene->Add(light);
    auto* lit = new TOrnAttributes(owner);
    lit->SetLighting(true);
    lit->SetShadeModel(smSmooth);
    auto* sphere = new TOrnSphere(owner);
    sphere->SetAttributes(lit);
    sphere->SetMaterial(Material(owner, RGB(240, 180, 60)));
    sphere->SetRadius(1.1f);
    sphere->SetSlices(48);
    sphere->SetStacks(32);
    scene->Add(sphere);
    auto* ring = new TOrnTorus(owner);
    ring->SetAttributes(lit);
    ring->SetMaterial(Material(owner, RGB(200, 120, 220)));
    ring->SetRingRadius(1.8f);
    ring->SetTubeRadius(0.12f);
    ring->SetRings(64);
    ring->Transformation()->Rotation()->SetValues(70, 0, 20);
    scene->Add(ring);
    return scene;
}

} // namespace

int main(int argc, char** argv) {
    const char* file = argc > 1 ? argv[1] : "samples_overlay.png";
    TComponent form(nullptr);
    TOrnNode* scene = BuildScene(&form);
    auto* camera = new TOrnPerspectiveCamera(&form);
    camera->Transformation()->Translation()->SetZ(-7);
    auto* view = new TOrnCanvasView(&form);
    view->SetCamera(camera);
    view->SetBackgroundColor(RGB(24, 28, 40));
    view->Coordinates()->SetVisible(false);
    view->OnRender = [scene](TOrnView* v) { scene->Render(v); };

    auto* gauge = new TOrnGauge(&form);
    gauge->SetBounds(16, 16, 220, 26);
    gauge->SetForeColor(RGB(40, 110, 200));
    gauge->SetProgress(64);
    gauge->SetParent(view);
    auto* pie = new TOrnGauge(&form);
    pie->SetKind(gkPie);
    pie->SetBounds(16, 54, 90, 90);
    pie->SetColor(RGB(24, 28, 40));
    pie->SetBorderStyle(false);
    pie->SetForeColor(RGB(40, 110, 200));
    pie->SetProgress(37);
    pie->SetParent(view);

    auto* grid = new TOrnColorGrid(&form);
    grid->SetBounds(16, 156, 128, 128);
    grid->SetForegroundIndex(9);
    grid->SetBackgroundIndex(14);
    grid->SetParent(view);

    auto* calendar = new TOrnCalendar(&form);
    calendar->SetUseCurrentDate(false);
    calendar->SetCalendarDate({2024, 2, 14});
    calendar->SetBounds(444, 16, 196, 140);
    calendar->SetParent(view);

    auto* graph = new TOrnPerformanceGraph(&form);
    graph->SetBounds(400, 344, 240, 80);
    graph->SetParent(view);
    for (int i = 0; i < 70; ++i) { // two made-up series: a steady one and a noisy one
        graph->DataPoint(clLime, 16 + 3 * std::sin(i * 0.3));
        graph->DataPoint(clYellow, 8 + 6 * std::fabs(std::sin(i * 0.71) * std::cos(i * 0.23)));
        graph->Update();
    }

    try {
        view->GetImage(656, 440)->SaveToFile(file);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "samples_overlay: %s\n", e.what());
        return 1;
    }
    std::printf("wrote %s\n", file);
    return 0;
}
