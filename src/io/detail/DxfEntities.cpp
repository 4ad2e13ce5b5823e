#include "io/detail/DxfEntities.h"
#include "io/detail/DxfText.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace orn::detail::dxf {

namespace {
constexpr double kDeg = std::numbers::pi / 180;

std::string Describe(const Group& g) {
    return "group " + std::to_string(g.code) + " value '" + std::string(g.text.substr(0, 40)) + "'";
}

/// Quads between pts and pts moved by t (the thickness along the extrusion direction).
void Extrude(Batch& b, const std::vector<Vec>& pts, const Vec& t) {
    for (std::size_t i = 1; i < pts.size(); ++i) {
        const Vec &a = pts[i - 1], &c = pts[i];
        AddQuad(b, a, c, c + t, a + t);
    }
}

/// Draws a path in the entity's coordinate system, with its thickness.
void Emit(Batch& b, std::vector<Vec>& pts, bool closed, const Ocs& ocs, double thickness) {
    for (Vec& p : pts)
        p = ocs.ToWorld(p);
    if (thickness != 0 && pts.size() > 1) {
        if (closed) pts.push_back(pts.front());
        Extrude(b, pts, ocs.az * thickness);
        return;
    }
    AddPolyline(b, pts, closed);
}

void Line(const Ent& e, Batch& b) {
    const Vec p = e.P(10), q = e.P(11);
    const double t = e.D(39, 0);
    if (t != 0)
        Extrude(b, {p, q}, MakeOcs(e.P(210, {0, 0, 1})).az * t);
    else
        b.lines.Append({p.x, p.y, p.z, q.x, q.y, q.z});
}

void Circle(const Ent& e, EntityContext& ctx, Batch& b, bool arc) {
    const Vec c = e.P(10);
    const double r = e.D(40, 0);
    if (!(r > 0)) throw Bad{e.Where(), "radius " + std::to_string(r) + " is not positive"};
    std::vector<Vec> pts;
    const double a0 = arc ? e.D(50, 0) * kDeg : 0, a1 = arc ? e.D(51, 360) * kDeg : 2 * std::numbers::pi;
    ArcPoints(c.x, c.y, r, a0, a1, CircleSegments(ctx.options.circleSegments, ctx.options.tolerance, r), pts,
              c.z);
    Emit(b, pts, false, MakeOcs(e.P(210, {0, 0, 1})), e.D(39, 0));
}

void Ellipse(const Ent& e, EntityContext& ctx, Batch& b) {
    const Vec c = e.P(10), major = e.P(11);
    const double ratio = e.D(40, 1);
    const Vec n = Normalized(e.P(210, {0, 0, 1}));
    if (Length(major) <= 0 || !(ratio > 0) || Length(n) == 0)
        throw Bad{e.Where(), "ELLIPSE with a zero axis or extrusion"};
    const Vec minor = Normalized(Cross(n, major)) * (Length(major) * ratio);
    double t0 = e.D(41, 0), t1 = e.D(42, 2 * std::numbers::pi);
    double sweep = std::fmod(t1 - t0, 2 * std::numbers::pi);
    if (sweep <= 1e-12) sweep += 2 * std::numbers::pi;
    std::vector<Vec> params;
    ArcPoints(0, 0, 1, t0, t0 + sweep,
              CircleSegments(ctx.options.circleSegments, ctx.options.tolerance, Length(major)), params);
    std::vector<Vec> pts;
    for (const Vec& u : params)
        pts.push_back(c + major * u.x + minor * u.y);
    AddPolyline(b, pts, false);
}

void LwPolyline(const Ent& e, EntityContext& ctx, Batch& b) {
    const double elevation = e.D(38, 0);
    // A width below 0 is one the vertex does not give: the constant width (43) stands for it.
    struct V {
        Vec p;
        double bulge = 0, startWidth = -1, endWidth = -1;
    };
    std::vector<V> vs;
    for (const Group& g : e) {
        if (g.code == 10)
            vs.push_back({{Num(g), 0, elevation}});
        else if (vs.empty())
            continue;
        else if (g.code == 20)
            vs.back().p.y = Num(g);
        else if (g.code == 42)
            vs.back().bulge = Num(g);
        else if (g.code == 40)
            vs.back().startWidth = Num(g);
        else if (g.code == 41)
            vs.back().endWidth = Num(g);
    }
    const std::int64_t declared = e.I(90, -1);
    if (declared >= 0 && declared != static_cast<std::int64_t>(vs.size()))
        Note(ctx.report, "line " + std::to_string(e.Where()) + ": LWPOLYLINE with " +
                             std::to_string(vs.size()) + " vertices declared " + std::to_string(declared));
    if (vs.empty()) throw Bad{e.Where(), "LWPOLYLINE without vertices"};
    const bool closed = (e.I(70, 0) & 1) != 0;
    const std::size_t n = vs.size(), segments = n - 1 + (closed && n > 1 ? 1 : 0);
    const Ocs ocs = MakeOcs(e.P(210, {0, 0, 1}));
    const double width = e.D(43, 0);
    const bool wide = width > 0 || std::any_of(vs.begin(), vs.end(),
                                               [](const V& v) { return v.startWidth > 0 || v.endWidth > 0; });
    if (wide && segments > 0) {
        // A wide polyline as a band of quads, each segment's width going from its start vertex's
        // to its end width along the points drawn.
        for (std::size_t i = 0; i < segments; ++i) {
            std::vector<Vec> seg{vs[i].p};
            BulgePoints(vs[i].p, vs[(i + 1) % n].p, vs[i].bulge, ctx.options.circleSegments,
                        ctx.options.tolerance, seg);
            const double w0 = vs[i].startWidth >= 0 ? vs[i].startWidth : width;
            const double w1 = vs[i].endWidth >= 0 ? vs[i].endWidth : width;
            for (Vec& p : seg)
                p = ocs.ToWorld(p);
            const double last = static_cast<double>(seg.size() - 1);
            for (std::size_t k = 1; k < seg.size(); ++k) {
                const Vec across = Cross(ocs.az, Normalized(seg[k] - seg[k - 1])) * 0.5;
                const Vec a = across * (w0 + (w1 - w0) * static_cast<double>(k - 1) / last);
                const Vec c = across * (w0 + (w1 - w0) * static_cast<double>(k) / last);
                AddQuad(b, seg[k - 1] - a, seg[k] - c, seg[k] + c, seg[k - 1] + a);
            }
        }
        return;
    }
    std::vector<Vec> pts{vs[0].p};
    for (std::size_t i = 0; i < segments; ++i)
        BulgePoints(vs[i].p, vs[(i + 1) % n].p, vs[i].bulge, ctx.options.circleSegments,
                    ctx.options.tolerance, pts);
    if (pts.size() == 1) {
        const Vec p = ocs.ToWorld(pts[0]);
        b.points.Append({p.x, p.y, p.z});
        return;
    }
    Emit(b, pts, false, ocs, e.D(39, 0));
}

void Face(const Ent& e, Batch& b, bool solid) {
    Vec p[4] = {e.P(10), e.P(11), e.P(12), e.P(13, e.P(12))};
    if (solid) { // corners in the order 1-2-4-3, in the entity's coordinate system
        const Ocs ocs = MakeOcs(e.P(210, {0, 0, 1}));
        for (Vec& v : p)
            v = ocs.ToWorld(v);
        AddQuad(b, p[0], p[1], p[3], p[2]);
        return;
    }
    AddQuad(b, p[0], p[1], p[2], p[3], static_cast<unsigned>(e.I(70, 0)) & 15);
}

void Spline(const Ent& e, EntityContext& ctx, Batch& b) {
    const int degree = static_cast<int>(e.I(71, 3));
    std::vector<double> knots, weights;
    std::vector<Vec> control, fit;
    for (const Group& g : e) {
        switch (g.code) {
        case 40:
            knots.push_back(Num(g));
            break;
        case 41:
            weights.push_back(Num(g));
            break;
        case 10:
            control.push_back({Num(g), 0, 0});
            break;
        case 20:
            if (!control.empty()) control.back().y = Num(g);
            break;
        case 30:
            if (!control.empty()) control.back().z = Num(g);
            break;
        case 11:
            fit.push_back({Num(g), 0, 0});
            break;
        case 21:
            if (!fit.empty()) fit.back().y = Num(g);
            break;
        case 31:
            if (!fit.empty()) fit.back().z = Num(g);
            break;
        default:
            break;
        }
    }
    std::vector<Vec> pts;
    if (!control.empty()) {
        if (!SplinePoints(degree, knots, control, weights, ctx.options.splineSegments, pts))
            throw Bad{e.Where(), "SPLINE of degree " + std::to_string(degree) + " with " +
                                     std::to_string(control.size()) + " control points, " +
                                     std::to_string(knots.size()) + " knots and " +
                                     std::to_string(weights.size()) + " weights does not fit together"};
    } else if (fit.size() >= 2) {
        FitSplinePoints(fit, ctx.options.splineSegments, pts); // no control points: through the fit points
    } else {
        throw Bad{e.Where(), "SPLINE without control or fit points"};
    }
    AddPolyline(b, pts, false);
}

/// Arrays of inserts: a cap so that a claimed 32767 × 32767 grid costs a message, not the machine.
constexpr std::int64_t kMaxCells = 10000;

void Insert(const Ent& e, EntityContext& ctx, bool dimension) {
    const std::string_view name = e.S(2);
    if (name.empty()) throw Bad{e.Where(), "INSERT without a block name"};
    InsertRef ref;
    ref.block = Upper(name);
    ref.where = e.Where();
    ref.layer = ctx.model.LayerOf(e.S(8).empty() ? std::string_view("0") : e.S(8));
    if (ctx.model.layers[static_cast<std::size_t>(ref.layer)].hidden && ctx.options.skipHidden) return;
    std::int64_t color = e.I(62, 256);
    if (const Group* tc = e.Find(420))
        ref.color = static_cast<ColorKey>(Int(*tc)) & 0xFFFFFF;
    else if (color == 0)
        ref.color = ctx.inBlock ? kByBlock : 0xFFFFFF;
    else if (color == 256 || color < -255 || color > 256)
        ref.color = ctx.inBlock && ctx.model.layers[ref.layer].name == "0"
                        ? kByLayer0
                        : ctx.model.layers[static_cast<std::size_t>(ref.layer)].rgb;
    else
        ref.color = AciColor(static_cast<int>(std::abs(color)));
    if (dimension) {
        ctx.space->inserts.push_back(std::move(ref));
        return;
    }
    const Ocs ocs = MakeOcs(e.P(210, {0, 0, 1}));
    const Vec at = e.P(10);
    const double sx = e.D(41, 1), sy = e.D(42, 1), sz = e.D(43, 1);
    const double rot = e.D(50, 0) * kDeg;
    std::int64_t cols = std::max<std::int64_t>(1, e.I(70, 1)), rows = std::max<std::int64_t>(1, e.I(71, 1));
    const double dx = e.D(44, 0), dy = e.D(45, 0);
    if (cols * rows > kMaxCells) {
        Note(ctx.report, "line " + std::to_string(e.Where()) + ": INSERT array of " + std::to_string(cols) +
                             " × " + std::to_string(rows) + " cut to its first " + std::to_string(kMaxCells) +
                             " cells");
        rows = std::max<std::int64_t>(1, kMaxCells / cols);
        cols = std::min(cols, kMaxCells);
    }
    const double c = std::cos(rot), s = std::sin(rot);
    for (std::int64_t r = 0; r < rows; ++r)
        for (std::int64_t k = 0; k < cols; ++k) {
            // OCS · T(at + Rz·cell offset) · Rz · S
            const Vec o{at.x + c * k * dx - s * r * dy, at.y + s * k * dx + c * r * dy, at.z};
            const Affine local{c * sx, -s * sy, 0, o.x, s * sx, c * sy, 0, o.y, 0, 0, sz, o.z};
            const Affine toWorld{ocs.ax.x, ocs.ay.x, ocs.az.x, 0,        ocs.ax.y, ocs.ay.y,
                                 ocs.az.y, 0,        ocs.ax.z, ocs.ay.z, ocs.az.z, 0};
            ref.matrix = Multiply(toWorld, local);
            ctx.space->inserts.push_back(ref);
        }
}

} // namespace

