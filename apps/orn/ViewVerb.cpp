// orn view: a scene file, or the demo scene, in a window, steered by the mouse or the keyboard;
// the demo is animated by a timer.
#include "DemoScene.h"
#include "SceneFile.h"
#include "Verb.h"

#include <orn/diag/TOrnAboutBox.h>
#include <orn/host/TApplication.h>
#include <orn/interaction/TOrnCarController.h>
#include <orn/interaction/TOrnMouseController.h>
#include <orn/interaction/TOrnPersonController.h>
#include <orn/interaction/TOrnTimer.h>
#include <orn/samples/TOrnPerformanceGraph.h>
#include <orn/view/TOrnCanvasView.h>
#include <orn/view/TOrnWindowSurface.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>

namespace orn::app {

namespace {

constexpr const char* kUsage = R"(Usage: orn view [SCENE] [--still] [--size WxH] [--samples N]

Opens a window with the scene file SCENE, or without one the built-in demo scene. A scene file
is seen through the camera it holds, or else shown whole, in examine mode; the demo starts with the mouse controller steering the camera,
and C hands the camera to the keyboard's walking and driving controllers. In the demo a
ringed sphere turns while the animation runs; with it stopped the viewer sleeps until input
comes.

Options:
  --still             start with the animation stopped
  --size WxH          window size in pixels, each side 1 ... 16384 (default 800x600)
  --samples N         multisampled anti-aliasing, N = 0 ... 16 samples per pixel (default 0);
                      where the driver has none, says so and draws without
  -h, --help          this text

Mouse (mouse controller):
  left drag           up/down moves the camera up and down, left/right turns it
  right drag          left/right moves the camera sideways, up/down moves it forward and back
Mouse (examine mode):
  left drag           orbits the camera around the scene's centre
  wheel               zooms in and out (in every mode)

Keys:
  C                   next controller: mouse -> person -> car -> mouse
  E                   examine mode: orbit around the scene's centre (C leaves it)
  F                   frame the whole scene (and enter examine mode)
  S                   write a screenshot as orn-view-N.png in the current folder (prints its path)
  Up, Down            person: step forward or back; car: accelerate or brake
  Left, Right         person and car: turn left or right
  Page Up, Page Down  person: nod the head up or down
  Home                person: look straight ahead
  O                   print the object under the mouse
  P                   show or hide the frame-time graph (ms per repaint) and the frame rate
  F1                  show or hide the about box (version and OpenGL driver)
  Space               start or stop the animation
  R                   put the camera back where it started (the file's own) and stop the car
  H                   print this text
  Esc, Q              quit
)";

struct Options {
    std::string file;
    bool still = false;
    int samples = 0;
    int width = 800;
    int height = 600;
};

Options ParseOptions(const std::vector<std::string>& args) {
    Options options;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (a == "--still") {
            options.still = true;
        } else if (a == "--size") {
            const std::string& size = OptionValue(args, i);
            if (!ParseSize(size, options.width, options.height)) throw UsageError(SizeError(size));
        } else if (a == "--samples") {
            options.samples = ParseSamples(OptionValue(args, i));
        } else if (!a.empty() && a[0] != '-' && options.file.empty()) {
            options.file = a;
        } else {
            throw UsageError("Cannot use the argument '" + a + "'");
        }
    }
    return options;
}

// Orbits the camera around the scene's centre: left drag turns, the wheel moves nearer or away.
struct Examine {
    SceneBounds bounds;
    double distance = 1;
    float angleX = kFramingAngleX;
    float angleY = kFramingAngleY;
    bool dragging = false;
    int lastX = 0;
    int lastY = 0;
};

// The window, the scene, the camera's controllers, examine mode and the demo's animation timer.
class Viewer {
public:
    explicit Viewer(const Options& options) {
        ResetCamera();
        fView->SetCamera(fCamera);
        fView->SetBounds(options.width, options.height);
        fView->SetSamples(options.samples);
        if (options.file.empty()) {
            fScene = BuildDemoScene(&fForm);
            fSpinner = dynamic_cast<TOrnTransformed*>(fForm.FindComponent("Ring"));
            ShowDemoScene(*fView, fScene);
        } else {
            LoadedScene loaded = LoadScene(options.file, &fForm);
            fScene = loaded.node;
            fFileCamera = std::move(loaded.camera);
            fView->OnRender = [this](TOrnView* v) { fScene->Render(v); };
        }
        fView->OnMouseMove = [this](TObject*, TShiftState, int x, int y) {
            fMouseX = x;
            fMouseY = y;
            if (fExamining && fExamine.dragging) Orbit(x, y);
        };
        fView->OnMouseDown = [this](TObject*, TMouseButton button, TShiftState, int x, int y) {
            fExamine.dragging = fExamining && button == mbLeft;
            fExamine.lastX = x;
            fExamine.lastY = y;
        };
        fView->OnMouseUp = [this](TObject*, TMouseButton, TShiftState, int, int) {
            fExamine.dragging = false;
        };
        fView->OnMouseWheel = [this](TObject*, TShiftState, int delta, int, int) { Zoom(delta); };
        fView->OnKeyDown = [this](TObject*, std::uint16_t& key, TShiftState) { Key(key); };
        fView->OnDrawCanvas = [this](TOrnView*) { DrawFrameRate(); };
        SetUpOverlays();
        fAnimate = !options.still && fSpinner;
        fTimer->SetRate(60);
        fTimer->OnTimer = [this](TObject*, int intervals) { Tick(intervals); };
        Use(0);
        if (!options.file.empty()) {
            std::printf("orn view: %s, %d objects\n", options.file.c_str(), fScene->CountAllItems());
            if (fFileCamera)
                ShowFileCamera();
            else
                Frame();
        }
    }

