// Renders a scene headless (no display needed) into a PNG file: orthographic camera, a few
// coloured squares and the coordinate axes.
#include <orn/view/TOrnView.h>

#include <GL/gl.h>

#include <cstdio>
#include <exception>

int main(int argc, char** argv) {
    using namespace orn;
    const char* file = argc > 1 ? argv[1] : "render_to_png.png";
    TOrnOrthographicCamera camera(nullptr);
    camera.SetViewHeight(3);
    TOrnView view(nullptr);
    view.SetCamera(&camera);
    view.SetBackgroundColor(clWhite);
    view.OnRender = [](TOrnView*) {
        const float colours[3][3] = {{0.9f, 0.2f, 0.2f}, {0.2f, 0.7f, 0.3f}, {0.2f, 0.3f, 0.9f}};
        for (int i = 0; i < 3; ++i) {
            glColor3fv(colours[i]);
            const float x = -1.2f + 0.8f * i;
            glRectf(x, -0.3f + 0.3f * i, x + 0.6f, 0.3f + 0.3f * i);
        }
    };
    try {
        view.GetImage(480, 320)->SaveToFile(file);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "render_to_png: %s\n", e.what());
        return 1;
    }
    std::printf("wrote %s\n", file);
    return 0;
}
