// A view inside a Qt QOpenGLWidget: Qt owns the window, the context and the event loop; a small
// TOrnSurface hands the view the widget's context, and the widget forwards its input. Built only
// where Qt 6's OpenGL widgets are installed (the guide's "Embedding" section explains the recipe).
#include <orn/orn.h>

#include <QApplication>
#include <QMouseEvent>
#include <QOpenGLContext>
#include <QOpenGLWidget>

#include <memory>

namespace {

using namespace orn;

// The widget's context as a view's surface. Qt makes it current and swaps around paintGL, so
// while Qt paints, the view's own make-current, release and swap steps leave it alone.
class WidgetSurface final : public TOrnSurface {
public:
    explicit WidgetSurface(QOpenGLWidget& widget) : fWidget(widget) {}

    void Create(const TOrnPixelFormat& request, int, int, TOrnSurface*) override {
        const QSurfaceFormat f = fWidget.format();
        fObtained = request;
        fObtained.ColorBits = f.redBufferSize() + f.greenBufferSize() + f.blueBufferSize();
        fObtained.AlphaBits = f.alphaBufferSize();
        fObtained.DepthBits = f.depthBufferSize();
        fObtained.StencilBits = f.stencilBufferSize();
    }
    bool MakeCurrent() override {
        if (!IsCurrent()) fWidget.makeCurrent();
        return IsCurrent();
    }
    void DoneCurrent() override {
        if (!fPainting && IsCurrent()) fWidget.doneCurrent();
    }
    bool IsCurrent() const override {
        return fWidget.context() && QOpenGLContext::currentContext() == fWidget.context();
    }
    void Swap() override {}           // Qt composes the widget's framebuffer itself
    void Resize(int, int) override {} // the widget's size is the layout's
    void Invalidate() override { fWidget.update(); }
    TOrnPixelFormat Obtained() const override { return fObtained; }
    std::string Kind() const override { return "window"; }

    bool fPainting = false;

private:
    QOpenGLWidget& fWidget;
    TOrnPixelFormat fObtained;
};

class OrnWidget final : public QOpenGLWidget {
public:
    OrnWidget() {
        QSurfaceFormat format;
        format.setDepthBufferSize(24);
        setFormat(format);
        fCamera->Transformation()->Translation()->SetZ(-4);
        fController->SetControlled(fCamera);
        auto* light = new TOrnLight(&fForm);
        light->SetKind(lkDirection);
        fScene->Add(light);
        auto* lit = new TOrnAttributes(&fForm);
        lit->SetLighting(true);
        auto* ball = new TOrnSphere(&fForm);
        ball->SetAttributes(lit);
        fScene->Add(ball);
        fView->SetCamera(fCamera);
        fView->SetController(fController);
        fView->OnRender = [this](TOrnView* v) { fScene->Render(v); };
        fView->SetSurfaceFactory([this](TOrnView&) {
            auto surface = std::make_unique<WidgetSurface>(*this);
            fSurface = surface.get();
            return surface;
        });
    }
    ~OrnWidget() override {
        makeCurrent(); // the view frees its display lists in the widget's context
        fView->OpenGLDisconnect();
        doneCurrent();
    }

protected:
    void initializeGL() override { fView->OpenGLConnect(); }
    void resizeGL(int w, int h) override {
        const qreal ratio = devicePixelRatio();
        fView->SetBounds(static_cast<int>(w * ratio), static_cast<int>(h * ratio));
    }
    void paintGL() override {
        fSurface->fPainting = true;
        fView->Paint();
        fSurface->fPainting = false;
    }

    void mousePressEvent(QMouseEvent* e) override { fView->MouseDown(Button(e), Shift(e), X(e), Y(e)); }
    void mouseMoveEvent(QMouseEvent* e) override { fView->MouseMove(Shift(e), X(e), Y(e)); }
    void mouseReleaseEvent(QMouseEvent* e) override { fView->MouseUp(Button(e), Shift(e), X(e), Y(e)); }

private:
    static TMouseButton Button(QMouseEvent* e) {
        return e->button() == Qt::RightButton ? mbRight : e->button() == Qt::MiddleButton ? mbMiddle : mbLeft;
    }
    static TShiftState Shift(QMouseEvent* e) {
        TShiftState shift;
        if (e->modifiers() & Qt::ShiftModifier) shift.Include(ssShift);
        if (e->modifiers() & Qt::ControlModifier) shift.Include(ssCtrl);
        if (e->buttons() & Qt::LeftButton) shift.Include(ssLeft);
        if (e->buttons() & Qt::RightButton) shift.Include(ssRight);
        return shift;
    }
    int X(QMouseEvent* e) const { return static_cast<int>(e->position().x() * devicePixelRatio()); }
    int Y(QMouseEvent* e) const { return static_cast<int>(e->position().y() * devicePixelRatio()); }

    TComponent fForm{nullptr};
    TOrnPerspectiveCamera* fCamera = new TOrnPerspectiveCamera(&fForm);
    TOrnMouseController* fController = new TOrnMouseController(&fForm);
    TOrnNode* fScene = new TOrnNode(&fForm);
    TOrnView* fView = new TOrnView(&fForm);
    WidgetSurface* fSurface = nullptr;
};

} // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    OrnWidget widget;
    widget.resize(640, 480);
    widget.setWindowTitle("Orn in a QOpenGLWidget");
    widget.show();
    return app.exec();
}