    int Run() {
        fView->SetSurfaceFactory(WindowSurfaceFactory({"orn view"}));
        fView->OpenGLConnect();
        ReportSamples("view", fView->Samples(), fView->PixelFormat().Samples);
        std::printf("orn view: press H for the keys\n");
        std::fflush(stdout);
        TApplication::Instance().Run();
        return 0;
    }

private:
    // The controllers turn the camera before they move it (their order toRotTraSca), so the
    // camera stands above and behind the demo and looks down at its centre.
    void ResetCamera() {
        fCamera->SetViewFar(40);
        fCamera->SetViewNear(0.1f);
        fCamera->SetViewAngle(45);
        TOrnTransformation* t = fCamera->Transformation();
        t->SetOrder(toRotTraSca);
        t->Rotation()->SetValues(15, 0, 0);
        t->Translation()->SetValues(0, -2.5f, -9);
    }

    // A scene file's own camera, as orn render shows it; any controller or examine mode leaves it.
    void ShowFileCamera() {
        fExamining = false;
        fView->SetController(nullptr);
        fView->SetCamera(fFileCamera.get());
        fView->InvalidateGL();
        std::printf("seen through the file's camera (F frames the scene)\n");
    }

    void Use(std::size_t index) {
        fView->SetCamera(fCamera);
        if (fExamining) {
            fExamining = false;
            ResetCamera(); // the controllers' camera order differs from examine mode's
        }
        fCurrent = index;
        fControllers[index]->SetControlled(fCamera);
        fView->SetController(fControllers[index]);
        UpdateTimer();
    }

    // The timer runs while the demo animates or the car drives; otherwise the loop sleeps.
    void UpdateTimer() {
        const bool on = fAnimate || fControllers[fCurrent] == fCar || fGraph->Visible();
        if (on && !fTimer->Enabled()) fTimer->Reset();
        fTimer->SetEnabled(on);
    }

