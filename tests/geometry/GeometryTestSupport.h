#pragma once

#include <orn/geometry/TOrnPrimitiveObj.h>

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace orn::test {

inline double Length(const TOrnMathVector& v) {
    return std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
}

/// Indices of a list as a vector.
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

} // namespace orn::test
