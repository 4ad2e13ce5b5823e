#pragma once

#include <EGL/egl.h>

#include <memory>
#include <string>

namespace orn::detail {

/// Bits asked for, and after Create() the bits actually obtained.
struct EglFormat {
    int redBits = 8;
    int greenBits = 8;
    int blueBits = 8;
    int alphaBits = 8;
    int depthBits = 24;
    int stencilBits = 8;
    bool doubleBuffer = false; // ignored when asking: the surface's EGL_RENDER_BUFFER decides
    /// Multisampling: samples per pixel, 0 for none. Drawn into a multisampled framebuffer
    /// object that Resolve() copies into the pbuffer; fewer (the driver's most) or none where the
    /// driver has no such buffers.
    int samples = 0;
};

/// A headless desktop OpenGL compatibility context on an EGL pbuffer (surfaceless platform, so no
/// display server is needed). Move-only; destroying it releases the context and the surface.
class EglContext {
public:
    using Format = EglFormat;

    EglContext();
    ~EglContext();
    EglContext(EglContext&& other) noexcept;
    EglContext& operator=(EglContext&& other) noexcept;
    EglContext(const EglContext&) = delete;
    EglContext& operator=(const EglContext&) = delete;

    /// Creates the context and a width x height pbuffer (each clamped to at least 1). With shareWith,
    /// display lists and textures are shared with that context. Throws EOrnError naming the EGL error.
    void Create(int width, int height, const EglContext* shareWith = nullptr, const Format& request = {});
    /// Destroys the context and the surface; harmless when not created.
    void Release();
    bool IsCreated() const { return fContext != EGL_NO_CONTEXT; }

    /// Binds the context and its pbuffer to the calling thread. Throws EOrnError when not created.
    void MakeCurrent();
    /// Unbinds whatever context is current on the calling thread.
    static void DoneCurrent();
    bool IsCurrent() const;

    /// Replaces the pbuffer by one of the new size (contents are lost); stays current if it was.
    void Resize(int width, int height);
    /// Presents the back buffer; a no-op in effect for single-buffered pbuffers. Resolves first.
    void Swap();
    /// Copies what the multisampled framebuffer holds into the pbuffer, where glReadPixels finds
    /// it; drawing goes on into the multisampled one. Nothing to do without samples. Current only.
    void Resolve();

    int Width() const { return fWidth; }
    int Height() const { return fHeight; }
    const Format& Obtained() const { return fObtained; }
    EGLDisplay Display() const { return fDisplay; }
    EGLContext Context() const { return fContext; }

    /// Whether a display can be opened at all; on false, reason says why.
    static bool Available(std::string* reason = nullptr);

private:
    struct Multisample;
    void CreateSurface(int width, int height);
    /// Sets up (or, with samples 0, drops) the multisampled framebuffer of the pbuffer's size;
    /// returns the samples obtained. The context must be current.
    int SetUpMultisample(int samples);

    EGLDisplay fDisplay = EGL_NO_DISPLAY;
    EGLConfig fConfig = nullptr;
    EGLContext fContext = EGL_NO_CONTEXT;
    EGLSurface fSurface = EGL_NO_SURFACE;
    int fWidth = 0;
    int fHeight = 0;
    Format fObtained;
    std::unique_ptr<Multisample> fMultisample;
};

/// The name of an EGL error code ("EGL_BAD_MATCH"), or its hex value when unknown.
const char* EglErrorName(EGLint code);

} // namespace orn::detail
