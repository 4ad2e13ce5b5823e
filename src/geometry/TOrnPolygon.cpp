#include <orn/geometry/TOrnPolygon.h>
#include <orn/scene/TOrnRegistry.h>

#include "math/detail/NumberText.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <strings.h>
#include <vector>

namespace orn {

ORN_REGISTER_RENDER_CLASS(TOrnPolygon, "Orn Obj")

TOrnPolygon::TOrnPolygon(TComponent* owner)
    : TOrnPrimitiveObj(owner), fNormal(std::make_unique<TOrnNormal>()) {
    fNormal->OnChange = SubChangeHandler();
    fPoints->SetDefineArrays(fPoints->DefineArrays() + TOrnArrays{daVertex, daNormal, daTexture, daFlag});
    fKeepTexCoords = true; // the points and their coordinates are the application's
}

TOrnPolygon::~TOrnPolygon() {
    ClearAll();
}

void TOrnPolygon::SetNormal(const TOrnNormal* value) {
    if (value) fNormal->Assign(value);
    Changed();
}

void TOrnPolygon::SetClosed(bool value) {
    fClosed = value;
    ChangePrimitiveType();
}

void TOrnPolygon::SetFilled(bool value) {
    fFilled = value;
    ChangePrimitiveType();
}

void TOrnPolygon::ChangePrimitiveType() {
    if (PrimitiveCount() == 0) AddPrimitiveArray(GL_POLYGON);
    Primitive(0)->SetType(fFilled ? GL_POLYGON : fClosed ? GL_LINE_LOOP : GL_LINE_STRIP);
}

int TOrnPolygon::Count() const {
    return PrimitiveCount() > 0 ? Primitive(0)->Count() : 0;
}

void TOrnPolygon::Add(const TOrnMathVector& position, const TOrnMathVector& normal,
                      const TOrnMathVector& texture) {
    Insert(Count(), position, normal, texture);
}

void TOrnPolygon::Insert(int position, const TOrnMathVector& p, const TOrnMathVector& normal,
                         const TOrnMathVector& texture) {
    const int i = fPoints->Add(p, normal, texture);
    fPoints->SetFlag(i, 0, true);
    fPoints->SetFlag(i, 1, false);
    if (PrimitiveCount() > 0) Primitive(0)->Insert(position, static_cast<std::uint32_t>(i));
}

void TOrnPolygon::AddValues(float x, float y, float z, float s, float t) {
    InsertValues(Count(), x, y, z, s, t);
}

void TOrnPolygon::InsertValues(int position, float x, float y, float z, float s, float t) {
    Insert(position, {x, y, z}, fNormal->AsMathVector(), {s, t, 0});
}

void TOrnPolygon::Delete(int position) {
    if (PrimitiveCount() > 0 && position >= 0) Primitive(0)->Delete(position, 1);
}

void TOrnPolygon::SetValues(int index, TOrnArray kind, const TOrnMathVector& v) {
    if (index < 0 || index >= fPoints->Count()) return;
    if (kind != daVertex && kind != daNormal && kind != daTexture) return;
    fPoints->SetVector(index, kind, v);
    Invalidate();
}

TOrnMathVector TOrnPolygon::GetValues(int index, TOrnArray kind) const {
    if (index < 0 || index >= fPoints->Count()) return {};
    return fPoints->GetVector(index, kind);
}

void TOrnPolygon::ClearPoints() {
    if (fInitClearPoints) TOrnPrimitiveObj::ClearPoints();
}

void TOrnPolygon::InitPrimitives() {
    ChangePrimitiveType();
    if (OnConstruct) {
        OnConstruct(this);
    } else {
        for (int i = 0; i < fPoints->Count(); ++i)
            Primitive(0)->AddIndex(static_cast<std::uint32_t>(i));
    }
    if (fAutoCalcNormals) CalcNormals();
}

void TOrnPolygon::Assign(const TPersistent* source) {
    if (auto* p = dynamic_cast<const TOrnPolygon*>(source)) {
        fNormal->SetAsMathVector(p->fNormal->AsMathVector());
        fClosed = p->fClosed;
        fFilled = p->fFilled;
        fInitClearPoints = p->fInitClearPoints;
        OnConstruct = p->OnConstruct;
    }
    TOrnPrimitiveObj::Assign(source);
}

namespace {

std::string pointsText(const TOrnPrimitivePoints& pool) {
    std::string out;
    for (int i = 0; i < pool.Count(); ++i) {
        const TOrnMathVector p = pool.GetVector(i, daVertex), n = pool.GetVector(i, daNormal),
                             t = pool.GetVector(i, daTexture);
        const double parts[8] = {p.x, p.y, p.z, n.x, n.y, n.z, t.x, t.y};
        for (int k = 0; k < 8; ++k) {
            if (i > 0 || k > 0) out += k == 0 ? ';' : ',';
            detail::AppendNumber(out, parts[k]);
        }
    }
    return out;
}

/// The points of a "Points" value; false when any part of it is not eight numbers.
bool parsePoints(const std::string& text, std::vector<std::array<double, 8>>& points) {
    std::vector<double> values;
    if (!detail::ParseNumberGroups(text, 8, values)) return false;
    for (std::size_t i = 0; i < values.size(); i += 8) {
        std::array<double, 8> v;
        std::copy(values.begin() + static_cast<std::ptrdiff_t>(i),
                  values.begin() + static_cast<std::ptrdiff_t>(i + 8), v.begin());
        points.push_back(v);
    }
    return true;
}

} // namespace

ORN_DESCRIBE_PROPERTIES(TOrnPolygon, &TOrnPrimitiveObj::ClassProperties()) {
    ORN_PROP(b, TOrnPolygon, Closed, true);
    ORN_PROP(b, TOrnPolygon, Filled, true);
    ORN_PROP(b, TOrnPolygon, InitClearPoints, false);
    // The points the application added: the pool is copied by the primitive object's Assign.
    b.Access<std::string>(
         "Points", [](const TOrnPolygon& p) { return pointsText(*p.fPoints); },
         [](TOrnPolygon& p, std::string text) {
             std::vector<std::array<double, 8>> points;
             if (text.empty() || text == pointsText(*p.fPoints) || !parsePoints(text, points)) return;
             p.fPoints->SetSize(0);
             for (const auto& v : points) {
                 const int i = p.fPoints->Add({v[0], v[1], v[2]}, {v[3], v[4], v[5]}, {v[6], v[7], 0});
                 p.fPoints->SetFlag(i, 0, true);
             }
             p.Invalidate();
         },
         "")
        .examples = {std::string("0,0,0,0,0,1,0,0;1,0,0,0,0,1,1,0;0,1,0,0,0,1,0,1")};
    b.Object("Normal", &TOrnPolygon::fNormal);
}

} // namespace orn
