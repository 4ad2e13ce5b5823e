#include <orn/state/TOrnTexture.h>

#include <orn/geometry/TOrnPrimitiveObj.h>
#include <orn/host/EOrnError.h>
#include <orn/scene/TOrnRegistry.h>

#include "state/detail/CopyColor.h"

#include <GL/glu.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <strings.h>

namespace orn {

namespace {

std::uint8_t alphaByte(double alpha) {
    // nearbyint rounds half to even under the default rounding mode.
    return static_cast<std::uint8_t>(std::clamp(std::nearbyint(255.0 * alpha), 0.0, 255.0));
}

// The nearest power of two, rounded on the exponent: 181 → 128, 182 → 256.
int powerOfTwoSide(int n) {
    return static_cast<int>(std::pow(2.0, std::nearbyint(std::log2(double(n)))));
}

} // namespace

TOrnTexture::TOrnTexture(TComponent* owner)
    : TOrnRender(owner), fBitmap(std::make_unique<TBitmap>()), fBlendColor(std::make_unique<TOrnColor>()),
      fStamp(TOrnRenderState::NewStamp()), fPixelStamp(fStamp) {
    fBitmap->OnChange = [this](TObject*) { BitmapChanged(); };
}

TOrnTexture::~TOrnTexture() {
    ReleaseNames();
    fBitmap->OnChange = nullptr;
}

void TOrnTexture::ReleaseNames() {
    const std::shared_ptr<TOrnShareGroup> viewGroup =
        fLastView ? fLastView->RenderState()->Group() : std::shared_ptr<TOrnShareGroup>();
    for (const auto& weak : fGroups) {
        const std::shared_ptr<TOrnShareGroup> group = weak.lock();
        if (!group || group->TextureName(this) == 0) continue;
        if (group != viewGroup) {
            group->RemoveTexture(this, false);
            continue;
        }
        const bool wasCurrent = fLastView->GetCurrent();
        if (!wasCurrent) fLastView->SetCurrent(true);
        const bool current = fLastView->GetCurrent();
        group->RemoveTexture(this, current);
        if (current && !wasCurrent) fLastView->SetCurrent(false);
    }
    fGroups.clear();
}

GLuint TOrnTexture::TextureName() const {
    const std::shared_ptr<TOrnShareGroup> group = fLastGroup.lock();
    return group ? group->TextureName(this) : 0;
}

void TOrnTexture::Touch(bool pixels) {
    fStamp = TOrnRenderState::NewStamp();
    if (pixels) fPixelStamp = fStamp;
}

void TOrnTexture::Notification(TComponent* component, TOperation operation) {
    TOrnRender::Notification(component, operation);
    if (operation == opRemove && component && component == fLastView) fLastView = nullptr;
}

void TOrnTexture::SetBitmap(const TBitmap* value) {
    if (value) fBitmap->Assign(value);
    Invalidate();
}

void TOrnTexture::SetAlpha(float value) {
    if (value == fAlpha || value < 0.0f || value > 1.0f) return;
    fAlpha = value;
    if (Valid() && !fPixels.empty() && !Designing()) WriteAlpha(alphaByte(fAlpha));
    Touch(false);
    Changed();
}

void TOrnTexture::SetMode(TOrnTexMode value) {
    if (!assignIfChanged(fMode, value)) return;
    Changed();
}

void TOrnTexture::SetBlendColor(const TOrnColor* value) {
    detail::CopyColor(*fBlendColor, value);
    Touch(false);
}

void TOrnTexture::Invalidate() {
    Touch(true);
}

void TOrnTexture::Changed() {
    Invalidate();
}

bool TOrnTexture::GetValid() const {
    return !fBitmap->Empty() && IsValidSize(fBitmap->Width()) && IsValidSize(fBitmap->Height());
}

bool TOrnTexture::IsValidSize(int n) {
    return n > 0 && (n & (n - 1)) == 0;
}

void TOrnTexture::WriteAlpha(std::uint8_t alpha) {
    for (std::size_t i = 3; i < fPixels.size(); i += 4)
        fPixels[i] = alpha;
}

void TOrnTexture::BitmapChanged() {
    if (fScaling || Designing()) return;
    fPixels.clear();
    fPixels.shrink_to_fit();
    if (Valid()) {
        fPixels = fBitmap->ToRGBA(true);
        WriteAlpha(alphaByte(fAlpha));
        Invalidate();
    }
    Changed();
}

void TOrnTexture::SetAlphaBitmap(const TBitmap* mask) {
    if (mask && !mask->Empty() && !fPixels.empty()) {
        const int width = fBitmap->Width();
        const int height = fBitmap->Height();
        const double sx = double(mask->Width()) / width;
        const double sy = double(mask->Height()) / height;
        const std::size_t count = std::min(fPixels.size() / 4, std::size_t(width) * std::size_t(height));
        for (std::size_t i = 0; i < count; ++i) {
            const int x = static_cast<int>(i % width);
            const int y = height - 1 - static_cast<int>(i / width); // pixels bottom-up, mask top-down
            const TColor c = mask->Pixel(static_cast<int>(x * sx), static_cast<int>(y * sy));
            fPixels[i * 4 + 3] =
                static_cast<std::uint8_t>(((c & 255) + ((c >> 8) & 255) + ((c >> 16) & 255)) / 3);
        }
    }
    Invalidate();
}

bool TOrnTexture::SetMaskAlpha(double otherAlpha, TColor maskColor, double maskAlpha) {
    const bool any = !fPixels.empty();
    const std::uint8_t m = alphaByte(maskAlpha);
    const std::uint8_t o = alphaByte(otherAlpha);
    for (std::size_t i = 0; i + 3 < fPixels.size(); i += 4) {
        const std::uint32_t rgb = fPixels[i] | (fPixels[i + 1] << 8) | (fPixels[i + 2] << 16);
        fPixels[i + 3] = rgb == static_cast<std::uint32_t>(maskColor) ? m : o;
    }
    Invalidate();
    return any;
}

void TOrnTexture::Assign(const TPersistent* source) {
    if (auto* t = dynamic_cast<const TOrnTexture*>(source); t && t != this) fBitmap->Assign(t->fBitmap.get());
    TOrnRender::Assign(source);
}

void TOrnTexture::ScaleBitmap(TOrnCustomView*) {
    fBitmap->SetPixelFormat(pf24bit);
    const int width = fBitmap->Width();
    const int height = fBitmap->Height();
    const int newWidth = powerOfTwoSide(width);
    const int newHeight = powerOfTwoSide(height);
    if (std::size_t(newWidth) * std::size_t(newHeight) * 4 > kMaxBitmapBytes)
        throw EOrnError("Texture bitmap of " + std::to_string(width) + " x " + std::to_string(height) +
                        " pixels is too large to scale");

    const std::size_t inRow = std::size_t(width) * 3;
    const std::size_t outRow = std::size_t(newWidth) * 3;
    std::vector<std::uint8_t> in(inRow * height);
    for (int y = 0; y < height; ++y)
        std::memcpy(in.data() + inRow * y, fBitmap->ScanLine(y), inRow);
    std::vector<std::uint8_t> out(outRow * newHeight);

    // Both images are packed without row padding, whatever the application set.
    glPushClientAttrib(GL_CLIENT_PIXEL_STORE_BIT);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
    glPixelStorei(GL_UNPACK_SKIP_ROWS, 0);
    glPixelStorei(GL_UNPACK_SKIP_PIXELS, 0);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glPixelStorei(GL_PACK_ROW_LENGTH, 0);
    glPixelStorei(GL_PACK_SKIP_ROWS, 0);
    glPixelStorei(GL_PACK_SKIP_PIXELS, 0);
    // A failed scaling is deliberately not reported: the bitmap is resized all the same.
    gluScaleImage(GL_RGB, width, height, GL_UNSIGNED_BYTE, in.data(), newWidth, newHeight, GL_UNSIGNED_BYTE,
                  out.data());
    glPopClientAttrib();

    fScaling = true;
    try {
        fBitmap->SetSize(newWidth, newHeight);
    } catch (...) {
        fScaling = false;
        throw;
    }
    for (int y = 0; y < newHeight; ++y)
        std::memcpy(fBitmap->ScanLine(y), out.data() + outRow * y, outRow);
    fScaling = false;
    BitmapChanged();
}

void TOrnTexture::DoRender(TOrnCustomView* view) {
    TOrnRenderState* state = view ? view->RenderState() : nullptr;
    if (!state) return; // no context to hold a name
    // Still bound from the previous object of this frame (never skipped inside a display list).
    if (state->IsApplied(ssTexture, fStamp)) return;
    if (fBitmap->Empty() || fBitmap->Width() < 1 || fBitmap->Height() < 1) return;
    if (!IsValidSize(fBitmap->Height()) || !IsValidSize(fBitmap->Width())) ScaleBitmap(view);
    TOrnShareGroup& group = *state->Group();
    GLuint name = group.TextureName(this);
    if (name == 0) {
        name = group.AddTexture(this);
        std::erase_if(fGroups, [&](const std::weak_ptr<TOrnShareGroup>& g) {
            return g.expired() || g.lock() == state->Group();
        });
        fGroups.push_back(state->Group());
    }
    group.TouchTexture(this);
    fLastGroup = state->Group();
    if (fLastView != view) {
        if (fLastView) RemoveFreeNotification(fLastView);
        fLastView = view;
        FreeNotification(view);
    }

    glEnable(GL_TEXTURE_2D);
    glBindTexture(GL_TEXTURE_2D, name);
    if (!fPixels.empty() && (group.UploadedStamp(this) != fPixelStamp || !glIsTexture(name))) {
        glTexImage2D(GL_TEXTURE_2D, 0, 4, fBitmap->Width(), fBitmap->Height(), 0, GL_RGBA, GL_UNSIGNED_BYTE,
                     fPixels.data());
        group.SetUploadedStamp(this, fPixelStamp);
    }

    static constexpr GLint kModes[] = {GL_MODULATE, GL_DECAL, GL_BLEND, GL_REPLACE};
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, kModes[fMode <= tmReplace ? fMode : tmModulate]);
    // The integer form of a colour: each channel over the whole positive GLint range, which GL
    // maps back to 0 … 1.
    float rgba[4];
    fBlendColor->GetParams(rgba);
    GLint color[4];
    for (int i = 0; i < 4; ++i)
        color[i] = static_cast<GLint>(std::llround(double(rgba[i]) * INT_MAX));
    glTexEnviv(GL_TEXTURE_ENV, GL_TEXTURE_ENV_COLOR, color);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_REPEAT);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_REPEAT);

    glMatrixMode(GL_TEXTURE);
    glLoadIdentity();
    Transformation()->Execute();
    glMatrixMode(GL_MODELVIEW);
    state->SetApplied(ssTexture, fStamp);
}

