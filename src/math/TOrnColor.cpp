#include <orn/math/TOrnColor.h>

#include <cmath>

namespace orn {

void TOrnColor::SetColor(TColor value) {
    if (assignIfChanged(fColor, value)) Changed();
}

void TOrnColor::SetAlpha(float value) {
    if (value < 0.0f || value > 1.0f) return;
    if (assignIfChanged(fAlpha, value)) Changed();
}

void TOrnColor::GetParams(float (&params)[4]) const {
    params[0] = static_cast<float>(fColor & 255) / 255.0f;
    params[1] = static_cast<float>((fColor >> 8) & 255) / 255.0f;
    params[2] = static_cast<float>((fColor >> 16) & 255) / 255.0f;
    params[3] = fAlpha;
}

std::array<float, 4> TOrnColor::GetParams() const {
    float p[4];
    GetParams(p);
    return {p[0], p[1], p[2], p[3]};
}

void TOrnColor::SetParams(const float (&params)[4]) {
    // nearbyint rounds half to even under the default rounding mode.
    auto channel = [](float c) { return static_cast<TColor>(std::nearbyint(double(c) * 255.0)) & 255; };
    fColor = channel(params[0]) + channel(params[1]) * 256 + channel(params[2]) * 65536;
    fAlpha = params[3];
}

void TOrnColor::Assign(const TPersistent* source) {
    if (AssignProperties(source)) Changed();
    TOrnProperty::Assign(source);
}

ORN_DESCRIBE_PROPERTIES(TOrnColor, nullptr) {
    b.Color("Color", &TOrnColor::fColor, &TOrnColor::SetColor, clWhite);
    TOrnPropInfo& alpha = ORN_PROP(b, TOrnColor, Alpha, 1.0f);
    alpha.min = 0;
    alpha.max = 1;
}

} // namespace orn
