#pragma once

#include <orn/geometry/TOrnPrimitiveObj.h>
#include <orn/math/TOrnPropList.h>
#include <orn/objects/TOrnFont.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace orn {

/// Where a caption stands relative to x = 0: starting there, ending there, or centred on it.
enum TOrnAlignment : std::uint8_t { taLeftJustify, taRightJustify, taCenter };

/// The names under which the scene file writes a TOrnAlignment.
extern const char* const kAlignmentNames[3];

/// A caption as solid letters: the font's glyph outlines, one unit per em, baseline on y = 0,
/// front face on z = 0 facing +z, extruded to z = −Depth. Holes of letters follow the odd rule.
/// Index list 0 is the front cap, 1 the back cap (triangles), 2 the side walls (quads); a Depth
/// of 0 leaves the front cap alone. The font chooses typeface and style; its size does not matter.
class TOrn3DText : public TOrnPrimitiveObj {
    ORN_CLASS(TOrn3DText)
public:
    explicit TOrn3DText(TComponent* owner);
    ~TOrn3DText() override;

    /// UTF-8; characters the font lacks show its missing-glyph box.
    const std::string& Caption() const { return fCaption; }
    void SetCaption(const std::string& value);
    TOrnFont* Font() const { return fFont.get(); }
    /// Copies value into the owned font; nullptr is ignored.
    void SetFont(const TFont* value);
    /// In ems; negative or non-finite values are ignored.
    double Depth() const { return fDepth; }
    void SetDepth(double value);
    /// The flattening tolerance in ems: no straight piece of a curved outline strays further from
    /// the curve. Smaller is finer; values outside 0 < d ≤ 1 are ignored.
    double Detail() const { return fDetail; }
    void SetDetail(double value);
    TOrnAlignment Alignment() const { return fAlignment; }
    /// Values outside the enumeration are ignored.
    void SetAlignment(TOrnAlignment value);

    ORN_DECLARE_PROPERTIES(TOrn3DText)

protected:
    /// Outlines, tessellates and extrudes the caption; throws EOrnError for a caption so long
    /// that its geometry would pass the build limit.
    void InitPoints() override;
    void InitPrimitives() override;

private:
    std::unique_ptr<TOrnFont> fFont;
    std::string fCaption;
    double fDepth = 0.2;
    double fDetail = 0.01;
    TOrnAlignment fAlignment = taLeftJustify;
    // The index lists of the last InitPoints, handed to InitPrimitives.
    std::vector<std::uint32_t> fFront, fBack, fWalls;
};

} // namespace orn
