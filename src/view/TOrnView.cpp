#include <orn/view/TOrnCanvasView.h>
#include <orn/view/TOrnView.h>

#include <orn/host/EOrnError.h>
#include <orn/host/TComponentClass.h>

#include <GL/gl.h>
#include <GL/glu.h>

#include <algorithm>

namespace orn {

ORN_REGISTER_COMPONENT(TOrnView, "Orn")
ORN_REGISTER_COMPONENT(TOrnCanvasView, "Orn")

namespace {

// What describing format 1 of a surface gives: the headless default, RGBA8 with depth and stencil.
constexpr TOrnPixelFormat kDescribedFormat{40, 1, PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL, 0, 24, 8, 24,
                                           8,  0};

// Resets a flag when a render ends, also by an exception from OnRender.
struct FlagScope {
    bool& flag;
    explicit FlagScope(bool& f) : flag(f) { flag = true; }
    ~FlagScope() { flag = false; }
};

} // namespace

TOrnView::TOrnView(TComponent* owner)
    : TOrnCustomView(owner), fCoordinates(std::make_unique<TOrnCoordinates>()),
      fCanvas(std::make_unique<TOrnViewCanvas>(*this)) {
    fCoordinates->OnChange = [this](TObject* sender) { SubChange(sender); };
}

TOrnView::~TOrnView() {
    // Cached components delete their lists in our context while we still exist.
    SendRemoveNotifications();
    if (fSurface) {
        fSurface->DoneCurrent();
        fSurface.reset();
        RemoveViewFromList();
    }
    if (fCamera) UnhookCamera();
}

struct TOrnView::CameraHook {
    TOrnView* view;
    void operator()(TObject* sender) const { view->SubChange(sender); }
};

void TOrnView::UnhookCamera() {
    const CameraHook* hook = fCamera->OnChange.target<CameraHook>();
    if (hook && hook->view == this) fCamera->OnChange = nullptr;
}

// --- Properties

void TOrnView::SetBackgroundColor(TColor value) {
    if (assignIfChanged(fBackgroundColor, value)) InvalidateGL();
}

void TOrnView::SetCoordinates(const TOrnCoordinates* value) {
    if (value) fCoordinates->Assign(value);
}

void TOrnView::SetCamera(TOrnCamera* value) {
    // The same camera again hooks it again: another view may have taken its handler meanwhile.
    if (fCamera && fCamera != value) {
        UnhookCamera();
        RemoveFreeNotification(fCamera);
    }
    fCamera = value;
    if (fCamera) {
        fCamera->OnChange = CameraHook{this};
        FreeNotification(fCamera);
    }
    SubChange(this);
}

void TOrnView::SetDoubleBuffer(bool value) {
    fDoubleBuffer = value;
}

void TOrnView::SetSelectWidth(int value) {
    fSelectWidth = std::max(value, 1);
}

void TOrnView::SetSelectHeight(int value) {
    fSelectHeight = std::max(value, 1);
}

void TOrnView::SetController(TOrnCustomController* value) {
    if (value == fController) return;
    if (fController) RemoveFreeNotification(fController);
    fController = value;
    if (fController) FreeNotification(fController);
}

void TOrnView::SetBounds(int width, int height) {
    width = std::max(width, 0);
    height = std::max(height, 0);
    if (width == fWidth && height == fHeight) return;
    fWidth = width;
    fHeight = height;
    if (fSurface) fSurface->Resize(fWidth, fHeight);
    if (OnResize) OnResize(this);
    InvalidateGL();
}

void TOrnView::SetPickPoint(int x, int y) {
    fPickX = x;
    fPickY = y;
}

// --- Rendering context

std::vector<TOrnView*>& TOrnView::MutableViewList() {
    static std::vector<TOrnView*> views;
    return views;
}

const std::vector<TOrnView*>& TOrnView::ViewList() {
    return MutableViewList();
}

void TOrnView::AddViewToList() {
    auto& views = MutableViewList();
    if (std::find(views.begin(), views.end(), this) == views.end()) views.push_back(this);
}

void TOrnView::RemoveViewFromList() {
    auto& views = MutableViewList();
    views.erase(std::remove(views.begin(), views.end(), this), views.end());
}

TOrnPixelFormat TOrnView::ChoosePixelFormat(TOrnDrawMode mode, bool doubleBuffer,
                                            const TOrnPixelFormat& described) {
    TOrnPixelFormat pfd;
    if (mode == dmBitmap) {
        // The described format's colour bits stay; everything else is set.
        pfd = described;
        pfd.Flags = PFD_DRAW_TO_BITMAP | PFD_SUPPORT_GDI | PFD_SUPPORT_OPENGL;
    } else {
        pfd.Flags = PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL;
        if (doubleBuffer) pfd.Flags |= PFD_DOUBLEBUFFER | PFD_SWAP_COPY;
        pfd.ColorBits = 24;
    }
    pfd.Size = 40;
    pfd.Version = 1;
    pfd.PixelType = 0;
    pfd.DepthBits = 32;
    pfd.StencilBits = 1;
    pfd.LayerType = 0;
    return pfd;
}

TOrnPixelFormat TOrnView::PixelFormat() const {
    return fSurface ? fSurface->Obtained() : TOrnPixelFormat{};
}

bool TOrnView::OpenGLConnect() {
    if (ComponentState().Contains(csDesigning)) return false;
    if (fSurface) return true;
    fPixelFormatRequest = ChoosePixelFormat(fDrawMode, fDoubleBuffer, kDescribedFormat);
    fPixelFormatRequest.Samples = fSamples;
    std::unique_ptr<TOrnSurface> surface = fSurfaceFactory ? fSurfaceFactory(*this) : CreateHeadlessSurface();
    if (!surface) throw EOrnError("Call to OpenGL function GetDC() failed.");
    const auto& views = ViewList();
    surface->Create(fPixelFormatRequest, fWidth, fHeight,
                    views.empty() ? nullptr : views.front()->fSurface.get());
    fSurface = std::move(surface);
    AddViewToList();
    SetCurrent(true);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glColorMask(fDrawValues.Contains(dvRed), fDrawValues.Contains(dvGreen), fDrawValues.Contains(dvBlue),
                fDrawValues.Contains(dvAlpha));
    glDepthMask(fDrawValues.Contains(dvDepth));
    SetCurrent(false);
    return true;
}

void TOrnView::OpenGLDisconnect() {
    if (ComponentState().Contains(csDesigning) || !fSurface) return;
    fSurface->DoneCurrent();
    fSurface.reset();
    RemoveViewFromList();
    fHaveMatrices = false;
}

TOrnSurface* TOrnView::DrawingSurface() const {
    return fBitmapSurface ? fBitmapSurface : fSurface.get();
}

TOrnRenderState* TOrnView::RenderState() {
    TOrnSurface* surface = DrawingSurface();
    if (surface && surface->RenderState()) return surface->RenderState();
    return TOrnCustomView::RenderState();
}

bool TOrnView::GetCurrent() const {
    TOrnSurface* surface = DrawingSurface();
    if (!surface) return false;
    return fDrawMode == dmBitmap || surface->IsCurrent();
}

void TOrnView::SetCurrent(bool value) {
    TOrnSurface* surface = DrawingSurface();
    if (value && surface) {
        surface->MakeCurrent(); // a failure is deliberately silent
        return;
    }
    // Releasing, or an inactive view asked to be current: no view's context stays current.
    if (surface) surface->DoneCurrent();
    for (TOrnView* v : ViewList())
        if (v->fSurface && v->fSurface->IsCurrent()) v->fSurface->DoneCurrent();
}

int TOrnView::GetNextID(TObject* object, int index) {
    ++fNextID;
    if (fRecordNames) {
        NameRecord& name = fNames.emplace_back(NameRecord{object, index, NodePath(), {}, {}});
        glGetDoublev(GL_MODELVIEW_MATRIX, name.modelview.data());
        glGetDoublev(GL_PROJECTION_MATRIX, name.projection.data());
    }
    if (OnNextID) OnNextID(object, index);
    return fNextID;
}

void TOrnView::InitCamera(int width, int height) {
    if (!fCamera) return;
    glViewport(0, 0, width, height);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    const bool picking = fDrawMode == dmSelection || fDrawMode == dmPick;
    if (picking) {
        GLint viewport[4];
        glGetIntegerv(GL_VIEWPORT, viewport);
        // Window rows run downwards, GL's upwards.
        gluPickMatrix(fPickX, viewport[3] - fPickY, fSelectWidth, fSelectHeight, viewport);
    }
    fCamera->Adjust(width, height);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    fCamera->Transformation()->Execute();
    fCamera->Matrix()->PickGLModelviewMatrix();
    if (!picking) CaptureMatrices();
}

void TOrnView::CaptureMatrices() {
    glGetDoublev(GL_PROJECTION_MATRIX, fProjection.data());
    const double* camera = fCamera->Matrix()->Values();
    std::copy(camera, camera + 16, fModelview.begin());
    glGetIntegerv(GL_VIEWPORT, fViewport.data());
    fHaveMatrices = true;
}

// --- Render cycle

void TOrnView::Paint() {
    if (Active()) RenderScene();
}

void TOrnView::RenderScene() {
    if (!Active()) return;
    fPaintPending = false;
    SetCurrent(true);
    if (GetCurrent()) {
        try {
            if (fCamera) InitCamera(ClientWidth(), ClientHeight());
            fNextID = 0;
            RenderState()->BeginFrame();
            RenderSceneGL();
            if (fReadBack) {
                fSurface->Resolve();
                ReadFrame(*fReadBack);
            }
            if (fDrawMode != dmSelection) fSurface->Swap();
        } catch (...) {
            SetCurrent(false);
            throw;
        }
    }
    SetCurrent(false);
}

void TOrnView::RenderSceneGL() {
    glClearColor(GetRValue(fBackgroundColor) / 255.0f, GetGValue(fBackgroundColor) / 255.0f,
                 GetBValue(fBackgroundColor) / 255.0f, 1.0f);
    glDepthFunc(fDepthTest ? GL_LESS : GL_ALWAYS);
    glColorMask(fDrawValues.Contains(dvRed), fDrawValues.Contains(dvGreen), fDrawValues.Contains(dvBlue),
                fDrawValues.Contains(dvAlpha));
    glDepthMask(fDrawValues.Contains(dvDepth));
    GLbitfield mask = 0;
    if (fBufferTypes.Contains(btColor)) mask |= GL_COLOR_BUFFER_BIT;
    if (fBufferTypes.Contains(btDepth)) mask |= GL_DEPTH_BUFFER_BIT;
    glClear(mask);
    glMatrixMode(GL_MODELVIEW);
    glEnable(GL_DEPTH_TEST);
    glPushAttrib(0xFFFFF);
    try {
        FlagScope rendering(fRendering);
        fCoordinates->Render();
        if (OnRender) OnRender(this);
        RenderOverlay();
    } catch (...) {
        glPopAttrib(); // the next repaint starts from the same state
        throw;
    }
    glFlush();
    glPopAttrib();
}

void TOrnView::ClearBuffers(TOrnBufferTypes buffers) {
    const bool wasCurrent = GetCurrent();
    if (!wasCurrent) SetCurrent(true);
    GLbitfield mask = 0;
    if (buffers.Contains(btColor)) mask |= GL_COLOR_BUFFER_BIT;
    if (buffers.Contains(btDepth)) mask |= GL_DEPTH_BUFFER_BIT;
    glClear(mask);
    if (!wasCurrent) SetCurrent(false);
}

void TOrnView::InvalidateGL() {
    if (!Active()) return;
    fPaintPending = true;
    fSurface->Invalidate();
}

void TOrnView::SubChange(TObject*) {
    InvalidateGL();
}

// --- Input

void TOrnView::KeyDown(std::uint16_t& key, TShiftState shift) {
    if (OnKeyDown) OnKeyDown(this, key, shift);
    if (fController && fController->HandleKey(key, shift)) InvalidateGL();
}

void TOrnView::MouseDown(TMouseButton button, TShiftState shift, int x, int y) {
    if (OnMouseDown) OnMouseDown(this, button, shift, x, y);
    if (fController && fController->HandleMouseDown(button, shift, x, y)) InvalidateGL();
}

void TOrnView::MouseMove(TShiftState shift, int x, int y) {
    if (OnMouseMove) OnMouseMove(this, shift, x, y);
    if (fController && fController->HandleMouseMove(shift, x, y)) InvalidateGL();
}

void TOrnView::MouseUp(TMouseButton button, TShiftState shift, int x, int y) {
    if (OnMouseUp) OnMouseUp(this, button, shift, x, y);
    if (fController && fController->HandleMouseUp(button, shift, x, y)) InvalidateGL();
}

void TOrnView::MouseWheel(TShiftState shift, int wheelDelta, int x, int y) {
    if (OnMouseWheel) OnMouseWheel(this, shift, wheelDelta, x, y);
}

// --- Components

void TOrnView::Notification(TComponent* component, TOperation operation) {
    TOrnCustomView::Notification(component, operation);
    if (operation != opRemove || !component) return;
    if (component == fCamera) fCamera = nullptr;
    if (component == fController) fController = nullptr;
}

} // namespace orn
