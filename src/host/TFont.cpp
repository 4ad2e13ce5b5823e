#include <orn/host/TFont.h>

#include <algorithm>
#include <cstdlib>

namespace orn {
namespace {

// The host's MulDiv: a * b / c rounded half away from zero.
int MulDiv(int a, int b, int c) {
    const long long n = static_cast<long long>(a) * b;
    const long long q = (std::llabs(n) + c / 2) / c;
    return static_cast<int>(n < 0 ? -q : q);
}

} // namespace

void TFont::Changed() {
    if (OnChange) OnChange(this);
}

void TFont::SetName(const std::string& value) {
    if (assignIfChanged(fName, value.empty() ? std::string(kDefaultName) : value)) Changed();
}

void TFont::SetHeight(int value) {
    if (assignIfChanged(fHeight, std::clamp(value, -kMaxHeight, kMaxHeight))) Changed();
}

int TFont::Size() const {
    return -MulDiv(fHeight, 72, 96);
}

void TFont::SetSize(int points) {
    points = std::clamp(points, -kMaxHeight, kMaxHeight);
    SetHeight(-MulDiv(points, 96, 72));
}

void TFont::SetStyle(TFontStyles value) {
    if (assignIfChanged(fStyle, value)) Changed();
}

void TFont::SetColor(TColor value) {
    if (assignIfChanged(fColor, value)) Changed();
}

void TFont::Assign(const TPersistent* source) {
    const auto* other = dynamic_cast<const TFont*>(source);
    if (!other) {
        TPersistent::Assign(source);
        return;
    }
    bool changed = assignIfChanged(fName, other->fName);
    changed |= assignIfChanged(fHeight, other->fHeight);
    changed |= assignIfChanged(fStyle, other->fStyle);
    changed |= assignIfChanged(fColor, other->fColor);
    if (changed) Changed();
}

} // namespace orn
