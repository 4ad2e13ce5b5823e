// An interactive viewer in a window: a small scene, a mouse controller on the camera, walk-through
// controllers on a key, picking on a key and a timer that spins the scene's centre piece.
//
// Mouse: left drag moves up/down and turns; right drag moves sideways and forward.
// Keys:  C switches mouse → person → car controller; arrows, Page Up/Down and Home walk or drive;
//        O prints the object under the mouse; Space starts or stops the animation; Esc quits.
#include <orn/geometry/TOrnRectangle.h>
#include <orn/geometry/TOrnTriangle.h>
#include <orn/host/TApplication.h>
#include <orn/interaction/TOrnCarController.h>
#include <orn/interaction/TOrnMouseController.h>
#include <orn/interaction/TOrnPersonController.h>
#include <orn/interaction/TOrnTimer.h>
#include <orn/scene/TOrnNode.h>
#include <orn/view/TOrnView.h>
#include <orn/view/TOrnWindowSurface.h>

#include <cstdio>
#include <exception>
#include <string>

using namespace orn;

namespace {

// A triangle standing upright on the floor (triangles lie flat, facing up, until turned).
TOrnTriangle* Standing(TComponent* form, TOrnNode* node, TColor color, float x, float z) {
    auto* t = new TOrnTriangle(form);
    t->Color()->SetColor(color);
    t->Transformation()->Rotation()->SetX(90);
    t->Transformation()->Translation()->SetValues(x, 0.5f, z);
    node->Add(t);
    return t;
}

} // namespace

int main() {
    std::string reason;
    if (!WindowSystemAvailable(&reason)) {
        std::fprintf(stderr, "viewer: no window can be opened: %s\n", reason.c_str());
        return 1;
    }
    TComponent form(nullptr);
    auto* scene = new TOrnNode(&form);
    auto* floor = new TOrnRectangle(&form);
    floor->SetWidth(6);
    floor->SetHeight(6);
    floor->SetDetailX(6);
    floor->SetDetailY(6);
    floor->Color()->SetColor(clGray);
    floor->Transformation()->Translation()->SetValues(0, -0.5f, -3);
    scene->Add(floor);
    Standing(&form, scene, clRed, -1.5f, -1);
    Standing(&form, scene, clLime, 1.5f, -1);
    TOrnTriangle* spinner = Standing(&form, scene, clYellow, 0, 0);
    spinner->SetName("Spinner");

    auto* camera = new TOrnPerspectiveCamera(&form);
    camera->SetViewFar(100);
    // The controllers turn the camera before moving it: it looks down at the scene from above.
    camera->Transformation()->Rotation()->SetX(15);
    camera->Transformation()->Translation()->SetValues(0, -1.5f, -5);

    auto* view = new TOrnView(&form);
    view->SetCamera(camera);
    view->SetBounds(640, 480);
    view->SetBackgroundColor(clNavy);
    view->OnRender = [&](TOrnView* v) { scene->Render(v); };

    auto* mouse = new TOrnMouseController(&form);
    auto* person = new TOrnPersonController(&form);
    auto* car = new TOrnCarController(&form);
    TOrnCustomController* controllers[] = {mouse, person, car};
    int current = 0;
    mouse->SetControlled(camera);
    view->SetController(mouse);

    // The timer spins the centre piece and drives the car; without it the loop sleeps on events.
    auto* timer = new TOrnTimer(&form);
    timer->SetRate(60);
    timer->OnTimer = [&](TObject*, int intervals) {
        spinner->Transformation()->Rotation()->incY(2.0f * static_cast<float>(intervals));
        if (view->Controller() == car) car->Move();
        view->InvalidateGL();
    };

    int mouseX = 0, mouseY = 0;
    view->OnMouseMove = [&](TObject*, TShiftState, int x, int y) {
        mouseX = x;
        mouseY = y;
    };
    view->OnKeyDown = [&](TObject*, std::uint16_t& key, TShiftState) {
        if (key == 'C') {
            current = (current + 1) % 3;
            TOrnCustomController* next = controllers[current];
            next->SetControlled(camera);
            view->SetController(next);
            std::printf("controller: %s\n", next->ClassName());
        } else if (key == 'O') {
            const TOrnSelectionHit hit = view->GetObj(mouseX, mouseY);
            auto* c = dynamic_cast<TComponent*>(hit.Object);
            std::printf("under the mouse: %s %s\n", hit.Object ? hit.Object->ClassName() : "nothing",
                        c ? c->Name().c_str() : "");
        } else if (key == VK_SPACE) {
            timer->SetEnabled(!timer->Enabled());
        } else if (key == VK_ESCAPE) {
            TApplication::Instance().Terminate();
        }
        std::fflush(stdout);
    };

    try {
        view->SetSurfaceFactory(WindowSurfaceFactory({"Orn viewer"}));
        view->OpenGLConnect();
    } catch (const std::exception& e) {
        std::fprintf(stderr, "viewer: %s\n", e.what());
        return 1;
    }
    TApplication::Instance().Run();
    return 0;
}
