#include <orn/view/TOrnWindowSurface.h>

#include <orn/host/EOrnError.h>
#include <orn/host/TApplication.h>
#include <orn/host/TInput.h>
#include <orn/view/TOrnView.h>

#include <GL/gl.h>
#include <GLFW/glfw3.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <mutex>

namespace orn {

namespace {

std::string& LastGlfwError() {
    static std::string error;
    return error;
}

// GLFW is set up once for the process and left running: windows may come and go.
bool EnsureGlfw(std::string* reason) {
    static bool ok = false;
    static std::once_flag once;
    std::call_once(once, [] {
        glfwSetErrorCallback(
            [](int, const char* description) { LastGlfwError() = description ? description : ""; });
        ok = glfwInit() == GLFW_TRUE;
    });
    if (!ok && reason) *reason = LastGlfwError().empty() ? "GLFW could not be initialised" : LastGlfwError();
    return ok;
}

// GL 1.3's multisample queries; the 1.1 headers lack them.
constexpr GLenum kGlSampleBuffers = 0x80A8;
constexpr GLenum kGlSamples = 0x80A9;

// Reads the obtained pixel format from the window's context.
TOrnPixelFormat ReadObtained(GLFWwindow* window, const TOrnPixelFormat& request) {
    GLFWwindow* previous = glfwGetCurrentContext();
    glfwMakeContextCurrent(window);
    GLint r = 0, g = 0, b = 0, a = 0, depth = 0, stencil = 0;
    GLint sampleBuffers = 0, samples = 0;
    GLboolean doubleBuffer = GL_FALSE;
    glGetIntegerv(GL_RED_BITS, &r);
    glGetIntegerv(GL_GREEN_BITS, &g);
    glGetIntegerv(GL_BLUE_BITS, &b);
    glGetIntegerv(GL_ALPHA_BITS, &a);
    glGetIntegerv(GL_DEPTH_BITS, &depth);
    glGetIntegerv(GL_STENCIL_BITS, &stencil);
    glGetBooleanv(GL_DOUBLEBUFFER, &doubleBuffer);
    glGetIntegerv(kGlSampleBuffers, &sampleBuffers);
    glGetIntegerv(kGlSamples, &samples);
    glfwMakeContextCurrent(previous);
    TOrnPixelFormat obtained = request;
    obtained.ColorBits = r + g + b;
    obtained.AlphaBits = a;
    obtained.DepthBits = depth;
    obtained.StencilBits = stencil;
    obtained.Samples = sampleBuffers > 0 ? samples : 0;
    obtained.Flags &= ~(PFD_DOUBLEBUFFER | PFD_SWAP_COPY);
    if (doubleBuffer) obtained.Flags |= PFD_DOUBLEBUFFER | PFD_SWAP_COPY;
    return obtained;
}

// A GLFW window's context and its input turned into the view's events; what owns the window and
// how its callbacks reach these handlers is the subclass's.
class GlfwSurface : public TOrnSurface {
public:
    explicit GlfwSurface(TOrnView& view) : fView(view) {}

    bool MakeCurrent() override {
        if (!fWindow) return false;
        glfwMakeContextCurrent(fWindow);
        return glfwGetCurrentContext() == fWindow;
    }
    void DoneCurrent() override {
        if (IsCurrent()) glfwMakeContextCurrent(nullptr);
    }
    bool IsCurrent() const override { return fWindow && glfwGetCurrentContext() == fWindow; }
    void Swap() override {
        if (fWindow) glfwSwapBuffers(fWindow);
    }
    void Invalidate() override { glfwPostEmptyEvent(); }
    TOrnPixelFormat Obtained() const override { return fObtained; }
    std::string Kind() const override { return "window"; }
    void* NativeWindow() const override { return fWindow; }

protected:
    void FramebufferSize(int width, int height) { fView.SetBounds(width, height); }
    void Refresh() { fView.InvalidateGL(); }

    // Positions come from the events themselves: the pointer may not be where a sent event says.
    void CursorPos(double x, double y) {
        fX = static_cast<int>(x);
        fY = static_cast<int>(y);
        fView.MouseMove(Shift(fMods), fX, fY);
    }

    void MouseButton(int button, int action, int mods) {
        TMouseButton b = mbLeft;
        if (button == GLFW_MOUSE_BUTTON_RIGHT)
            b = mbRight;
        else if (button == GLFW_MOUSE_BUTTON_MIDDLE)
            b = mbMiddle;
        else if (button != GLFW_MOUSE_BUTTON_LEFT)
            return;
        const int bit = b == mbLeft ? 1 : b == mbRight ? 2 : 4;
        fMods = mods;
        if (action == GLFW_PRESS) {
            fButtons |= bit;
            fView.MouseDown(b, Shift(mods), fX, fY);
        } else {
            fButtons &= ~bit;
            fView.MouseUp(b, Shift(mods), fX, fY);
        }
    }

