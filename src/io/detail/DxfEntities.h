#pragma once

// Turning one entity's groups into batched geometry.

#include "io/detail/DxfGeometry.h"
#include "io/detail/DxfModel.h"
#include "io/detail/DxfTokens.h"

#include <string>
#include <string_view>
#include <vector>

namespace orn::detail::dxf {

/// An entity left out: where and why.
struct Bad {
    std::int64_t where;
    std::string why;
};

/// Reads the values of one entity's groups; a number that is not one throws Bad.
class Ent {
public:
    Ent(const Group* begin, const Group* end) : fBegin(begin), fEnd(end) {}
    const Group* begin() const { return fBegin; }
    const Group* end() const { return fEnd; }
    const Group* Find(int code) const;
    double D(int code, double fallback) const;
    std::int64_t I(int code, std::int64_t fallback) const;
    std::string_view S(int code) const;
    /// x from code, y from code + 10, z from code + 20.
    Vec P(int code, const Vec& fallback = {}) const;
    std::int64_t Where() const { return fBegin == fEnd ? 0 : fBegin->where; }

private:
    const Group* fBegin;
    const Group* fEnd;
};
double Num(const Group& g);
std::int64_t Int(const Group& g);

/// Where the entities being read go.
struct EntityContext {
    Model& model;
    TOrnDXFReport& report;
    const ReadOptions& options;
    Space* space = nullptr;
    bool inBlock = false;
};

/// The batch for an entity's layer and colour; nullptr when its layer is hidden.
Batch* Target(EntityContext& ctx, const Ent& e);
/// Appends a polyline (closed joins the last point to the first) as segments.
void AddPolyline(Batch& b, const std::vector<Vec>& pts, bool closed);
/// shown: bit 0, 1, 2 for the edges a–c, c–d, d–a in outline drawing.
void AddTriangle(Batch& b, const Vec& a, const Vec& c, const Vec& d, unsigned shown = 7);
/// Two triangles whose shared diagonal never shows; hidden: bit 0 … 3 for the edges p0–p1, p1–p2,
/// p2–p3, p3–p0 left out too (a 3DFACE's flags). One triangle when p3 is p2.
void AddQuad(Batch& b, const Vec& p0, const Vec& p1, const Vec& p2, const Vec& p3, unsigned hidden = 0);

/// Builds entity type from its groups; false when the type is not one we draw. Throws Bad.
bool BuildEntity(std::string_view type, const Ent& e, EntityContext& ctx);
/// Builds a POLYLINE from its header and its VERTEX entities. Throws Bad.
void BuildPolyline(const Ent& header, const std::vector<Ent>& vertices, EntityContext& ctx);
/// HATCH. Throws Bad.
void BuildHatch(const Ent& e, EntityContext& ctx);

} // namespace orn::detail::dxf
