#include "SceneFile.h"

#include <orn/geometry/TOrnPrimitiveObj.h>
#include <orn/io/TOrnDXFImport.h>

#include <algorithm>
#include <cctype>
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

// Counts the items measured, for the progress bar: measuring builds every shape's geometry.
struct Progress {
    TOrnProgressEvent event;
    int done = 0;
    int total = 1;
    void Step() {
        if (event) event(static_cast<double>(++done) / total);
    }
};

/// Where the item's own geometry lies, in its own coordinates.
Sphere OwnSphere(TOrnRender& item, Progress& progress) {
    progress.Step();
    if (auto* node = dynamic_cast<TOrnNode*>(&item)) {
        std::vector<Sphere> parts;
        for (int i = 0; i < node->Count(); ++i) {
            TOrnRender* child = node->Items(i);
            if (!child) continue;
            Sphere s = OwnSphere(*child, progress);
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

bool IsDrawing(const std::string& file) {
    if (file.size() < 4) return false;
    std::string ext = file.substr(file.size() - 4);
    for (char& c : ext)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return ext == ".dxf";
}

namespace {

/// A drawing's node, and for a flat drawing an orthographic camera straight down on its extents.
LoadedScene LoadDrawing(const std::string& file, TComponent* form) {
    LoadedScene scene;
    scene.node = new TOrnNode(form);
    TOrnDXFImport importer(nullptr);
    importer.SetNode(scene.node);
    importer.SetFileName(file);
    importer.OnProgress = ProgressBar("loading");
    importer.Execute();
    const TOrnDXFReport& r = importer.Report();
    scene.report = r.Text();
    scene.description = "DXF drawing " + file;
    const double k = r.unitScale;
    const double w = (r.extMax.x - r.extMin.x) * k, h = (r.extMax.y - r.extMin.y) * k;
    const double depth = (r.extMax.z - r.extMin.z) * k;
    if (!r.hasExtents || depth > 1e-6 * std::max(w, h)) return scene; // 3D: the usual framing
    const double radius = std::max(std::hypot(w, h) / 2, 1e-6);
    auto camera = std::make_unique<TOrnOrthographicCamera>(nullptr);
    camera->SetViewWidth(static_cast<float>(2.2 * radius));
    camera->SetViewHeight(static_cast<float>(2.2 * radius));
    const double distance = 2 * radius + 1;
    const double z = r.extMax.z * k;
    TOrnTransformation& t = *camera->Transformation();
    t.SetOrder(toTraRotSca);
    t.Translation()->SetValues(static_cast<float>(-(r.extMin.x * k + w / 2)),
                               static_cast<float>(-(r.extMin.y * k + h / 2)),
                               static_cast<float>(-distance - z));
    camera->SetViewFar(static_cast<float>(2 * distance));
    camera->SetViewNear(static_cast<float>(distance / 1000));
    scene.camera = std::move(camera);
    return scene;
}

} // namespace

LoadedScene LoadScene(const std::string& file, TComponent* form) {
    if (IsDrawing(file)) return LoadDrawing(file, form);
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

SceneBounds MeasureScene(TOrnNode& node, TOrnProgressEvent progress) {
    Progress counter{std::move(progress), -1, std::max(node.CountAllItems(), 1)};
    Sphere s = OwnSphere(node, counter);
    if (counter.event) counter.event(1.0);
    if (s.radius <= 0) s = {{0, 0, 0}, 1};
    return {s.centre, s.radius};
}

double FramingDistance(const TOrnCamera& camera, double radius) {
    if (auto* persp = dynamic_cast<const TOrnPerspectiveCamera*>(&camera)) {
        const double half = persp->ViewAngle() / 2 * std::numbers::pi / 180;
        return 1.1 * radius / std::sin(half);
    }
    return 2 * radius + 1;
}

void AimAt(TOrnCamera& camera, const SceneBounds& bounds, double distance, float angleX, float angleY) {
    // Turned about the scene's centre, then pushed back: T = (0, 0, −d) − R·c.
    const double ax = angleX * std::numbers::pi / 180, ay = angleY * std::numbers::pi / 180;
    const TOrnMathVector c = bounds.centre;
    const TOrnMathVector ry{c.x * std::cos(ay) + c.z * std::sin(ay), c.y,
                            -c.x * std::sin(ay) + c.z * std::cos(ay)};
    const TOrnMathVector rc{ry.x, ry.y * std::cos(ax) - ry.z * std::sin(ax),
                            ry.y * std::sin(ax) + ry.z * std::cos(ax)};
    TOrnTransformation& t = *camera.Transformation();
    t.SetOrder(toTraRotSca);
    t.Rotation()->SetValues(angleX, angleY, 0);
    t.Translation()->SetValues(static_cast<float>(-rc.x), static_cast<float>(-rc.y),
                               static_cast<float>(-distance - rc.z));
    const double r = bounds.radius;
    camera.SetViewFar(static_cast<float>(distance + 2 * r + 1));
    camera.SetViewNear(static_cast<float>(std::max(distance - 2 * r, distance / 1000)));
}

std::unique_ptr<TOrnCamera> FramingCamera(TOrnNode& node, const std::string& kind,
                                          TOrnProgressEvent progress) {
    const SceneBounds bounds = MeasureScene(node, std::move(progress));
    std::unique_ptr<TOrnCamera> camera;
    if (kind == "orthographic") {
        auto ortho = std::make_unique<TOrnOrthographicCamera>(nullptr);
        ortho->SetViewWidth(static_cast<float>(2.2 * bounds.radius));
        ortho->SetViewHeight(static_cast<float>(2.2 * bounds.radius));
        camera = std::move(ortho);
    } else {
        camera = std::make_unique<TOrnPerspectiveCamera>(nullptr);
    }
    // Turned a little for depth.
    AimAt(*camera, bounds, FramingDistance(*camera, bounds.radius), kFramingAngleX, kFramingAngleY);
    return camera;
}

} // namespace orn::app
