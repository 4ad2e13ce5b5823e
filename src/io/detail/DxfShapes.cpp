// POLYLINE with its VERTEX entities, and HATCH: the entities whose structure spans many groups.

#include "io/detail/DxfEntities.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace orn::detail::dxf {

namespace {
constexpr double kDeg = std::numbers::pi / 180;

void Mesh(const Ent& header, const std::vector<Vec>& v, int flags, Batch& b) {
    const std::int64_t m = header.I(71, 0), n = header.I(72, 0);
    if (m < 1 || n < 1 || m * n != static_cast<std::int64_t>(v.size()))
        throw Bad{header.Where(), "polygon mesh of " + std::to_string(m) + " × " + std::to_string(n) +
                                      " vertices has " + std::to_string(v.size())};
    const bool closedM = flags & 1, closedN = flags & 32;
    auto at = [&](std::int64_t i, std::int64_t j) {
        return v[static_cast<std::size_t>((i % m) * n + j % n)];
    };
    for (std::int64_t i = 0; i + 1 < m + (closedM ? 1 : 0); ++i)
        for (std::int64_t j = 0; j + 1 < n + (closedN ? 1 : 0); ++j) {
            AddQuad(b, at(i, j), at(i + 1, j), at(i + 1, j + 1), at(i, j + 1));
        }
}

} // namespace

void BuildPolyline(const Ent& header, const std::vector<Ent>& vertices, EntityContext& ctx) {
    Batch* b = Target(ctx, header);
    if (!b) return;
    const int flags = static_cast<int>(header.I(70, 0));
    std::vector<Vec> pts;
    if (flags & 64) { // polyface mesh: positions, then faces of 3 or 4 indices (1-based)
        std::vector<Vec> positions;
        for (const Ent& v : vertices)
            if ((v.I(70, 0) & 192) == 192 || (v.I(70, 0) & 128) == 0) positions.push_back(v.P(10));
        int badFaces = 0;
        for (const Ent& v : vertices) {
            if ((v.I(70, 0) & 192) != 128) continue;
            Vec corner[4];
            int count = 0;
            unsigned hidden = 0;
            for (int code = 71; code <= 74; ++code) {
                const std::int64_t i = v.I(code, 0);
                if (i == 0) continue;
                if (std::llabs(i) > static_cast<std::int64_t>(positions.size())) {
                    count = -1;
                    break;
                }
                // A negative index hides the edge that starts at that corner.
                if (i < 0) hidden |= 1u << count;
                corner[count++] = positions[static_cast<std::size_t>(std::llabs(i) - 1)];
            }
            if (count < 3) {
                badFaces += count < 0;
                continue;
            }
            if (count == 3) hidden = (hidden & 3) | (hidden & 4) << 1; // its third edge closes it
            AddQuad(*b, corner[0], corner[1], corner[2], count == 4 ? corner[3] : corner[2], hidden);
        }
        if (badFaces)
            Note(ctx.report, "line " + std::to_string(header.Where()) + ": polyface mesh with " +
                                 std::to_string(badFaces) + " faces naming missing vertices");
        return;
    }
    std::vector<Vec> v;
    std::vector<double> bulge;
    for (const Ent& e : vertices) {
        if (e.I(70, 0) & 16) continue; // a spline frame's control point, not on the curve
        v.push_back(e.P(10));
        bulge.push_back(e.D(42, 0));
    }
    if (flags & 16) {
        Mesh(header, v, flags, *b);
        return;
    }
    if (v.empty()) throw Bad{header.Where(), "POLYLINE without vertices"};
    const bool closed = flags & 1;
    if (flags & 8) { // 3D: world coordinates, straight
        AddPolyline(*b, v, closed);
        return;
    }
    const double elevation = header.P(10).z;
    for (Vec& p : v)
        p.z = elevation;
    pts.push_back(v[0]);
    const std::size_t n = v.size();
    for (std::size_t i = 0; i + 1 < n + (closed ? 1 : 0); ++i)
        BulgePoints(v[i], v[(i + 1) % n], bulge[i], ctx.options.circleSegments, ctx.options.tolerance, pts);
    const Ocs ocs = MakeOcs(header.P(210, {0, 0, 1}));
    for (Vec& p : pts)
        p = ocs.ToWorld(p);
    AddPolyline(*b, pts, false);
}

