#include "view/detail/EglContext.h"

#include <orn/host/EOrnError.h>

#include <EGL/eglext.h>
#include <GL/gl.h>
#include <GL/glext.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <mutex>
#include <string>
#include <type_traits>
#include <utility>

namespace orn::detail {

namespace {

#ifndef EGL_PLATFORM_SURFACELESS_MESA
#define EGL_PLATFORM_SURFACELESS_MESA 0x31DD
#endif

[[noreturn]] void ThrowEgl(const std::string& what) {
    throw EOrnError("EGL: " + what + " failed (" + EglErrorName(eglGetError()) + ")");
}

bool HasClientExtension(const char* name) {
    const char* list = eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS);
    if (!list) return false;
    const std::size_t len = std::strlen(name);
    for (const char* p = std::strstr(list, name); p; p = std::strstr(p + 1, name))
        if ((p == list || p[-1] == ' ') && (p[len] == ' ' || p[len] == '\0')) return true;
    return false;
}

struct SharedDisplay {
    EGLDisplay display = EGL_NO_DISPLAY;
    std::string failure;
};

// One display for the process: every context shares it, which sharing lists and textures needs,
// and it is never terminated because other contexts may still live on it.
const SharedDisplay& TheDisplay() {
    static SharedDisplay shared;
    static std::once_flag once;
    std::call_once(once, [] {
        EGLDisplay dpy = EGL_NO_DISPLAY;
        if (HasClientExtension("EGL_MESA_platform_surfaceless") &&
            HasClientExtension("EGL_EXT_platform_base")) {
            auto getPlatformDisplay = reinterpret_cast<PFNEGLGETPLATFORMDISPLAYEXTPROC>(
                eglGetProcAddress("eglGetPlatformDisplayEXT"));
            if (getPlatformDisplay)
                dpy = getPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
        }
        EGLint major = 0, minor = 0;
        if (dpy == EGL_NO_DISPLAY || !eglInitialize(dpy, &major, &minor)) {
            dpy = eglGetDisplay(EGL_DEFAULT_DISPLAY);
            if (dpy == EGL_NO_DISPLAY || !eglInitialize(dpy, &major, &minor)) {
                shared.failure =
                    std::string("no EGL display could be initialised (") + EglErrorName(eglGetError()) + ")";
                return;
            }
        }
        shared.display = dpy;
    });
    return shared;
}

EGLint ConfigAttrib(EGLDisplay dpy, EGLConfig config, EGLint attrib) {
    EGLint value = 0;
    eglGetConfigAttrib(dpy, config, attrib, &value);
    return value;
}

} // namespace

const char* EglErrorName(EGLint code) {
    switch (code) {
    case EGL_SUCCESS:
        return "EGL_SUCCESS";
    case EGL_NOT_INITIALIZED:
        return "EGL_NOT_INITIALIZED";
    case EGL_BAD_ACCESS:
        return "EGL_BAD_ACCESS";
    case EGL_BAD_ALLOC:
        return "EGL_BAD_ALLOC";
    case EGL_BAD_ATTRIBUTE:
        return "EGL_BAD_ATTRIBUTE";
    case EGL_BAD_CONFIG:
        return "EGL_BAD_CONFIG";
    case EGL_BAD_CONTEXT:
        return "EGL_BAD_CONTEXT";
    case EGL_BAD_CURRENT_SURFACE:
        return "EGL_BAD_CURRENT_SURFACE";
    case EGL_BAD_DISPLAY:
        return "EGL_BAD_DISPLAY";
    case EGL_BAD_MATCH:
        return "EGL_BAD_MATCH";
    case EGL_BAD_NATIVE_PIXMAP:
        return "EGL_BAD_NATIVE_PIXMAP";
    case EGL_BAD_NATIVE_WINDOW:
        return "EGL_BAD_NATIVE_WINDOW";
    case EGL_BAD_PARAMETER:
        return "EGL_BAD_PARAMETER";
    case EGL_BAD_SURFACE:
        return "EGL_BAD_SURFACE";
    case EGL_CONTEXT_LOST:
        return "EGL_CONTEXT_LOST";
    default:
        break;
    }
    thread_local char buffer[16];
    std::snprintf(buffer, sizeof buffer, "0x%04X", static_cast<unsigned>(code));
    return buffer;
}

