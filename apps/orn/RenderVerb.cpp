// orn render: a scene file (or the demo scene), headless, into an image file.
#include "DemoScene.h"
#include "SceneFile.h"
#include "Verb.h"

#include <orn/host/EOrnError.h>
#include <orn/host/TApplication.h>
#include <orn/host/TBitmap.h>
#include <orn/view/TOrnView.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <memory>

namespace orn::app {

namespace {

constexpr const char* kUsage =
    R"(Usage: orn render [SCENE] [--size WxH] [--camera perspective|orthographic] [--samples N]
                  [--background COLOR] [--lenient] -o FILE

Renders the scene file SCENE, or without one the built-in demo scene, off-screen (no display
needed) and writes it to FILE. A scene file is seen through the camera it holds; one without a
camera through a camera of the chosen kind that frames all of its objects. FILE is replaced only
once the image is completely written.

When SCENE loads incomplete (a file it refers to is missing or unreadable, an element cannot be
read, the file ends early) the problems are listed and no image is written: the exit status is 3.

Options:
  -o, --output FILE   the image to write: .png or .bmp
  --size WxH          image size in pixels, each side 1 ... 16384 and 67108864 pixels in all
                      at most (such as 8192x8192: the image's 256 MiB) (default 800x600)
  --camera KIND       perspective (default) or orthographic
  --samples N         multisampled anti-aliasing, N = 0 ... 16 samples per pixel (default 0);
                      where the driver has none, says so and renders without
  --background COLOR  #RRGGBB (red first, as on the web; scene files write BBGGRR), or black,
                      white, gray, red, green, blue (default: the demo's, or black for a file)
  --lenient           render what did load of an incomplete SCENE (exit status 0)
  -h, --help          this text

Options that take a value may also be written --size=800x600 and -oFILE.
)";

static_assert(kMaxBitmapBytes / 4 == 67108864, "the help text states the image limit");

// #RRGGBB or one of a few names; false for anything else.
bool ParseBackground(std::string text, TColor& colour) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    static const std::pair<const char*, TColor> names[] = {
        {"black", clBlack}, {"white", clWhite}, {"gray", clGray}, {"grey", clGray},
        {"red", clRed},     {"green", clLime},  {"blue", clBlue}};
    for (const auto& [name, value] : names)
        if (text == name) {
            colour = value;
            return true;
        }
    if (text.size() != 7 || text[0] != '#') return false;
    unsigned rgb = 0;
    const auto [end, error] = std::from_chars(text.data() + 1, text.data() + 7, rgb, 16);
    if (error != std::errc() || end != text.data() + 7) return false;
    colour = RGB((rgb >> 16) & 0xFF, (rgb >> 8) & 0xFF, rgb & 0xFF);
    return true;
}

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
    int samples = 0;
    bool background = false;
    TColor backgroundColour = clBlack;
    bool lenient = false;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (a == "-o" || a == "--output") {
            output = OptionValue(args, i);
        } else if (a == "--size") {
            const std::string& size = OptionValue(args, i);
            if (!ParseSize(size, width, height)) throw UsageError(SizeError(size));
            if (std::size_t(width) * std::size_t(height) * 4 > kMaxBitmapBytes)
                throw UsageError("Cannot render " + size +
                                 ": that is more than 67108864 pixels (256 MiB), the "
                                 "most an image may hold");
        } else if (a == "--lenient") {
            lenient = true;
        } else if (a == "--camera") {
            cameraKind = OptionValue(args, i);
            if (cameraKind != "perspective" && cameraKind != "orthographic")
                throw UsageError("Cannot use the camera '" + cameraKind +
                                 "': give perspective or orthographic");
        } else if (a == "--samples") {
            samples = ParseSamples(OptionValue(args, i));
        } else if (a == "--background") {
            const std::string& colour = OptionValue(args, i);
            if (!ParseBackground(colour, backgroundColour))
                throw UsageError("Cannot use the colour '" + colour + "': give #RRGGBB or a colour's name");
            background = true;
        } else if (!a.empty() && a[0] != '-' && sceneFile.empty()) {
            sceneFile = a;
        } else {
            throw UsageError("Cannot use the argument '" + a + "'");
        }
    }
    if (output.empty()) throw UsageError("Cannot render without an output file (-o FILE)");
    if (!EndsWith(output, ".png") && !EndsWith(output, ".bmp"))
        throw UsageError("Cannot write '" + output + "': the image must end in .png or .bmp");
    // Checked before the scene is read and rendered, which may take long.
    const std::string name = std::filesystem::path(output).filename().string();
    if (name.size() <= 4)
        throw UsageError("Cannot write '" + output + "': the image has no name before its extension");

    TComponent form(nullptr);
    std::unique_ptr<TOrnCamera> camera;
    TOrnView view(&form);
    if (!sceneFile.empty()) {
        LoadedScene scene = LoadScene(sceneFile, &form);
        if (!AcceptWarnings("render", sceneFile, scene, lenient)) return kExitIncomplete;
        camera = scene.camera ? std::move(scene.camera)
                              : FramingCamera(*scene.node, cameraKind, ProgressBar("framing"));
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
    if (background) view.SetBackgroundColor(backgroundColour);
    if (samples > 0) {
        // Connected, the view's surface tells what the driver gave; the image's surface asks alike.
        view.SetSamples(samples);
        view.SetBounds(1, 1);
        view.OpenGLConnect();
        ReportSamples("render", samples, view.PixelFormat().Samples);
    }
    view.SetCamera(camera.get());
    // One pass of the application loop: whatever animates the scene gets its tick.
    TApplication::Instance().Step(0);
    std::unique_ptr<TBitmap> image;
    try {
        image = view.GetImage(width, height);
    } catch (const EOrnError& e) {
        // Names the driver's call that refused, such as the off-screen buffer of that size.
        throw EOrnError("Cannot render " + std::to_string(width) + "x" + std::to_string(height) + ": " +
                        e.what());
    }
    view.SetCamera(nullptr);
    image->SaveToFile(output);
    std::printf("wrote %s (%dx%d)\n", output.c_str(), width, height);
    return 0;
}

const bool registered =
    RegisterVerb({"render", "render a scene file (or the demo) into a PNG, no display needed", kUsage, &Run});

} // namespace

} // namespace orn::app
