#include <orn/math/TOrnProperty.h>

namespace orn {

void TOrnProperty::Changed() {
    if (OnChange) OnChange(this);
}

void TOrnProperty::Assign(const TPersistent* source) {
    if (auto* p = dynamic_cast<const TOrnProperty*>(source)) OnChange = p->OnChange;
}

void TOrnRenderProperty::Render() {}

} // namespace orn