    void Tick(int intervals) {
        if (fAnimate && fSpinner)
            fSpinner->Transformation()->Rotation()->incY(1.5f * static_cast<float>(intervals));
        if (fControllers[fCurrent] == fCar)
            for (int i = 0; i < intervals; ++i)
                fCar->Move();
        if (fGraph->Visible()) {
            fGraph->DataPoint(clLime, fView->RenderTime() * 1000);
            fGraph->Update();
        }
        fView->InvalidateGL();
    }

    // The frame-time graph and the about box sit on the view, hidden until their keys.
    void SetUpOverlays() {
        fGraph->SetVisible(false);
        fGraph->SetAutoScale(true);
        fGraph->SetStepSize(2);
        fGraph->SetParent(fView);
        fAbout->SetVisible(false);
        fAbout->SetParent(fView);
    }

    void ToggleGraph() {
        fGraph->SetBounds(10, fView->Height() - 90, std::min(300, fView->Width() - 20), 80);
        fGraph->Clear();
        fGraph->SetVisible(!fGraph->Visible());
        UpdateTimer();
    }

    void ToggleAbout() {
        if (!fAbout->Visible()) fAbout->LoadFromView(*fView);
        fAbout->SetBounds((fView->Width() - fAbout->Width()) / 2, (fView->Height() - fAbout->Height()) / 2,
                          fAbout->Width(), fAbout->Height());
        fAbout->SetVisible(!fAbout->Visible());
    }

    void DrawFrameRate() {
        if (!fGraph->Visible()) return;
        char text[64];
        std::snprintf(text, sizeof text, "%.2f ms per frame, %.0f frames/s", fView->RenderTime() * 1000,
                      fView->FrameRate());
        fView->Canvas().Font().SetColor(clLime);
        fView->Canvas().TextOut(fGraph->Left(), fGraph->Top() - 16, text);
    }

    void StartExamining() {
        fExamining = true;
        fView->SetCamera(fCamera);
        fView->SetController(nullptr);
        if (fExamine.distance <= 0 || !fMeasured) Measure();
        AimAt(*fCamera, fExamine.bounds, fExamine.distance, fExamine.angleX, fExamine.angleY);
        fView->InvalidateGL();
    }

    void Measure() {
        fExamine.bounds = MeasureScene(*fScene, ProgressBar("framing"));
        fMeasured = true;
    }

    // The whole scene in sight, seen from the framing angles.
    void Frame() {
        Measure();
        fExamine.distance = FramingDistance(*fCamera, fExamine.bounds.radius);
        fExamine.angleX = kFramingAngleX;
        fExamine.angleY = kFramingAngleY;
        StartExamining();
        std::printf("framed: centre %.3g,%.3g,%.3g radius %.3g\n", fExamine.bounds.centre.x,
                    fExamine.bounds.centre.y, fExamine.bounds.centre.z, fExamine.bounds.radius);
    }

    void Orbit(int x, int y) {
        fExamine.angleY += 0.5f * static_cast<float>(x - fExamine.lastX);
        fExamine.angleX += 0.5f * static_cast<float>(y - fExamine.lastY);
        fExamine.lastX = x;
        fExamine.lastY = y;
        AimAt(*fCamera, fExamine.bounds, fExamine.distance, fExamine.angleX, fExamine.angleY);
        fView->InvalidateGL();
    }

    // Examine mode moves the camera nearer or away; elsewhere the lens narrows or widens.
    void Zoom(int delta) {
        const double factor = std::pow(0.9, delta / 120.0);
        if (fExamining) {
            fExamine.distance = std::max(fExamine.distance * factor, fExamine.bounds.radius * 0.05);
            AimAt(*fCamera, fExamine.bounds, fExamine.distance, fExamine.angleX, fExamine.angleY);
        } else {
            fCamera->SetViewAngle(static_cast<float>(std::clamp(fCamera->ViewAngle() * factor, 2.0, 150.0)));
        }
        fView->InvalidateGL();
    }

