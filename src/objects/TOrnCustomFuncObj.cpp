#include <orn/objects/TOrnCustomFuncObj.h>
#include <orn/objects/TOrnFuncObj.h>
#include <orn/scene/TOrnRegistry.h>

#include <utility>

namespace orn {

ORN_REGISTER_RENDER_CLASS(TOrnCustomFuncObj, "Orn Obj")
ORN_REGISTER_RENDER_CLASS(TOrnFuncObj, "Orn Obj")

TOrnCustomFuncObj::TOrnCustomFuncObj(TComponent* owner) : TOrnPrimitiveObj(owner) {}

void TOrnCustomFuncObj::SetOnCalc(int index, Tfunction event) {
    if (index == 0)
        OnCalcXY = std::move(event);
    else if (index == 1)
        OnCalcZ = std::move(event);
    else
        return;
    Invalidate();
}

void TOrnCustomFuncObj::SetOverDraw(int value) {
    if (assignIfChanged(fOverDraw, value)) Invalidate();
}

void TOrnCustomFuncObj::SetStacks(int value) {
    if (assignIfChanged(fStacks, value)) Invalidate();
}

void TOrnCustomFuncObj::SetSlices(int value) {
    if (assignIfChanged(fSlices, value)) Invalidate();
}

void TOrnCustomFuncObj::SetConnectMode(TConnectMode value) {
    if (assignIfChanged(fConnectMode, value)) Invalidate();
}

TOrnMathVector TOrnCustomFuncObj::calcz(const TOrnMathVector& V, double t) {
    return OnCalcZ ? OnCalcZ(V, t) : V;
}

TOrnMathVector TOrnCustomFuncObj::calcxy(const TOrnMathVector& V, double t) {
    return OnCalcXY ? OnCalcXY(V, t) : V;
}

TOrnMathVector TOrnCustomFuncObj::TextureIt(const TOrnMathVector&, double a, double b) const {
    const TOrnTextureFlags& f = *TextureFlags();
    if (f.Mode() != txStandard) return {};
    return {a / f.ScaleX() - f.ShiftX(), b / f.ScaleY() - f.ShiftY(), 0};
}

std::int64_t TOrnCustomFuncObj::LastRow() const {
    if (fStacks <= 0 || fSlices <= 0 || fOverDraw < 0) return -1;
    return std::int64_t{fStacks} * fOverDraw;
}

TOrnMathVector TOrnCustomFuncObj::CalcNormal(int row, int stacks, int column, int slices) {
    if (stacks <= 0 || slices <= 0) return {};
    const std::int64_t R = std::int64_t{stacks} * fOverDraw;
    const std::int64_t S = slices;
    const double st = stacks, sl = slices;
    std::int64_t i = row, j = column;
    TOrnMathVector A{0, 0, 1}, P0, P1;
    // A wrap needs at least one row (column) to wrap over; a degenerate grid falls back to open.
    if ((fConnectMode == cmConnectX || fConnectMode == cmConnectBoth) && R > 0) {
        A = calcz(A, static_cast<double>(i % R) / st);
        P0 = A;
        P1 = calcz(A, static_cast<double>((i + 1) % R) / st);
    } else {
        if (i + 1 >= R) i = R - 2; // the last two rows share one normal: kept as the surface always was
        A = calcz(A, static_cast<double>(i) / st);
        P0 = A;
        P1 = calcz(A, static_cast<double>(i + 1) / st);
    }
    if (fConnectMode == cmConnectY || fConnectMode == cmConnectBoth) {
        A = calcxy(A, static_cast<double>((j + 1) % S) / sl);
        P0 = calcxy(P0, static_cast<double>(j % S) / sl);
        P1 = calcxy(P1, static_cast<double>((j + 1) % S) / sl);
    } else {
        if (j >= S) j = S - 1;
        A = calcxy(A, static_cast<double>(j + 1) / sl);
        P0 = calcxy(P0, static_cast<double>(j) / sl);
        P1 = calcxy(P1, static_cast<double>(j + 1) / sl);
    }
    TOrnMathVector n;
    OrnMathNormalVector(A, P0, P1, true, n);
    return n;
}

void TOrnCustomFuncObj::InitPoints() {
    const std::int64_t R = LastRow();
    if (R < 0) return;
    const std::int64_t S = fSlices;
    CheckBuildSize((R + 1) * (S + 1), "Function surface");
    fPoints->SetSize(static_cast<int>((R + 1) * (S + 1)));
    const double st = fStacks, sl = fSlices;
    TOrnMathVector V = calcz({0, 0, 0}, 0);
    for (std::int64_t i = 0; i <= R; ++i) {
        const TOrnMathVector P = calcz(V, static_cast<double>(i) / st);
        V = P; // the row function is chained: each row starts from the previous row's point
        for (std::int64_t j = 0; j <= S; ++j) {
            const TOrnMathVector Q = calcxy(P, static_cast<double>(j) / sl);
            // The second coordinate runs from 1 / Stacks on: kept as the surface always was.
            const TOrnMathVector T =
                TextureIt(Q, static_cast<double>(S - j) / sl, static_cast<double>(i + 1) / st);
            const TOrnMathVector N = CalcNormal(static_cast<int>(i), fStacks, static_cast<int>(j), fSlices);
            const int index = AddPoint(Q, N, T.x, T.y, 0b11);
            CalcTexturePoint(index);
        }
    }
}

void TOrnCustomFuncObj::InitPrimitives() {
    DeletePrimitiveArray(0, PrimitiveCount());
    const std::int64_t R = LastRow();
    const auto row = static_cast<std::uint32_t>(fSlices + 1);
    for (std::int64_t r = 1; r <= R; ++r) {
        TOrnPrimitiveArray* list = Primitive(AddPrimitiveArray(GL_QUAD_STRIP));
        std::uint32_t* out = list->Append(2 * fSlices + 2);
        const auto below = static_cast<std::uint32_t>(r - 1) * row,
                   above = static_cast<std::uint32_t>(r) * row;
        for (std::uint32_t c = 0; c < row; ++c) {
            *out++ = below + c;
            *out++ = above + c;
        }
    }
}

void TOrnCustomFuncObj::Assign(const TPersistent* source) {
    if (auto* f = dynamic_cast<const TOrnCustomFuncObj*>(source)) {
        OnCalcXY = f->OnCalcXY;
        OnCalcZ = f->OnCalcZ;
        fConnectMode = f->fConnectMode;
    }
    TOrnPrimitiveObj::Assign(source);
}

ORN_DESCRIBE_PROPERTIES(TOrnCustomFuncObj, &TOrnPrimitiveObj::ClassProperties()) {
    b.Value("overdraw", &TOrnCustomFuncObj::fOverDraw, &TOrnCustomFuncObj::SetOverDraw, 1);
    ORN_PROP(b, TOrnCustomFuncObj, Stacks, 10);
    ORN_PROP(b, TOrnCustomFuncObj, Slices, 10);
}

} // namespace orn
