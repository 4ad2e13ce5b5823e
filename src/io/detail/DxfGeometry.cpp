#include "io/detail/DxfGeometry.h"

#include "objects/detail/TextMesh.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace orn::detail::dxf {

namespace {
constexpr double kTwoPi = 2 * std::numbers::pi;

int SegmentsFor(double sweep, int perCircle) {
    const double n = std::ceil(std::fabs(sweep) / kTwoPi * perCircle - 1e-9);
    return static_cast<int>(std::clamp(n, 2.0, static_cast<double>(std::max(perCircle, 2))));
}
} // namespace

double Length(const Vec& v) {
    return std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
}

Vec Normalized(const Vec& v) {
    const double l = Length(v);
    return l > 0 ? v * (1 / l) : Vec{0, 0, 0};
}

Ocs MakeOcs(const Vec& extrusion) {
    Ocs o;
    const double l = Length(extrusion);
    if (!(l > 1e-12) || !std::isfinite(l)) return o;
    const Vec n = extrusion * (1 / l);
    if (std::fabs(n.x) < 1e-12 && std::fabs(n.y) < 1e-12 && n.z > 0) return o;
    // Below 1/64 in x and y the world Y axis is the reference, otherwise the world Z axis.
    const Vec ax =
        (std::fabs(n.x) < 1.0 / 64 && std::fabs(n.y) < 1.0 / 64) ? Cross({0, 1, 0}, n) : Cross({0, 0, 1}, n);
    o.ax = Normalized(ax);
    o.ay = Normalized(Cross(n, o.ax));
    o.az = n;
    o.identity = false;
    return o;
}

std::uint32_t AciColor(int index) {
    if (index < 1 || index > 255) return 0xFFFFFF;
    static constexpr std::uint32_t kFirst[10] = {0,        0xFF0000, 0xFFFF00, 0x00FF00, 0x00FFFF,
                                                 0x0000FF, 0xFF00FF, 0xFFFFFF, 0x808080, 0xC0C0C0};
    if (index < 10) return kFirst[index];
    if (index >= 250) {
        static constexpr std::uint32_t kGrey[6] = {0x333333, 0x505050, 0x696969,
                                                   0x828282, 0xBEBEBE, 0xFFFFFF};
        return kGrey[index - 250];
    }
    // 24 hues 15° apart; within each ten, five shades, each full and half saturated.
    static constexpr double kValue[5] = {255, 165, 127, 76, 38};
    const double hue = (index / 10 - 1) * 15.0;
    const double v = kValue[(index % 10) / 2];
    const bool pastel = index % 2 == 1;
    auto channel = [&](double offset) {
        double h = std::fmod(hue + offset, 360.0);
        double f; // 0 … 1 share of the channel at this hue (a hexagonal colour wheel)
        if (h < 60 || h >= 300)
            f = 1;
        else if (h < 120)
            f = (120 - h) / 60;
        else if (h < 240)
            f = 0;
        else
            f = (h - 240) / 60;
        if (h >= 300) f = 1;
        const double c = pastel ? v * (0.5 + 0.5 * f) : v * f;
        return static_cast<std::uint32_t>(std::floor(c + 1e-9));
    };
    return channel(0) << 16 | channel(240) << 8 | channel(120);
}

int CircleSegments(int most, double tolerance, double radius) {
    if (!(tolerance > 0) || !(radius > 0)) return most;
    if (tolerance >= radius) return std::min(most, 8);
    const double n = std::ceil(std::numbers::pi / std::acos(1 - tolerance / radius));
    return static_cast<int>(std::clamp(n, 8.0, static_cast<double>(std::max(most, 8))));
}

void ArcPoints(double cx, double cy, double r, double a0, double a1, int segmentsPerCircle,
               std::vector<Vec>& out, double z) {
    double sweep = std::fmod(a1 - a0, kTwoPi);
    if (sweep <= 1e-12) sweep += kTwoPi;
    const int n = SegmentsFor(sweep, segmentsPerCircle);
    // Each point turns the last by one step: two products instead of a sine and a cosine. The ends
    // are computed exactly, so that arcs meet what they join.
    const double c = std::cos(sweep / n), s = std::sin(sweep / n);
    double x = std::cos(a0), y = std::sin(a0);
    out.reserve(out.size() + static_cast<std::size_t>(n) + 1);
    for (int i = 0; i < n; ++i) {
        out.push_back({cx + r * x, cy + r * y, z});
        const double nx = x * c - y * s;
        y = x * s + y * c;
        x = nx;
    }
    out.push_back({cx + r * std::cos(a0 + sweep), cy + r * std::sin(a0 + sweep), z});
}

void BulgePoints(const Vec& p0, const Vec& p1, double bulge, int segmentsPerCircle, double tolerance,
                 std::vector<Vec>& out) {
    const double dx = p1.x - p0.x, dy = p1.y - p0.y;
    const double d = std::hypot(dx, dy);
    if (std::fabs(bulge) < 1e-9 || d < 1e-12 || !std::isfinite(bulge)) {
        out.push_back(p1);
        return;
    }
    bulge = std::clamp(bulge, -1e6, 1e6);
    const double theta = 4 * std::atan(bulge); // signed included angle
    const double h = d / 2 * (1 - bulge * bulge) / (2 * bulge);
    const double cx = (p0.x + p1.x) / 2 - dy / d * h;
    const double cy = (p0.y + p1.y) / 2 + dx / d * h;
    const double r = std::hypot(p0.x - cx, p0.y - cy);
    const double a0 = std::atan2(p0.y - cy, p0.x - cx);
    const int n = SegmentsFor(theta, CircleSegments(segmentsPerCircle, tolerance, r));
    const double c = std::cos(theta / n), s = std::sin(theta / n);
    double x = std::cos(a0), y = std::sin(a0);
    for (int i = 1; i < n; ++i) {
        const double nx = x * c - y * s;
        y = x * s + y * c;
        x = nx;
        out.push_back({cx + r * x, cy + r * y, p0.z + (p1.z - p0.z) * i / n});
    }
    out.push_back(p1);
}

