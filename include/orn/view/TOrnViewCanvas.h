#pragma once

#include <orn/host/TColor.h>
#include <orn/host/TFont.h>
#include <orn/host/TRect.h>
#include <orn/math/TOrnTransformation.h>

#include <GL/gl.h>

#include <memory>

namespace orn {

class TBitmap;
class TOrnView;

/// Blending of canvas drawing; the ordinals are those of the attributes' transparency modes.
enum TOrnCanvasTransparency { ctNone, ctAlpha, ctAddAlpha, ctAddColor, ctSubColor };

/// What the canvas needs of a texture: to bind it, and the size of its image.
class TOrnCanvasTexture {
public:
    virtual ~TOrnCanvasTexture() = default;
    /// Binds the texture object to GL_TEXTURE_2D in the current context; false when there is none.
    virtual bool BindForCanvas() = 0;
    /// The size in pixels of the image the texture holds (its power-of-two bitmap).
    virtual int CanvasTextureWidth() const = 0;
    virtual int CanvasTextureHeight() const = 0;
};

/// A texture object known only by its GL name and its image size.
class TOrnGLTextureName : public TOrnCanvasTexture {
public:
    TOrnGLTextureName(GLuint name, int width, int height) : fName(name), fWidth(width), fHeight(height) {}
    bool BindForCanvas() override;
    int CanvasTextureWidth() const override { return fWidth; }
    int CanvasTextureHeight() const override { return fHeight; }

private:
    GLuint fName;
    int fWidth;
    int fHeight;
};

/// Two-dimensional drawing over a view's scene in window pixels (x to the right, y downwards, as
/// the host's canvas): lines, rectangles and textures. It draws at once, so it is used while the
/// view renders (in OnRender, in an object's render, in a canvas view's OnDrawCanvas); at any other
/// time its operations do nothing. Depth, lighting and the GL state are left as they were; in the
/// pick modes drawing is narrowed to the pick region, so canvas drawing can be picked.
class TOrnViewCanvas {
public:
    explicit TOrnViewCanvas(TOrnView& view);
    TOrnViewCanvas(const TOrnViewCanvas&) = delete;
    TOrnViewCanvas& operator=(const TOrnViewCanvas&) = delete;

    TColor PenColor() const { return fPenColor; }
    void SetPenColor(TColor value) { fPenColor = value; }
    /// Line width in pixels; values below 1 count as 1.
    float PenWidth() const { return fPenWidth; }
    void SetPenWidth(float value) { fPenWidth = value < 1.0f ? 1.0f : value; }
    TColor BrushColor() const { return fBrushColor; }
    void SetBrushColor(TColor value) { fBrushColor = value; }
    /// Opacity of pen and brush in 0 … 1 (clamped); it counts when Transparency blends.
    float Alpha() const { return fAlpha; }
    void SetAlpha(float value);
    TOrnCanvasTransparency Transparency() const { return fTransparency; }
    void SetTransparency(TOrnCanvasTransparency value) { fTransparency = value; }
    /// Rotation (degrees, about z) and scale applied to what is drawn, about the first point of each
    /// operation (a line's start, a rectangle's top-left corner); its translation is added in pixels.
    TOrnTransformation* Transformation() const { return fTransformation.get(); }
    void SetTransformation(const TOrnTransformation* value);

    /// The font of TextOut, with its colour.
    TFont& Font() { return fFont; }

    /// Whether drawing now reaches the view (it is rendering).
    bool CanDraw() const;

    void MoveTo(int x, int y);
    /// A line from the pen position to (x, y) in the pen colour; the pen moves there.
    void LineTo(int x, int y);
    void Line(int x1, int y1, int x2, int y2);
    /// The outline of rect in the pen colour, its inside filled with the brush colour.
    void Rectangle(const TRect& rect);
    /// rect filled with the brush colour: Right and Bottom are just outside, as the host's.
    void FillRect(const TRect& rect);
    /// The source rectangle of the texture's image (pixels, rows top-down as in its bitmap) drawn
    /// into the destination rectangle of the window, blended by Transparency.
    void DrawTexture(TOrnCanvasTexture& texture, const TRect& dest, const TRect& source);
    /// UTF-8 text with its cell's top-left corner at (x, y), anti-aliased in the font colour and
    /// blended over the scene whatever Transparency says (Alpha scales its opacity).
    void TextOut(int x, int y, const std::string& text);
    /// The bitmap's pixels one to one with its top-left corner at (x, y), blended by Transparency
    /// (a pf32bit bitmap's alpha counts there); the transformation does not apply.
    void Draw(int x, int y, const TBitmap& bitmap);

private:
    /// Sets up window-pixel drawing around (x, y); false (and nothing set up) when not rendering.
    bool Begin(float x, float y);
    void End();
    void SetColor(TColor color);

    TOrnView& fView;
    TColor fPenColor = clBlack;
    float fPenWidth = 1.0f;
    TColor fBrushColor = clWhite;
    float fAlpha = 1.0f;
    TOrnCanvasTransparency fTransparency = ctNone;
    std::unique_ptr<TOrnTransformation> fTransformation;
    TPoint fPenPos;
    TFont fFont;
};

} // namespace orn