    void Screenshot() {
        std::string file;
        for (int n = 1; file.empty() || std::filesystem::exists(file); ++n)
            file = "orn-view-" + std::to_string(n) + ".png";
        try {
            fView->GetImage(std::max(fView->Width(), 1), std::max(fView->Height(), 1))->SaveToFile(file);
            std::printf("wrote %s\n", std::filesystem::absolute(file).string().c_str());
        } catch (const std::exception& e) {
            std::printf("Cannot write the screenshot: %s\n", e.what());
        }
    }

    void PrintObjectUnderMouse() {
        const TOrnSelectionHit hit = fView->GetObj(fMouseX, fMouseY);
        auto* component = dynamic_cast<TComponent*>(hit.Object);
        if (!hit.Object)
            std::printf("at %d,%d: nothing\n", fMouseX, fMouseY);
        else
            std::printf("at %d,%d: \"%s\" (%s)\n", fMouseX, fMouseY,
                        component ? component->Name().c_str() : "", hit.Object->ClassName());
    }

    void Key(std::uint16_t key) {
        switch (key) {
        case 'C':
            Use((fCurrent + 1) % fControllers.size());
            std::printf("controller: %s\n", fControllers[fCurrent]->ClassName());
            break;
        case 'O':
            PrintObjectUnderMouse();
            break;
        case 'P':
            ToggleGraph();
            break;
        case VK_F1:
            ToggleAbout();
            break;
        case 'E':
            StartExamining();
            std::printf("examine mode\n");
            break;
        case 'F':
            Frame();
            break;
        case 'S':
            Screenshot();
            break;
        case VK_SPACE:
            fAnimate = !fAnimate;
            UpdateTimer();
            break;
        case 'R':
            if (fFileCamera) {
                ShowFileCamera();
                break;
            }
            if (fExamining) Use(fCurrent);
            ResetCamera();
            fCar->Stop();
            fView->InvalidateGL();
            break;
        case 'H':
            std::fputs(kUsage, stdout);
            break;
        case VK_ESCAPE:
        case 'Q':
            TApplication::Instance().Terminate();
            break;
        default:
            break;
        }
        std::fflush(stdout);
    }

    // Declared before the form, so that it outlives the view that may look through it.
    std::unique_ptr<TOrnCamera> fFileCamera;
    TComponent fForm{nullptr};
    TOrnNode* fScene = nullptr;
    // What the animation turns (the demo's ring; nothing in a scene file).
    TOrnTransformed* fSpinner = nullptr;
    TOrnPerspectiveCamera* fCamera = new TOrnPerspectiveCamera(&fForm);
    TOrnCanvasView* fView = new TOrnCanvasView(&fForm);
    TOrnCarController* fCar = new TOrnCarController(&fForm);
    std::array<TOrnCustomController*, 3> fControllers{new TOrnMouseController(&fForm),
                                                      new TOrnPersonController(&fForm), fCar};
    std::size_t fCurrent = 0;
    TOrnTimer* fTimer = new TOrnTimer(&fForm);
    TOrnPerformanceGraph* fGraph = new TOrnPerformanceGraph(&fForm);
    TOrnAboutBox* fAbout = new TOrnAboutBox(&fForm);
    bool fAnimate = true;
    bool fExamining = false;
    bool fMeasured = false;
    Examine fExamine;
    int fMouseX = 0;
    int fMouseY = 0;
};

int Run(const std::vector<std::string>& args) {
    const Options options = ParseOptions(args);
    std::string reason;
    if (!WindowSystemAvailable(&reason)) throw std::runtime_error("Cannot open a window: " + reason);
    Viewer viewer(options);
    return viewer.Run();
}

const bool registered = RegisterVerb(
    {"view", "show a scene file (or the demo) in a window, steered by mouse and keys", kUsage, &Run});

} // namespace

} // namespace orn::app
