#pragma once

// From the drawing as read to nodes and objects.

#include "io/detail/DxfModel.h"

namespace orn {
class TOrnNode;
}

namespace orn::detail::dxf {

/// Metres per drawing unit of $INSUNITS code units (1 for unitless and unknown codes).
double UnitToMetres(int units);

/// Builds the drawing into target: a node "Drawing" (its transformation holds the scale and the
/// shift to the local origin) with a node per layer and a disabled node "Blocks". The model's own
/// batches are emptied as they become objects.
void BuildNodes(Model& model, TOrnDXFReport& report, TOrnNode& target, double scale);

} // namespace orn::detail::dxf
