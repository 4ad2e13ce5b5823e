#include <orn/diag/OrnVersionInfo.h>
#include <orn/diag/TOrnAboutBox.h>
#include <orn/diag/TOrnGLStatus.h>

#include "host/detail/ControlPaint.h"

namespace orn {

std::vector<std::string> OrnAboutLines(const TOrnGLStatus* status) {
    std::vector<std::string> lines{OrnProductName(), "Version " + OrnVersion(), "Built " + OrnBuildDate(),
                                   OrnLicence()};
    if (status) {
        lines.push_back("GL vendor: " + status->Vendor);
        lines.push_back("GL renderer: " + status->Renderer);
        lines.push_back("GL version: " + status->Version);
    }
    return lines;
}

TOrnAboutBox::TOrnAboutBox(TComponent* owner) : TControl(owner), fLines(OrnAboutLines(nullptr)) {
    SetBounds(0, 0, 420, 150);
    SetColor(clWhite);
}

void TOrnAboutBox::LoadFromView(TOrnView& view) {
    const TOrnGLStatus status = GetGLStatus(view);
    fLines = OrnAboutLines(&status);
    Invalidate();
}

void TOrnAboutBox::ClearGLStatus() {
    fLines = OrnAboutLines(nullptr);
    Invalidate();
}

std::string TOrnAboutBox::Text() const {
    std::string text;
    for (const std::string& line : fLines)
        text += line + "\n";
    return text;
}

void TOrnAboutBox::Paint(TCanvas& canvas) {
    const TRect whole = Rect(0, 0, Width(), Height());
    detail::FillSolid(canvas, whole, Color());
    detail::Frame(canvas, whole, clNavy);
    canvas.Font().Assign(&Font());
    const int lineHeight = canvas.TextHeight("Ag");
    const int count = static_cast<int>(fLines.size());
    int y = (Height() - lineHeight * count) / 2;
    for (int i = 0; i < count; ++i, y += lineHeight)
        // The product line stands out; the rest is plain.
        detail::TextCentered(canvas, Font(), Rect(1, y, Width() - 1, y + lineHeight),
                             fLines[static_cast<std::size_t>(i)], i == 0 ? clNavy : clBlack);
}

} // namespace orn
