// orn render: a scene file (or the demo scene), headless, into an image file.
#include "DemoScene.h"
#include "SceneFile.h"
#include "Verb.h"

#include <orn/host/TApplication.h>
#include <orn/view/TOrnView.h>

#include <cstdio>
#include <memory>

namespace orn::app {

namespace {

constexpr const char* kUsage =
    R"(Usage: orn render [SCENE.orngl] [--size WxH] [--camera perspective|orthographic] [--lenient] -o FILE

Renders the scene file SCENE, or without one the built-in demo scene, off-screen (no display
needed) and writes it to FILE. A scene file is seen through the camera it holds; one without a
camera through a camera of the chosen kind that frames all of its objects. FILE is replaced only
once the image is completely written.

When SCENE loads incomplete (a file it refers to is missing or unreadable, an element can not be
read, the file ends early) the problems are listed and no image is written: the exit status is 3.

Options:
  -o, --output FILE   the image to write: .png or .bmp
  --size WxH          image size in pixels, each side 1 ... 16384 (default 800x600)
  --camera KIND       perspective (default) or orthographic
  --lenient           render what did load of an incomplete SCENE (exit status 0)
  -h, --help          this text
)";

bool EndsWith(const std::string& text, const std::string& suffix) {
    if (text.size() < suffix.size()) return false;
    for (std::size_t i = 0; i < suffix.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(text[text.size() - suffix.size() + i])) != suffix[i])
            return false;
    return true;
}

int Run(const std::vector<std::string>& args) {
    int width = 800, height = 600;
    std::string cameraKind = "perspective";
    std::string output;
    std::string sceneFile;
    bool lenient = false;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (a == "-o" || a == "--output") {
            output = OptionValue(args, i);
        } else if (a == "--size") {
            const std::string& size = OptionValue(args, i);
            if (!ParseSize(size, width, height))
                throw UsageError("bad size '" + size + "', expected WxH such as 800x600");
        } else if (a == "--lenient") {
            lenient = true;
        } else if (a == "--camera") {
            cameraKind = OptionValue(args, i);
            if (cameraKind != "perspective" && cameraKind != "orthographic")
                throw UsageError("unknown camera '" + cameraKind + "', expected perspective or orthographic");
        } else if (!a.empty() && a[0] != '-' && sceneFile.empty()) {
            sceneFile = a;
        } else {
            throw UsageError("unexpected argument '" + a + "'");
        }
    }
    if (output.empty()) throw UsageError("no output file given (-o FILE)");
    if (!EndsWith(output, ".png") && !EndsWith(output, ".bmp"))
        throw UsageError("output '" + output + "' must end in .png or .bmp");

    TComponent form(nullptr);
    std::unique_ptr<TOrnCamera> camera;
    TOrnView view(&form);
    if (!sceneFile.empty()) {
        LoadedScene scene = LoadScene(sceneFile, &form);
        if (!AcceptWarnings("render", sceneFile, scene, lenient)) return kExitIncomplete;
        camera = scene.camera ? std::move(scene.camera) : FramingCamera(*scene.node, cameraKind);
        TOrnNode* node = scene.node;
        view.OnRender = [node](TOrnView* v) { node->Render(v); };
    } else {
        if (cameraKind == "orthographic")
            camera = std::make_unique<TOrnOrthographicCamera>(nullptr);
        else
            camera = std::make_unique<TOrnPerspectiveCamera>(nullptr);
        AimDemoCamera(*camera);
        ShowDemoScene(view, BuildDemoScene(&form));
    }
    view.SetCamera(camera.get());
    // One pass of the application loop: whatever animates the scene gets its tick.
    TApplication::Instance().Step(0);
    const auto image = view.GetImage(width, height);
    view.SetCamera(nullptr);
    image->SaveToFile(output);
    std::printf("wrote %s (%dx%d)\n", output.c_str(), width, height);
    return 0;
}

const bool registered =
    RegisterVerb({"render", "render a scene file (or the demo) into a PNG, no display needed", kUsage, &Run});

} // namespace

} // namespace orn::app