namespace {

/// Walks the groups of a HATCH in order: its boundary paths are a sequence whose shape the counts
/// in it describe; the walk never trusts a count beyond the groups that are really there.
class Cursor {
public:
    explicit Cursor(const Ent& e) : fAt(e.begin()), fEnd(e.end()) {}
    bool AtEnd() const { return fAt == fEnd; }
    int Code() const { return fAt == fEnd ? -1 : fAt->code; }
    /// The next group of that code, skipping others up to it; throws when there is none.
    const Group& Take(int code) {
        while (fAt != fEnd && fAt->code != code)
            ++fAt;
        if (fAt == fEnd) throw Bad{fLast, "HATCH ends before its group " + std::to_string(code)};
        fLast = fAt->where;
        return *fAt++;
    }
    double D(int code) { return Num(Take(code)); }
    std::int64_t I(int code) { return Int(Take(code)); }
    /// Skips to the next group of code when one comes before any group of stop; false otherwise.
    bool SeekBefore(int code, int stop) {
        for (const Group* g = fAt; g != fEnd; ++g) {
            if (g->code == code) {
                fAt = g;
                return true;
            }
            if (g->code == stop) return false;
        }
        return false;
    }

private:
    const Group* fAt;
    const Group* fEnd;
    std::int64_t fLast = 0;
};

void Edge(Cursor& c, int type, const ReadOptions& options, std::vector<Vec>& loop) {
    int segments = options.circleSegments;
    std::vector<Vec> pts;
    if (type == 1) {
        pts.push_back({c.D(10), c.D(20), 0});
        pts.push_back({c.D(11), c.D(21), 0});
    } else if (type == 2 || type == 3) {
        const double cx = c.D(10), cy = c.D(20);
        double mx = 0, my = 0, r;
        if (type == 3) {
            mx = c.D(11), my = c.D(21);
            r = c.D(40); // minor to major ratio
        } else {
            r = c.D(40);
        }
        const double a0 = c.D(50) * kDeg, a1 = c.D(51) * kDeg;
        const bool ccw = c.I(73) != 0;
        segments = CircleSegments(segments, options.tolerance, type == 2 ? r : std::hypot(mx, my));
        std::vector<Vec> unit;
        // Clockwise arcs give their angles mirrored: the path runs from −a0 down to −a1.
        ArcPoints(0, 0, 1, a0, a1, segments, unit);
        for (Vec& u : unit) {
            if (!ccw) u.y = -u.y;
            if (type == 2)
                pts.push_back({cx + r * u.x, cy + r * u.y, 0});
            else // parametric angles on the ellipse of major axis (mx, my)
                pts.push_back({cx + mx * u.x - my * r * u.y, cy + my * u.x + mx * r * u.y, 0});
        }
    } else if (type == 4) {
        const int degree = static_cast<int>(c.I(94));
        const std::int64_t knotCount = c.I(95), controlCount = c.I(96);
        std::vector<double> knots, weights;
        std::vector<Vec> control;
        for (std::int64_t i = 0; i < knotCount && c.Code() == 40; ++i)
            knots.push_back(c.D(40));
        for (std::int64_t i = 0; i < controlCount && c.Code() == 10; ++i) {
            control.push_back({c.D(10), c.D(20), 0});
            if (c.Code() == 42) weights.push_back(c.D(42));
        }
        if (!SplinePoints(degree, knots, control, weights, segments / 4 + 1, pts))
            throw Bad{0, "HATCH spline edge whose degree, knots and control points do not fit together"};
    } else {
        throw Bad{0, "HATCH edge of unknown type " + std::to_string(type)};
    }
    for (const Vec& p : pts)
        if (loop.empty() || std::hypot(loop.back().x - p.x, loop.back().y - p.y) > 1e-9) loop.push_back(p);
}

} // namespace

void BuildHatch(const Ent& e, EntityContext& ctx) {
    Batch* b = Target(ctx, e);
    if (!b) return;
    Cursor c(e);
    const double elevation = e.P(10).z;
    const bool solid = e.I(70, 0) == 1;
    const std::int64_t paths = c.I(91);
    std::vector<std::vector<Vec>> loops;
    try {
        for (std::int64_t p = 0; p < paths && c.SeekBefore(92, 75); ++p) {
            const std::int64_t kind = c.I(92);
            auto& loop = loops.emplace_back();
            if (kind & 2) { // a polyline path
                const bool hasBulge = c.I(72) != 0;
                c.I(73);
                const std::int64_t count = c.I(93);
                std::vector<Vec> v;
                std::vector<double> bulge;
                for (std::int64_t i = 0; i < count && c.Code() == 10; ++i) {
                    v.push_back({c.D(10), c.D(20), 0});
                    bulge.push_back(hasBulge && c.Code() == 42 ? c.D(42) : 0);
                }
                if (v.empty()) continue;
                loop.push_back(v[0]);
                for (std::size_t i = 0; i < v.size(); ++i)
                    BulgePoints(v[i], v[(i + 1) % v.size()], bulge[i], ctx.options.circleSegments,
                                ctx.options.tolerance, loop);
            } else {
                const std::int64_t edges = c.I(93);
                for (std::int64_t i = 0; i < edges && c.Code() == 72; ++i)
                    Edge(c, static_cast<int>(c.I(72)), ctx.options, loop);
            }
        }
    } catch (Bad& bad) {
        if (bad.where == 0) bad.where = e.Where();
        throw;
    }
    const Ocs ocs = MakeOcs(e.P(210, {0, 0, 1}));
    if (solid) {
        std::vector<Vec> tris;
        FillLoops(loops, tris);
        for (std::size_t i = 0; i + 2 < tris.size(); i += 3) {
            Vec t[3];
            for (int k = 0; k < 3; ++k)
                t[k] = ocs.ToWorld({tris[i + k].x, tris[i + k].y, elevation});
            AddTriangle(*b, t[0], t[1], t[2]);
        }
        return;
    }
    for (auto& loop : loops) { // a pattern: its boundary, not a pattern we would have to invent
        for (Vec& p : loop)
            p = ocs.ToWorld({p.x, p.y, elevation});
        AddPolyline(*b, loop, true);
    }
}

} // namespace orn::detail::dxf
