// A view in a window: drag with the left button to move the camera up and down and turn it, with
// the right button to move it sideways and back; close the window to end.
#include <orn/host/TApplication.h>
#include <orn/interaction/TOrnMouseController.h>
#include <orn/view/TOrnView.h>
#include <orn/view/TOrnWindowSurface.h>

#include <GL/gl.h>

#include <cstdio>
#include <string>

int main() {
    using namespace orn;
    std::string reason;
    if (!WindowSystemAvailable(&reason)) {
        std::fprintf(stderr, "window_view: no display (%s)\n", reason.c_str());
        return 1;
    }
    TComponent form(nullptr);
    auto* camera = new TOrnPerspectiveCamera(&form);
    auto* controller = new TOrnMouseController(&form);
    controller->SetControlled(camera);
    auto* view = new TOrnView(&form);
    view->SetSurfaceFactory(WindowSurfaceFactory({"Orn: drag to move the camera"}));
    view->SetBounds(640, 480);
    view->SetBackgroundColor(RGB(30, 30, 40));
    view->SetCamera(camera);
    view->SetController(controller);
    view->OnRender = [](TOrnView*) {
        glBegin(GL_TRIANGLES);
        glColor3f(1, 0.3f, 0.2f);
        glVertex3f(-0.6f, -0.5f, 0);
        glColor3f(0.2f, 1, 0.3f);
        glVertex3f(0.6f, -0.5f, 0);
        glColor3f(0.2f, 0.4f, 1);
        glVertex3f(0, 0.6f, 0);
        glEnd();
    };
    view->OpenGLConnect();
    TApplication::Instance().Run(); // until the window is closed
    return 0;
}
