#pragma once

#include <orn/geometry/TOrnPrimitiveObj.h>

#include <cmath>
#include <vector>

namespace orn::test {

inline double Length(const TOrnMathVector& v) {
    return std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
}

/// Indices of a list as a vector.
inline std::vector<std::uint32_t> Entries(const TOrnPrimitiveArray* list) {
    return {list->Data(), list->Data() + list->Count()};
}

} // namespace orn::test
