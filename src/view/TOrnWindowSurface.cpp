#include <orn/view/TOrnWindowSurface.h>

#include <orn/host/EOrnError.h>
#include <orn/host/TApplication.h>
#include <orn/host/TInput.h>
#include <orn/view/TOrnView.h>

#include <GL/gl.h>
#include <GLFW/glfw3.h>

#include <algorithm>
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

class WindowSurface final : public TOrnSurface, public TEventSource {
public:
    WindowSurface(TOrnView& view, TOrnWindowOptions options) : fView(view), fOptions(std::move(options)) {}

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
        LastGlfwError().clear();
        fWindow = glfwCreateWindow(std::max(width, 1), std::max(height, 1), fOptions.Title.c_str(), nullptr,
                                   share ? share->fWindow : nullptr);
        if (!fWindow) throw EOrnError("Could not create the view's window: " + LastGlfwError());
        StartRenderState(share);
        glfwSetWindowUserPointer(fWindow, this);
        InstallCallbacks();
        ReadObtained(request);
        TApplication::Instance().AddEventSource(this);
    }

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
    void Resize(int width, int height) override {
        if (!fWindow) return;
        int w = 0, h = 0;
        glfwGetFramebufferSize(fWindow, &w, &h);
        // A minimised window reports 0 x 0: that is not a request to shrink it.
        if (std::max(w, 1) != std::max(width, 1) || std::max(h, 1) != std::max(height, 1))
            glfwSetWindowSize(fWindow, std::max(width, 1), std::max(height, 1));
    }
    void Invalidate() override { glfwPostEmptyEvent(); }
    TOrnPixelFormat Obtained() const override { return fObtained; }
    std::string Kind() const override { return "window"; }
    void* NativeWindow() const override { return fWindow; }

    void PollEvents() override {
        glfwPollEvents();
        if (fView.PaintPending()) fView.Paint();
    }
    void WaitEvents(double timeoutSeconds) override { glfwWaitEventsTimeout(std::max(timeoutSeconds, 0.0)); }

private:
    static WindowSurface& Of(GLFWwindow* window) {
        return *static_cast<WindowSurface*>(glfwGetWindowUserPointer(window));
    }

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

    void InstallCallbacks() {
        glfwSetFramebufferSizeCallback(
            fWindow, [](GLFWwindow* w, int width, int height) { Of(w).fView.SetBounds(width, height); });
        glfwSetWindowRefreshCallback(fWindow, [](GLFWwindow* w) { Of(w).fView.InvalidateGL(); });
        glfwSetWindowCloseCallback(fWindow, [](GLFWwindow* w) {
            if (Of(w).fOptions.TerminateOnClose) TApplication::Instance().Terminate();
        });
        // Positions come from the events themselves: the pointer may not be where a sent event says.
        glfwSetCursorPosCallback(fWindow, [](GLFWwindow* w, double x, double y) {
            WindowSurface& s = Of(w);
            s.fX = static_cast<int>(x);
            s.fY = static_cast<int>(y);
            s.fView.MouseMove(s.Shift(s.fMods), s.fX, s.fY);
        });
        glfwSetMouseButtonCallback(fWindow, [](GLFWwindow* w, int button, int action, int mods) {
            WindowSurface& s = Of(w);
            TMouseButton b = mbLeft;
            if (button == GLFW_MOUSE_BUTTON_RIGHT)
                b = mbRight;
            else if (button == GLFW_MOUSE_BUTTON_MIDDLE)
                b = mbMiddle;
            else if (button != GLFW_MOUSE_BUTTON_LEFT)
                return;
            const int bit = b == mbLeft ? 1 : b == mbRight ? 2 : 4;
            s.fMods = mods;
            if (action == GLFW_PRESS) {
                s.fButtons |= bit;
                s.fView.MouseDown(b, s.Shift(mods), s.fX, s.fY);
            } else {
                s.fButtons &= ~bit;
                s.fView.MouseUp(b, s.Shift(mods), s.fX, s.fY);
            }
        });
        glfwSetKeyCallback(fWindow, [](GLFWwindow* w, int key, int, int action, int mods) {
            WindowSurface& s = Of(w);
            s.fMods = mods;
            if (action == GLFW_RELEASE) return;
            std::uint16_t vk = GlfwKeyToVirtualKey(key);
            if (vk != 0) s.fView.KeyDown(vk, s.Shift(mods));
        });
    }

    void ReadObtained(const TOrnPixelFormat& request) {
        GLFWwindow* previous = glfwGetCurrentContext();
        glfwMakeContextCurrent(fWindow);
        GLint r = 0, g = 0, b = 0, a = 0, depth = 0, stencil = 0;
        GLboolean doubleBuffer = GL_FALSE;
        glGetIntegerv(GL_RED_BITS, &r);
        glGetIntegerv(GL_GREEN_BITS, &g);
        glGetIntegerv(GL_BLUE_BITS, &b);
        glGetIntegerv(GL_ALPHA_BITS, &a);
        glGetIntegerv(GL_DEPTH_BITS, &depth);
        glGetIntegerv(GL_STENCIL_BITS, &stencil);
        glGetBooleanv(GL_DOUBLEBUFFER, &doubleBuffer);
        glfwMakeContextCurrent(previous);
        fObtained = request;
        fObtained.ColorBits = r + g + b;
        fObtained.AlphaBits = a;
        fObtained.DepthBits = depth;
        fObtained.StencilBits = stencil;
        fObtained.Flags &= ~(PFD_DOUBLEBUFFER | PFD_SWAP_COPY);
        if (doubleBuffer) fObtained.Flags |= PFD_DOUBLEBUFFER | PFD_SWAP_COPY;
    }

    TOrnView& fView;
    TOrnWindowOptions fOptions;
    GLFWwindow* fWindow = nullptr;
    TOrnPixelFormat fObtained;
    int fX = 0;
    int fY = 0;
    int fButtons = 0;
    int fMods = 0;
};

} // namespace

TOrnSurfaceFactory WindowSurfaceFactory(TOrnWindowOptions options) {
    return [options](TOrnView& view) -> std::unique_ptr<TOrnSurface> {
        return std::make_unique<WindowSurface>(view, options);
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
