#include <orn/host/TBitmap.h>
#include <orn/view/TOrnView.h>
#include <orn/view/TOrnViewCanvas.h>

#include <GL/glu.h>

#include <algorithm>

namespace orn {

bool TOrnGLTextureName::BindForCanvas() {
    if (fName == 0 || !glIsTexture(fName)) return false;
    glBindTexture(GL_TEXTURE_2D, fName);
    return true;
}

TOrnViewCanvas::TOrnViewCanvas(TOrnView& view)
    : fView(view), fTransformation(std::make_unique<TOrnTransformation>()) {}

void TOrnViewCanvas::SetAlpha(float value) {
    fAlpha = std::clamp(value, 0.0f, 1.0f);
}

void TOrnViewCanvas::SetTransformation(const TOrnTransformation* value) {
    if (value) fTransformation->Assign(value);
}

bool TOrnViewCanvas::CanDraw() const {
    return fView.IsRendering() && fView.GetCurrent();
}

bool TOrnViewCanvas::Begin(float x, float y) {
    if (!CanDraw()) return false;
    glPushAttrib(GL_ENABLE_BIT | GL_CURRENT_BIT | GL_COLOR_BUFFER_BIT | GL_LINE_BIT | GL_TEXTURE_BIT |
                 GL_DEPTH_BUFFER_BIT | GL_TRANSFORM_BIT | GL_POLYGON_BIT);
    GLint viewport[4];
    glGetIntegerv(GL_VIEWPORT, viewport);
    glMatrixMode(GL_PROJECTION);
    glPushMatrix();
    glLoadIdentity();
    const TOrnDrawMode mode = fView.DrawMode();
    if (mode == dmSelection || mode == dmPick)
        gluPickMatrix(fView.PickX(), viewport[3] - fView.PickY(), fView.SelectWidth(), fView.SelectHeight(),
                      viewport);
    // Window pixels with y downwards over the whole viewport.
    glOrtho(0, viewport[2], viewport[3], 0, -1, 1);
    glMatrixMode(GL_MODELVIEW);
    glPushMatrix();
    glLoadIdentity();
    glTranslatef(x, y, 0);
    fTransformation->Execute();
    glTranslatef(-x, -y, 0);
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_LIGHTING);
    glDisable(GL_CULL_FACE);
    glDisable(GL_FOG);
    glDisable(GL_TEXTURE_2D);
    glDisable(GL_COLOR_MATERIAL);
    for (GLenum plane = GL_CLIP_PLANE0; plane <= GL_CLIP_PLANE5; ++plane)
        glDisable(plane);
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    static constexpr GLenum kBlend[5][2] = {{GL_ONE, GL_ZERO},
                                            {GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA},
                                            {GL_SRC_ALPHA, GL_ONE},
                                            {GL_DST_COLOR, GL_SRC_COLOR},
                                            {GL_ONE_MINUS_DST_COLOR, GL_ONE_MINUS_SRC_COLOR}};
    if (fTransparency == ctNone || fTransparency > ctSubColor) {
        glDisable(GL_BLEND);
    } else {
        glEnable(GL_BLEND);
        glBlendFunc(kBlend[fTransparency][0], kBlend[fTransparency][1]);
    }
    return true;
}

void TOrnViewCanvas::End() {
    glMatrixMode(GL_PROJECTION);
    glPopMatrix();
    glMatrixMode(GL_MODELVIEW);
    glPopMatrix();
    glPopAttrib();
}

void TOrnViewCanvas::SetColor(TColor color) {
    glColor4f(GetRValue(color) / 255.0f, GetGValue(color) / 255.0f, GetBValue(color) / 255.0f, fAlpha);
}

void TOrnViewCanvas::MoveTo(int x, int y) {
    fPenPos = Point(x, y);
}

void TOrnViewCanvas::LineTo(int x, int y) {
    Line(fPenPos.X, fPenPos.Y, x, y);
    fPenPos = Point(x, y);
}

void TOrnViewCanvas::Line(int x1, int y1, int x2, int y2) {
    if (!Begin(float(x1), float(y1))) return;
    SetColor(fPenColor);
    glLineWidth(fPenWidth);
    // Through pixel centres, so that a line covers the pixels its end points name.
    glBegin(GL_LINES);
    glVertex2f(x1 + 0.5f, y1 + 0.5f);
    glVertex2f(x2 + 0.5f, y2 + 0.5f);
    glEnd();
    End();
}

void TOrnViewCanvas::Rectangle(const TRect& rect) {
    if (rect.Width() <= 0 || rect.Height() <= 0 || !Begin(float(rect.Left), float(rect.Top))) return;
    SetColor(fBrushColor);
    glRecti(rect.Left, rect.Top, rect.Right, rect.Bottom);
    SetColor(fPenColor);
    glLineWidth(fPenWidth);
    glBegin(GL_LINE_LOOP);
    glVertex2f(rect.Left + 0.5f, rect.Top + 0.5f);
    glVertex2f(rect.Right - 0.5f, rect.Top + 0.5f);
    glVertex2f(rect.Right - 0.5f, rect.Bottom - 0.5f);
    glVertex2f(rect.Left + 0.5f, rect.Bottom - 0.5f);
    glEnd();
    End();
}