    void Key(int key, int action, int mods) {
        fMods = mods;
        if (action == GLFW_RELEASE) return;
        std::uint16_t vk = GlfwKeyToVirtualKey(key);
        if (vk != 0) fView.KeyDown(vk, Shift(mods));
    }

    void Scroll(double dy) {
        const int delta = static_cast<int>(std::lround(dy * 120));
        if (delta != 0) fView.MouseWheel(Shift(fMods), delta, fX, fY);
    }

    TOrnView& fView;
    GLFWwindow* fWindow = nullptr;
    TOrnPixelFormat fObtained;

private:
    TShiftState Shift(int mods) const {
        TShiftState shift;
        if (mods & GLFW_MOD_SHIFT) shift.Include(ssShift);
        if (mods & GLFW_MOD_ALT) shift.Include(ssAlt);
        if (mods & GLFW_MOD_CONTROL) shift.Include(ssCtrl);
        if (fButtons & 1) shift.Include(ssLeft);
        if (fButtons & 2) shift.Include(ssRight);
        if (fButtons & 4) shift.Include(ssMiddle);
        return shift;
    }

    int fX = 0;
    int fY = 0;
    int fButtons = 0;
    int fMods = 0;
};

// A window of the view's own, pumped by TApplication.
class WindowSurface final : public GlfwSurface, public TEventSource {
public:
    WindowSurface(TOrnView& view, TOrnWindowOptions options)
        : GlfwSurface(view), fOptions(std::move(options)) {}

    ~WindowSurface() override {
        TApplication::Instance().RemoveEventSource(this);
        if (!fWindow) return;
        DoneCurrent();
        glfwDestroyWindow(fWindow);
    }

    void Create(const TOrnPixelFormat& request, int width, int height, TOrnSurface* shareWith) override {
        std::string reason;
        if (!EnsureGlfw(&reason)) throw EOrnError("No window can be opened: " + reason);
        auto* share = dynamic_cast<WindowSurface*>(shareWith);
        glfwDefaultWindowHints();
        glfwWindowHint(GLFW_CLIENT_API, GLFW_OPENGL_API);
        glfwWindowHint(GLFW_CONTEXT_CREATION_API, GLFW_NATIVE_CONTEXT_API);
        glfwWindowHint(GLFW_DOUBLEBUFFER, request.DoubleBuffer() ? GLFW_TRUE : GLFW_FALSE);
        const int channel = std::max(request.ColorBits / 3, 1);
        glfwWindowHint(GLFW_RED_BITS, channel);
        glfwWindowHint(GLFW_GREEN_BITS, channel);
        glfwWindowHint(GLFW_BLUE_BITS, channel);
        glfwWindowHint(GLFW_ALPHA_BITS, std::max(request.AlphaBits, 8));
        glfwWindowHint(GLFW_DEPTH_BITS, std::min(request.DepthBits, 24));
        glfwWindowHint(GLFW_STENCIL_BITS, request.StencilBits);
        glfwWindowHint(GLFW_RESIZABLE, GLFW_TRUE);
        glfwWindowHint(GLFW_VISIBLE, fOptions.Visible ? GLFW_TRUE : GLFW_FALSE);
        glfwWindowHint(GLFW_SAMPLES, std::max(request.Samples, 0));
        LastGlfwError().clear();
        fWindow = glfwCreateWindow(std::max(width, 1), std::max(height, 1), fOptions.Title.c_str(), nullptr,
                                   share ? share->fWindow : nullptr);
        if (!fWindow && request.Samples > 0) {
            // No multisampled visual: the same without (Obtained() says so).
            glfwWindowHint(GLFW_SAMPLES, 0);
            LastGlfwError().clear();
            fWindow = glfwCreateWindow(std::max(width, 1), std::max(height, 1), fOptions.Title.c_str(), nullptr,
                                       share ? share->fWindow : nullptr);
        }
        if (!fWindow) throw EOrnError("Could not create the view's window: " + LastGlfwError());
        StartRenderState(share);
        glfwSetWindowUserPointer(fWindow, this);
        InstallCallbacks();
        fObtained = ReadObtained(fWindow, request);
        TApplication::Instance().AddEventSource(this);
    }

    void Resize(int width, int height) override {
        if (!fWindow) return;
        int w = 0, h = 0;
        glfwGetFramebufferSize(fWindow, &w, &h);
        // A minimised window reports 0 x 0: that is not a request to shrink it.
        if (std::max(w, 1) != std::max(width, 1) || std::max(h, 1) != std::max(height, 1))
            glfwSetWindowSize(fWindow, std::max(width, 1), std::max(height, 1));
    }