const Group* Ent::Find(int code) const {
    for (const Group* g = fBegin; g != fEnd; ++g)
        if (g->code == code) return g;
    return nullptr;
}

double Num(const Group& g) {
    double v;
    if (!ToDouble(g, v)) throw Bad{g.where, Describe(g) + " is not a finite number"};
    return v;
}

std::int64_t Int(const Group& g) {
    std::int64_t v;
    if (!ToInt(g, v)) throw Bad{g.where, Describe(g) + " is not an integer"};
    return v;
}

double Ent::D(int code, double fallback) const {
    const Group* g = Find(code);
    return g ? Num(*g) : fallback;
}

std::int64_t Ent::I(int code, std::int64_t fallback) const {
    const Group* g = Find(code);
    return g ? Int(*g) : fallback;
}

std::string_view Ent::S(int code) const {
    const Group* g = Find(code);
    return g ? g->text : std::string_view();
}

Vec Ent::P(int code, const Vec& fallback) const {
    const Group* x = Find(code);
    if (!x) return fallback;
    return {Num(*x), D(code + 10, 0), D(code + 20, 0)};
}

void AddPolyline(Batch& b, const std::vector<Vec>& pts, bool closed) {
    const std::size_t n = pts.size();
    for (std::size_t i = 0; i + 1 < n + (closed && n > 2 ? 1 : 0); ++i) {
        const Vec &a = pts[i], &c = pts[(i + 1) % n];
        b.lines.Append({a.x, a.y, a.z, c.x, c.y, c.z});
    }
}

