// The editing operations of TOrnPrimitiveObj that work on finished geometry: relief, extrusion,
// open edges, triangle splitting and the nearest point.
#include <orn/geometry/TOrnPrimitiveObj.h>

#include <orn/host/TBitmap.h>

#include "geometry/detail/Faces.h"
#include "geometry/detail/PointGrid.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <unordered_map>
#include <utility>

namespace orn {

namespace {

TOrnMathVector sub(const TOrnMathVector& a, const TOrnMathVector& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
TOrnMathVector add(const TOrnMathVector& a, const TOrnMathVector& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
TOrnMathVector scale(const TOrnMathVector& a, double s) {
    return {a.x * s, a.y * s, a.z * s};
}

std::uint64_t edgeKey(std::uint32_t a, std::uint32_t b) {
    if (a > b) std::swap(a, b);
    return (static_cast<std::uint64_t>(a) << 32) | b;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Relief

void TOrnPrimitiveObj::SetRelief(const std::function<double(double s, double t)>& brightness, float height,
                                 float base, float gamma) {
    if (!brightness) return;
    if (!fPoints->HasArray(daTexture) && fPoints->Count() > 0) {
        fKeepTexCoords = true;
        if (fBuilding) { // the build under way has no coordinates; the next one will
            Invalidate();
            return;
        }
        Init();
    }
    const double g = gamma > 0 ? gamma : 1.0;
    for (int i = 0; i < fPoints->Count(); ++i) {
        const TOrnMathVector st = fPoints->GetVector(i, daTexture);
        const double b = std::clamp(brightness(st.x, st.y), 0.0, 1.0);
        fPoints->LiftPoint(i, base + height * std::pow(b, g));
    }
}

namespace {

/// Brightness 0 … 1 (luma of R, G, B) of pixel (x, y) wrapped into the bitmap.
double luma(const TBitmap& b, int x, int y) {
    x = ((x % b.Width()) + b.Width()) % b.Width();
    y = ((y % b.Height()) + b.Height()) % b.Height();
    const std::uint8_t* p = b.ScanLine(y) + static_cast<std::size_t>(x) * b.BytesPerPixel();
    return (0.114 * p[0] + 0.587 * p[1] + 0.299 * p[2]) / 255.0; // bytes are B, G, R
}

/// Bilinear brightness at texture coordinate (s, t): s to the right, t up from the bottom row,
/// both wrapped as a repeating texture would be.
double sampleBrightness(const TBitmap& b, double s, double t) {
    if (!std::isfinite(s) || !std::isfinite(t)) return 0;
    s -= std::floor(s);
    t -= std::floor(t);
    const double x = s * b.Width() - 0.5, y = (1 - t) * b.Height() - 0.5;
    const double x0 = std::floor(x), y0 = std::floor(y), fx = x - x0, fy = y - y0;
    const int ix = static_cast<int>(x0), iy = static_cast<int>(y0);
    return (1 - fy) * ((1 - fx) * luma(b, ix, iy) + fx * luma(b, ix + 1, iy)) +
           fy * ((1 - fx) * luma(b, ix, iy + 1) + fx * luma(b, ix + 1, iy + 1));
}

} // namespace

void TOrnPrimitiveObj::SetReliefBitmap(const TBitmap* bitmap, float height, float base, float gamma) {
    if (!bitmap || bitmap->Empty()) return;
    SetRelief([bitmap](double s, double t) { return sampleBrightness(*bitmap, s, t); }, height, base, gamma);
}

// ---------------------------------------------------------------------------------------------
// Open edges

void TOrnPrimitiveObj::GetOpenEdges(std::vector<T2DIntPoint>& edges, int& count, bool weld) {
    edges.clear();
    const int n = fPoints->Count();
    std::vector<int> same =
        weld ? detail::FirstSamePlace(std::as_const(*fPoints).Vertices(), n, nullptr, 0) : std::vector<int>();
    auto canon = [&](std::uint32_t i) {
        return weld && i < static_cast<std::uint32_t>(n) ? static_cast<std::uint32_t>(same[i]) : i;
    };
    std::unordered_map<std::uint64_t, int> uses;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> order;
    for (const auto& list : fPrimitives) {
        if (!list->Enabled()) continue;
        detail::ForEachFace(*list, [&](const std::uint32_t* c, int corners) {
            for (int k = 0; k < corners; ++k) {
                const std::uint32_t a = c[k], b = c[(k + 1) % corners];
                if (canon(a) == canon(b)) continue;
                if (++uses[edgeKey(canon(a), canon(b))] == 1) order.emplace_back(a, b);
            }
        });
    }
    for (const auto& [a, b] : order)
        if (uses[edgeKey(canon(a), canon(b))] == 1)
            edges.push_back({static_cast<int>(a), static_cast<int>(b)});
    count = static_cast<int>(edges.size());
}

// ---------------------------------------------------------------------------------------------
// Extrusion

namespace {

/// The area-weighted normal of all enabled faces of an object (not normalised).
TOrnMathVector faceNormalSum(const TOrnPrimitivePoints& points,
                             const std::vector<std::unique_ptr<TOrnPrimitiveArray>>& lists) {
    TOrnMathVector sum;
    for (const auto& list : lists) {
        if (!list->Enabled()) continue;
        detail::ForEachFace(*list, [&](const std::uint32_t* c, int n) {
            for (int k = 1; k + 1 < n; ++k) {
                TOrnMathVector f;
                OrnMathNormalVector(points.GetVector(static_cast<int>(c[0]), daVertex),
                                    points.GetVector(static_cast<int>(c[k]), daVertex),
                                    points.GetVector(static_cast<int>(c[k + 1]), daVertex), false, f);
                sum = add(sum, f);
            }
        });
    }
    return sum;
}

} // namespace

void TOrnPrimitiveObj::Extrude(double depth, int steps, bool caps, bool texture) {
    TOrnMathVector n = faceNormalSum(*fPoints, fPrimitives);
    if (OrnMathVectorLength(n) == 0) {
        for (int i = 0; i < fPoints->Count(); ++i)
            n = add(n, fPoints->GetVector(i, daNormal));
    }
    if (OrnMathVectorLength(n) == 0) return;
    OrnMathNormalize(n);
    ExtrudePrimitiveObj(depth, steps, true, caps, caps, n, texture);
}

void TOrnPrimitiveObj::ExtrudeByVec(const TOrnMathVector& vector, int steps, bool caps, bool texture) {
    const double length = OrnMathVectorLength(vector);
    if (!(length > 0)) return;
    ExtrudePrimitiveObj(length, steps, true, caps, caps, vector, texture);
}

void TOrnPrimitiveObj::ExtrudePrimitiveObj(double depth, int steps, bool sides, bool frontCap, bool backCap,
                                           const TOrnMathVector& vector, bool texture) {
    TOrnMathVector dir = vector;
    OrnMathNormalize(dir);
    const TOrnMathVector move = scale(dir, depth);
    if (!(OrnMathVectorLength(move) > 0) || !std::isfinite(OrnMathVectorLength(move))) return;
    steps = std::max(steps, 1);
    if (!fPoints->DefineArrays().Contains(daNormal) || !fPoints->DefineArrays().Contains(daTexture))
        fPoints->SetDefineArrays(fPoints->DefineArrays() + TOrnArrays{daNormal, daTexture});
    // Whether the sweep goes to the side the faces look at: then the original faces are the back.
    const bool forward = OrnMathDotProduct(faceNormalSum(*fPoints, fPrimitives), move) >= 0;

    std::vector<T2DIntPoint> edges;
    int edgeCount = 0;
    GetOpenEdges(edges, edgeCount, true);
    const int originalLists = GetPrimitiveCount();
    for (int l = 0; l < originalLists; ++l) {
        if (!fPrimitives[static_cast<std::size_t>(l)]->Enabled()) continue;
        detail::ForEachSegment(*fPrimitives[static_cast<std::size_t>(l)],
                               [&](std::uint32_t a, std::uint32_t b) {
                                   edges.push_back({static_cast<int>(a), static_cast<int>(b)});
                               });
    }

    if (sides && !edges.empty()) {
        double total = 0;
        for (const auto& e : edges)
            total += OrnMathVectorDist(fPoints->GetVector(e.x, daVertex), fPoints->GetVector(e.y, daVertex));
        const int wall = AddPrimitiveArray(GL_QUADS);
        double along = 0;
        for (const auto& e : edges) {
            // Walls of a face run u → v as the face winds; swept away from the face they look out.
            const int u = forward ? e.x : e.y, v = forward ? e.y : e.x;
            const TOrnMathVector pu = fPoints->GetVector(u, daVertex), pv = fPoints->GetVector(v, daVertex);
            const double len = OrnMathVectorDist(pu, pv);
            TOrnMathVector normal;
            OrnMathCrossProduct(sub(pv, pu), move, normal);
            OrnMathNormalize(normal);
            const double s0 = total > 0 ? (forward ? along : along + len) / total : 0;
            const double s1 = total > 0 ? (forward ? along + len : along) / total : 0;
            along += len;
            int previous = -1;
            for (int s = 0; s <= steps; ++s) {
                const double f = static_cast<double>(s) / steps;
                const TOrnMathVector off = scale(move, f);
                const int a =
                    fPoints->Add(add(pu, off), normal,
                                 texture ? TOrnMathVector{s0, f, 0} : fPoints->GetVector(u, daTexture));
                fPoints->Add(add(pv, off), normal,
                             texture ? TOrnMathVector{s1, f, 0} : fPoints->GetVector(v, daTexture));
                if (previous >= 0) {
                    TOrnPrimitiveArray* q = GetPrimitive(wall);
                    q->AddIndex(static_cast<std::uint32_t>(previous));
                    q->AddIndex(static_cast<std::uint32_t>(previous + 1));
                    q->AddIndex(static_cast<std::uint32_t>(a + 1));
                    q->AddIndex(static_cast<std::uint32_t>(a));
                }
                previous = a;
            }
        }
    }

    if (frontCap) {
        // The moved copy of every face list, with points of its own.
        const int count = fPoints->Count();
        std::vector<int> copyOf(static_cast<std::size_t>(count), -1);
        for (int l = 0; l < originalLists; ++l) {
            TOrnPrimitiveArray* src = fPrimitives[static_cast<std::size_t>(l)].get();
            if (!src->Enabled() || src->Type() < GL_TRIANGLES) continue;
            TOrnPrimitiveArray* dst = GetPrimitive(AddPrimitiveArray(src->Type()));
            dst->SetTextureRef(src->Texture(), src->TextureRender());
            for (int k = 0; k < src->Count(); ++k) {
                const std::uint32_t i = src->Data()[k];
                if (i >= static_cast<std::uint32_t>(count)) continue;
                if (copyOf[i] < 0) {
                    copyOf[i] = fPoints->Add(add(fPoints->GetVector(static_cast<int>(i), daVertex), move),
                                             fPoints->GetVector(static_cast<int>(i), daNormal),
                                             fPoints->GetVector(static_cast<int>(i), daTexture));
                }
                dst->AddIndex(static_cast<std::uint32_t>(copyOf[i]));
            }
            if (!forward) dst->Invert();
        }
    }
    for (int l = 0; l < originalLists; ++l) {
        TOrnPrimitiveArray* src = fPrimitives[static_cast<std::size_t>(l)].get();
        if (!src->Enabled() || src->Type() < GL_TRIANGLES) continue;
        if (!backCap)
            src->SetEnabled(false);
        else if (forward)
            src->Invert();
    }
}

// ---------------------------------------------------------------------------------------------
// Splitting

void TOrnPrimitiveObj::SplitTriangle(int position, int triangle) {
    TOrnPrimitiveArray* list = GetPrimitive(position);
    if (!list || list->Type() != GL_TRIANGLES || triangle < 0 || 3L * triangle + 2 >= list->Count()) return;
    std::uint32_t* d = list->Data();
    const std::uint32_t* t = d + 3 * triangle;
    // The longest edge k runs from corner k to corner k + 1.
    int longest = 0;
    double best = -1;
    for (int k = 0; k < 3; ++k) {
        const double len = OrnMathVectorDist(fPoints->GetVector(static_cast<int>(t[k]), daVertex),
                                             fPoints->GetVector(static_cast<int>(t[(k + 1) % 3]), daVertex));
        if (len > best) {
            best = len;
            longest = k;
        }
    }
    const std::uint32_t u = t[longest], v = t[(longest + 1) % 3], w = t[(longest + 2) % 3];
    auto mid = [&](TOrnArray kind) {
        TOrnMathVector r;
        OrnMathVectorInterpolate(fPoints->GetVector(static_cast<int>(u), kind),
                                 fPoints->GetVector(static_cast<int>(v), kind), r);
        return r;
    };
    TOrnMathVector normal = mid(daNormal);
    OrnMathNormalize(normal);
    const auto m = static_cast<std::uint32_t>(fPoints->Add(mid(daVertex), normal, mid(daTexture)));
    // The neighbour across the edge, which would otherwise keep a crack open.
    int neighbour = -1, corner = 0;
    for (int f = 0; 3 * f + 2 < list->Count() && neighbour < 0; ++f) {
        if (f == triangle) continue;
        for (int k = 0; k < 3; ++k)
            if (d[3 * f + k] == v && d[3 * f + (k + 1) % 3] == u) {
                neighbour = f;
                corner = k;
            }
    }
    auto replace = [&](int f, std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t mm) {
        std::uint32_t* slot = list->Data() + 3 * f;
        slot[0] = a;
        slot[1] = mm;
        slot[2] = c;
        list->AddIndex(mm);
        list->AddIndex(b);
        list->AddIndex(c);
    };
    replace(triangle, u, v, w, m);
    if (neighbour >= 0) {
        const std::uint32_t* n = list->Data() + 3 * neighbour;
        const std::uint32_t x = n[(corner + 2) % 3];
        replace(neighbour, v, u, x, m);
    }
}

// ---------------------------------------------------------------------------------------------
// Nearest point

int TOrnPrimitiveObj::getNearPoint(int position, const TOrnMathVector& v) {
    const int n = fPoints->Count();
    int best = -1;
    double bestDist = std::numeric_limits<double>::infinity();
    auto consider = [&](int i) {
        const double d = OrnMathVectorDist(fPoints->GetVector(i, daVertex), v);
        if (d < bestDist || (d == bestDist && i < best)) {
            bestDist = d;
            best = i;
        }
    };
    if (position == -1) {
        for (int i = 0; i < n; ++i)
            consider(i);
        return best;
    }
    const TOrnPrimitiveArray* list = GetPrimitive(position);
    if (!list) return -1;
    for (int k = 0; k < list->Count(); ++k)
        if (list->Data()[k] < static_cast<std::uint32_t>(n)) consider(static_cast<int>(list->Data()[k]));
    return best;
}

} // namespace orn
