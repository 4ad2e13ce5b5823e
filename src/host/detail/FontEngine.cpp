#include "FontEngine.h"

#include <orn/host/EOrnError.h>
#include <orn/host/TFont.h>

#include <fontconfig/fontconfig.h>
#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_OUTLINE_H
#include FT_SYNTHESIS_H
#include FT_TRUETYPE_TABLES_H

#include <algorithm>
#include <cctype>
#include <cmath>
#include <map>
#include <memory>
#include <mutex>
#include <tuple>
#include <unordered_map>

namespace orn::detail {
namespace {

std::string Lower(std::string s) {
    for (char& c : s)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

struct FontFile {
    std::string Path;
    int Index = 0;
    bool SynthBold = false;
    bool SynthItalic = false;
};

// Collects a decomposed outline as polylines in font units, each curve cut into as many equal
// steps as keep its chords within the tolerance (from the bound on the curve's second derivative).
class OutlineFlattener {
public:
    OutlineFlattener(double tolerance, double offsetX) : fTolerance(tolerance), fOffsetX(offsetX) {}

    void Decompose(FT_Outline& outline, std::vector<std::vector<OutlinePoint>>& contours) {
        FT_Outline_Funcs funcs{};
        funcs.move_to = &MoveTo;
        funcs.line_to = &LineTo;
        funcs.conic_to = &ConicTo;
        funcs.cubic_to = &CubicTo;
        fContours = &contours;
        fFirst = contours.size();
        FT_Outline_Decompose(&outline, &funcs, this);
        for (std::size_t c = fFirst; c < contours.size(); ++c)
            Close(contours[c]);
        contours.erase(std::remove_if(contours.begin() + static_cast<std::ptrdiff_t>(fFirst), contours.end(),
                                      [](const auto& contour) { return contour.size() < 3; }),
                       contours.end());
    }

private:
    static constexpr int kMaxSteps = 256;

    static OutlineFlattener& Self(void* user) { return *static_cast<OutlineFlattener*>(user); }
    static int MoveTo(const FT_Vector* to, void* user) {
        Self(user).fContours->emplace_back();
        Self(user).fPen = {static_cast<double>(to->x), static_cast<double>(to->y)};
        Self(user).Add(Self(user).fPen);
        return 0;
    }
    static int LineTo(const FT_Vector* to, void* user) {
        Self(user).fPen = {static_cast<double>(to->x), static_cast<double>(to->y)};
        Self(user).Add(Self(user).fPen);
        return 0;
    }
    static int ConicTo(const FT_Vector* control, const FT_Vector* to, void* user) {
        OutlineFlattener& f = Self(user);
        const OutlinePoint p0 = f.fPen, p1{double(control->x), double(control->y)},
                           p2{double(to->x), double(to->y)};
        const int n = f.Steps(std::hypot(p0.X - 2 * p1.X + p2.X, p0.Y - 2 * p1.Y + p2.Y) / 4);
        for (int i = 1; i <= n; ++i) {
            const double t = static_cast<double>(i) / n, u = 1 - t;
            f.Add({u * u * p0.X + 2 * u * t * p1.X + t * t * p2.X,
                   u * u * p0.Y + 2 * u * t * p1.Y + t * t * p2.Y});
        }
        f.fPen = p2;
        return 0;
    }
    static int CubicTo(const FT_Vector* c1, const FT_Vector* c2, const FT_Vector* to, void* user) {
        OutlineFlattener& f = Self(user);
        const OutlinePoint p0 = f.fPen, p1{double(c1->x), double(c1->y)}, p2{double(c2->x), double(c2->y)},
                           p3{double(to->x), double(to->y)};
        const double bend = std::max(std::hypot(p0.X - 2 * p1.X + p2.X, p0.Y - 2 * p1.Y + p2.Y),
                                     std::hypot(p1.X - 2 * p2.X + p3.X, p1.Y - 2 * p2.Y + p3.Y));
        const int n = f.Steps(bend * 3 / 4);
        for (int i = 1; i <= n; ++i) {
            const double t = static_cast<double>(i) / n, u = 1 - t;
            const double a = u * u * u, b = 3 * u * u * t, c = 3 * u * t * t, d = t * t * t;
            f.Add({a * p0.X + b * p1.X + c * p2.X + d * p3.X, a * p0.Y + b * p1.Y + c * p2.Y + d * p3.Y});
        }
        f.fPen = p3;
        return 0;
    }

    // Equal steps n keep the chord error within bend / n^2.
    int Steps(double bend) const {
        const double n = std::ceil(std::sqrt(bend / fTolerance));
        return std::isfinite(n) ? std::clamp(static_cast<int>(n), 1, kMaxSteps) : 1;
    }
    void Add(OutlinePoint p) {
        p.X += fOffsetX;
        auto& contour = fContours->back();
        if (contour.empty() || contour.back().X != p.X || contour.back().Y != p.Y) contour.push_back(p);
    }
    static void Close(std::vector<OutlinePoint>& contour) {
        while (contour.size() > 1 && contour.back().X == contour.front().X &&
               contour.back().Y == contour.front().Y)
            contour.pop_back();
    }

    double fTolerance;
    double fOffsetX;
    OutlinePoint fPen;
    std::vector<std::vector<OutlinePoint>>* fContours = nullptr;
    std::size_t fFirst = 0;
};

// A face at one style; its glyphs are cached per pixel size and glyph index.
struct Face {
    FT_Face Handle = nullptr;
    bool SynthBold = false;
    bool SynthItalic = false;
    std::unordered_map<std::uint64_t, GlyphImage> Glyphs;
};

class FontEngine {
public:
    static FontEngine& Instance() {
        static FontEngine engine;
        return engine;
    }

    TextLayout LayOut(const FontRequest& request, std::string_view utf8) {
        std::lock_guard lock(fMutex);
        Face& face = Resolve(request);
        const int px = PixelSize(face.Handle, request.Height);
        if (FT_Set_Pixel_Sizes(face.Handle, 0, static_cast<FT_UInt>(px)) != 0)
            throw EOrnError("Cannot set font \"" + request.Name + "\" to " + std::to_string(px) + " pixels");
        TextLayout layout;
        Measure(face.Handle, layout);
        FT_Pos pen = 0;
        FT_UInt previous = 0;
        const bool kerning = FT_HAS_KERNING(face.Handle);
        for (char32_t cp : DecodeUtf8(utf8)) {
            const FT_UInt index = FT_Get_Char_Index(face.Handle, cp);
            if (kerning && previous && index) {
                FT_Vector delta{};
                if (FT_Get_Kerning(face.Handle, previous, index, FT_KERNING_DEFAULT, &delta) == 0)
                    pen += delta.x;
            }
            const GlyphImage* glyph = Glyph(face, px, index);
            layout.Glyphs.push_back(PlacedGlyph{static_cast<int>((pen + 32) >> 6), glyph});
            pen = std::min<FT_Pos>(pen + glyph->Advance64, FT_Pos{kMaxTextExtent} << 6);
            previous = index;
        }
        layout.Width = static_cast<int>((pen + 32) >> 6);
        return layout;
    }

    TextOutline Outline(const FontRequest& request, std::string_view utf8, double tolerance) {
        std::lock_guard lock(fMutex);
        Face& face = Resolve(request);
        FT_Face handle = face.Handle;
        const double em = handle->units_per_EM > 0 ? handle->units_per_EM : 1000.0;
        TextOutline text;
        text.Ascent = handle->ascender / em;
        text.Descent = -handle->descender / em;
        const double limit = static_cast<double>(kMaxTextExtent) * em;
        double pen = 0;
        FT_UInt previous = 0;
        const bool kerning = FT_HAS_KERNING(handle);
        for (char32_t cp : DecodeUtf8(utf8)) {
            const FT_UInt index = FT_Get_Char_Index(handle, cp);
            if (kerning && previous && index) {
                FT_Vector delta{};
                if (FT_Get_Kerning(handle, previous, index, FT_KERNING_UNSCALED, &delta) == 0) pen += delta.x;
            }
            previous = index;
            if (FT_Load_Glyph(handle, index, FT_LOAD_NO_SCALE | FT_LOAD_NO_HINTING | FT_LOAD_NO_BITMAP) !=
                    0 ||
                handle->glyph->format != FT_GLYPH_FORMAT_OUTLINE)
                continue;
            FT_Outline& outline = handle->glyph->outline;
            if (face.SynthItalic) {
                FT_Matrix shear{0x10000, 0x0366A, 0, 0x10000}; // the slant FreeType's own oblique uses
                FT_Outline_Transform(&outline, &shear);
            }
            if (face.SynthBold)
                FT_Outline_EmboldenXY(&outline, static_cast<FT_Pos>(em / 24), static_cast<FT_Pos>(em / 24));
            text.GlyphStarts.push_back(text.Contours.size());
            OutlineFlattener(tolerance * em, pen).Decompose(outline, text.Contours);
            pen = std::min(pen + static_cast<double>(handle->glyph->metrics.horiAdvance), limit);
        }
        for (auto& contour : text.Contours)
            for (OutlinePoint& p : contour) {
                p.X /= em;
                p.Y /= em;
            }
        text.Width = pen / em;
        return text;
    }

private:
    FontEngine() {
        if (FT_Init_FreeType(&fLibrary) != 0) throw EOrnError("Cannot initialise FreeType");
        FcInit();
    }
    ~FontEngine() {
        for (auto& [key, face] : fFaces)
            FT_Done_Face(face->Handle);
        FT_Done_FreeType(fLibrary);
        FcFini(); // every lookup of the library goes through this engine, so nothing uses fontconfig after it
    }

    Face& Resolve(const FontRequest& request) {
        const auto key = std::make_tuple(request.Name, request.Bold, request.Italic);
        auto it = fFaces.find(key);
        if (it != fFaces.end()) return *it->second;
        const FontFile file = request.Name.find('/') != std::string::npos
                                  ? FontFile{request.Name, 0, request.Bold, request.Italic}
                                  : Match(request);
        auto face = std::make_unique<Face>();
        const FT_Error err = FT_New_Face(fLibrary, file.Path.c_str(), file.Index, &face->Handle);
        if (err != 0)
            throw EOrnError("Cannot load font \"" + file.Path + "\": FreeType error " + std::to_string(err));
        if (!FT_IS_SCALABLE(face->Handle)) {
            FT_Done_Face(face->Handle);
            throw EOrnError("Cannot load font \"" + file.Path + "\": not a scalable font");
        }
        FT_Select_Charmap(face->Handle, FT_ENCODING_UNICODE);
        face->SynthBold = file.SynthBold && !(face->Handle->style_flags & FT_STYLE_FLAG_BOLD);
        face->SynthItalic = file.SynthItalic && !(face->Handle->style_flags & FT_STYLE_FLAG_ITALIC);
        return *fFaces.emplace(key, std::move(face)).first->second;
    }

    // fontconfig always answers with some font; one whose family is not the one asked for means
    // the name is unknown, and the library's default family stands in.
    FontFile Match(const FontRequest& request) {
        FontFile file;
        if (MatchFamily(request.Name, request, file)) return file;
        if (MatchFamily(TFont::kDefaultName, request, file)) return file;
        throw EOrnError("Cannot find font \"" + request.Name + "\" nor the default \"" +
                        std::string(TFont::kDefaultName) + "\"");
    }

    static bool MatchFamily(const std::string& family, const FontRequest& request, FontFile& file) {
        using PatternPtr = std::unique_ptr<FcPattern, decltype(&FcPatternDestroy)>;
        PatternPtr pattern(FcPatternCreate(), &FcPatternDestroy);
        FcPatternAddString(pattern.get(), FC_FAMILY, reinterpret_cast<const FcChar8*>(family.c_str()));
        FcPatternAddInteger(pattern.get(), FC_WEIGHT, request.Bold ? FC_WEIGHT_BOLD : FC_WEIGHT_REGULAR);
        FcPatternAddInteger(pattern.get(), FC_SLANT, request.Italic ? FC_SLANT_ITALIC : FC_SLANT_ROMAN);
        FcPatternAddBool(pattern.get(), FC_SCALABLE, FcTrue);
        FcConfigSubstitute(nullptr, pattern.get(), FcMatchPattern);
        FcDefaultSubstitute(pattern.get());
        FcResult result = FcResultNoMatch;
        PatternPtr match(FcFontMatch(nullptr, pattern.get(), &result), &FcPatternDestroy);
        if (!match) return false;
        bool sameFamily = false;
        FcChar8* value = nullptr;
        for (int i = 0; FcPatternGetString(match.get(), FC_FAMILY, i, &value) == FcResultMatch; ++i)
            sameFamily |= Lower(reinterpret_cast<const char*>(value)) == Lower(family);
        if (!sameFamily || FcPatternGetString(match.get(), FC_FILE, 0, &value) != FcResultMatch) return false;
        file.Path = reinterpret_cast<const char*>(value);
        FcPatternGetInteger(match.get(), FC_INDEX, 0, &file.Index);
        int weight = FC_WEIGHT_REGULAR, slant = FC_SLANT_ROMAN;
        FcPatternGetInteger(match.get(), FC_WEIGHT, 0, &weight);
        FcPatternGetInteger(match.get(), FC_SLANT, 0, &slant);
        file.SynthBold = request.Bold && weight < FC_WEIGHT_DEMIBOLD;
        file.SynthItalic = request.Italic && slant == FC_SLANT_ROMAN;
        return true;
    }

    // Host heights: negative is the em size, positive the cell height, 0 the default.
    static int PixelSize(FT_Face face, int height) {
        if (height == 0) height = TFont::kDefaultHeight;
        if (height < 0) return std::clamp(-height, 1, TFont::kMaxHeight);
        const double cell = static_cast<double>(face->ascender - face->descender);
        const double em = cell > 0 ? height * face->units_per_EM / cell : height;
        return std::clamp(static_cast<int>(std::lround(em)), 1, TFont::kMaxHeight);
    }

    static void Measure(FT_Face face, TextLayout& layout) {
        const FT_Size_Metrics& m = face->size->metrics;
        // From the unrounded design metrics, so that a cell height asked for is the one given.
        layout.Ascent = static_cast<int>((FT_MulFix(face->ascender, m.y_scale) + 32) >> 6);
        layout.Descent = static_cast<int>((FT_MulFix(-face->descender, m.y_scale) + 32) >> 6);
        const double scale = static_cast<double>(m.y_scale) / 65536.0 / 64.0;
        layout.UnderlineOffset = static_cast<int>(std::lround(-face->underline_position * scale));
        layout.UnderlineSize = std::max(1, static_cast<int>(std::lround(face->underline_thickness * scale)));
        const auto* os2 = static_cast<const TT_OS2*>(FT_Get_Sfnt_Table(face, FT_SFNT_OS2));
        if (os2 && os2->yStrikeoutSize > 0) {
            layout.StrikeOffset = static_cast<int>(std::lround(os2->yStrikeoutPosition * scale));
            layout.StrikeSize = std::max(1, static_cast<int>(std::lround(os2->yStrikeoutSize * scale)));
        } else {
            layout.StrikeOffset = layout.Ascent / 3;
            layout.StrikeSize = layout.UnderlineSize;
        }
    }

    // A glyph FreeType cannot load is drawn as nothing, with no advance.
    static const GlyphImage* Glyph(Face& face, int px, FT_UInt index) {
        const std::uint64_t key = (static_cast<std::uint64_t>(px) << 32) | index;
        auto it = face.Glyphs.find(key);
        if (it == face.Glyphs.end()) it = face.Glyphs.emplace(key, Render(face, index)).first;
        return &it->second;
    }

    static GlyphImage Render(Face& face, FT_UInt index) {
        GlyphImage image;
        FT_GlyphSlot slot = face.Handle->glyph;
        if (FT_Load_Glyph(face.Handle, index, FT_LOAD_DEFAULT | FT_LOAD_NO_BITMAP) == 0) {
            if (face.SynthItalic) FT_GlyphSlot_Oblique(slot);
            if (face.SynthBold) FT_GlyphSlot_Embolden(slot);
            image.Advance64 = slot->advance.x;
            if (FT_Render_Glyph(slot, FT_RENDER_MODE_NORMAL) == 0 &&
                slot->bitmap.pixel_mode == FT_PIXEL_MODE_GRAY) {
                const FT_Bitmap& bm = slot->bitmap;
                image.Width = static_cast<int>(bm.width);
                image.Rows = static_cast<int>(bm.rows);
                image.Left = slot->bitmap_left;
                image.Top = slot->bitmap_top;
                image.Coverage.resize(static_cast<std::size_t>(image.Width) * image.Rows);
                for (int r = 0; r < image.Rows; ++r) {
                    const unsigned char* row = bm.pitch >= 0 ? bm.buffer + r * bm.pitch
                                                             : bm.buffer + (image.Rows - 1 - r) * -bm.pitch;
                    std::copy(row, row + image.Width,
                              image.Coverage.begin() + static_cast<std::ptrdiff_t>(r) * image.Width);
                }
            }
        }
        return image;
    }

    FT_Library fLibrary = nullptr;
    std::mutex fMutex;
    std::map<std::tuple<std::string, bool, bool>, std::unique_ptr<Face>> fFaces;
};

} // namespace

std::u32string DecodeUtf8(std::string_view s) {
    std::u32string out;
    std::size_t i = 0;
    while (i < s.size()) {
        const unsigned char c = static_cast<unsigned char>(s[i]);
        int length = c < 0x80 ? 1 : (c >> 5) == 0x6 ? 2 : (c >> 4) == 0xE ? 3 : (c >> 3) == 0x1E ? 4 : 0;
        char32_t cp = length == 1 ? c : length == 2 ? c & 0x1F : length == 3 ? c & 0x0F : c & 0x07;
        bool ok = length > 0 && i + length <= s.size();
        for (int k = 1; ok && k < length; ++k) {
            const unsigned char cc = static_cast<unsigned char>(s[i + k]);
            ok = (cc & 0xC0) == 0x80;
            cp = (cp << 6) | (cc & 0x3F);
        }
        static constexpr char32_t kMinimum[5] = {0, 0, 0x80, 0x800, 0x10000};
        ok = ok && cp >= kMinimum[length] && cp <= 0x10FFFF && (cp < 0xD800 || cp > 0xDFFF);
        out.push_back(ok ? cp : U'\uFFFD');
        i += ok ? length : 1;
    }
    return out;
}

TextLayout LayOutText(const FontRequest& request, std::string_view utf8) {
    return FontEngine::Instance().LayOut(request, utf8);
}

TextOutline OutlineText(const FontRequest& request, std::string_view utf8, double tolerance) {
    return FontEngine::Instance().Outline(request, utf8, tolerance);
}

} // namespace orn::detail