void AddTriangle(Batch& b, const Vec& a, const Vec& c, const Vec& d, unsigned shown) {
    const bool flagged = shown != 7 || !b.edges.empty();
    if (flagged) b.edges.resize(b.triangles.size() / 3, 1); // the corners before these show all
    b.triangles.Append({a.x, a.y, a.z, c.x, c.y, c.z, d.x, d.y, d.z});
    if (flagged)
        for (int i = 0; i < 3; ++i)
            b.edges.push_back(static_cast<std::uint8_t>(shown >> i & 1));
}

void AddQuad(Batch& b, const Vec& p0, const Vec& p1, const Vec& p2, const Vec& p3, unsigned hidden) {
    const unsigned shown = ~hidden & 15;
    if (p3 == p2) {
        AddTriangle(b, p0, p1, p2, (shown & 3) | (shown >> 1 & 4));
        return;
    }
    AddTriangle(b, p0, p1, p2, shown & 3);
    AddTriangle(b, p0, p2, p3, shown >> 1 & 6);
}

void Batch::Append(const Batch& other) {
    const bool flagged = !edges.empty() || !other.edges.empty();
    if (flagged) edges.resize(triangles.size() / 3, 1);
    points.Append(other.points);
    lines.Append(other.lines);
    triangles.Append(other.triangles);
    if (!flagged) return;
    if (other.edges.empty())
        edges.resize(triangles.size() / 3, 1);
    else
        edges.insert(edges.end(), other.edges.begin(), other.edges.end());
}

