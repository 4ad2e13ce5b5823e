#pragma once

#include <orn/geometry/TOrnPrimitiveObj.h>
#include <orn/math/TOrnPropList.h>

#include <functional>

namespace orn {

/// A function of a point V and a parameter t giving a point: the row and column functions of a
/// function surface. Empty = unassigned.
using Tfunction = std::function<TOrnMathVector(const TOrnMathVector& V, double t)>;

/// Which grid directions close on themselves when normals are computed: rows (the row index wraps),
/// columns (the column index wraps) or both.
enum TConnectMode { cmConnectNone, cmConnectX, cmConnectY, cmConnectBoth };

/// A parametric surface on a grid of (Stacks × OverDraw + 1) rows of (Slices + 1) points.
///
/// The row function (OnCalcZ) is chained: row i receives the previous row's point and the parameter
/// i / Stacks, so it runs from 0 to OverDraw. The column function (OnCalcXY) maps a row's point and
/// j / Slices (0 … 1) to the surface point. Neighbouring rows are joined by one quad strip each.
/// Normals come from re-evaluating both functions at the neighbouring parameters, not from the
/// stored points. With no function assigned every point is the origin.
///
/// Stacks or Slices of 0 or below build an empty object (no points, no strips): the parameters
/// divide by them. An OverDraw of 0 builds one row and no strips; below 0, nothing.
class TOrnCustomFuncObj : public TOrnPrimitiveObj {
    ORN_CLASS(TOrnCustomFuncObj)
public:
    explicit TOrnCustomFuncObj(TComponent* owner);

    /// The column function: (row point, j / Slices) → surface point.
    Tfunction OnCalcXY;
    /// The row function: (previous row point, i / Stacks) → row point.
    Tfunction OnCalcZ;
    /// The one setter of both events: index 0 OnCalcXY, 1 OnCalcZ; other indices do nothing.
    void SetOnCalc(int index, Tfunction event);

    /// How many times the row parameter runs through 0 … 1.
    int OverDraw() const { return fOverDraw; }
    void SetOverDraw(int value);
    /// Rows per unit of the row parameter.
    int Stacks() const { return fStacks; }
    void SetStacks(int value);
    /// Columns across the column parameter 0 … 1.
    int Slices() const { return fSlices; }
    void SetSlices(int value);
    TConnectMode ConnectMode() const { return fConnectMode; }

    /// The object's own texture coordinate of a grid point: in txStandard (a / ScaleX − ShiftX,
    /// b / ScaleY − ShiftY, 0), otherwise (0, 0, 0) and the texture rule supplies it.
    TOrnMathVector TextureIt(const TOrnMathVector& p, double a, double b) const;
    /// The unit normal at grid point (row, column) of a grid with the given stacks and slices, from
    /// the functions evaluated at that point and its neighbours. Note: the row function starts here
    /// from (0, 0, 1), not from the chained value of the build; the last two rows share a normal.
    /// The zero vector when stacks or slices is 0 or below.
    TOrnMathVector CalcNormal(int row, int stacks, int column, int slices);

    void Assign(const TPersistent* source) override;
    ORN_DECLARE_PROPERTIES(TOrnCustomFuncObj)

    /// The row function: OnCalcZ(V, t) when assigned, else V.
    virtual TOrnMathVector calcz(const TOrnMathVector& V, double t);
    /// The column function: OnCalcXY(V, t) when assigned, else V.
    virtual TOrnMathVector calcxy(const TOrnMathVector& V, double t);

protected:
    void InitPoints() override;
    void InitPrimitives() override;
    void SetConnectMode(TConnectMode value);
    /// The last row index Stacks × OverDraw, or −1 when the grid is empty.
    std::int64_t LastRow() const;

private:
    int fOverDraw = 1;
    int fStacks = 10;
    int fSlices = 10;
    TConnectMode fConnectMode = cmConnectNone;
};

} // namespace orn
