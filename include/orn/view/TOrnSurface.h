#pragma once

#include <orn/scene/TOrnRenderState.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace orn {

class TOrnView;

/// Pixel-format descriptor flags, with the values the platform's descriptor uses.
enum : std::uint32_t {
    PFD_DOUBLEBUFFER = 0x1,
    PFD_DRAW_TO_WINDOW = 0x4,
    PFD_DRAW_TO_BITMAP = 0x8,
    PFD_SUPPORT_GDI = 0x10,
    PFD_SUPPORT_OPENGL = 0x20,
    PFD_NEED_PALETTE = 0x80,
    PFD_SWAP_COPY = 0x400
};

/// A pixel format: what a view asks for when it connects, and what the surface obtained.
struct TOrnPixelFormat {
    std::uint16_t Size = 0;
    std::uint16_t Version = 0;
    std::uint32_t Flags = 0;
    /// 0 RGBA, 1 colour-index.
    int PixelType = 0;
    /// Red, green and blue bits together.
    int ColorBits = 0;
    int AlphaBits = 0;
    int DepthBits = 0;
    int StencilBits = 0;
    /// 0 = main plane.
    int LayerType = 0;
    /// Multisampled anti-aliasing: samples per pixel, 0 for none. A surface that cannot have the
    /// samples asked for gives fewer or none, and says so in Obtained().
    int Samples = 0;

    bool DoubleBuffer() const { return (Flags & PFD_DOUBLEBUFFER) != 0; }
    bool operator==(const TOrnPixelFormat&) const = default;
};

/// What a view draws on: a GL context with its drawable. The view creates one when it connects and
/// drops it when it disconnects; the headless surface is the default.
class TOrnSurface {
public:
    virtual ~TOrnSurface() = default;

    /// Creates the context and a width × height drawable from request. With shareWith (the surface of
    /// the first connected view), display lists and textures are shared when both are of the same
    /// kind. Throws EOrnError when no context can be had.
    virtual void Create(const TOrnPixelFormat& request, int width, int height, TOrnSurface* shareWith) = 0;
    /// Binds the context to the calling thread; false when that failed.
    virtual bool MakeCurrent() = 0;
    /// Unbinds the context if it is the current one.
    virtual void DoneCurrent() = 0;
    virtual bool IsCurrent() const = 0;
    virtual void Swap() = 0;
    /// Makes what was drawn readable by glReadPixels: a drawable that draws into a multisampled
    /// buffer of its own copies it into the readable one. Called with the context current.
    virtual void Resolve() {}
    /// Follows the view's new client size.
    virtual void Resize(int width, int height) = 0;
    /// Asks for a repaint (a window repaints in its event processing; headless does nothing).
    virtual void Invalidate() {}
    /// The format actually obtained.
    virtual TOrnPixelFormat Obtained() const = 0;
    /// "headless" or "window".
    virtual std::string Kind() const = 0;
    /// The window system's handle of the window (a GLFWwindow*), or nullptr for a headless surface.
    virtual void* NativeWindow() const { return nullptr; }
    /// A drawable of width × height for rendering into a bitmap, sharing lists with this surface
    /// where the window system allows it; its context is created but not current.
    virtual std::unique_ptr<TOrnSurface> CreateOffscreen(const TOrnPixelFormat& request, int width,
                                                         int height);
    /// The render state of the surface's context, nullptr before Create.
    TOrnRenderState* RenderState() const { return fRenderState.get(); }

protected:
    /// Called by Create once the context exists: it joins the share group of sharedWith (the
    /// surface whose lists and textures the new context really shares), or starts its own.
    void StartRenderState(const TOrnSurface* sharedWith);

private:
    std::unique_ptr<TOrnRenderState> fRenderState;
};

/// Makes the surface of a view when it connects.
using TOrnSurfaceFactory = std::function<std::unique_ptr<TOrnSurface>(TOrnView& view)>;

/// The default surface: an EGL pbuffer on the surfaceless platform, needing no display.
std::unique_ptr<TOrnSurface> CreateHeadlessSurface();

} // namespace orn