// Framebuffer objects (GL 3.0 or ARB_framebuffer_object), reached through EGL: the 1.1 library
// exports none of them. Drivers that give multisampled pbuffers without anti-aliasing them
// (llvmpipe) still resolve a multisampled framebuffer object.
struct EglContext::Multisample {
    PFNGLGENFRAMEBUFFERSPROC genFramebuffers = nullptr;
    PFNGLBINDFRAMEBUFFERPROC bindFramebuffer = nullptr;
    PFNGLGENRENDERBUFFERSPROC genRenderbuffers = nullptr;
    PFNGLBINDRENDERBUFFERPROC bindRenderbuffer = nullptr;
    PFNGLRENDERBUFFERSTORAGEMULTISAMPLEPROC storage = nullptr;
    PFNGLFRAMEBUFFERRENDERBUFFERPROC attach = nullptr;
    PFNGLCHECKFRAMEBUFFERSTATUSPROC status = nullptr;
    PFNGLBLITFRAMEBUFFERPROC blit = nullptr;
    GLuint framebuffer = 0;
    GLuint color = 0, depth = 0;
    GLenum depthFormat = 0, depthAttachment = 0;
    int samples = 0;

    bool Load() {
        auto get = [](auto& fn, const char* name) {
            fn = reinterpret_cast<std::remove_reference_t<decltype(fn)>>(eglGetProcAddress(name));
            return fn != nullptr;
        };
        return get(genFramebuffers, "glGenFramebuffers") && get(bindFramebuffer, "glBindFramebuffer") &&
               get(genRenderbuffers, "glGenRenderbuffers") && get(bindRenderbuffer, "glBindRenderbuffer") &&
               get(storage, "glRenderbufferStorageMultisample") && get(attach, "glFramebufferRenderbuffer") &&
               get(status, "glCheckFramebufferStatus") && get(blit, "glBlitFramebuffer");
    }
    /// Storage of width x height for the buffers; false when the driver refuses the combination.
    bool Allocate(int width, int height) {
        bindRenderbuffer(GL_RENDERBUFFER, color);
        storage(GL_RENDERBUFFER, samples, GL_RGBA8, width, height);
        if (depth) {
            bindRenderbuffer(GL_RENDERBUFFER, depth);
            storage(GL_RENDERBUFFER, samples, depthFormat, width, height);
        }
        // A renderbuffer exists once bound: only then can it be attached.
        bindFramebuffer(GL_FRAMEBUFFER, framebuffer);
        attach(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, color);
        if (depth) attach(GL_FRAMEBUFFER, depthAttachment, GL_RENDERBUFFER, depth);
        return status(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
    }
};

EglContext::EglContext() = default;

EglContext::~EglContext() {
    Release();
}

EglContext::EglContext(EglContext&& other) noexcept {
    *this = std::move(other);
}

EglContext& EglContext::operator=(EglContext&& other) noexcept {
    if (this != &other) {
        Release();
        fDisplay = std::exchange(other.fDisplay, EGL_NO_DISPLAY);
        fConfig = std::exchange(other.fConfig, nullptr);
        fContext = std::exchange(other.fContext, EGL_NO_CONTEXT);
        fSurface = std::exchange(other.fSurface, EGL_NO_SURFACE);
        fWidth = std::exchange(other.fWidth, 0);
        fHeight = std::exchange(other.fHeight, 0);
        fObtained = other.fObtained;
        fMultisample = std::move(other.fMultisample);
    }
    return *this;
}

bool EglContext::Available(std::string* reason) {
    const SharedDisplay& shared = TheDisplay();
    if (reason) *reason = shared.failure;
    return shared.display != EGL_NO_DISPLAY;
}

void EglContext::Create(int width, int height, const EglContext* shareWith, const Format& request) {
    Release();
    const SharedDisplay& shared = TheDisplay();
    if (shared.display == EGL_NO_DISPLAY) throw EOrnError("EGL: " + shared.failure);
    if (shareWith && !shareWith->IsCreated())
        throw EOrnError("EGL: the context to share with has not been created");
    fDisplay = shared.display;
    if (!eglBindAPI(EGL_OPENGL_API)) ThrowEgl("eglBindAPI(EGL_OPENGL_API)");

    EGLint attribs[] = {EGL_SURFACE_TYPE,
                        EGL_PBUFFER_BIT,
                        EGL_RENDERABLE_TYPE,
                        EGL_OPENGL_BIT,
                        EGL_RED_SIZE,
                        std::max(0, request.redBits),
                        EGL_GREEN_SIZE,
                        std::max(0, request.greenBits),
                        EGL_BLUE_SIZE,
                        std::max(0, request.blueBits),
                        EGL_ALPHA_SIZE,
                        std::max(0, request.alphaBits),
                        EGL_DEPTH_SIZE,
                        std::max(0, request.depthBits),
                        EGL_STENCIL_SIZE,
                        std::max(0, request.stencilBits),
                        EGL_NONE};
    EGLint count = 0;
    if (!eglChooseConfig(fDisplay, attribs, &fConfig, 1, &count)) ThrowEgl("eglChooseConfig");
    if (count < 1) {
        fDisplay = EGL_NO_DISPLAY;
        throw EOrnError("EGL: no pbuffer configuration with OpenGL and RGBA " +
                        std::to_string(request.redBits) + "/" + std::to_string(request.greenBits) + "/" +
                        std::to_string(request.blueBits) + "/" + std::to_string(request.alphaBits) +
                        ", depth " + std::to_string(request.depthBits) + ", stencil " +
                        std::to_string(request.stencilBits));
    }
    // No profile attributes: Mesa then gives a compatibility context, which fixed-function GL needs.
    fContext = eglCreateContext(fDisplay, fConfig, shareWith ? shareWith->fContext : EGL_NO_CONTEXT, nullptr);
    if (fContext == EGL_NO_CONTEXT) {
        fDisplay = EGL_NO_DISPLAY;
        ThrowEgl("eglCreateContext");
    }
    try {
        CreateSurface(width, height);
    } catch (...) {
        Release();
        throw;
    }
    fObtained.redBits = ConfigAttrib(fDisplay, fConfig, EGL_RED_SIZE);
    fObtained.greenBits = ConfigAttrib(fDisplay, fConfig, EGL_GREEN_SIZE);
    fObtained.blueBits = ConfigAttrib(fDisplay, fConfig, EGL_BLUE_SIZE);
    fObtained.alphaBits = ConfigAttrib(fDisplay, fConfig, EGL_ALPHA_SIZE);
    fObtained.depthBits = ConfigAttrib(fDisplay, fConfig, EGL_DEPTH_SIZE);
    fObtained.stencilBits = ConfigAttrib(fDisplay, fConfig, EGL_STENCIL_SIZE);
    fObtained.samples = 0;
    if (request.samples > 0) {
        const EGLDisplay oldDisplay = eglGetCurrentDisplay();
        const EGLContext oldContext = eglGetCurrentContext();
        const EGLSurface oldDraw = eglGetCurrentSurface(EGL_DRAW), oldRead = eglGetCurrentSurface(EGL_READ);
        MakeCurrent();
        fObtained.samples = SetUpMultisample(request.samples);
        if (oldContext != EGL_NO_CONTEXT)
            eglMakeCurrent(oldDisplay, oldDraw, oldRead, oldContext);
        else
            DoneCurrent();
    }
    EGLint renderBuffer = EGL_SINGLE_BUFFER;
    eglQuerySurface(fDisplay, fSurface, EGL_RENDER_BUFFER, &renderBuffer);
    fObtained.doubleBuffer = renderBuffer == EGL_BACK_BUFFER;
}

void EglContext::CreateSurface(int width, int height) {
    fWidth = std::max(1, width);
    fHeight = std::max(1, height);
    const EGLint attribs[] = {EGL_WIDTH, fWidth, EGL_HEIGHT, fHeight, EGL_NONE};
    fSurface = eglCreatePbufferSurface(fDisplay, fConfig, attribs);
    if (fSurface == EGL_NO_SURFACE)
        ThrowEgl("eglCreatePbufferSurface(" + std::to_string(fWidth) + "x" + std::to_string(fHeight) + ")");
}

void EglContext::Release() {
    if (fDisplay == EGL_NO_DISPLAY) return;
    if (IsCurrent()) DoneCurrent();
    // Framebuffer objects are the context's own: they go with it.
    fMultisample.reset();
    if (fSurface != EGL_NO_SURFACE) eglDestroySurface(fDisplay, fSurface);
    if (fContext != EGL_NO_CONTEXT) eglDestroyContext(fDisplay, fContext);
    fSurface = EGL_NO_SURFACE;
    fContext = EGL_NO_CONTEXT;
    fConfig = nullptr;
    fDisplay = EGL_NO_DISPLAY;
    fWidth = fHeight = 0;
}

void EglContext::MakeCurrent() {
    if (!IsCreated()) throw EOrnError("EGL: MakeCurrent on a context that has not been created");
    if (!eglBindAPI(EGL_OPENGL_API)) ThrowEgl("eglBindAPI(EGL_OPENGL_API)");
    if (!eglMakeCurrent(fDisplay, fSurface, fSurface, fContext)) ThrowEgl("eglMakeCurrent");
    if (fMultisample) fMultisample->bindFramebuffer(GL_FRAMEBUFFER, fMultisample->framebuffer);
}

int EglContext::SetUpMultisample(int samples) {
    auto ms = std::make_unique<Multisample>();
    if (!ms->Load()) return 0;
    GLint most = 0;
    glGetIntegerv(GL_MAX_SAMPLES, &most);
    ms->samples = std::min(samples, static_cast<int>(most));
    if (ms->samples < 1) return 0;
    if (fObtained.depthBits > 0) {
        ms->depthFormat = fObtained.stencilBits > 0  ? GL_DEPTH24_STENCIL8
                          : fObtained.depthBits > 16 ? GL_DEPTH_COMPONENT24
                                                     : GL_DEPTH_COMPONENT16;
        ms->depthAttachment = fObtained.stencilBits > 0 ? GL_DEPTH_STENCIL_ATTACHMENT : GL_DEPTH_ATTACHMENT;
    }
    ms->genFramebuffers(1, &ms->framebuffer);
    ms->genRenderbuffers(1, &ms->color);
    if (ms->depthFormat) ms->genRenderbuffers(1, &ms->depth);
    if (!ms->Allocate(fWidth, fHeight)) {
        // The buffers stay unused until the context goes; the pbuffer is drawn into directly.
        ms->bindFramebuffer(GL_FRAMEBUFFER, 0);
        return 0;
    }
    fMultisample = std::move(ms);
    return fMultisample->samples;
}

void EglContext::Resolve() {
    if (!fMultisample || !IsCurrent()) return;
    const Multisample& ms = *fMultisample;
    ms.bindFramebuffer(GL_READ_FRAMEBUFFER, ms.framebuffer);
    ms.bindFramebuffer(GL_DRAW_FRAMEBUFFER, 0);
    const GLbitfield buffers =
        GL_COLOR_BUFFER_BIT | (ms.depth ? GL_DEPTH_BUFFER_BIT : 0) |
        (ms.depthAttachment == GL_DEPTH_STENCIL_ATTACHMENT ? GL_STENCIL_BUFFER_BIT : 0);
    ms.blit(0, 0, fWidth, fHeight, 0, 0, fWidth, fHeight, buffers, GL_NEAREST);
    // Reading finds the resolved pixels, drawing goes on into the samples.
    ms.bindFramebuffer(GL_READ_FRAMEBUFFER, 0);
    ms.bindFramebuffer(GL_DRAW_FRAMEBUFFER, ms.framebuffer);
}

void EglContext::DoneCurrent() {
    EGLDisplay dpy = eglGetCurrentDisplay();
    if (dpy != EGL_NO_DISPLAY) eglMakeCurrent(dpy, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
}

bool EglContext::IsCurrent() const {
    return IsCreated() && eglGetCurrentContext() == fContext;
}

void EglContext::Resize(int width, int height) {
    if (!IsCreated()) throw EOrnError("EGL: Resize on a context that has not been created");
    if (std::max(1, width) == fWidth && std::max(1, height) == fHeight) return;
    const bool wasCurrent = IsCurrent();
    if (wasCurrent) eglMakeCurrent(fDisplay, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    eglDestroySurface(fDisplay, fSurface);
    fSurface = EGL_NO_SURFACE;
    CreateSurface(width, height);
    if (fMultisample) {
        MakeCurrent();
        if (!fMultisample->Allocate(fWidth, fHeight)) {
            fMultisample->bindFramebuffer(GL_FRAMEBUFFER, 0);
            fMultisample.reset();
            fObtained.samples = 0;
        }
        if (!wasCurrent) DoneCurrent();
    } else if (wasCurrent) {
        MakeCurrent();
    }
}

void EglContext::Swap() {
    if (!IsCreated()) throw EOrnError("EGL: Swap on a context that has not been created");
    Resolve();
    if (!eglSwapBuffers(fDisplay, fSurface)) ThrowEgl("eglSwapBuffers");
}

} // namespace orn::detail
