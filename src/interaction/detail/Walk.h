#pragma once

#include <orn/math/TOrnTransformation.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <numbers>

namespace orn::detail {

/// Moves t by d along the heading its Y rotation gives (0 degrees: +Z), each axis through its own
/// setter; the height stays.
inline void StepAlongHeading(TOrnTransformation& t, double d) {
    const double a = (90.0 - t.Rotation()->Y()) / 180.0 * std::numbers::pi;
    TOrnTranslation* p = t.Translation();
    p->SetX(static_cast<float>(p->X() - std::cos(a) * d));
    p->SetZ(static_cast<float>(p->Z() + std::sin(a) * d));
}

/// A setter's guard for lengths, speeds and angles that must not be negative (NaN fails too).
inline bool NotNegative(float value) {
    return value >= 0;
}

/// A value read from a scene file as a single: out-of-range values saturate (NaN stays NaN and the
/// setters ignore it).
inline float ToSingle(double value) {
    return std::isnan(value) ? static_cast<float>(value)
                             : static_cast<float>(std::clamp(value, -1.0 * FLT_MAX, 1.0 * FLT_MAX));
}

} // namespace orn::detail
