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

// The textures that hold a GL name: front = least recently rendered. Never freed, so that a
// texture destroyed during static destruction still finds it.
struct TextureList {
    std::vector<TOrnTexture*> items;
    int max = 4;
    long created = 0;
    bool lastStillValid = false;
};

TextureList& textures() {
    static auto* list = new TextureList;
    return *list;
}

std::uint8_t alphaByte(double alpha) {
    // nearbyint rounds half to even under the default rounding mode.
    return static_cast<std::uint8_t>(std::clamp(std::nearbyint(255.0 * alpha), 0.0, 255.0));
}

// The nearest power of two, rounded on the exponent: 181 → 128, 182 → 256.
int powerOfTwoSide(int n) {
    return static_cast<int>(std::pow(2.0, std::nearbyint(std::log2(double(n)))));
}

} // namespace

GLuint AddTexture(TOrnTexture* texture) {
    if (!texture) return 0;
    TextureList& list = textures();
    std::erase(list.items, texture); // a texture whose name never came (no context) is listed once
    while (!list.items.empty() && static_cast<int>(list.items.size()) >= list.max)
        DeleteTexture(list.items.front());
    list.items.push_back(texture);
    ++list.created;
    GLuint name = 0;
    glGenTextures(1, &name);
    return name;
}

void DeleteTexture(TOrnTexture* texture) {
    if (!texture) return;
    std::erase(textures().items, texture);
    glDeleteTextures(1, &texture->fName);
    texture->fName = 0;
    texture->fNeedsUpload = true;
}

void SetLastRenderedTex(TOrnTexture* texture) {
    auto& items = textures().items;
    auto it = std::find(items.begin(), items.end(), texture);
    if (it != items.end()) std::rotate(it, it + 1, items.end());
}

bool IsLastRenderedTex(const TOrnTexture* texture) {
    TextureList& list = textures();
    const bool result = list.lastStillValid && !list.items.empty() && list.items.back() == texture;
    list.lastStillValid = true;
    return result;
}

void RedrawTextures() {
    textures().lastStillValid = false;
}

void InvalidateTextures() {
    for (TOrnTexture* t : textures().items)
        t->Invalidate();
}

int SetMaxTexture(int count) {
    TextureList& list = textures();
    if (count < list.max) {
        if (count < 1) return list.max;
        while (static_cast<int>(list.items.size()) > count)
            DeleteTexture(list.items.front());
    }
    list.max = count;
    return list.max;
}

int TextureListCount() {
    return static_cast<int>(textures().items.size());
}

TOrnTexture::TOrnTexture(TComponent* owner)
    : TOrnRender(owner), fBitmap(std::make_unique<TBitmap>()), fBlendColor(std::make_unique<TOrnColor>()) {
    fBitmap->OnChange = [this](TObject*) { BitmapChanged(); };
}

TOrnTexture::~TOrnTexture() {
    // Always, also without a name: glDeleteTextures ignores 0.
    DeleteTexture(this);
    fBitmap->OnChange = nullptr;
}

void TOrnTexture::SetBitmap(const TBitmap* value) {
    if (value) fBitmap->Assign(value);
    Invalidate();
}

void TOrnTexture::SetAlpha(float value) {
    if (value == fAlpha || value < 0.0f || value > 1.0f) return;
    fAlpha = value;
    if (Valid() && !fPixels.empty() && !Designing()) WriteAlpha(alphaByte(fAlpha));
    fChanged = true;
    Changed();
}

void TOrnTexture::SetMode(TOrnTexMode value) {
    if (!assignIfChanged(fMode, value)) return;
    fChanged = true;
    Changed();
}

void TOrnTexture::SetBlendColor(const TOrnColor* value) {
    detail::CopyColor(*fBlendColor, value);
    fChanged = true;
}

void TOrnTexture::Invalidate() {
    fNeedsUpload = true;
    fChanged = true;
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
    // Inside a display list every command must be recorded, hence the Cached test.
    if (!Cached() && !fChanged && IsLastRenderedTex(this)) return;
    if (fBitmap->Empty() || fBitmap->Width() < 1 || fBitmap->Height() < 1) return;
    if (!IsValidSize(fBitmap->Height()) || !IsValidSize(fBitmap->Width())) ScaleBitmap(view);
    if (fName == 0) fName = AddTexture(this);
    SetLastRenderedTex(this);

    glEnable(GL_TEXTURE_2D);
    glBindTexture(GL_TEXTURE_2D, fName);
    if (!fPixels.empty() && (fNeedsUpload || !glIsTexture(fName))) {
        glTexImage2D(GL_TEXTURE_2D, 0, 4, fBitmap->Width(), fBitmap->Height(), 0, GL_RGBA, GL_UNSIGNED_BYTE,
                     fPixels.data());
        fNeedsUpload = false;
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
    fChanged = false;
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