    void PollEvents() override {
        glfwPollEvents();
        if (fView.PaintPending()) fView.Paint();
    }
    void WaitEvents(double timeoutSeconds) override { glfwWaitEventsTimeout(std::max(timeoutSeconds, 0.0)); }

private:
    static WindowSurface& Of(GLFWwindow* window) {
        return *static_cast<WindowSurface*>(glfwGetWindowUserPointer(window));
    }

    void InstallCallbacks() {
        glfwSetFramebufferSizeCallback(
            fWindow, [](GLFWwindow* w, int width, int height) { Of(w).FramebufferSize(width, height); });
        glfwSetWindowRefreshCallback(fWindow, [](GLFWwindow* w) { Of(w).Refresh(); });
        glfwSetWindowCloseCallback(fWindow, [](GLFWwindow* w) {
            if (Of(w).fOptions.TerminateOnClose) TApplication::Instance().Terminate();
        });
        glfwSetCursorPosCallback(fWindow, [](GLFWwindow* w, double x, double y) { Of(w).CursorPos(x, y); });
        glfwSetMouseButtonCallback(fWindow, [](GLFWwindow* w, int button, int action, int mods) {
            Of(w).MouseButton(button, action, mods);
        });
        glfwSetKeyCallback(
            fWindow, [](GLFWwindow* w, int key, int, int action, int mods) { Of(w).Key(key, action, mods); });
        glfwSetScrollCallback(fWindow, [](GLFWwindow* w, double, double dy) { Of(w).Scroll(dy); });
    }

    TOrnWindowOptions fOptions;
};

// A window the application created and owns, with its own event loop. The window's user pointer
// stays the application's, so the callbacks find their surface through this table, and each one
// hands the event on to the callback the application had installed before.
class ExistingWindowSurface;
std::map<GLFWwindow*, ExistingWindowSurface*>& Adopted() {
    static std::map<GLFWwindow*, ExistingWindowSurface*> surfaces;
    return surfaces;
}

class ExistingWindowSurface final : public GlfwSurface {
public:
    ExistingWindowSurface(TOrnView& view, GLFWwindow* window) : GlfwSurface(view), fAdopted(window) {}

    ~ExistingWindowSurface() override {
        if (!fWindow) return;
        // The application's own callbacks come back; its window and context stay as they are.
        glfwSetFramebufferSizeCallback(fWindow, fPrevious.framebuffer);
        glfwSetWindowRefreshCallback(fWindow, fPrevious.refresh);
        glfwSetCursorPosCallback(fWindow, fPrevious.cursor);
        glfwSetMouseButtonCallback(fWindow, fPrevious.button);
        glfwSetKeyCallback(fWindow, fPrevious.key);
        glfwSetScrollCallback(fWindow, fPrevious.scroll);
        Adopted().erase(fWindow);
    }

    void Create(const TOrnPixelFormat& request, int, int, TOrnSurface*) override {
        if (!fAdopted) throw EOrnError("Cannot draw into a window: no GLFW window was given.");
        if (Adopted().contains(fAdopted))
            throw EOrnError("Cannot draw into a window that a view already draws into.");
        fWindow = fAdopted;
        Adopted()[fWindow] = this;
        // The window was made by the application: its format is what it is, and so is its size.
        fObtained = ReadObtained(fWindow, request);
        int width = 0, height = 0;
        glfwGetFramebufferSize(fWindow, &width, &height);
        fView.SetBounds(width, height);
        fPrevious.framebuffer =
            glfwSetFramebufferSizeCallback(fWindow, [](GLFWwindow* w, int width, int height) {
                ExistingWindowSurface& s = Of(w);
                s.FramebufferSize(width, height);
                if (s.fPrevious.framebuffer) s.fPrevious.framebuffer(w, width, height);
            });
        fPrevious.refresh = glfwSetWindowRefreshCallback(fWindow, [](GLFWwindow* w) {
            ExistingWindowSurface& s = Of(w);
            s.Refresh();
            if (s.fPrevious.refresh) s.fPrevious.refresh(w);
        });
        fPrevious.cursor = glfwSetCursorPosCallback(fWindow, [](GLFWwindow* w, double x, double y) {
            ExistingWindowSurface& s = Of(w);
            s.CursorPos(x, y);
            if (s.fPrevious.cursor) s.fPrevious.cursor(w, x, y);
        });
        fPrevious.button =
            glfwSetMouseButtonCallback(fWindow, [](GLFWwindow* w, int button, int action, int mods) {
                ExistingWindowSurface& s = Of(w);
                s.MouseButton(button, action, mods);
                if (s.fPrevious.button) s.fPrevious.button(w, button, action, mods);
            });
        fPrevious.key =
            glfwSetKeyCallback(fWindow, [](GLFWwindow* w, int key, int scancode, int action, int mods) {
                ExistingWindowSurface& s = Of(w);
                s.Key(key, action, mods);
                if (s.fPrevious.key) s.fPrevious.key(w, key, scancode, action, mods);
            });
        fPrevious.scroll = glfwSetScrollCallback(fWindow, [](GLFWwindow* w, double dx, double dy) {
            ExistingWindowSurface& s = Of(w);
            s.Scroll(dy);
            if (s.fPrevious.scroll) s.fPrevious.scroll(w, dx, dy);
        });
    }

