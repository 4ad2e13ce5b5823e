#pragma once

namespace orn::detail {

/// Pushes and pops the current matrix: a harmless round trip through the library's own GL calls,
/// used to prove that traced GL calls made inside the library are seen. Needs a current context.
void GLSelfCheck();

} // namespace orn::detail
