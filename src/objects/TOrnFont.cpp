#include <orn/objects/TOrnFont.h>

#include <array>
#include <cmath>
#include <string>
#include <strings.h>

namespace orn {
namespace {

constexpr std::array<const char*, 4> kStyleNames = {"fsBold", "fsItalic", "fsUnderline", "fsStrikeOut"};

std::string StyleText(TFontStyles style) {
    std::string out;
    for (std::size_t i = 0; i < kStyleNames.size(); ++i)
        if (style.Contains(static_cast<TFontStyle>(i)))
            out += (out.empty() ? "" : ",") + std::string(kStyleNames[i]);
    return out;
}

// Unknown names are skipped, so that a style list from a newer file still reads.
TFontStyles ParseStyle(const std::string& text) {
    TFontStyles style;
    std::size_t start = 0;
    while (start <= text.size()) {
        std::size_t end = text.find(',', start);
        if (end == std::string::npos) end = text.size();
        const std::string name = text.substr(start, end - start);
        for (std::size_t i = 0; i < kStyleNames.size(); ++i)
            if (strcasecmp(name.c_str(), kStyleNames[i]) == 0) style.Include(static_cast<TFontStyle>(i));
        start = end + 1;
    }
    return style;
}

} // namespace

void TOrnFont::SetAlpha(float value) {
    if (!(value >= 0.0f && value <= 1.0f)) return;
    if (assignIfChanged(fAlpha, value)) Changed();
}

void TOrnFont::Assign(const TPersistent* source) {
    const auto* other = dynamic_cast<const TOrnFont*>(source);
    if (other && other->fAlpha != fAlpha) {
        // One notification for the whole copy: the alpha goes in quietly, the font part notifies.
        const TNotifyEvent handler = std::move(OnChange);
        OnChange = nullptr;
        fAlpha = other->fAlpha;
        TFont::Assign(source);
        OnChange = handler;
        Changed();
        return;
    }
    TFont::Assign(source);
}

ORN_DESCRIBE_PROPERTIES(TOrnFont, nullptr) {
    b.Access<std::string>(
        "Name", [](const TOrnFont& f) { return f.Name(); }, [](TOrnFont& f, std::string v) { f.SetName(v); },
        kDefaultName);
    b.Access<std::int32_t>(
        "Height", [](const TOrnFont& f) { return f.Height(); },
        [](TOrnFont& f, std::int32_t v) { f.SetHeight(v); }, kDefaultHeight);
    b.Access<std::string>(
         "Style", [](const TOrnFont& f) { return StyleText(f.Style()); },
         [](TOrnFont& f, std::string v) { f.SetStyle(ParseStyle(v)); }, "")
        .examples = {std::string("fsBold,fsItalic")};
    b.Access<TColor>(
         "Color", [](const TOrnFont& f) { return f.Color(); }, [](TOrnFont& f, TColor v) { f.SetColor(v); },
         clBlack)
        .kind = pkColor;
    TOrnPropInfo& alpha = ORN_PROP(b, TOrnFont, Alpha, 1.0f);
    alpha.min = 0;
    alpha.max = 1;
}

} // namespace orn
