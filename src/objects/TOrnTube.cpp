#include <orn/objects/TOrnTube.h>
#include <orn/scene/TOrnRegistry.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <numbers>
#include <string>

namespace orn {

ORN_REGISTER_RENDER_CLASS(TOrnTube, "Orn Obj")

namespace {

TOrnMathVector operator+(const TOrnMathVector& a, const TOrnMathVector& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
TOrnMathVector operator-(const TOrnMathVector& a, const TOrnMathVector& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
TOrnMathVector operator*(const TOrnMathVector& a, double s) {
    return {a.x * s, a.y * s, a.z * s};
}
double dot(const TOrnMathVector& a, const TOrnMathVector& b) {
    return OrnMathDotProduct(a, b);
}
TOrnMathVector cross(const TOrnMathVector& a, const TOrnMathVector& b) {
    TOrnMathVector r;
    OrnMathCrossProduct(a, b, r);
    return r;
}
TOrnMathVector unit(TOrnMathVector v) {
    OrnMathNormalize(v);
    return v;
}
bool finite(const TOrnMathVector& v) {
    return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

/// v rotated about the unit axis a by the angle whose cosine is c and sine is s.
TOrnMathVector rotate(const TOrnMathVector& v, const TOrnMathVector& a, double c, double s) {
    return v * c + cross(a, v) * s + a * (dot(a, v) * (1 - c));
}

/// A unit vector across t: the axis least aligned with t, made perpendicular.
TOrnMathVector anyNormal(const TOrnMathVector& t) {
    const double ax = std::fabs(t.x), ay = std::fabs(t.y), az = std::fabs(t.z);
    const TOrnMathVector axis = ax <= ay && ax <= az ? TOrnMathVector{1, 0, 0}
                                : ay <= az           ? TOrnMathVector{0, 1, 0}
                                                     : TOrnMathVector{0, 0, 1};
    return unit(axis - t * dot(axis, t));
}

constexpr double kSamePoint = 1e-12;

} // namespace

TOrnTube::TOrnTube(TComponent* owner) : TOrnPrimitiveObj(owner) {}

void TOrnTube::SetRadius(double value) {
    if (assignIfChanged(fRadius, value)) Invalidate();
}

void TOrnTube::SetSlices(int value) {
    if (value >= 3 && assignIfChanged(fSlices, value)) Invalidate();
}

void TOrnTube::SetCapStart(bool value) {
    if (assignIfChanged(fCapStart, value)) Invalidate();
}

void TOrnTube::SetCapEnd(bool value) {
    if (assignIfChanged(fCapEnd, value)) Invalidate();
}

void TOrnTube::SetClosedPath(bool value) {
    if (assignIfChanged(fClosedPath, value)) Invalidate();
}

void TOrnTube::SetPathSteps(int value) {
    if (value >= 1 && assignIfChanged(fPathSteps, value)) Invalidate();
}

void TOrnTube::Add(const TOrnMathVector& p) {
    Add(p, -1);
}

void TOrnTube::Add(const TOrnMathVector& p, double radius) {
    Insert(Count(), p, radius);
}

void TOrnTube::Insert(int position, const TOrnMathVector& p, double radius) {
    position = std::clamp(position, 0, Count());
    fPath.insert(fPath.begin() + position, {p, radius});
    Invalidate();
}

void TOrnTube::Delete(int position) {
    if (position < 0 || position >= Count()) return;
    fPath.erase(fPath.begin() + position);
    Invalidate();
}

void TOrnTube::Clear() {
    fPath.clear();
    Invalidate();
}

TOrnMathVector TOrnTube::PathPoint(int position) const {
    return position >= 0 && position < Count() ? fPath[static_cast<std::size_t>(position)].p
                                               : TOrnMathVector{};
}

std::vector<TOrnTube::PathPointData> TOrnTube::BuildPath() {
    std::vector<PathPointData> raw;
    if (OnCalcPath) {
        CheckBuildSize((std::int64_t{fPathSteps} + 1) * (fSlices + 1), "Tube");
        TOrnMathVector v;
        for (int i = 0; i <= fPathSteps; ++i) {
            v = OnCalcPath(v, static_cast<double>(i) / fPathSteps);
            raw.push_back({v, -1});
        }
    } else {
        raw = fPath;
    }
    std::vector<PathPointData> path;
    for (const auto& p : raw) {
        if (!finite(p.p)) continue;
        if (!path.empty() && OrnMathVectorDist(path.back().p, p.p) <= kSamePoint) continue;
        path.push_back({p.p, std::isfinite(p.radius) && p.radius >= 0 ? p.radius : fRadius});
    }
    // A closed path that already returns to its start closes over that point.
    if (fClosedPath && path.size() > 2 && OrnMathVectorDist(path.back().p, path.front().p) <= kSamePoint)
        path.pop_back();
    return path;
}

void TOrnTube::BuildFrames(const std::vector<PathPointData>& path) {
    fFrames.clear();
    const std::size_t n = path.size();
    if (n < 2) return;
    const bool closed = fClosedPath && n > 2;
    const std::size_t m = closed ? n + 1 : n; // a closed path ends with its first point again
    auto at = [&](std::size_t k) -> const PathPointData& { return path[k % n]; };

    fFrames.resize(m);
    for (std::size_t k = 0; k < m; ++k) {
        TOrnTubeFrame& f = fFrames[k];
        f.position = at(k).p;
        f.radius = at(k).radius;
        const bool hasPrev = k > 0 || closed, hasNext = k + 1 < m || closed;
        const TOrnMathVector prev = k > 0 ? at(k - 1).p : path[n - 1].p;
        const TOrnMathVector next = k + 1 < m ? at(k + 1).p : path[1].p;
        const TOrnMathVector in = hasPrev ? unit(f.position - prev) : TOrnMathVector{};
        const TOrnMathVector out = hasNext ? unit(next - f.position) : TOrnMathVector{};
        TOrnMathVector t = in + out;
        // Where the path turns right back the bisector vanishes: follow the way ahead.
        f.tangent = OrnMathVectorLength(t) > 1e-9 ? unit(t) : hasNext ? out : in;
    }

    // Parallel transport: each normal is the previous one turned by the rotation between the tangents.
    fFrames[0].normal = anyNormal(fFrames[0].tangent);
    for (std::size_t k = 1; k < m; ++k) {
        const TOrnMathVector& t0 = fFrames[k - 1].tangent;
        const TOrnMathVector& t1 = fFrames[k].tangent;
        TOrnMathVector axis = cross(t0, t1);
        const double s = OrnMathVectorLength(axis);
        TOrnMathVector nrm = fFrames[k - 1].normal;
        if (s > 1e-12) nrm = rotate(nrm, axis * (1 / s), dot(t0, t1), s);
        nrm = nrm - t1 * dot(nrm, t1);
        fFrames[k].normal = OrnMathVectorLength(nrm) > 1e-12 ? unit(nrm) : anyNormal(t1);
    }

    if (closed) {
        // Transport round a loop leaves a twist between the last frame and the first; spread it.
        const TOrnMathVector& t = fFrames[0].tangent;
        const TOrnMathVector& last = fFrames[m - 1].normal;
        const double twist = std::atan2(dot(t, cross(last, fFrames[0].normal)), dot(last, fFrames[0].normal));
        std::vector<double> along(m, 0.0);
        for (std::size_t k = 1; k < m; ++k)
            along[k] = along[k - 1] + OrnMathVectorDist(fFrames[k - 1].position, fFrames[k].position);
        for (std::size_t k = 1; k + 1 < m; ++k) {
            const double a = twist * along[k] / along[m - 1];
            fFrames[k].normal = unit(rotate(fFrames[k].normal, fFrames[k].tangent, std::cos(a), std::sin(a)));
        }
        fFrames[m - 1].normal = fFrames[0].normal;
    }
    for (auto& f : fFrames)
        f.binormal = cross(f.tangent, f.normal);
}

void TOrnTube::InitPoints() {
    fRingPoints = 0;
    fStartCapCentre = fEndCapCentre = -1;
    BuildFrames(BuildPath());
    const std::size_t m = fFrames.size();
    if (m < 2) return;
    const int ring = fSlices + 1;
    const bool closed = fClosedPath && m > 3;
    const bool capStart = fCapStart && !closed, capEnd = fCapEnd && !closed;
    CheckBuildSize(static_cast<std::int64_t>(m) * ring + 2 * (ring + 1), "Tube");
    fPoints->SetSize(static_cast<int>(m) * ring + (capStart ? ring + 1 : 0) + (capEnd ? ring + 1 : 0));

    std::vector<double> along(m, 0.0);
    for (std::size_t k = 1; k < m; ++k)
        along[k] = along[k - 1] + OrnMathVectorDist(fFrames[k - 1].position, fFrames[k].position);
    const double length = along[m - 1];
    const TOrnTextureFlags& tf = *TextureFlags();
    const double step = 2 * std::numbers::pi / fSlices;

    for (std::size_t k = 0; k < m; ++k) {
        const TOrnTubeFrame& f = fFrames[k];
        // A radius changing along the path tilts the surface: the normal leans back by dr/ds.
        const std::size_t a = k > 0 ? k - 1 : k, b = k + 1 < m ? k + 1 : k;
        const double ds = along[b] - along[a];
        const double slope = ds > 0 ? (fFrames[b].radius - fFrames[a].radius) / ds : 0;
        const bool seamRing = closed && (k == 0 || k + 1 == m);
        for (int j = 0; j <= fSlices; ++j) {
            const double phi = j == fSlices ? 0 : j * step; // the seam column repeats the first exactly
            const TOrnMathVector u = f.normal * std::cos(phi) + f.binormal * std::sin(phi);
            const double t = length > 0 ? along[k] / length : 0;
            const double s = static_cast<double>(j) / fSlices;
            AddPoint(f.position + u * f.radius, unit(u - f.tangent * slope), s * tf.ScaleX() + tf.ShiftX(),
                     t * tf.ScaleY() + tf.ShiftY(), seamRing || j == 0 || j == fSlices ? 1 : 0);
        }
    }
    fRingPoints = static_cast<int>(m) * ring;
    auto cap = [&](const TOrnTubeFrame& f, const TOrnMathVector& normal) {
        const int centre =
            AddPoint(f.position, normal, 0.5 * tf.ScaleX() + tf.ShiftX(), 0.5 * tf.ScaleY() + tf.ShiftY());
        for (int j = 0; j <= fSlices; ++j) {
            const double phi = j == fSlices ? 0 : j * step;
            const double c = std::cos(phi), sn = std::sin(phi);
            AddPoint(f.position + (f.normal * c + f.binormal * sn) * f.radius, normal,
                     (0.5 + 0.5 * c) * tf.ScaleX() + tf.ShiftX(),
                     (0.5 + 0.5 * sn) * tf.ScaleY() + tf.ShiftY());
        }
        return centre;
    };
    if (capStart) fStartCapCentre = cap(fFrames.front(), fFrames.front().tangent * -1);
    if (capEnd) fEndCapCentre = cap(fFrames.back(), fFrames.back().tangent);
}

void TOrnTube::InitPrimitives() {
    const int rings = fRingPoints / (fSlices + 1);
    const auto ring = static_cast<std::uint32_t>(fSlices + 1);
    for (int k = 1; k < rings; ++k) {
        TOrnPrimitiveArray* list = Primitive(AddPrimitiveArray(GL_QUAD_STRIP));
        std::uint32_t* out = list->Append(2 * fSlices + 2);
        // The later ring first, so that the faces wind counter-clockwise seen from outside.
        const std::uint32_t later = static_cast<std::uint32_t>(k) * ring, earlier = later - ring;
        for (std::uint32_t j = 0; j < ring; ++j) {
            *out++ = later + j;
            *out++ = earlier + j;
        }
    }
    auto fan = [&](int centre, bool reversed) {
        TOrnPrimitiveArray* list = Primitive(AddPrimitiveArray(GL_TRIANGLE_FAN));
        list->AddIndex(static_cast<std::uint32_t>(centre));
        for (std::uint32_t j = 0; j < ring; ++j)
            list->AddIndex(static_cast<std::uint32_t>(centre) + 1 + (reversed ? ring - 1 - j : j));
    };
    if (fStartCapCentre >= 0) fan(fStartCapCentre, true); // facing back along the path
    if (fEndCapCentre >= 0) fan(fEndCapCentre, false);
}

void TOrnTube::Assign(const TPersistent* source) {
    if (auto* t = dynamic_cast<const TOrnTube*>(source)) {
        OnCalcPath = t->OnCalcPath;
        fFrames = t->fFrames;
        fRingPoints = t->fRingPoints;
        fStartCapCentre = t->fStartCapCentre;
        fEndCapCentre = t->fEndCapCentre;
    }
    TOrnPrimitiveObj::Assign(source);
}

ORN_DESCRIBE_PROPERTIES(TOrnTube, &TOrnPrimitiveObj::ClassProperties()) {
    ORN_PROP(b, TOrnTube, Radius, 0.25);
    ORN_PROP(b, TOrnTube, Slices, 12);
    ORN_PROP(b, TOrnTube, CapStart, false);
    ORN_PROP(b, TOrnTube, CapEnd, false);
    ORN_PROP(b, TOrnTube, ClosedPath, false);
    ORN_PROP(b, TOrnTube, PathSteps, 32);
    // x, y, z and radius of each path point.
    b.Groups(
        "Points", 4,
        [](const TOrnTube& t) {
            std::vector<double> v;
            for (const auto& p : t.fPath)
                v.insert(v.end(), {p.p.x, p.p.y, p.p.z, p.radius});
            return v;
        },
        [](TOrnTube& t, std::vector<double> v) {
            t.fPath.clear();
            for (std::size_t i = 0; i < v.size(); i += 4)
                t.fPath.push_back({{v[i], v[i + 1], v[i + 2]}, v[i + 3]});
            t.Invalidate();
        });
}

} // namespace orn
