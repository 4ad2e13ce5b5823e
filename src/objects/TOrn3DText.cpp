#include <orn/objects/TOrn3DText.h>
#include <orn/scene/TOrnRegistry.h>

#include "host/detail/FontEngine.h"
#include "objects/detail/TextMesh.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <strings.h>

namespace orn {

ORN_REGISTER_RENDER_CLASS(TOrn3DText, "Orn Obj")

const char* const kAlignmentNames[3] = {"taLeftJustify", "taRightJustify", "taCenter"};

TOrn3DText::TOrn3DText(TComponent* owner)
    : TOrnPrimitiveObj(owner), fFont(std::make_unique<TOrnFont>()), fCaption(StaticClassName()) {
    fFont->OnChange = [this](TObject*) { Invalidate(); };
}

TOrn3DText::~TOrn3DText() = default;

void TOrn3DText::SetCaption(const std::string& value) {
    if (assignIfChanged(fCaption, value)) Invalidate();
}

void TOrn3DText::SetFont(const TFont* value) {
    if (value) fFont->Assign(value);
}

void TOrn3DText::SetDepth(double value) {
    if (std::isfinite(value) && value >= 0 && assignIfChanged(fDepth, value)) Invalidate();
}

void TOrn3DText::SetDetail(double value) {
    if (value > 0 && value <= 1 && assignIfChanged(fDetail, value)) Invalidate();
}

void TOrn3DText::SetAlignment(TOrnAlignment value) {
    if (value >= taLeftJustify && value <= taCenter && assignIfChanged(fAlignment, value)) Invalidate();
}

void TOrn3DText::InitPoints() {
    // A rough bound before any outline exists, so that a runaway caption fails fast.
    CheckBuildSize(static_cast<std::int64_t>(fCaption.size()) * 64, "3D text");
    const detail::FontRequest request{fFont->Name(), fFont->Height(), fFont->Style().Contains(fsBold),
                                      fFont->Style().Contains(fsItalic)};
    const detail::TextOutline outline = detail::OutlineText(request, fCaption, fDetail);
    std::int64_t outlinePoints = 0;
    for (const auto& contour : outline.Contours)
        outlinePoints += static_cast<std::int64_t>(contour.size());
    CheckBuildSize(outlinePoints * 6, "3D text");
    const double dx = fAlignment == taCenter         ? -outline.Width / 2
                      : fAlignment == taRightJustify ? -outline.Width
                                                     : 0.0;
    detail::TextMesh mesh = detail::ExtrudeOutline(outline, fDepth, dx);
    fPoints->SetSize(static_cast<int>(mesh.Vertices.size()));
    for (const auto& v : mesh.Vertices)
        AddPoint(v.Position, v.Normal, v.S, v.T);
    fFront = std::move(mesh.Front);
    fBack = std::move(mesh.Back);
    fWalls = std::move(mesh.Walls);
}

void TOrn3DText::InitPrimitives() {
    const std::pair<std::vector<std::uint32_t>*, GLenum> lists[] = {
        {&fFront, GL_TRIANGLES}, {&fBack, GL_TRIANGLES}, {&fWalls, GL_QUADS}};
    for (const auto& [indices, type] : std::span(lists).first(fDepth > 0 ? 3 : 1)) {
        TOrnPrimitiveArray* list = Primitive(AddPrimitiveArray(type));
        std::copy(indices->begin(), indices->end(), list->Append(static_cast<int>(indices->size())));
        indices->clear();
        indices->shrink_to_fit();
    }
}

ORN_DESCRIBE_PROPERTIES(TOrn3DText, &TOrnPrimitiveObj::ClassProperties()) {
    ORN_PROP(b, TOrn3DText, Caption, StaticClassName());
    ORN_PROP(b, TOrn3DText, Depth, 0.2);
    ORN_PROP(b, TOrn3DText, Detail, 0.01);
    b.Enum("Alignment", &TOrn3DText::fAlignment, &TOrn3DText::SetAlignment, taLeftJustify, kAlignmentNames);
    b.Object("Font", &TOrn3DText::fFont);
}

} // namespace orn