    // The window's size is the application's to set.
    void Resize(int, int) override {}

private:
    static ExistingWindowSurface& Of(GLFWwindow* window) { return *Adopted().at(window); }

    GLFWwindow* fAdopted;
    struct {
        GLFWframebuffersizefun framebuffer = nullptr;
        GLFWwindowrefreshfun refresh = nullptr;
        GLFWcursorposfun cursor = nullptr;
        GLFWmousebuttonfun button = nullptr;
        GLFWkeyfun key = nullptr;
        GLFWscrollfun scroll = nullptr;
    } fPrevious;
};

} // namespace

TOrnSurfaceFactory WindowSurfaceFactory(TOrnWindowOptions options) {
    return [options](TOrnView& view) -> std::unique_ptr<TOrnSurface> {
        return std::make_unique<WindowSurface>(view, options);
    };
}

TOrnSurfaceFactory ExistingWindowSurfaceFactory(GLFWwindow* window) {
    return [window](TOrnView& view) -> std::unique_ptr<TOrnSurface> {
        return std::make_unique<ExistingWindowSurface>(view, window);
    };
}

bool WindowSystemAvailable(std::string* reason) {
    return EnsureGlfw(reason);
}

std::uint16_t GlfwKeyToVirtualKey(int key) {
    // Letters, digits and the space bar have the same codes in both.
    if ((key >= GLFW_KEY_A && key <= GLFW_KEY_Z) || (key >= GLFW_KEY_0 && key <= GLFW_KEY_9) ||
        key == GLFW_KEY_SPACE)
        return static_cast<std::uint16_t>(key);
    if (key >= GLFW_KEY_F1 && key <= GLFW_KEY_F24)
        return static_cast<std::uint16_t>(VK_F1 + (key - GLFW_KEY_F1));
    if (key >= GLFW_KEY_KP_0 && key <= GLFW_KEY_KP_9)
        return static_cast<std::uint16_t>(96 + (key - GLFW_KEY_KP_0));
    switch (key) {
    case GLFW_KEY_ESCAPE:
        return VK_ESCAPE;
    case GLFW_KEY_ENTER:
    case GLFW_KEY_KP_ENTER:
        return VK_RETURN;
    case GLFW_KEY_TAB:
        return VK_TAB;
    case GLFW_KEY_BACKSPACE:
        return VK_BACK;
    case GLFW_KEY_INSERT:
        return VK_INSERT;
    case GLFW_KEY_DELETE:
        return VK_DELETE;
    case GLFW_KEY_RIGHT:
        return VK_RIGHT;
    case GLFW_KEY_LEFT:
        return VK_LEFT;
    case GLFW_KEY_DOWN:
        return VK_DOWN;
    case GLFW_KEY_UP:
        return VK_UP;
    case GLFW_KEY_PAGE_UP:
        return VK_PRIOR;
    case GLFW_KEY_PAGE_DOWN:
        return VK_NEXT;
    case GLFW_KEY_HOME:
        return VK_HOME;
    case GLFW_KEY_END:
        return VK_END;
    case GLFW_KEY_KP_ADD:
        return VK_ADD;
    case GLFW_KEY_KP_SUBTRACT:
        return VK_SUBTRACT;
    case GLFW_KEY_KP_MULTIPLY:
        return 106;
    case GLFW_KEY_KP_DECIMAL:
        return 110;
    case GLFW_KEY_KP_DIVIDE:
        return 111;
    case GLFW_KEY_LEFT_SHIFT:
    case GLFW_KEY_RIGHT_SHIFT:
        return VK_SHIFT;
    case GLFW_KEY_LEFT_CONTROL:
    case GLFW_KEY_RIGHT_CONTROL:
        return VK_CONTROL;
    case GLFW_KEY_LEFT_ALT:
    case GLFW_KEY_RIGHT_ALT:
        return 18; // the host's "menu" key
    case GLFW_KEY_PAUSE:
        return 19;
    case GLFW_KEY_CAPS_LOCK:
        return 20;
    default:
        return 0;
    }
}

} // namespace orn
