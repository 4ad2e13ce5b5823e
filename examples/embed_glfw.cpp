// A view inside a window the application made itself: the application owns the GLFW window and
// its event loop, the view draws into it and takes its mouse and keys (drag to move the camera,
// Esc closes, handled by the application's own key callback). With --frames N it closes itself
// after N frames.
#include <orn/orn.h>

#include <GLFW/glfw3.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

int main(int argc, char** argv) {
    using namespace orn;
    const long frames = argc == 3 && std::strcmp(argv[1], "--frames") == 0 ? std::atol(argv[2]) : -1;
    if (!glfwInit()) {
        std::fprintf(stderr, "embed_glfw: Cannot initialise GLFW (no display?)\n");
        return 1;
    }
    GLFWwindow* window = glfwCreateWindow(640, 480, "The application's window", nullptr, nullptr);
    if (!window) {
        std::fprintf(stderr, "embed_glfw: Cannot open a window\n");
        glfwTerminate();
        return 1;
    }
    // The application's own input handling; the view's surface passes every event on to it.
    glfwSetKeyCallback(window, [](GLFWwindow* w, int key, int, int action, int) {
        if (key == GLFW_KEY_ESCAPE && action == GLFW_PRESS) glfwSetWindowShouldClose(w, GLFW_TRUE);
    });
    {
        TComponent form(nullptr);
        auto* camera = new TOrnPerspectiveCamera(&form);
        camera->Transformation()->Translation()->SetZ(-4);
        auto* controller = new TOrnMouseController(&form);
        controller->SetControlled(camera);
        auto* scene = new TOrnNode(&form);
        auto* light = new TOrnLight(&form);
        light->SetKind(lkDirection);
        scene->Add(light);
        auto* lit = new TOrnAttributes(&form);
        lit->SetLighting(true);
        auto* ball = new TOrnSphere(&form);
        ball->SetAttributes(lit);
        scene->Add(ball);

        auto* view = new TOrnView(&form);
        view->SetSurfaceFactory(ExistingWindowSurfaceFactory(window));
        view->SetBackgroundColor(RGB(30, 30, 40));
        view->SetCamera(camera);
        view->SetController(controller);
        view->OnRender = [scene](TOrnView* v) { scene->Render(v); };
        view->OpenGLConnect();

        for (long frame = 0; !glfwWindowShouldClose(window) && frame != frames; ++frame) {
            if (frames < 0)
                glfwWaitEvents();
            else
                glfwPollEvents();
            if (view->PaintPending() || frames >= 0) view->Paint();
        }
    } // the view lets go of the window before the application destroys it
    glfwDestroyWindow(window);
    glfwTerminate();
    return 0;
}
