#pragma once

#include <orn/math/TOrnColor.h>

namespace orn::detail {

/// Copies colour and alpha of source into an owned colour and notifies through the owned colour's
/// handler, which it keeps: a colour's own Assign would hand its notifications to the source's
/// owner, which may die before this component does.
inline void CopyColor(TOrnColor& owned, const TOrnColor* source) {
    if (!source || source == &owned) return;
    TNotifyEvent handler = owned.OnChange;
    owned.Assign(source);
    owned.OnChange = std::move(handler);
}

} // namespace orn::detail
