#pragma once

#include <orn/host/TControl.h>

#include <string>
#include <vector>

namespace orn {

class TOrnView;
struct TOrnGLStatus;

/// The about box's lines: product name, version, build date and licence, then the GL vendor,
/// renderer and version from status (left out when status is nullptr).
std::vector<std::string> OrnAboutLines(const TOrnGLStatus* status);

/// A box that shows OrnAboutLines, centred line by line over a framed panel.
class TOrnAboutBox : public TControl {
    ORN_CLASS(TOrnAboutBox)
public:
    explicit TOrnAboutBox(TComponent* owner);

    /// Takes the GL strings of view's context (it must be active: EOrnError otherwise).
    void LoadFromView(TOrnView& view);
    /// Shows the library's lines only.
    void ClearGLStatus();
    const std::vector<std::string>& Lines() const { return fLines; }
    /// The lines as text, one per line.
    std::string Text() const;

    void Paint(TCanvas& canvas) override;

private:
    std::vector<std::string> fLines;
};

} // namespace orn
