#pragma once

#include <orn/host/TFont.h>
#include <orn/math/TOrnCustomExchange.h>
#include <orn/math/TOrnPropList.h>

namespace orn {

/// A host font with an alpha for its colour, written to the scene file as an element of its own.
class TOrnFont : public TFont, public TOrnExchangeItem {
    ORN_CLASS(TOrnFont)
public:
    TOrnFont() = default;
    TOrnFont(const TOrnFont&) = delete;
    TOrnFont& operator=(const TOrnFont&) = delete;

    /// The opacity of the font colour, 0 … 1; other values are ignored.
    float Alpha() const { return fAlpha; }
    void SetAlpha(float value);

    /// Every font property from another TFont (and Alpha from a TOrnFont); notifies once.
    void Assign(const TPersistent* source) override;

    ORN_DECLARE_PROPERTIES(TOrnFont)

private:
    float fAlpha = 1.0f;
};

} // namespace orn