void TOrnTexture::DoDisable(TOrnCustomView* view) {
    TOrnRender::DoDisable(view);
    glDisable(GL_TEXTURE_2D);
}

void TOrnTexture::WriteValues(TOrnCustomExchange& exchange) {
    TOrnRender::WriteValues(exchange);
    if (fBitmap->Empty()) return;
    const std::string name = exchange.GetFileName("bmp");
    exchange.WriteString("Bitmap", name, "");
    const std::string path = exchange.FilePath(name);
    if (!path.empty()) fBitmap->SaveToFile(path);
}

void TOrnTexture::ReadValues(TOrnCustomExchange& exchange) {
    TOrnRender::ReadValues(exchange);
    const std::string name = exchange.ReadString("Bitmap", "");
    if (name.empty()) return;
    const std::string path = exchange.FilePath(name);
    std::error_code ec;
    if (!path.empty() && std::filesystem::is_regular_file(path, ec)) fBitmap->LoadFromFile(path);
}

// Declared by the primitive object; defined here, where the texture is a complete type.
void TOrnPrimitiveObj::SetTexture(TOrnTexture* value) {
    SetTextureRef(value, value);
}

ORN_REGISTER_RENDER_CLASS(TOrnTexture, "Orn")

// Assign copies the bitmap only.
ORN_DESCRIBE_PROPERTIES(TOrnTexture, &TOrnRender::ClassProperties()) {
    TOrnPropInfo& alpha = ORN_PROP(b, TOrnTexture, Alpha, 1.0f);
    alpha.flags = pfNoAssign;
    alpha.min = 0;
    alpha.max = 1;
    b.Enum("Mode", &TOrnTexture::fMode, &TOrnTexture::SetMode, tmModulate, kTexModeNames).flags = pfNoAssign;
    b.Object("BlendColor", &TOrnTexture::fBlendColor).flags = pfNoAssign;
}

} // namespace orn
