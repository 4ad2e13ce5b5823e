#pragma once

#include <orn/geometry/TOrnPrimitiveObj.h>
#include <orn/math/TOrnPropList.h>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <string>
#include <vector>

namespace orn::test {

using Idx = std::vector<std::uint32_t>;

inline double Length(const TOrnMathVector& v) {
    return std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
}

/// The described property of item named name, or nullptr.
inline const TOrnPropInfo* Prop(const TOrnExchangeItem& item, const std::string& name) {
    for (const TOrnPropInfo* p : item.Properties()->All())
        if (p->name == name) return p;
    return nullptr;
}

using Values = std::initializer_list<std::pair<const char*, double>>;

/// Sets item's named numbers and switches through their setters, as reading a scene does.
inline void Set(TOrnExchangeItem& item, Values values) {
    for (auto [name, v] : values) {
        const TOrnPropInfo* p = Prop(item, name);
        ASSERT_NE(p, nullptr) << name;
        p->set(item, p->kind == pkBool                       ? TOrnPropValue(v != 0)
                     : p->kind == pkInt || p->kind == pkEnum ? TOrnPropValue(std::int64_t(v))
                                                             : TOrnPropValue(v));
    }
}

inline std::vector<std::uint32_t> Entries(const TOrnPrimitiveArray* list) {
    return {list->Data(), list->Data() + list->Count()};
}

/// Point i's vector of one kind, its position by default.
inline TOrnMathVector At(const TOrnPrimitiveObj& o, int i, TOrnArray kind = daVertex) {
    return o.Points()->GetVector(i, kind);
}

/// a lies within eps of b; a failure prints a and says what it was.
inline void ExpectNear(const TOrnMathVector& a, const TOrnMathVector& b, const std::string& what = "",
                       double eps = 1e-9) {
    EXPECT_LT(OrnMathVectorDist(a, b), eps) << what << ": (" << a.x << ", " << a.y << ", " << a.z << ")";
}

/// How many open edges the object has, its coincident points welded or not.
inline int OpenEdges(TOrnPrimitiveObj& o, bool weld = true) {
    std::vector<T2DIntPoint> edges;
    int count = -1;
    o.GetOpenEdges(edges, count, weld);
    EXPECT_EQ(count, static_cast<int>(edges.size()));
    return count;
}

/// The triangles a list draws, each wound as GL winds it.
inline std::vector<std::array<std::uint32_t, 3>> Triangles(const TOrnPrimitiveArray& list) {
    std::vector<std::array<std::uint32_t, 3>> t;
    const std::uint32_t* i = list.Data();
    const int n = list.Count();
    for (int k = 0; list.Type() == GL_TRIANGLES && k + 2 < n; k += 3)
        t.push_back({i[k], i[k + 1], i[k + 2]});
    for (int k = 0; list.Type() == GL_TRIANGLE_STRIP && k + 2 < n; ++k)
        t.push_back(k % 2 ? std::array{i[k + 1], i[k], i[k + 2]} : std::array{i[k], i[k + 1], i[k + 2]});
    for (int k = 1; (list.Type() == GL_TRIANGLE_FAN || list.Type() == GL_POLYGON) && k + 1 < n; ++k)
        t.push_back({i[0], i[k], i[k + 1]});
    for (int k = 0; list.Type() == GL_QUADS && k + 3 < n; k += 4)
        t.insert(t.end(), {{i[k], i[k + 1], i[k + 2]}, {i[k], i[k + 2], i[k + 3]}});
    for (int k = 0; list.Type() == GL_QUAD_STRIP && k + 3 < n; k += 2)
        t.insert(t.end(), {{i[k], i[k + 1], i[k + 3]}, {i[k], i[k + 3], i[k + 2]}});
    return t;
}

/// Every index of an enabled list names a point, every normal of a face's corner has unit length (or
/// none, where a function surface meets its axis) and every face is wound counter-clockwise seen from
/// where its corners' normals point.
inline void ExpectSoundMesh(const TOrnPrimitiveObj& o, const std::string& what) {
    const auto count = static_cast<std::uint32_t>(o.Points()->Count());
    for (int l = 0; l < o.PrimitiveCount(); ++l) {
        if (!o.Primitive(l)->Enabled()) continue;
        for (int k = 0; k < o.Primitive(l)->Count(); ++k)
            ASSERT_LT(o.Primitive(l)->Indices(k), count) << what << " list " << l << " entry " << k;
        for (const auto& t : Triangles(*o.Primitive(l))) {
            const TOrnMathVector a = At(o, int(t[0])), b = At(o, int(t[1])), c = At(o, int(t[2]));
            const TOrnMathVector u{b.x - a.x, b.y - a.y, b.z - a.z}, v{c.x - a.x, c.y - a.y, c.z - a.z};
            const TOrnMathVector n{u.y * v.z - u.z * v.y, u.z * v.x - u.x * v.z, u.x * v.y - u.y * v.x};
            if (Length(n) <= 1e-12 * Length(u) * Length(v)) continue; // degenerate
            for (std::uint32_t corner : t) {
                const TOrnMathVector m = At(o, int(corner), daNormal);
                if (Length(m) == 0) continue;
                ASSERT_NEAR(Length(m), 1, 1e-9) << what << " point " << corner;
                // A rim point shared with a cap may carry the cap's normal, square to the wall.
                ASSERT_GT(n.x * m.x + n.y * m.y + n.z * m.z, -1e-9 * Length(n))
                    << what << " list " << l << " point " << corner;
            }
        }
    }
}

} // namespace orn::test
