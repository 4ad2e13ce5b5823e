#include "FontEngine.h"

#include <orn/host/EOrnError.h>
#include <orn/host/TFont.h>

#include <fontconfig/fontconfig.h>
#include <ft2build.h>
#include FT_FREETYPE_H
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

} // namespace orn::detail
