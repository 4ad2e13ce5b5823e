#pragma once

#include <orn/math/TOrnPropList.h>
#include <orn/objects/TOrnFont.h>
#include <orn/scene/TOrnObject.h>
#include <orn/state/TOrnAttributes.h>

#include <memory>
#include <string>

namespace orn {

class TOrnTexture;

/// A line of text at the window position of a point of the scene: the caption is drawn into the
/// bitmap of a texture of its own and put on the view's canvas at the projection of the label's
/// translation, shifted by ShiftX and ShiftY pixels, turned and scaled by the label's rotation and
/// scale. It keeps its pixel size whatever the camera. The object's colour is the background:
/// its alpha is 0 at first, so only the text shows. In the design state nothing is drawn.
class TOrnLabel : public TOrnObject {
    ORN_CLASS(TOrnLabel)
public:
    explicit TOrnLabel(TComponent* owner);
    ~TOrnLabel() override;

    /// UTF-8; the class name at first.
    const std::string& Caption() const { return fCaption; }
    void SetCaption(const std::string& value);
    /// The font, its colour and its alpha (the opacity of the text).
    TOrnFont* Font() const { return fFont.get(); }
    /// Copies value into the owned font; nullptr is ignored.
    void SetFont(const TFont* value);
    /// The rectangle drawn, in pixels: the caption's text extent after any change of caption, font
    /// or colour; set directly, the texture bitmap takes the size too (until the next Init).
    int Width() const { return fWidth; }
    int Height() const { return fHeight; }
    /// Index 0 sets Width, 1 Height (values below 0 count as 0); other indices are ignored.
    void SetSize(int index, int value);
    void SetWidth(int value) { SetSize(0, value); }
    void SetHeight(int value) { SetSize(1, value); }
    /// How the canvas blends the caption over the scene.
    TOrnTransparencyMode Transparency() const { return fTransparency; }
    void SetTransparency(TOrnTransparencyMode value) { fTransparency = value; }
    int ShiftX() const { return fShiftX; }
    void SetShiftX(int value) { fShiftX = value; }
    int ShiftY() const { return fShiftY; }
    void SetShiftY(int value) { fShiftY = value; }
    /// Whether the texture bitmap holds the current caption.
    bool Initialized() const { return fInitialized; }
    /// The texture the caption is drawn into (owned through the label's components), or nullptr.
    TOrnTexture* LabelTexture() const { return fTexture; }

    /// Draws the caption into the texture bitmap, a power of two above its extent in each side,
    /// on a background one colour step off the label colour, and sets the alphas: the font's on
    /// text pixels, the colour's on the rest. Nothing without a texture or in the design state.
    void Init();

    void Assign(const TPersistent* source) override;
    void Notification(TComponent* component, TOperation operation) override;
    ORN_DECLARE_PROPERTIES(TOrnLabel)
    TOrnExchangeItem* ReadComp(TOrnCustomExchange& exchange, const std::string& tagName) override;

protected:
    void DoRender(TOrnCustomView* view) override;
    /// A change of caption, font or colour: Width and Height become the caption's extent.
    void DoOnChange(TObject* sender);

private:
    bool Designing() const { return ComponentState().Contains(csDesigning); }

    std::string fCaption;
    std::unique_ptr<TOrnFont> fFont;
    TOrnTexture* fTexture = nullptr;
    int fHeight = 0;
    int fWidth = 0;
    bool fInitialized = false;
    TOrnTransparencyMode fTransparency = tmAlpha;
    int fShiftX = 0;
    int fShiftY = 0;
};

} // namespace orn
