#pragma once

#include <orn/host/TBitmap.h>
#include <orn/host/TColor.h>
#include <orn/host/TInput.h>
#include <orn/host/TSet.h>
#include <orn/math/OrnMath.h>
#include <orn/scene/TOrnCustomController.h>
#include <orn/scene/TOrnCustomView.h>
#include <orn/view/TOrnCamera.h>
#include <orn/view/TOrnCoordinates.h>
#include <orn/view/TOrnSurface.h>
#include <orn/view/TOrnViewCanvas.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace orn {

enum TOrnBufferType { btColor, btDepth };
using TOrnBufferTypes = TSet<TOrnBufferType>;

/// Which buffers a render writes.
enum TOrnDrawValue { dvRed, dvBlue, dvGreen, dvAlpha, dvDepth };
using TOrnDrawValues = TSet<TOrnDrawValue>;

class TOrnView;
using TOrnViewRenderEvent = std::function<void(TOrnView* view)>;
/// Told of every selection name handed out: the object and its index list (−1: the whole object).
using TOrnNotifyNextID = std::function<void(TObject* object, int index)>;
using TOrnMouseEvent =
    std::function<void(TObject* sender, TMouseButton button, TShiftState shift, int x, int y)>;
using TOrnMouseMoveEvent = std::function<void(TObject* sender, TShiftState shift, int x, int y)>;
using TOrnKeyEvent = std::function<void(TObject* sender, std::uint16_t& key, TShiftState shift)>;
/// A turn of the mouse wheel: wheelDelta is 120 per notch, positive away from the user.
using TOrnMouseWheelEvent =
    std::function<void(TObject* sender, TShiftState shift, int wheelDelta, int x, int y)>;

/// One hit of a pick: the object whose name was hit, its index list (−1 for the object as a
/// whole) and the depth range of the hit in 0 … 1.
struct TOrnSelectionHit {
    TObject* Object = nullptr;
    int Index = -1;
    double ZMin = 0.0;
    double ZMax = 0.0;
    /// The point hit, in scene coordinates (those WinTo3D answers in): where the ray through the
    /// pick point first meets the faces of the hit list; where it meets none (the region around
    /// the point hit a line, a point or an edge, or the object does not tell its faces), the
    /// point of that ray at depth ZMin.
    TOrnMathVector Point{};
    /// The nodes through which the object was rendered, outermost first: an item shared into
    /// several nodes tells by which way it was hit.
    std::vector<TOrnCustomNode*> Path;
};

/// The control a scene is drawn in: it owns a GL context on a surface, applies its camera, clears,
/// draws its coordinate axes and calls OnRender, where the application renders its nodes. It
/// forwards its key and mouse input to its Controller, picks objects and renders into bitmaps.
class TOrnView : public TOrnCustomView {
    ORN_CLASS(TOrnView)
public:
    explicit TOrnView(TComponent* owner);
    ~TOrnView() override;

    // --- Published properties
    /// Whether the view holds a rendering context.
    bool Active() const { return GetActive(); }
    bool GetActive() const { return fSurface != nullptr; }
    TColor BackgroundColor() const { return fBackgroundColor; }
    void SetBackgroundColor(TColor value);
    TOrnCoordinates* Coordinates() const { return fCoordinates.get(); }
    /// Assigns value into the owned axes; nullptr is ignored.
    void SetCoordinates(const TOrnCoordinates* value);
    TOrnCamera* Camera() const { return fCamera; }
    /// Not owned; the view hears of the camera's changes and repaints.
    void SetCamera(TOrnCamera* value);
    /// Asks for a double-buffered format at the next connection.
    bool DoubleBuffer() const { return fDoubleBuffer; }
    void SetDoubleBuffer(bool value);
    /// Multisampled anti-aliasing for the view and its bitmaps: samples per pixel, 0 (none) … 16,
    /// clamped. Asked for when the view connects and for each GetImage; PixelFormat() tells what
    /// the driver gave.
    int Samples() const { return fSamples; }
    void SetSamples(int value) { fSamples = std::clamp(value, 0, 16); }
    /// The pick region in pixels; values below 1 count as 1.
    int SelectWidth() const { return fSelectWidth; }
    void SetSelectWidth(int value);
    int SelectHeight() const { return fSelectHeight; }
    void SetSelectHeight(int value);
    TOrnCustomController* Controller() const { return fController; }
    /// Not owned: receives the view's key and mouse input after the view's own events.
    void SetController(TOrnCustomController* value);

    TOrnViewRenderEvent OnRender;
    TOrnMouseEvent OnMouseDown;
    TOrnMouseMoveEvent OnMouseMove;
    TOrnMouseEvent OnMouseUp;
    TOrnKeyEvent OnKeyDown;
    TOrnMouseWheelEvent OnMouseWheel;
    TNotifyEvent OnResize;

