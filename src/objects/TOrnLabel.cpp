#include <orn/objects/TOrnLabel.h>
#include <orn/scene/TOrnRegistry.h>
#include <orn/state/TOrnTexture.h>
#include <orn/view/TOrnView.h>
#include <orn/view/TOrnViewCanvas.h>

#include <GL/gl.h>

#include <algorithm>
#include <cmath>
#include <strings.h>

namespace orn {

ORN_REGISTER_RENDER_CLASS(TOrnLabel, "Orn Obj")

namespace {

// Beyond this a caption is cut: a texture wider than GL implementations reliably take is no label.
constexpr int kMaxBitmapSide = 4096;

// The power of two strictly above n (64 → 128, 100 → 128); 2 for anything below 1.
int PowerOfTwoAbove(int n) {
    int p = 2;
    while (p <= n && p < kMaxBitmapSide)
        p <<= 1;
    return p;
}

} // namespace

TOrnLabel::TOrnLabel(TComponent* owner) : TOrnObject(owner), fFont(std::make_unique<TOrnFont>()) {
    fFont->OnChange = [this](TObject* sender) { DoOnChange(sender); };
    Color()->OnChange = [this, object = Color()->OnChange](TObject* sender) {
        DoOnChange(sender);
        if (object) object(sender);
    };
    fTexture = new TOrnTexture(this);
    SetSize(0, 64);
    SetSize(1, 16);
    if (!Designing()) fTexture->Bitmap()->SetSize(fWidth, fHeight);
    Color()->SetAlpha(0);
    fTransparency = tmAlpha;
    SetCaption(StaticClassName());
}

// The texture goes with the label's other components, after the label's own parts; the colour
// outlives them too, so it must not call back into the label.
TOrnLabel::~TOrnLabel() {
    Color()->OnChange = nullptr;
}

void TOrnLabel::SetCaption(const std::string& value) {
    if (assignIfChanged(fCaption, value)) DoOnChange(this);
}

void TOrnLabel::SetFont(const TFont* value) {
    if (value) fFont->Assign(value);
}

void TOrnLabel::SetSize(int index, int value) {
    if (index != 0 && index != 1) return;
    value = std::max(value, 0);
    int& field = index == 0 ? fWidth : fHeight;
    if (field != value) {
        if (!Designing() && fTexture) {
            TBitmap& bitmap = *fTexture->Bitmap();
            if (index == 0)
                bitmap.SetWidth(value);
            else
                bitmap.SetHeight(value);
        }
        field = value;
    }
    fInitialized = false;
}

void TOrnLabel::DoOnChange(TObject*) {
    // While loading, the size is the one saved: the colour and font read after it must not re-measure.
    if (fTexture && !ComponentState().Contains(csLoading)) {
        TCanvas& canvas = fTexture->Bitmap()->Canvas();
        canvas.Font().Assign(fFont.get());
        // Straight into the fields: the bitmap is sized by Init.
        const TSize extent = canvas.TextExtent(fCaption);
        fWidth = extent.cx;
        fHeight = extent.cy;
    }
    fInitialized = false;
}

void TOrnLabel::Init() {
    if (!fTexture || Designing()) return;
    TBitmap& bitmap = *fTexture->Bitmap();
    TCanvas& canvas = bitmap.Canvas();
    canvas.Font().Assign(fFont.get());
    // One step off the label colour, so that a background of the font's colour is no text.
    const TColor color = Color()->Color();
    canvas.Brush().SetStyle(bsSolid);
    canvas.Brush().SetColor(color != 0 ? color - 1 : 1);
    const TSize extent = canvas.TextExtent(fCaption);
    bitmap.SetSize(PowerOfTwoAbove(extent.cx), PowerOfTwoAbove(extent.cy));
    canvas.Rectangle(-1, -1, bitmap.Width() + 1, bitmap.Height() + 1);
    canvas.TextOut(0, 0, fCaption);
    if (fTexture->SetMaskAlpha(Color()->Alpha(), fFont->Color(), fFont->Alpha())) fInitialized = true;
}

void TOrnLabel::DoRender(TOrnCustomView* view) {
    TOrnObject::DoRender(view);
    if (Designing() || !fTexture) return;
    auto* ornView = dynamic_cast<TOrnView*>(view);
    // ReInit is 1 while the view renders into a bitmap, a context of its own: draw the caption anew.
    if (!fInitialized || !ornView || ornView->ReInit() == 1) Init();
    if (!ornView) return; // no canvas to draw on
    // In window pixels, not under the label's own transformation.
    glPopMatrix();
    const TOrnMathVector p = ornView->WinFrom3D(Transformation()->Translation()->AsMathVector());
    const int x = static_cast<int>(std::nearbyint(p.x)) + fShiftX;
    const int y = static_cast<int>(std::nearbyint(p.y)) + fShiftY;
    glPushMatrix();
    fTexture->Render(view);

    TOrnViewCanvas& canvas = ornView->Canvas();
    const TOrnCanvasTransparency savedTransparency = canvas.Transparency();
    canvas.SetTransparency(static_cast<TOrnCanvasTransparency>(fTransparency));
    TOrnTransformation saved, turn;
    saved.Assign(canvas.Transformation());
    turn.Assign(Transformation());
    turn.Translation()->SetAsMathVector({0, 0, 0}); // the position is (x, y) already
    canvas.SetTransformation(&turn);
    TOrnGLTextureName image(fTexture->TextureName(), fTexture->Bitmap()->Width(),
                            fTexture->Bitmap()->Height());
    // DrawTexture maps the source rectangle in bitmap pixels (top row first) onto the window
    // rectangle, blended by the canvas's transparency.
    canvas.DrawTexture(image, Rect(x, y, x + fWidth, y + fHeight), Rect(0, 0, fWidth, fHeight));
    canvas.SetTransformation(&saved);
    canvas.SetTransparency(savedTransparency);
}

// A change of the colour or the font copied measures the caption anew: the size copied is final.
void TOrnLabel::Assign(const TPersistent* source) {
    TOrnObject::Assign(source);
    auto* label = dynamic_cast<const TOrnLabel*>(source);
    if (!label) return;
    SetSize(0, label->fWidth);
    SetSize(1, label->fHeight);
}

void TOrnLabel::Notification(TComponent* component, TOperation operation) {
    TOrnObject::Notification(component, operation);
    if (operation == opRemove && component == fTexture) fTexture = nullptr;
}

TOrnExchangeItem* TOrnLabel::ReadComp(TOrnCustomExchange& exchange, const std::string& tagName) {
    if (strcasecmp(tagName.c_str(), "Font") != 0) return TOrnObject::ReadComp(exchange, tagName);
    // The font comes after the keys and its change measures the caption anew: the size read with
    // the keys is the one saved.
    const int width = fWidth, height = fHeight;
    fFont->ReadValues(exchange);
    SetSize(0, width);
    SetSize(1, height);
    return fFont.get();
}

ORN_DESCRIBE_PROPERTIES(TOrnLabel, &TOrnObject::ClassProperties()) {
    ORN_PROP(b, TOrnLabel, Caption, StaticClassName());
    ORN_PROP(b, TOrnLabel, Width, 64);
    ORN_PROP(b, TOrnLabel, Height, 16);
    b.Enum("Transparency", &TOrnLabel::fTransparency, &TOrnLabel::SetTransparency, tmAlpha,
           kTransparencyModeNames);
    ORN_PROP(b, TOrnLabel, ShiftX, 0);
    ORN_PROP(b, TOrnLabel, ShiftY, 0);
    b.Object("Font", &TOrnLabel::fFont);
}

} // namespace orn
