#include "SceneFile.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <unistd.h>
#include <vector>

namespace orn::app {

namespace {

struct Sphere {
    TOrnMathVector centre;
    double radius = -1; // negative: empty
};

/// Where the node's items lie, in its own coordinates, from the bounds every item keeps: no
/// geometry is built for a shape that knows its extent.
Sphere OwnSphere(TOrnNode& node) {
    TOrnBounds box;
    if (!node.GetBounds(box) || box.Empty()) return {};
    return {box.Centre(), box.Radius()};
}

} // namespace

TOrnProgressEvent ProgressBar(const char* what) {
    if (!::isatty(::fileno(stderr))) return {};
    return [what, last = -1](double fraction) mutable {
        const int percent = static_cast<int>(std::clamp(fraction, 0.0, 1.0) * 100);
        if (percent == last) return;
        last = percent;
        const int filled = percent * 30 / 100;
        std::fprintf(stderr, "\r%s [%.*s%*s] %3d%%", what, filled, "##############################",
                     30 - filled, "", percent);
        if (percent == 100) std::fprintf(stderr, "\n");
    };
}

LoadedScene LoadScene(const std::string& file, TComponent* form) {
    LoadedScene scene;
    // The camera's class is known only once the file is read; a second read takes the other kind.
    for (int pass = 0; pass < 2; ++pass) {
        TOrnExchange exchange(nullptr);
        auto perspective = std::make_unique<TOrnPerspectiveCamera>(nullptr);
        auto orthographic = std::make_unique<TOrnOrthographicCamera>(nullptr);
        const bool wantOrtho = pass == 1;
        exchange.SetCamera(wantOrtho ? static_cast<TOrnCamera*>(orthographic.get()) : perspective.get());
        if (pass == 0) exchange.OnProgress = ProgressBar("loading");
        auto* node = new TOrnNode(form);
        exchange.LoadFromFile(*node, file);
        const std::string cls = exchange.FileCameraClass();
        if (cls == "TOrnOrthographicCamera" && !wantOrtho) {
            delete node;
            continue;
        }
        scene.node = node;
        scene.description = exchange.Description();
        if (cls == "TOrnOrthographicCamera")
            scene.camera = std::move(orthographic);
        else if (!cls.empty())
            scene.camera = std::move(perspective);
        break;
    }
    return scene;
}

std::unique_ptr<TOrnCamera> FramingCamera(TOrnNode& node, const std::string& kind) {
    Sphere s = OwnSphere(node);
    if (s.radius <= 0) s = {{0, 0, 0}, 1};
    std::unique_ptr<TOrnCamera> camera;
    double distance;
    if (kind == "orthographic") {
        auto ortho = std::make_unique<TOrnOrthographicCamera>(nullptr);
        ortho->SetViewWidth(static_cast<float>(2.2 * s.radius));
        ortho->SetViewHeight(static_cast<float>(2.2 * s.radius));
        distance = 2 * s.radius + 1;
        camera = std::move(ortho);
    } else {
        auto persp = std::make_unique<TOrnPerspectiveCamera>(nullptr);
        const double half = persp->ViewAngle() / 2 * std::numbers::pi / 180;
        distance = 1.1 * s.radius / std::sin(half);
        camera = std::move(persp);
    }
    // Turned a little for depth, about the scene's centre, then pushed back: T = (0, 0, −d) − R·c.
    const double ax = 20 * std::numbers::pi / 180, ay = -30 * std::numbers::pi / 180;
    const TOrnMathVector c = s.centre;
    const TOrnMathVector ry{c.x * std::cos(ay) + c.z * std::sin(ay), c.y,
                            -c.x * std::sin(ay) + c.z * std::cos(ay)};
    const TOrnMathVector rc{ry.x, ry.y * std::cos(ax) - ry.z * std::sin(ax),
                            ry.y * std::sin(ax) + ry.z * std::cos(ax)};
    TOrnTransformation& t = *camera->Transformation();
    t.SetOrder(toTraRotSca);
    t.Rotation()->SetValues(20, -30, 0);
    t.Translation()->SetValues(static_cast<float>(-rc.x), static_cast<float>(-rc.y),
                               static_cast<float>(-distance - rc.z));
    camera->SetViewFar(static_cast<float>(distance + 2 * s.radius + 1));
    camera->SetViewNear(static_cast<float>(std::max(distance - 2 * s.radius, distance / 1000)));
    return camera;
}

} // namespace orn::app
