#pragma once

#include <orn/host/TBitmap.h>
#include <orn/math/TOrnColor.h>
#include <orn/math/TOrnPropList.h>
#include <orn/scene/TOrnRender.h>

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace orn {

enum TOrnTexMode : std::uint8_t { tmModulate, tmDecal, tmBlend, tmReplace };

inline constexpr std::array<const char*, 4> kTexModeNames{"tmModulate", "tmDecal", "tmBlend", "tmReplace"};

/// A 2D texture made from a bitmap, bound while the objects that refer to it are drawn; its
/// transformation acts on the texture coordinates.
///
/// The bitmap is kept beside the GL texture as RGBA pixels, rows bottom-up, with the alpha of
/// Alpha (or of SetAlphaBitmap / SetMaskAlpha), so an evicted texture or a new context needs no
/// new conversion. Sides that are not powers of two are scaled (in the bitmap itself) at the first
/// render. Only a few textures hold a GL texture name at a time: see AddTexture and SetMaxTexture.
/// In the design state no pixels are built, so nothing is uploaded.
class TOrnTexture : public TOrnRender {
    ORN_CLASS(TOrnTexture)
public:
    explicit TOrnTexture(TComponent* owner);
    ~TOrnTexture() override;

    TBitmap* Bitmap() const { return fBitmap.get(); }
    /// Copies value into the owned bitmap; nullptr copies nothing. Either way the texture uploads
    /// again at its next render.
    void SetBitmap(const TBitmap* value);
    /// The alpha of every pixel, 0 … 1; other values are ignored.
    float Alpha() const { return fAlpha; }
    void SetAlpha(float value);
    TOrnTexMode Mode() const { return fMode; }
    void SetMode(TOrnTexMode value);
    /// The texture environment colour (used by tmBlend).
    TOrnColor* BlendColor() const { return fBlendColor.get(); }
    /// Copies value (nullptr: nothing copied) and makes the next render issue its commands.
    void SetBlendColor(const TOrnColor* value);

    /// The GL texture name, 0 while the texture holds none.
    GLuint TextureName() const { return fName; }
    /// The RGBA pixels, rows bottom-up; empty while there are none (invalid bitmap, design state).
    std::span<const std::uint8_t> Pixels() const { return fPixels; }

    /// Makes the next render upload the pixels and issue all its commands.
    void Invalidate();
    /// Only invalidates: a texture's change is not passed on to its owner.
    void Changed() override;
    /// Whether the bitmap is non-empty and both its sides are powers of two.
    bool Valid() const { return GetValid(); }
    bool GetValid() const;
    /// Whether n is 2^k for k in 0 … 31.
    static bool IsValidSize(int n);
    /// Sets each pixel's alpha to the grey level of mask (any size; its pixels are stretched over
    /// the texture, top row to top row). Invalidates.
    void SetAlphaBitmap(const TBitmap* mask);
    /// Pixels of exactly maskColor get maskAlpha, all others otherAlpha (alphas 0 … 1). Invalidates.
    /// False when there are no pixels to change.
    bool SetMaskAlpha(double otherAlpha, TColor maskColor, double maskAlpha);

    /// From a texture: its bitmap; then the render values.
    void Assign(const TPersistent* source) override;

    void WriteValues(TOrnCustomExchange& exchange) override;
    void ReadValues(TOrnCustomExchange& exchange) override;
    ORN_DECLARE_PROPERTIES(TOrnTexture)

protected:
    /// Binds the texture (uploading it when needed) and sets its environment, filters, wrap and
    /// texture matrix; nothing when it is still bound from the previous object in this frame.
    void DoRender(TOrnCustomView* view) override;
    void DoDisable(TOrnCustomView* view) override;
    /// Resizes the bitmap to the nearest powers of two (the exponent rounded: 181 → 128,
    /// 182 → 256) at 24 bits per pixel. Needs a current GL context.
    void ScaleBitmap(TOrnCustomView* view);

private:
    void BitmapChanged();
    void WriteAlpha(std::uint8_t alpha);
    bool Designing() const { return ComponentState().Contains(csDesigning); }

    std::unique_ptr<TBitmap> fBitmap;
    std::vector<std::uint8_t> fPixels;
    float fAlpha = 1.0f;
    TOrnTexMode fMode = tmModulate;
    std::unique_ptr<TOrnColor> fBlendColor;
    GLuint fName = 0;
    bool fNeedsUpload = true;
    bool fChanged = true;
    bool fScaling = false;

    friend GLuint AddTexture(TOrnTexture* texture);
    friend void DeleteTexture(TOrnTexture* texture);
};

/// Gives texture a new GL name and puts it at the back of the texture list, first evicting the
/// least recently rendered texture when the list is full. 0 for nullptr.
GLuint AddTexture(TOrnTexture* texture);
/// Takes texture out of the list and deletes its GL name; it uploads again under a new one.
void DeleteTexture(TOrnTexture* texture);
/// Marks texture (when listed) as the most recently rendered.
void SetLastRenderedTex(TOrnTexture* texture);
/// Whether texture is still bound from the last texture render of this frame; from the second call
/// of a frame on, the answer can be true.
bool IsLastRenderedTex(const TOrnTexture* texture);
/// Starts a frame: the next texture render issues its commands. Views call it before each render.
void RedrawTextures();
/// Invalidates every listed texture, for a render into a context that holds none of them.
void InvalidateTextures();
/// Sets how many textures may hold a GL name (values below 1 are ignored), evicting the least
/// recently rendered ones beyond it. Returns the maximum in force (4 at start).
int SetMaxTexture(int count);
/// How many textures hold a GL name now.
int TextureListCount();

} // namespace orn
