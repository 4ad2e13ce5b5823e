#include "SceneFile.h"

#include <orn/geometry/TOrnPrimitiveObj.h>

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

/// The smallest sphere around the box of the given spheres' extents that holds them all.
Sphere Enclose(const std::vector<Sphere>& spheres) {
    TOrnMathVector lo{1e300, 1e300, 1e300}, hi{-1e300, -1e300, -1e300};
    bool any = false;
    for (const Sphere& s : spheres) {
        if (s.radius < 0) continue;
        any = true;
        lo = {std::min(lo.x, s.centre.x - s.radius), std::min(lo.y, s.centre.y - s.radius),
              std::min(lo.z, s.centre.z - s.radius)};
        hi = {std::max(hi.x, s.centre.x + s.radius), std::max(hi.y, s.centre.y + s.radius),
              std::max(hi.z, s.centre.z + s.radius)};
    }
    if (!any) return {};
    Sphere out{{(lo.x + hi.x) / 2, (lo.y + hi.y) / 2, (lo.z + hi.z) / 2}, 0};
    for (const Sphere& s : spheres)
        if (s.radius >= 0)
            out.radius = std::max(out.radius, OrnMathVectorDist(out.centre, s.centre) + s.radius);
    return out;
}

/// Where the item's own geometry lies, in its own coordinates.
Sphere OwnSphere(TOrnRender& item) {
    if (auto* node = dynamic_cast<TOrnNode*>(&item)) {
        std::vector<Sphere> parts;
        for (int i = 0; i < node->Count(); ++i) {
            TOrnRender* child = node->Items(i);
            if (!child) continue;
            Sphere s = OwnSphere(*child);
            if (s.radius < 0) continue;
            // Placed by the child's transformation; a rotation may turn it anywhere around its origin.
            const TOrnTransformation& t = *child->Transformation();
            const TOrnMathVector scale = t.Scale()->AsMathVector();
            const double grow = std::max({std::fabs(scale.x), std::fabs(scale.y), std::fabs(scale.z)});
            const TOrnMathVector scaled{s.centre.x * scale.x, s.centre.y * scale.y, s.centre.z * scale.z};
            TOrnMathVector moved;
            OrnMathVectorAddition(t.Translation()->AsMathVector(), scaled, moved);
            if (t.Rotation()->GetEmpty())
                parts.push_back({moved, s.radius * grow});
            else
                parts.push_back(
                    {t.Translation()->AsMathVector(), OrnMathVectorLength(scaled) + s.radius * grow});
        }
        return Enclose(parts);
    }
    if (auto* shape = dynamic_cast<TOrnPrimitiveObj*>(&item)) {
        if (!shape->Initialized()) shape->Init();
        const TOrnPrimitivePoints& points = *shape->Points();
        const double* v = points.Vertices();
        if (!v || points.Count() == 0) return {};
        std::vector<Sphere> corners;
        for (int i = 0; i < points.Count(); ++i)
            corners.push_back({{v[3 * i], v[3 * i + 1], v[3 * i + 2]}, 0});
        return Enclose(corners);
    }
    if (dynamic_cast<TOrnObject*>(&item)) return {{0, 0, 0}, 0.5}; // a unit-sized object of its own
    return {};
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
        scene.warnings = exchange.Warnings();
        if (cls == "TOrnOrthographicCamera")
            scene.camera = std::move(orthographic);
        else if (!cls.empty())
            scene.camera = std::move(perspective);
        break;
    }
    return scene;
}

bool AcceptWarnings(const char* verb, const std::string& file, const LoadedScene& scene, bool lenient) {
    for (const std::string& w : scene.warnings)
        std::fprintf(stderr, "orn %s: warning: %s: %s\n", verb, file.c_str(), w.c_str());
    if (scene.warnings.empty() || lenient) return true;
    std::fprintf(stderr,
                 "orn %s: %s did not load completely; nothing was written (--lenient goes on without "
                 "what is missing)\n",
                 verb, file.c_str());
    return false;
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
