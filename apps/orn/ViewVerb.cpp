// orn view: the demo scene in a window, steered by the mouse or the keyboard and animated by a timer.
#include "DemoScene.h"
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
#include <cstdio>
#include <string>

namespace orn::app {

namespace {

constexpr const char* kUsage = R"(Usage: orn view [--still] [--size WxH]

Opens a window with the built-in demo scene. The mouse steers the camera at first; C hands the
camera to the keyboard's walking and driving controllers. The centre cube turns while the
animation runs; with it stopped the viewer sleeps until input comes.

Options:
  --still             start with the animation stopped
  --size WxH          window size in pixels, each side 1 ... 16384 (default 800x600)
  -h, --help          this text

Mouse (mouse controller):
  left drag           up/down moves the camera up and down, left/right turns it
  right drag          left/right moves the camera sideways, up/down moves it forward and back

Keys:
  C                   next controller: mouse -> person -> car -> mouse
  Up, Down            person: step forward or back; car: accelerate or brake
  Left, Right         person and car: turn left or right
  Page Up, Page Down  person: nod the head up or down
  Home                person: look straight ahead
  O                   print the object under the mouse
  P                   show or hide the frame-time graph (ms per repaint) and the frame rate
  F1                  show or hide the about box (version and OpenGL driver)
  Space               start or stop the animation
  R                   put the camera back where it started and stop the car
  H                   print this text
  Esc, Q              quit
)";

struct Options {
    bool still = false;
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
            if (!ParseSize(size, options.width, options.height))
                throw UsageError("bad size '" + size + "', expected WxH such as 800x600");
        } else {
            throw UsageError("unexpected argument '" + a + "'");
        }
    }
    return options;
}

// The window, the demo, the camera's three controllers and the animation timer.
class Viewer {
public:
    explicit Viewer(const Options& options) {
        ResetCamera();
        fView->SetCamera(fCamera);
        fView->SetBounds(options.width, options.height);
        ShowDemoScene(*fView, fScene);
        fView->OnMouseMove = [this](TObject*, TShiftState, int x, int y) {
            fMouseX = x;
            fMouseY = y;
        };
        fView->OnKeyDown = [this](TObject*, std::uint16_t& key, TShiftState) { Key(key); };
        fView->OnDrawCanvas = [this](TOrnView*) { DrawFrameRate(); };
        SetUpOverlays();
        fAnimate = !options.still;
        fTimer->SetRate(60);
        fTimer->OnTimer = [this](TObject*, int intervals) { Tick(intervals); };
        Use(0);
    }

    int Run() {
        fView->SetSurfaceFactory(WindowSurfaceFactory({"orn view"}));
        fView->OpenGLConnect();
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
        TOrnTransformation* t = fCamera->Transformation();
        t->SetOrder(toRotTraSca);
        t->Rotation()->SetValues(15, 0, 0);
        t->Translation()->SetValues(0, -2.5f, -9);
    }

    void Use(std::size_t index) {
        fCurrent = index;
        fControllers[index]->SetControlled(fCamera);
        fView->SetController(fControllers[index]);
        UpdateTimer();
    }

    // The timer runs while the demo animates or the car drives; otherwise the loop sleeps.
    void UpdateTimer() {
        const bool on = fAnimate || fControllers[fCurrent] == fCar;
        if (on && !fTimer->Enabled()) fTimer->Reset();
        fTimer->SetEnabled(on);
    }

    void Tick(int intervals) {
        if (fAnimate)
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
        case VK_SPACE:
            fAnimate = !fAnimate;
            UpdateTimer();
            break;
        case 'R':
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

    TComponent fForm{nullptr};
    TOrnNode* fScene = BuildDemoScene(&fForm);
    // What the animation turns.
    TOrnTransformed* fSpinner = dynamic_cast<TOrnTransformed*>(fForm.FindComponent("Ring"));
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
    int fMouseX = 0;
    int fMouseY = 0;
};

int Run(const std::vector<std::string>& args) {
    const Options options = ParseOptions(args);
    std::string reason;
    if (!WindowSystemAvailable(&reason)) throw std::runtime_error("no window can be opened: " + reason);
    Viewer viewer(options);
    return viewer.Run();
}

const bool registered =
    RegisterVerb({"view", "show the demo scene in a window, steered by mouse and keys", kUsage, &Run});

} // namespace

} // namespace orn::app