void TOrnViewCanvas::FillRect(const TRect& rect) {
    if (rect.Width() <= 0 || rect.Height() <= 0 || !Begin(float(rect.Left), float(rect.Top))) return;
    SetColor(fBrushColor);
    glRecti(rect.Left, rect.Top, rect.Right, rect.Bottom);
    End();
}

void TOrnViewCanvas::DrawTexture(TOrnCanvasTexture& texture, const TRect& dest, const TRect& source) {
    const int tw = texture.CanvasTextureWidth();
    const int th = texture.CanvasTextureHeight();
    if (tw <= 0 || th <= 0 || dest.Width() == 0 || dest.Height() == 0) return;
    if (!Begin(float(dest.Left), float(dest.Top))) return;
    if (texture.BindForCanvas()) {
        glEnable(GL_TEXTURE_2D);
        glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE);
        // The texture holds its bitmap bottom-up: the bitmap's top row is t = 1.
        const float s0 = float(source.Left) / tw, s1 = float(source.Right) / tw;
        const float t0 = 1.0f - float(source.Top) / th, t1 = 1.0f - float(source.Bottom) / th;
        glColor4f(1, 1, 1, 1);
        glBegin(GL_QUADS);
        glTexCoord2f(s0, t0);
        glVertex2i(dest.Left, dest.Top);
        glTexCoord2f(s1, t0);
        glVertex2i(dest.Right, dest.Top);
        glTexCoord2f(s1, t1);
        glVertex2i(dest.Right, dest.Bottom);
        glTexCoord2f(s0, t1);
        glVertex2i(dest.Left, dest.Bottom);
        glEnd();
    }
    End();
}

void TOrnViewCanvas::TextOut(int x, int y, const std::string& text) {
    if (text.empty() || !CanDraw()) return;
    // The text is set white on black by the host canvas; its brightness becomes the coverage.
    TBitmap cell(1, 1);
    TCanvas& canvas = cell.Canvas();
    canvas.Font().Assign(&fFont);
    canvas.Font().SetColor(clWhite);
    const TSize extent = canvas.TextExtent(text);
    if (extent.cx <= 0 || extent.cy <= 0) return;
    int width = 1, height = 1;
    while (width < extent.cx)
        width *= 2;
    while (height < extent.cy)
        height *= 2;
    cell.SetSize(width, height);
    canvas.Brush().SetColor(clBlack);
    canvas.Brush().SetStyle(bsSolid);
    canvas.FillRect(Rect(0, 0, width, height));
    canvas.TextOut(0, 0, text);
    std::vector<std::uint8_t> rgba = cell.ToRGBA(true);
    const TColor color = fFont.Color();
    for (std::size_t i = 0; i < rgba.size(); i += 4) {
        rgba[i + 3] = static_cast<std::uint8_t>(rgba[i] * fAlpha + 0.5f);
        rgba[i] = GetRValue(color);
        rgba[i + 1] = GetGValue(color);
        rgba[i + 2] = GetBValue(color);
    }

    if (!Begin(float(x), float(y))) return;
    GLuint name = 0;
    glGenTextures(1, &name);
    glBindTexture(GL_TEXTURE_2D, name);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, width, height, 0, GL_RGBA, GL_UNSIGNED_BYTE, rgba.data());
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE);
    glEnable(GL_TEXTURE_2D);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glBegin(GL_QUADS);
    glTexCoord2f(0, 1);
    glVertex2i(x, y);
    glTexCoord2f(1, 1);
    glVertex2i(x + width, y);
    glTexCoord2f(1, 0);
    glVertex2i(x + width, y + height);
    glTexCoord2f(0, 0);
    glVertex2i(x, y + height);
    glEnd();
    End();
    glDeleteTextures(1, &name);
}

void TOrnViewCanvas::Draw(int x, int y, const TBitmap& bitmap) {
    if (bitmap.Empty() || !Begin(0, 0)) return;
    if (fView.DrawMode() == dmSelection || fView.DrawMode() == dmPick) { // pixels carry no names
        End();
        return;
    }
    const std::vector<std::uint8_t> rgba = bitmap.ToRGBA(false);
    glLoadIdentity();
    // A raster position outside the window would drop the whole image, so it starts at the
    // window's corner and moves to (x, y) by a bitmap of no pixels.
    glRasterPos2i(0, 0);
    glBitmap(0, 0, 0, 0, static_cast<GLfloat>(x), static_cast<GLfloat>(-y), nullptr);
    glPixelZoom(1.0f, -1.0f);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
    glDrawPixels(bitmap.Width(), bitmap.Height(), GL_RGBA, GL_UNSIGNED_BYTE, rgba.data());
    glPixelZoom(1.0f, 1.0f);
    End();
}

} // namespace orn
