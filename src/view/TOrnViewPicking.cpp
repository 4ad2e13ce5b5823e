// Picking and the projection between scene and window of TOrnView.
#include <orn/host/EOrnError.h>
#include <orn/view/TOrnView.h>

#include <GL/gl.h>
#include <GL/glu.h>

#include <algorithm>
#include <limits>

namespace orn {

namespace {

constexpr std::size_t kFirstSelectBuffer = 4096;
// A scene whose hits need more than this is answered with the hits that fit.
constexpr std::size_t kMaxSelectBuffer = std::size_t{1} << 24;

// Restores what a pick changes on the view, also when OnRender throws.
struct PickScope {
    TOrnDrawMode& mode;
    TOrnDrawMode saved;
    bool& recording;
    PickScope(TOrnDrawMode& m, bool& r) : mode(m), saved(m), recording(r) {}
    ~PickScope() {
        mode = saved;
        recording = false;
    }
};

} // namespace

TOrnSelectionHit TOrnView::GetObj(int x, int y) {
    fSelection.clear();
    if (!Active()) return {};
    SetCurrent(true);
    if (!GetCurrent()) return {};
    std::vector<GLuint> buffer(kFirstSelectBuffer);
    GLint hits = 0;
    try {
        PickScope scope(fDrawMode, fRecordNames);
        SetPickPoint(x, y);
        for (;;) {
            fDrawMode = dmSelection;
            glSelectBuffer(static_cast<GLsizei>(buffer.size()), buffer.data());
            glRenderMode(GL_SELECT);
            glInitNames();
            fNames.clear();
            fRecordNames = true;
            if (fCamera) {
                InitCamera(ClientWidth(), ClientHeight());
            } else {
                // Without a camera the scene is drawn unprojected, but still only around the point.
                glViewport(0, 0, ClientWidth(), ClientHeight());
                glMatrixMode(GL_PROJECTION);
                glLoadIdentity();
                GLint viewport[4];
                glGetIntegerv(GL_VIEWPORT, viewport);
                gluPickMatrix(x, viewport[3] - y, fSelectWidth, fSelectHeight, viewport);
                glMatrixMode(GL_MODELVIEW);
                glLoadIdentity();
            }
            fNextID = 0;
            RenderState()->BeginFrame();
            RenderSceneGL();
            hits = glRenderMode(GL_RENDER);
            if (hits >= 0 || buffer.size() >= kMaxSelectBuffer) break;
            buffer.resize(buffer.size() * 4);
        }
    } catch (...) {
        glRenderMode(GL_RENDER);
        SetCurrent(false);
        throw;
    }
    SetCurrent(false);

    // A record: name count, depth range, names; the innermost name says what was hit.
    constexpr double kDepthScale = static_cast<double>(std::numeric_limits<GLuint>::max());
    std::size_t pos = 0;
    for (GLint h = 0; h < hits || (hits < 0 && pos + 3 <= buffer.size()); ++h) {
        if (pos + 3 > buffer.size()) break;
        const GLuint count = buffer[pos];
        if (count == 0 || pos + 3 + count > buffer.size()) {
            pos += 3 + count;
            continue;
        }
        const GLuint name = buffer[pos + 2 + count];
        if (name >= 1 && name <= fNames.size()) {
            const auto& [object, index] = fNames[name - 1];
            fSelection.push_back(
                {object, index, buffer[pos + 1] / kDepthScale, buffer[pos + 2] / kDepthScale});
        }
        pos += 3 + count;
    }
    std::stable_sort(fSelection.begin(), fSelection.end(),
                     [](const TOrnSelectionHit& a, const TOrnSelectionHit& b) { return a.ZMin < b.ZMin; });
    return fSelection.empty() ? TOrnSelectionHit{} : fSelection.front();
}

bool TOrnView::EnsureMatrices() {
    if (fHaveMatrices) return true;
    if (fCamera && Active()) {
        const bool wasCurrent = GetCurrent();
        if (!wasCurrent) SetCurrent(true);
        if (GetCurrent()) {
            const TOrnDrawMode mode = fDrawMode;
            if (mode == dmSelection || mode == dmPick) fDrawMode = dmWindow;
            InitCamera(ClientWidth(), ClientHeight());
            fDrawMode = mode;
        }
        if (!wasCurrent) SetCurrent(false);
        if (fHaveMatrices) return true;
    } else if (fCamera) {
        // Not connected: the camera's matrices are worked out in a context of our own.
        try {
            std::unique_ptr<TOrnSurface> scratch = CreateHeadlessSurface();
            scratch->Create(ChoosePixelFormat(dmWindow, false, TOrnPixelFormat{}), 1, 1, nullptr);
            if (scratch->MakeCurrent()) {
                const TOrnDrawMode mode = fDrawMode;
                fDrawMode = dmWindow;
                InitCamera(ClientWidth(), ClientHeight());
                fDrawMode = mode;
                scratch->DoneCurrent();
            }
        } catch (const EOrnError&) {
            // No context at all: fall back to the unprojected view below.
        }
        if (fHaveMatrices) return true;
    }
    // No camera: the scene is drawn unprojected over the whole view.
    fProjection = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    fModelview = fProjection;
    fViewport = {0, 0, ClientWidth(), ClientHeight()};
    return true;
}

bool TOrnView::GetPoint(int x, int y, TOrnMathVector& point) {
    if (!Active() || x < 0 || y < 0 || x >= ClientWidth() || y >= ClientHeight()) return false;
    SetCurrent(true);
    if (!GetCurrent()) return false;
    GLfloat depth = 1.0f;
    try {
        // A fresh render: after a swap the back buffer's depth is undefined.
        if (fCamera) InitCamera(ClientWidth(), ClientHeight());
        fNextID = 0;
        RenderState()->BeginFrame();
        RenderSceneGL();
        if (TOrnSurface* surface = DrawingSurface()) surface->Resolve();
        glReadPixels(x, ClientHeight() - 1 - y, 1, 1, GL_DEPTH_COMPONENT, GL_FLOAT, &depth);
    } catch (...) {
        SetCurrent(false);
        throw;
    }
    SetCurrent(false);
    if (depth >= 1.0f) return false;
    point = WinTo3D(x + 0.5, y + 0.5, depth);
    return true;
}

TOrnMathVector TOrnView::WinTo3D(double x, double y, double z) {
    EnsureMatrices();
    const double glY = fViewport[1] + fViewport[3] - y;
    GLdouble ox = 0, oy = 0, oz = 0;
    if (!gluUnProject(x, glY, z, fModelview.data(), fProjection.data(), fViewport.data(), &ox, &oy, &oz))
        return {};
    return {ox, oy, oz};
}

TOrnMathVector TOrnView::WinFrom3D(const TOrnMathVector& point) {
    EnsureMatrices();
    std::array<double, 16> modelview = fModelview;
    // During a render an object asks about its own coordinates.
    if (fRendering && GetCurrent()) glGetDoublev(GL_MODELVIEW_MATRIX, modelview.data());
    GLdouble wx = 0, wy = 0, wz = 0;
    if (!gluProject(point.x, point.y, point.z, modelview.data(), fProjection.data(), fViewport.data(), &wx,
                    &wy, &wz))
        return {};
    return {wx, fViewport[1] + fViewport[3] - wy, wz};
}

} // namespace orn