/// The entity's layer and colour key; false when its layer is hidden.
bool LayerAndColor(EntityContext& ctx, const Ent& e, int& layer, ColorKey& key) {
    const std::string_view layerName = e.S(8).empty() ? std::string_view("0") : e.S(8);
    layer = ctx.model.LayerOf(layerName);
    const Layer& l = ctx.model.layers[static_cast<std::size_t>(layer)];
    if (l.hidden && ctx.options.skipHidden) return false;
    const std::int64_t aci = e.I(62, 256);
    if (const Group* tc = e.Find(420))
        key = static_cast<ColorKey>(Int(*tc)) & 0xFFFFFF;
    else if (aci == 0)
        key = ctx.inBlock ? kByBlock : 0xFFFFFF;
    else if (aci == 256 || aci < -255 || aci > 256)
        key = ctx.inBlock && l.name == "0" ? kByLayer0 : l.rgb;
    else
        key = AciColor(static_cast<int>(std::abs(aci)));
    return true;
}

Batch* Target(EntityContext& ctx, const Ent& e) {
    int layer;
    ColorKey key;
    if (!LayerAndColor(ctx, e, layer, key)) return nullptr;
    return &ctx.space->batches[{layer, key}];
}

/// TEXT and ATTRIB stand in their OCS; MTEXT in the world, turned by its x direction or angle.
void Text(std::string_view type, const Ent& e, EntityContext& ctx) {
    TextRef t;
    if (!LayerAndColor(ctx, e, t.layer, t.color)) return;
    const bool mtext = type == "MTEXT";
    if (type == "ATTRIB" && (e.I(70, 0) & 1) != 0) return; // invisible attribute
    std::string raw;
    if (mtext)
        for (const Group& g : e)
            if (g.code == 3) raw += g.text;
    raw += e.S(1);
    t.caption = mtext ? PlainMText(ctx.model.Text(raw)) : PlainText(ctx.model.Text(raw));
    double height = e.D(40, 1);
    if (!std::isfinite(height) || height <= 0) throw Bad{e.Where(), "text height " + std::to_string(height)};
    const Ocs ocs = MakeOcs(e.P(210, {0, 0, 1}));
    Vec at = e.P(10), x{1, 0, 0};
    if (mtext) {
        const int attach = static_cast<int>(e.I(71, 1));
        t.align = attach >= 1 && attach <= 9 ? (attach - 1) % 3 : 0;
        t.valign = attach >= 1 && attach <= 9 ? 3 - (attach - 1) / 3 : 3;
        // The reference says radians; the files that write it (360 for a dimension text) use degrees.
        const double a = e.D(50, 0) * kDeg;
        x = e.Find(11) ? e.P(11) : ocs.ToWorld({std::cos(a), std::sin(a), 0});
    } else {
        const std::int64_t h = e.I(72, 0);
        const std::int64_t v = e.I(73, 0);
        const double a = e.D(50, 0) * kDeg;
        x = ocs.ToWorld({std::cos(a), std::sin(a), 0});
        const Vec along = e.P(11) - at;
        if ((h == 3 || h == 5) && e.Find(11) && Length(along) > 0 && std::isfinite(Length(along))) {
            // Aligned or fit: the baseline runs from the first point to the second.
            t.fit = Length(along);
            t.aligned = h == 3;
            x = ocs.ToWorld(along);
        } else {
            t.align = h == 1 || h == 4 ? 1 : h == 2 ? 2 : 0;
            t.valign = h == 4 ? 2 : v >= 0 && v <= 3 ? static_cast<int>(v) : 0;
            // The alignment point decides unless the text is left-aligned on its baseline.
            if ((h != 0 || v != 0) && e.Find(11)) at = e.P(11);
        }
        at = ocs.ToWorld(at);
    }
    const double len = Length(x);
    if (!std::isfinite(len) || len == 0) throw Bad{e.Where(), "text direction of length 0"};
    x = x * (1 / len);
    const Vec y = Cross(ocs.az, x);
    height /= kCapHeight;
    // TEXT's relative width (MTEXT's 41 is the width of its frame).
    double wide = mtext ? 1 : e.D(41, 1);
    if (!std::isfinite(wide) || wide <= 0) wide = 1;
    const double xs = height * wide;
    t.matrix = {x.x * xs, y.x * height, ocs.az.x * height, at.x,
                x.y * xs, y.y * height, ocs.az.y * height, at.y,
                x.z * xs, y.z * height, ocs.az.z * height, at.z};
    for (double v : t.matrix)
        if (!std::isfinite(v)) throw Bad{e.Where(), "text placement is not finite"};
    ctx.space->texts.push_back(std::move(t));
}

