#pragma once

#include <orn/math/OrnMath.h>

#include <gtest/gtest.h>

#include <cmath>

namespace orn::test {

/// Each component of a within tolerance of b's; a failure prints both.
inline ::testing::AssertionResult VectorNear(const TOrnMathVector& a, const TOrnMathVector& b,
                                             double tolerance = 1e-4) {
    if (std::abs(a.x - b.x) <= tolerance && std::abs(a.y - b.y) <= tolerance &&
        std::abs(a.z - b.z) <= tolerance)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "(" << a.x << ", " << a.y << ", " << a.z << ") against (" << b.x
                                         << ", " << b.y << ", " << b.z << ")";
}

} // namespace orn::test
