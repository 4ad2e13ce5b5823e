#pragma once

#include <orn/objects/TOrnPointSet.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace orn::detail {

/// A grid as a data file holds it.
struct PointSetGrid {
    int rows = 0;
    int columns = 0;
    std::vector<double> values; // rows × columns heights, or × 3 coordinates for pfXYZ
};

/// Parses the text of a point-set data file; throws EOrnError naming sourceName, the line and the
/// reason. columns is needed for pfXYZ only.
PointSetGrid ParsePointSet(std::string_view text, TOrnPointSetFormat format, int columns,
                           std::int64_t maxPoints, const std::string& sourceName);

/// The data-file text of a grid; every number in its shortest exact form.
std::string FormatPointSet(const PointSetGrid& grid, TOrnPointSetFormat format);

} // namespace orn::detail
