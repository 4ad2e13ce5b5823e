#include <orn/host/TPersistent.h>

namespace orn {

void TPersistent::Assign(const TPersistent* source) {
    if (source) source->AssignTo(this);
}

void TPersistent::AssignTo(TPersistent*) const {}

} // namespace orn