    // --- Window control
    int Width() const { return fWidth; }
    int Height() const { return fHeight; }
    int ClientWidth() const { return fWidth; }
    int ClientHeight() const { return fHeight; }
    /// Resizes the view (negative sizes count as 0) and its surface, calls OnResize and repaints.
    void SetBounds(int width, int height);
    void SetWidth(int value) { SetBounds(value, fHeight); }
    void SetHeight(int value) { SetBounds(fWidth, value); }

    // --- Unpublished state
    TOrnBufferTypes BufferTypes() const { return fBufferTypes; }
    void SetBufferTypes(TOrnBufferTypes value) { fBufferTypes = value; }
    TOrnDrawValues DrawValues() const { return fDrawValues; }
    void SetDrawValues(TOrnDrawValues value) { fDrawValues = value; }
    bool DepthTest() const { return fDepthTest; }
    void SetDepthTest(bool value) { fDepthTest = value; }
    TOrnDrawMode DrawMode() const override { return fDrawMode; }
    void SetDrawMode(TOrnDrawMode value) { fDrawMode = value; }
    /// The centre of the pick region, window pixels with y downwards.
    int PickX() const { return fPickX; }
    int PickY() const { return fPickY; }
    void SetPickPoint(int x, int y);
    /// 1 while a render must make objects rebuild what they cached for a context (a render into a
    /// bitmap, whose context holds none of the uploaded images); 0 otherwise.
    int ReInit() const { return fReInit; }
    TOrnNotifyNextID OnNextID;

    // --- Rendering context
    /// Creates the context on the surface the factory makes (headless when none is set) and joins
    /// the process-wide view list. False in design state; true when already active. Throws
    /// EOrnError when the surface cannot give a context.
    bool OpenGLConnect();
    /// Releases the context and leaves the view list; nothing in design state.
    void OpenGLDisconnect();
    /// Used at the next connection; an empty factory means headless.
    void SetSurfaceFactory(TOrnSurfaceFactory factory) { fSurfaceFactory = std::move(factory); }
    TOrnSurface* Surface() const { return fSurface.get(); }
    /// The pixel format asked for at the last connection.
    const TOrnPixelFormat& PixelFormatRequest() const { return fPixelFormatRequest; }
    /// The pixel format the surface obtained; all zeros when not active.
    TOrnPixelFormat PixelFormat() const;
    /// The request for a draw mode: window (and the naming modes) or bitmap, with or without
    /// double buffering; described is the surface's first format, whose colour bits a bitmap keeps.
    static TOrnPixelFormat ChoosePixelFormat(TOrnDrawMode mode, bool doubleBuffer,
                                             const TOrnPixelFormat& described);
    /// Palettes do not exist on this platform: always false.
    bool CreateRGBPalette() const { return false; }
    /// The views holding a context, in order of connection; the first one's lists are everyone's.
    static const std::vector<TOrnView*>& ViewList();

    /// Whether the view's context is current (always, in dmBitmap, while the view is active).
    bool GetCurrent() const override;
    /// Makes the context current or releases it. Silent on failure: an inactive view makes no
    /// context current (releasing one of the views' contexts that is), and drawing then goes
    /// wherever it goes.
    void SetCurrent(bool value) override;
    int GetNextID(TObject* object, int index) override;
    const TOrnMatrix* CameraMatrix() const override { return fCamera ? fCamera->Matrix() : nullptr; }
    /// The render state of the context drawn in now: the bitmap's during GetImage, else the
    /// view's own surface's (the view's own state while it has none).
    TOrnRenderState* RenderState() override;

    /// Viewport, projection (with the pick matrix in dmSelection and dmPick) and the camera's
    /// placement; nothing without a camera.
    void InitCamera(int width, int height);

    // --- Render cycle
    /// Renders when active.
    void Paint();
    /// One repaint: camera, names reset, frame start, RenderSceneGL, swap (except in dmSelection).
    virtual void RenderScene();
    /// The GL part of a repaint: clear, axes, OnRender.
    virtual void RenderSceneGL();
    /// Clears the given buffers, making the context current for it when it is not.
    void ClearBuffers(TOrnBufferTypes buffers);
    /// Asks for a repaint when active.
    void InvalidateGL();
    /// Whether a repaint was asked for and has not happened yet.
    bool PaintPending() const { return fPaintPending; }
    /// A change of the camera or of the axes: repaint.
    void SubChange(TObject* sender);

    // --- Rendering into a bitmap
    /// Renders the scene off-screen at width × height (dmBitmap, on a drawable that shares lists
    /// with the first connected view) and returns it as a 24-bit bitmap. The view need not be
    /// connected. Throws EOrnError for a size below 1 or beyond the bitmap limit, or when no
    /// context can be had.
    std::unique_ptr<TBitmap> GetImage(int width, int height);
    /// Renders one frame on the view's own surface (window or headless) and reads it back before
    /// the swap: a 24-bit bitmap of the client size, from the context the view already has. Throws
    /// EOrnError when the view is not connected or its context cannot be made current.
    std::unique_ptr<TBitmap> GetSurfaceImage();

