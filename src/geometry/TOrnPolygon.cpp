#include <orn/geometry/TOrnPolygon.h>
#include <orn/scene/TOrnRegistry.h>

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
    if (!assignIfChanged(fClosed, value)) return;
    ChangePrimitiveType();
    Changed();
}

void TOrnPolygon::SetFilled(bool value) {
    if (!assignIfChanged(fFilled, value)) return;
    ChangePrimitiveType();
    Changed();
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
    if (auto* p = dynamic_cast<const TOrnPolygon*>(source)) OnConstruct = p->OnConstruct;
    TOrnPrimitiveObj::Assign(source);
}

ORN_DESCRIBE_PROPERTIES(TOrnPolygon, &TOrnPrimitiveObj::ClassProperties()) {
    ORN_PROP(b, TOrnPolygon, Closed, true);
    ORN_PROP(b, TOrnPolygon, Filled, true);
    ORN_PROP(b, TOrnPolygon, InitClearPoints, false);
    // Position, normal and texture coordinates (s, t) of the points the application added.
    b.Groups(
         "Points", 8,
         [](const TOrnPolygon& p) {
             std::vector<double> v;
             for (int i = 0; i < p.fPoints->Count(); ++i) {
                 const TOrnMathVector x = p.fPoints->GetVector(i, daVertex),
                                      n = p.fPoints->GetVector(i, daNormal),
                                      s = p.fPoints->GetVector(i, daTexture);
                 v.insert(v.end(), {x.x, x.y, x.z, n.x, n.y, n.z, s.x, s.y});
             }
             return v;
         },
         [](TOrnPolygon& p, std::vector<double> v) {
             p.fPoints->SetSize(0);
             for (std::size_t k = 0; k < v.size(); k += 8)
                 p.fPoints->SetFlag(p.fPoints->Add({v[k], v[k + 1], v[k + 2]}, {v[k + 3], v[k + 4], v[k + 5]},
                                                   {v[k + 6], v[k + 7], 0}),
                                    0, true);
             p.Invalidate();
         })
        .examples = {std::string("0,0,0,0,0,1,0,0;1,0,0,0,0,1,1,0;0,1,0,0,0,1,0,1")};
    b.Object("Normal", &TOrnPolygon::fNormal);
}

} // namespace orn
