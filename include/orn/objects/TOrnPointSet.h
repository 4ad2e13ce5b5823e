#pragma once

#include <orn/geometry/TOrnPrimitiveObj.h>
#include <orn/math/TOrnPropList.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace orn {

/// How a point-set data file lays out its grid: a matrix of heights (one grid row per line) or one
/// point per line as x y z, row after row, with the grid's columns given by Columns.
enum TOrnPointSetFormat { pfMatrix, pfXYZ };
extern const char* const kPointSetFormatNames[2];

/// A grid surface read from a data file and written back.
///
/// Data files are text: numbers separated by spaces, tabs or commas (one comma between two
/// numbers), blank lines and lines starting with '#' skipped. In pfMatrix every line is one grid
/// row of heights, and point (row r, column c) stands at (c × SpacingX, r × SpacingY, height ×
/// HeightScale). In pfXYZ every line is one point x y z, the points fill the grid row by row, Columns
/// points to a row, and stand at (x, y, z × HeightScale).
///
/// A file with a ragged row, a value that is not a number, NaN or infinity, more points than
/// MaxPoints, or no point at all is refused with an EOrnError naming the file, the line and the
/// reason; the grid and the geometry held before stay. The writer writes every number so that it
/// reads back to the same double.
///
/// Neighbouring rows are joined by quad strips facing +z; normals are averaged from the faces.
/// With ColorByHeight each point gets a colour from ColorRamp (its stops spread evenly from the
/// lowest to the highest height) in the pool's colour array.
class TOrnPointSet : public TOrnPrimitiveObj {
    ORN_CLASS(TOrnPointSet)
public:
    explicit TOrnPointSet(TComponent* owner);

    /// The file the grid was read from.
    const std::string& FileName() const { return fFileName; }
    /// Reads the grid from path (LoadFromFile); on failure it throws and nothing changes.
    void SetFileName(const std::string& path);
    TOrnPointSetFormat Format() const { return fFormat; }
    /// The layout of files read and written from now on; a grid already held is converted (x and y
    /// of pfXYZ points are lost on the way to pfMatrix).
    void SetFormat(TOrnPointSetFormat value);
    /// Points per grid row: given for pfXYZ files, the file's width after a pfMatrix file is read.
    /// Values below 1 are ignored; while a grid is held, only a pfXYZ grid whose points fill whole
    /// rows of the new width is reshaped, otherwise the value is ignored.
    int Columns() const { return fColumns; }
    void SetColumns(int value);
    int Rows() const { return fRows; }
    double SpacingX() const { return fSpacingX; }
    void SetSpacingX(double value);
    double SpacingY() const { return fSpacingY; }
    void SetSpacingY(double value);
    double HeightScale() const { return fHeightScale; }
    void SetHeightScale(double value);
    /// The most points a file may hold (values below 1 are ignored); default 2^24.
    std::int64_t MaxPoints() const { return fMaxPoints; }
    void SetMaxPoints(std::int64_t value);
    bool ColorByHeight() const { return fColorByHeight; }
    void SetColorByHeight(bool value);
    /// Colours from the lowest to the highest height; an empty ramp is ignored.
    const std::vector<TColor>& ColorRamp() const { return fColorRamp; }
    void SetColorRamp(const std::vector<TColor>& value);

    /// The values as read: Rows × Columns heights (pfMatrix) or Rows × Columns × 3 coordinates (pfXYZ).
    const std::vector<double>& Values() const { return fValues; }
    /// The unscaled grid point (row, column) as the file gives it; the zero vector outside the grid.
    TOrnMathVector GridPoint(int row, int column) const;

    /// Reads a data file in the current Format; throws EOrnError and keeps the grid on failure.
    void LoadFromFile(const std::string& path);
    /// Reads data from text; sourceName names it in error messages.
    void ReadFromText(std::string_view text, const std::string& sourceName);
    /// Writes the grid to a data file in the current Format; throws EOrnError when it cannot.
    void SaveToFile(const std::string& path) const;
    /// The grid as the text of a data file.
    std::string WriteToText() const;

    void Assign(const TPersistent* source) override;
    /// "FileName" (the data, written beside the scene file under a new name), "Format", "Columns",
    /// "SpacingX", "SpacingY", "HeightScale", "MaxPoints", "ColorByHeight", "ColorRamp", and what
    /// every primitive object writes.
    void WriteValues(TOrnCustomExchange& exchange) override;
    void ReadValues(TOrnCustomExchange& exchange) override;
    ORN_DECLARE_PROPERTIES(TOrnPointSet)

protected:
    void InitPoints() override;
    void InitPrimitives() override;

private:
    void ApplyColors();

    std::string fFileName;
    TOrnPointSetFormat fFormat = pfMatrix;
    int fColumns = 0;
    int fRows = 0;
    double fSpacingX = 1.0;
    double fSpacingY = 1.0;
    double fHeightScale = 1.0;
    std::int64_t fMaxPoints = std::int64_t{1} << 24;
    bool fColorByHeight = false;
    std::vector<TColor> fColorRamp;
    std::vector<double> fValues;
};

} // namespace orn