    // --- Picking and projection (window coordinates: pixels, y downwards)
    /// Renders in dmSelection around (x, y) and answers the nearest hit (Object nullptr: none);
    /// SelectionList then holds every hit, nearest first. An inactive view hits nothing.
    TOrnSelectionHit GetObj(int x, int y);
    const std::vector<TOrnSelectionHit>& SelectionList() const { return fSelection; }
    /// The scene point drawn at pixel (x, y), from the depth buffer of a fresh render; false where
    /// nothing was drawn, outside the view, or when not active.
    bool GetPoint(int x, int y, TOrnMathVector& point);
    /// The scene point at window (x, y) and depth z (0 near plane … 1 far plane).
    TOrnMathVector WinTo3D(double x, double y, double z);
    /// The window position (x, y) and depth z of a scene point. During a render the point is taken
    /// in the current model-view coordinates (what an object sees), otherwise in scene coordinates
    /// under the camera of the last render.
    TOrnMathVector WinFrom3D(const TOrnMathVector& point);

    // --- Two-dimensional drawing
    /// Draws over the scene in window pixels while the view renders.
    TOrnViewCanvas& Canvas() { return *fCanvas; }
    /// Whether a render of this view is under way (OnRender is running).
    bool IsRendering() const { return fRendering; }

    // --- Input: the view's events, then the controller; a controller's change repaints.
    virtual void KeyDown(std::uint16_t& key, TShiftState shift);
    virtual void MouseDown(TMouseButton button, TShiftState shift, int x, int y);
    virtual void MouseMove(TShiftState shift, int x, int y);
    virtual void MouseUp(TMouseButton button, TShiftState shift, int x, int y);
    virtual void MouseWheel(TShiftState shift, int wheelDelta, int x, int y);

    void Notification(TComponent* component, TOperation operation) override;

protected:
    /// Drawn after OnRender, inside the repaint's attribute block (the canvas overlay).
    virtual void RenderOverlay() {}

private:
    /// Pixels that GetSurfaceImage asks of a frame.
    struct ReadBack;
    /// The camera's change handler while this view holds it: a type of its own, so that the view
    /// can tell its own handler from the one of another view that took the camera since.
    struct CameraHook;
    /// Clears the camera's change handler if it is still this view's.
    void UnhookCamera();
    static std::vector<TOrnView*>& MutableViewList();
    void AddViewToList();
    void RemoveViewFromList();
    void CaptureMatrices();
    bool EnsureMatrices();
    /// The surface drawn on now: the bitmap's during GetImage, else the view's own.
    TOrnSurface* DrawingSurface() const;
    /// Reads the frame just drawn into target, in the current context.
    static void ReadFrame(ReadBack& target);

    TColor fBackgroundColor = clBlack;
    std::unique_ptr<TOrnCoordinates> fCoordinates;
    std::unique_ptr<TOrnViewCanvas> fCanvas;
    TOrnCamera* fCamera = nullptr;
    bool fDoubleBuffer = true;
    int fSamples = 0;
    int fSelectWidth = 5;
    int fSelectHeight = 5;
    TOrnCustomController* fController = nullptr;

    int fWidth = 400;
    int fHeight = 250;
    TOrnBufferTypes fBufferTypes{btColor, btDepth};
    TOrnDrawValues fDrawValues{dvRed, dvBlue, dvGreen, dvAlpha, dvDepth};
    bool fDepthTest = true;
    TOrnDrawMode fDrawMode = dmWindow;
    int fPickX = 0;
    int fPickY = 0;
    int fNextID = 0;
    int fReInit = 0;
    bool fPaintPending = false;
    bool fRendering = false;

    TOrnSurfaceFactory fSurfaceFactory;
    std::unique_ptr<TOrnSurface> fSurface;
    TOrnSurface* fBitmapSurface = nullptr;
    ReadBack* fReadBack = nullptr; // set by GetSurfaceImage for the frame RenderScene draws next
    TOrnPixelFormat fPixelFormatRequest;

    // Picking and projection state.
    /// What a pick needs of each name it handed out: the object, its list, the way to it and
    /// the matrices it was drawn under.
    struct NameRecord {
        TObject* object;
        int index;
        std::vector<TOrnCustomNode*> path;
        std::array<double, 16> modelview;
        std::array<double, 16> projection;
    };
    /// The scene point of a hit by name, the pick's camera placement being root.
    TOrnMathVector HitPoint(const NameRecord& name, double zMin, const std::array<double, 16>& root) const;

    bool fRecordNames = false;
    std::vector<NameRecord> fNames;
    std::vector<TOrnSelectionHit> fSelection;
    bool fHaveMatrices = false;
    std::array<double, 16> fProjection{};
    std::array<double, 16> fModelview{};
    std::array<int, 4> fViewport{};
};

} // namespace orn