bool BuildEntity(std::string_view type, const Ent& e, EntityContext& ctx) {
    if (type == "INSERT" || type == "DIMENSION") {
        Insert(e, ctx, type == "DIMENSION");
        return true;
    }
    if (type == "HATCH") {
        BuildHatch(e, ctx);
        return true;
    }
    if (type == "TEXT" || type == "MTEXT" || type == "ATTRIB") {
        Text(type, e, ctx);
        return true;
    }
    static constexpr std::string_view kDrawn[] = {"LINE",       "POINT",  "CIRCLE", "ARC",   "ELLIPSE",
                                                  "LWPOLYLINE", "3DFACE", "SOLID",  "TRACE", "SPLINE"};
    if (std::find(std::begin(kDrawn), std::end(kDrawn), type) == std::end(kDrawn)) return false;
    Batch* b = Target(ctx, e);
    if (!b) return true;
    if (type == "LINE")
        Line(e, *b);
    else if (type == "POINT") {
        const Vec p = e.P(10);
        b->points.Append({p.x, p.y, p.z});
    } else if (type == "CIRCLE" || type == "ARC")
        Circle(e, ctx, *b, type == "ARC");
    else if (type == "ELLIPSE")
        Ellipse(e, ctx, *b);
    else if (type == "LWPOLYLINE")
        LwPolyline(e, ctx, *b);
    else if (type == "3DFACE")
        Face(e, *b, false);
    else if (type == "SOLID" || type == "TRACE")
        Face(e, *b, true);
    else
        Spline(e, ctx, *b);
    return true;
}

} // namespace orn::detail::dxf
