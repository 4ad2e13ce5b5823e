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
/// render. A texture holds a GL name in each share group it was rendered in; only a few textures
/// hold one per group at a time (TOrnShareGroup::SetMaxTexture), the least recently rendered
/// giving theirs up first.
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

    /// The GL texture name in the share group of the last render, 0 while it holds none there.
    GLuint TextureName() const;
    /// The RGBA pixels, rows bottom-up; empty while there are none (invalid bitmap, design state).
    std::span<const std::uint8_t> Pixels() const { return fPixels; }

    /// Makes the next render upload the pixels and issue all its commands.
    void Invalidate();
    /// Only invalidates: a texture's change is not passed on to its owner.
    void Changed() override;
    std::uint64_t Stamp() const override { return fStamp; }
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
    void Notification(TComponent* component, TOperation operation) override;
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
    /// Marks the commands changed (fStamp) and, with pixels, the image too (fPixelStamp).
    void Touch(bool pixels);
    /// Gives up the names held in every share group (deleted now through the view of the last
    /// render where its context can be had, else at the group's next frame).
    void ReleaseNames();
    bool fScaling = false;
    std::uint64_t fStamp;
    std::uint64_t fPixelStamp;
    std::vector<std::weak_ptr<TOrnShareGroup>> fGroups;
    std::weak_ptr<TOrnShareGroup> fLastGroup;
    TOrnCustomView* fLastView = nullptr;
};

} // namespace orn
