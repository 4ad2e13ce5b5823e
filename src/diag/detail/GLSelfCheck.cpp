#include "diag/detail/GLSelfCheck.h"

#include <GL/gl.h>

namespace orn::detail {

void GLSelfCheck() {
    glPushMatrix();
    glPopMatrix();
}

} // namespace orn::detail