bool SplinePoints(int degree, const std::vector<double>& knots, const std::vector<Vec>& control,
                  const std::vector<double>& weights, int samplesPerSpan, std::vector<Vec>& out) {
    const int n = static_cast<int>(control.size());
    const int p = degree;
    if (p < 1 || p > 11 || n < p + 1 || static_cast<int>(knots.size()) != n + p + 1) return false;
    if (!weights.empty() && static_cast<int>(weights.size()) != n) return false;
    for (double w : weights)
        if (!(w > 0)) return false;
    for (std::size_t i = 1; i < knots.size(); ++i)
        if (knots[i] < knots[i - 1]) return false;
    if (!(knots[p] < knots[n])) return false;
    auto w = [&](int i) { return weights.empty() ? 1.0 : weights[i]; };
    double d[12][4];
    auto eval = [&](int k, double u) {
        for (int j = 0; j <= p; ++j) {
            const int i = j + k - p;
            const Vec& c = control[i];
            d[j][0] = c.x * w(i), d[j][1] = c.y * w(i), d[j][2] = c.z * w(i), d[j][3] = w(i);
        }
        for (int r = 1; r <= p; ++r)
            for (int j = p; j >= r; --j) {
                const double lo = knots[j + k - p], hi = knots[j + 1 + k - r];
                const double alpha = hi > lo ? (u - lo) / (hi - lo) : 0;
                for (int c = 0; c < 4; ++c)
                    d[j][c] = (1 - alpha) * d[j - 1][c] + alpha * d[j][c];
            }
        out.push_back({d[p][0] / d[p][3], d[p][1] / d[p][3], d[p][2] / d[p][3]});
    };
    int last = p;
    for (int k = p; k < n; ++k) {
        if (!(knots[k] < knots[k + 1])) continue;
        for (int s = 0; s < samplesPerSpan; ++s)
            eval(k, knots[k] + (knots[k + 1] - knots[k]) * s / samplesPerSpan);
        last = k;
    }
    eval(last, knots[last + 1]);
    return true;
}

void FitSplinePoints(const std::vector<Vec>& fit, int samplesPerSpan, std::vector<Vec>& out) {
    const std::size_t n = fit.size();
    std::vector<double> h(n > 0 ? n - 1 : 0);
    for (std::size_t i = 0; i + 1 < n; ++i)
        h[i] = Length(fit[i + 1] - fit[i]);
    if (n < 3 || std::any_of(h.begin(), h.end(), [](double v) { return !(v > 0); })) {
        out.insert(out.end(), fit.begin(), fit.end()); // too few or repeated points: straight
        return;
    }
    // Second derivatives at the fit points from the tridiagonal system of a natural spline
    // (Thomas algorithm), for x, y and z at once.
    std::vector<Vec> m(n, Vec{0, 0, 0}), c(n, Vec{0, 0, 0});
    std::vector<double> diag(n, 1), upper(n, 0);
    for (std::size_t i = 1; i + 1 < n; ++i) {
        const Vec rhs = ((fit[i + 1] - fit[i]) * (1 / h[i]) - (fit[i] - fit[i - 1]) * (1 / h[i - 1])) * 6;
        diag[i] = 2 * (h[i - 1] + h[i]) - h[i - 1] * upper[i - 1];
        upper[i] = h[i] / diag[i];
        c[i] = (rhs - c[i - 1] * h[i - 1]) * (1 / diag[i]);
    }
    for (std::size_t i = n - 2; i >= 1; --i)
        m[i] = c[i] - m[i + 1] * upper[i];
    const int steps = std::max(samplesPerSpan, 1);
    for (std::size_t i = 0; i + 1 < n; ++i)
        for (int k = 0; k < steps; ++k) {
            const double v = h[i] * k / steps, u = h[i] - v;
            out.push_back(m[i] * (u * u * u / (6 * h[i])) + m[i + 1] * (v * v * v / (6 * h[i])) +
                          (fit[i] * (1 / h[i]) - m[i] * (h[i] / 6)) * u +
                          (fit[i + 1] * (1 / h[i]) - m[i + 1] * (h[i] / 6)) * v);
        }
    out.push_back(fit.back());
}

void FillLoops(const std::vector<std::vector<Vec>>& loops, std::vector<Vec>& out) {
    std::vector<std::vector<OutlinePoint>> contours;
    for (const auto& loop : loops) {
        if (loop.size() < 3) continue;
        auto& c = contours.emplace_back();
        for (const Vec& v : loop)
            c.push_back({v.x, v.y});
    }
    if (contours.empty()) return;
    std::vector<OutlinePoint> points;
    for (const auto& c : contours)
        points.insert(points.end(), c.begin(), c.end());
    const double z = loops.front().empty() ? 0 : loops.front().front().z;
    for (std::uint32_t i : TessellateOdd(contours, points))
        out.push_back({points[i].X, points[i].Y, z});
}

} // namespace orn::detail::dxf
