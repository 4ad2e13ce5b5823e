#include <orn/geometry/TOrnPrimitiveObj.h>

#include "geometry/detail/PointGrid.h"
#include "scene/detail/ClipVolume.h"
#include "scene/detail/Exactly.h"

#include <orn/host/EOrnError.h>

#include <algorithm>
#include <atomic>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <string>
#include <strings.h>
#include <utility>

namespace orn {

TOrnPrimitiveObj::TOrnPrimitiveObj(TComponent* owner)
    : TOrnObject(owner), fPoints(std::make_unique<TOrnPrimitivePoints>()),
      fTextureFlags(std::make_unique<TOrnTextureFlags>()) {
    // Texture coordinates are computed at a build, so a new rule means a new build.
    fTextureFlags->OnChange = [this](TObject*) { Invalidate(); };
}

TOrnPrimitiveObj::~TOrnPrimitiveObj() {
    fPrimitives.clear();
}

TOrnPrimitiveArray* TOrnPrimitiveObj::GetPrimitive(int position) const {
    if (position < 0 || position >= GetPrimitiveCount()) return nullptr;
    return fPrimitives[static_cast<std::size_t>(position)].get();
}

void TOrnPrimitiveObj::SetAutoCalcNormals(bool value) {
    if (assignIfChanged(fAutoCalcNormals, value)) Invalidate();
}

bool TOrnPrimitiveObj::GetTextured() const {
    return fPoints->EnabledArrays().Contains(daTexture);
}

void TOrnPrimitiveObj::SetTextured(bool value) {
    TOrnArrays enabled = fPoints->EnabledArrays();
    enabled.Exclude(daTexture);
    if (value) enabled.Include(daTexture);
    fPoints->SetEnabledArrays(enabled);
    for (auto& list : fPrimitives)
        list->SetTextured(value);
    if (value && fInitialized && fPoints->Count() > 0 && !fPoints->HasArray(daTexture)) Invalidate();
}

void TOrnPrimitiveObj::SetTextureRef(TOrnTexture* texture, TOrnRender* render) {
    if (render == fTextureRender && texture == fTexture) return;
    if (fTextureRender && fTextureRender != render) RemoveFreeNotification(fTextureRender);
    fTexture = texture;
    fTextureRender = render;
    if (render) FreeNotification(render);
    for (auto& list : fPrimitives)
        list->SetTextureRef(texture, render);
    Changed();
}

void TOrnPrimitiveObj::SetTextureFlags(const TOrnTextureFlags* value) {
    if (value) fTextureFlags->Assign(value);
}

// ---------------------------------------------------------------------------------------------
// Building

void TOrnPrimitiveObj::Init() {
    struct Building {
        bool& flag;
        bool was;
        explicit Building(bool& f) : flag(f), was(std::exchange(f, true)) {}
        ~Building() { flag = was; }
    } building(fBuilding);
    ClearAll();
    // Coordinates that are never drawn would be a quarter to a third of the memory of the points.
    // Points that a shape keeps across builds keep their coordinates too.
    if (fPoints->Count() == 0) {
        TOrnArrays arrays = fPoints->DefineArrays();
        arrays.Exclude(daTexture);
        if (GetTextured() || fKeepTexCoords) arrays.Include(daTexture);
        fPoints->SetDefineArrays(arrays);
    }
    InitPoints();
    // A shape may bring coordinates of its own (a mesh given with them); they get the rule too.
    if (fPoints->DefineArrays().Contains(daTexture)) CalcTexture();
    InitPrimitives();
    fInitialized = true;
    if (OnAfterInit) OnAfterInit(this);
}

void TOrnPrimitiveObj::InitPoints() {}
void TOrnPrimitiveObj::InitPrimitives() {}

bool TOrnPrimitiveObj::ShapeBounds(TOrnBounds&) const {
    return false;
}

bool TOrnPrimitiveObj::GetBounds(TOrnBounds& bounds) {
    if (!fInitialized) {
        TOrnBounds shape;
        if (ShapeBounds(shape)) {
            bounds.Add(shape);
            return !shape.Empty();
        }
        Init();
    }
    const TOrnPrimitivePoints& points = *fPoints;
    if (fBoundsCount != points.Count() || fBoundsVersion != points.Version()) {
        fPointBounds = {};
        if (const double* v = points.Vertices())
            for (int i = 0; i < points.Count(); ++i)
                fPointBounds.Add(TOrnMathVector{v[3 * i], v[3 * i + 1], v[3 * i + 2]});
        fBoundsCount = points.Count();
        fBoundsVersion = points.Version();
    }
    bounds.Add(fPointBounds);
    return !fPointBounds.Empty();
}

void TOrnPrimitiveObj::ClearAll() {
    ClearPoints();
    ClearPrimitives();
}

void TOrnPrimitiveObj::ClearPoints() {
    fPoints->SetSize(0);
}
void TOrnPrimitiveObj::ClearPrimitives() {
    fPrimitives.clear();
}

namespace {

constexpr std::int64_t kHardPointLimit = std::int64_t{1} << 27;

std::int64_t startingPointLimit() {
    std::int64_t limit = std::int64_t{1} << 23;
    if (const char* text = std::getenv("ORN_MAX_POINTS")) {
        std::int64_t v = 0;
        const auto [end, ec] = std::from_chars(text, text + std::strlen(text), v);
        if (ec == std::errc() && *end == '\0' && v > 0) limit = std::min(v, kHardPointLimit);
    }
    return limit;
}

// A setting of the program, like the memory it may use: the same for every object.
std::atomic<std::int64_t> gPointLimit{startingPointLimit()};

} // namespace

std::int64_t TOrnPrimitiveObj::MaxBuildPoints() {
    return gPointLimit.load(std::memory_order_relaxed);
}

void TOrnPrimitiveObj::SetMaxBuildPoints(std::int64_t value) {
    gPointLimit.store(std::clamp<std::int64_t>(value, 1, kHardPointLimit), std::memory_order_relaxed);
}

void TOrnPrimitiveObj::CheckBuildSize(std::int64_t count, const char* shape) {
    const std::int64_t limit = MaxBuildPoints();
    if (count > limit)
        throw EOrnError(std::string(shape) + ": a detail needing " + std::to_string(count) +
                        " points is beyond the limit of " + std::to_string(limit) +
                        " points (about 100 bytes each); the environment variable ORN_MAX_POINTS or "
                        "TOrnPrimitiveObj::SetMaxBuildPoints raises it, up to " +
                        std::to_string(kHardPointLimit) + ".");
}

int TOrnPrimitiveObj::AddPoint(const TOrnMathVector& p, const TOrnMathVector& n, double s, double t,
                               std::uint8_t flags) {
    const int i = fPoints->Add(p, n, {s, t, 0});
    if (flags != 0)
        for (int bit = 0; bit < 8; ++bit)
            if (flags & (1u << bit)) fPoints->SetFlag(i, bit, true);
    return i;
}

int TOrnPrimitiveObj::AddPrimitiveArray(GLenum type) {
    auto list = std::make_unique<TOrnPrimitiveArray>(type);
    list->SetTextureRef(fTexture, fTextureRender);
    list->SetTextured(GetTextured());
    fPrimitives.push_back(std::move(list));
    return GetPrimitiveCount() - 1;
}

int TOrnPrimitiveObj::AddIndex(std::uint32_t pointIndex, int position) {
    TOrnPrimitiveArray* list = GetPrimitive(position);
    return list ? list->AddIndex(pointIndex) : -1;
}

void TOrnPrimitiveObj::DeletePrimitiveArray(int position, int count) {
    if (count < 1) return;
    for (long i = static_cast<long>(position) + count - 1; i >= position; --i)
        if (i >= 0 && i < GetPrimitiveCount()) fPrimitives.erase(fPrimitives.begin() + i);
}

int TOrnPrimitiveObj::AddPrimitiveObj(TOrnPrimitiveObj* other) {
    if (!other) return -1;
    if (!other->fInitialized) other->Init();
    const int offset = fPoints->Add(*other->fPoints);
    const int lists = other->GetPrimitiveCount(); // other may be this object
    for (int i = 0; i < lists; ++i) {
        TOrnPrimitiveArray* src = other->GetPrimitive(i);
        TOrnPrimitiveArray* dst = GetPrimitive(AddPrimitiveArray(src->Type()));
        std::uint32_t* out = dst->Append(src->Count());
        for (int k = 0; k < src->Count(); ++k)
            out[k] = src->Data()[k] + static_cast<std::uint32_t>(offset);
        dst->SetTextureRef(src->Texture(), src->TextureRender());
    }
    return offset;
}

// ---------------------------------------------------------------------------------------------
// Texture coordinates

void TOrnPrimitiveObj::CalcTexture() {
    if (!fPoints->DefineArrays().Contains(daTexture))
        fPoints->SetDefineArrays(fPoints->DefineArrays() + TOrnArrays{daTexture});
    if (fTextureFlags->Mode() == txStandard) return; // every point keeps its coordinate
    for (int i = 0; i < fPoints->Count(); ++i)
        CalcTexturePoint(i);
}

void TOrnPrimitiveObj::CalcTexturePoint(int index) {
    if (index < 0 || index >= fPoints->Count()) return;
    const TOrnMathVector current = fPoints->GetVector(index, daTexture);
    fPoints->SetVector(index, daTexture, fTextureFlags->Apply(fPoints->GetVector(index, daVertex), current));
}

// ---------------------------------------------------------------------------------------------
// Normals

std::vector<int> TOrnPrimitiveObj::SeamReceivers() const {
    return detail::FirstSamePlace(std::as_const(*fPoints).Vertices(), fPoints->Count(),
                                  std::as_const(*fPoints).Flags(), 1u);
}

void TOrnPrimitiveObj::CalcNormals() {
    if (!fPoints->DefineArrays().Contains(daNormal))
        fPoints->SetDefineArrays(fPoints->DefineArrays() + TOrnArrays{daNormal});
    const int n = fPoints->Count();
    const int size = fPoints->Size();
    std::vector<double> sum(3 * static_cast<std::size_t>(n), 0.0);
    std::vector<int> counter(static_cast<std::size_t>(n), 0);
    const std::vector<int> receiver = SeamReceivers();
    const double* pos = std::as_const(*fPoints).Vertices();

    auto at = [&](std::uint32_t i) -> TOrnMathVector {
        if (i >= static_cast<std::uint32_t>(size)) return {};
        const double* p = pos + 3 * static_cast<std::size_t>(i);
        return {p[0], p[1], p[2]};
    };
    // OrnMathNormalVector with normalisation, written out so that it inlines: the same arithmetic
    // in the same order, so the same bits.
    auto face = [&](std::uint32_t a, std::uint32_t b, std::uint32_t c) {
        const TOrnMathVector p1 = at(a), p2 = at(b), p3 = at(c);
        const TOrnMathVector u{p1.x - p2.x, p1.y - p2.y, p1.z - p2.z},
            w{p2.x - p3.x, p2.y - p3.y, p2.z - p3.z};
        TOrnMathVector r{u.y * w.z - u.z * w.y, u.z * w.x - u.x * w.z, u.x * w.y - u.y * w.x};
        const double l = std::sqrt(r.x * r.x + r.y * r.y + r.z * r.z);
        if (l > 0) {
            r.x /= l;
            r.y /= l;
            r.z /= l;
        }
        return r;
    };
    auto add = [&](std::uint32_t p, const TOrnMathVector& v) {
        if (p >= static_cast<std::uint32_t>(n)) return;
        const auto r = static_cast<std::size_t>(receiver[p]);
        sum[3 * r] += v.x;
        sum[3 * r + 1] += v.y;
        sum[3 * r + 2] += v.z;
        ++counter[r];
    };
    auto add3 = [&](std::uint32_t a, std::uint32_t b, std::uint32_t c, const TOrnMathVector& v) {
        add(a, v);
        add(b, v);
        add(c, v);
    };

    for (const auto& list : fPrimitives) {
        if (!list->Enabled() || !pos) continue;
        const std::uint32_t* i = list->Data();
        const int count = list->Count();
        switch (list->Type()) {
        case GL_TRIANGLES:
            for (int t = 0; t + 2 < count; t += 3)
                add3(i[t], i[t + 1], i[t + 2], face(i[t], i[t + 1], i[t + 2]));
            break;
        case GL_TRIANGLE_STRIP:
            for (int k = 0; k + 2 < count; ++k) {
                const TOrnMathVector v =
                    k % 2 == 0 ? face(i[k], i[k + 1], i[k + 2]) : face(i[k + 1], i[k], i[k + 2]);
                if (std::fabs(v.x) >= 0.001 || std::fabs(v.y) >= 0.001 || std::fabs(v.z) >= 0.001)
                    add3(i[k], i[k + 1], i[k + 2], v);
            }
            break;
        case GL_TRIANGLE_FAN:
            for (int k = 1; k + 1 < count; ++k)
                add3(i[0], i[k], i[k + 1], face(i[0], i[k], i[k + 1]));
            break;
        case GL_QUADS:
            for (int q = 0; q + 3 < count; q += 4) {
                add3(i[q], i[q + 1], i[q + 2], face(i[q], i[q + 1], i[q + 2]));
                add3(i[q + 2], i[q + 3], i[q], face(i[q + 2], i[q + 3], i[q]));
            }
            break;
        case GL_QUAD_STRIP:
            for (int k = 0; k <= count / 2 - 2; ++k) {
                const TOrnMathVector v = face(i[2 * k], i[2 * k + 1], i[2 * k + 2]);
                for (int m = 0; m < 4; ++m)
                    add(i[2 * k + m], v);
            }
            break;
        case GL_POLYGON:
            for (int k = 0; k < count; ++k) {
                const std::uint32_t a = i[k], b = i[(k + 1) % count], c = i[(k + 2) % count];
                add3(a, b, c, face(a, b, c));
            }
            break;
        default:
            for (int k = 0; k < count; ++k)
                add(i[k], {0, 0, 1});
            break;
        }
    }

    double* normals = fPoints->Normals();
    if (!normals) return;
    for (int p = 0; p < n; ++p) {
        const auto r = static_cast<std::size_t>(receiver[static_cast<std::size_t>(p)]);
        if (counter[r] == 0) continue;
        TOrnMathVector v{sum[3 * r] / counter[r], sum[3 * r + 1] / counter[r], sum[3 * r + 2] / counter[r]};
        OrnMathNormalize(v);
        double* out = normals + 3 * static_cast<std::size_t>(p);
        out[0] = v.x;
        out[1] = v.y;
        out[2] = v.z;
    }
}

// ---------------------------------------------------------------------------------------------
// Deleting points

void TOrnPrimitiveObj::FreePoints(int first, int count) {
    if (count < 1 || first < 0 || first >= fPoints->Count()) return;
    const auto lo = static_cast<std::uint32_t>(first);
    const std::uint32_t hi = lo + static_cast<std::uint32_t>(count) - 1;
    for (auto& list : fPrimitives) {
        std::uint32_t* d = list->Data();
        bool hit = false;
        for (int k = 0; k < list->Count(); ++k) {
            if (d[k] > hi)
                d[k] -= static_cast<std::uint32_t>(count);
            else if (d[k] >= lo)
                hit = true;
        }
        if (hit) list->SetEnabled(false);
    }
    fPoints->Delete(first, count);
}

void TOrnPrimitiveObj::FreeUnusedPoints() {
    const int n = fPoints->Count();
    std::vector<bool> unused(static_cast<std::size_t>(n), true);
    for (const auto& list : fPrimitives) {
        if (!list->Enabled()) continue;
        for (int k = 0; k < list->Count(); ++k)
            if (list->Data()[k] < static_cast<std::uint32_t>(n)) unused[list->Data()[k]] = false;
    }
    // Deleting from the top down one by one leaves every entry lowered by the number of deleted
    // points below it, and disables each list holding a deleted point: the same in one pass.
    std::vector<std::uint32_t> deletedBelow(static_cast<std::size_t>(n) + 1, 0);
    for (int i = 0; i < n; ++i)
        deletedBelow[i + 1] = deletedBelow[i] + (unused[i] ? 1 : 0);
    if (deletedBelow[n] == 0) return;
    for (auto& list : fPrimitives) {
        std::uint32_t* d = list->Data();
        bool hit = false;
        for (int k = 0; k < list->Count(); ++k) {
            const std::uint32_t e = d[k];
            const std::uint32_t below =
                deletedBelow[std::min<std::uint32_t>(e, static_cast<std::uint32_t>(n))];
            if (e < static_cast<std::uint32_t>(n) && unused[e]) hit = true;
            d[k] = e - below;
        }
        if (hit) list->SetEnabled(false);
    }
    fPoints->DeleteMarked(unused);
}

void TOrnPrimitiveObj::Invert() {
    for (auto& list : fPrimitives)
        list->Invert();
}

// ---------------------------------------------------------------------------------------------
// Drawing

std::uint64_t TOrnPrimitiveObj::ContentStamp() const {
    return TOrnObject::ContentStamp() + (fTextureRender ? fTextureRender->Stamp() : 0);
}

void TOrnPrimitiveObj::DoRender(TOrnCustomView* view) {
    // Picking draws only what can meet the pick volume; the object's state still goes out, so
    // that what follows sees the same state as when everything is drawn.
    TOrnBounds box;
    const bool culled =
        view && view->DrawMode() == dmSelection && GetBounds(box) && detail::ClipVolume().Excludes(box);
    if (!culled && !fInitialized) Init();
    TOrnObject::DoRender(view);
    if (culled) return;
    fPoints->BeforeRender(view);
    const bool names = WantsNames(view);
    for (int i = 0; i < GetPrimitiveCount(); ++i) {
        TOrnPrimitiveArray* list = fPrimitives[static_cast<std::size_t>(i)].get();
        if (!list->Enabled()) continue;
        if (list->Textured()) {
            if (list->TextureRender()) list->TextureRender()->Render(view);
            glEnable(GL_TEXTURE_2D);
        } else {
            glDisable(GL_TEXTURE_2D);
        }
        if (names) glPushName(static_cast<GLuint>(view->GetNextID(this, i)));
        list->ProceedDirectRendering();
        if (names) glPopName();
    }
    fPoints->AfterRender(view);
}

// ---------------------------------------------------------------------------------------------
// Copying, references, scene file

// The described values first: a change of the texture flags marks the geometry stale, and the
// geometry copied with Initialized is final.
void TOrnPrimitiveObj::Assign(const TPersistent* source) {
    TOrnObject::Assign(source);
    auto* src = dynamic_cast<const TOrnPrimitiveObj*>(source);
    if (!src || src == this) return;
    fAutoCalcNormals = src->fAutoCalcNormals;
    fKeepTexCoords = src->fKeepTexCoords;
    ClearAll();
    fPoints->Assign(src->fPoints.get());
    for (const auto& list : src->fPrimitives)
        GetPrimitive(AddPrimitiveArray(list->Type()))->Assign(list.get());
    fInitialized = src->fInitialized;
}

void TOrnPrimitiveObj::Notification(TComponent* component, TOperation operation) {
    TOrnObject::Notification(component, operation);
    if (operation != opRemove || !component || component != fTextureRender) return;
    // The dying texture has already dropped its notification link; only forget it.
    fTexture = nullptr;
    fTextureRender = nullptr;
    for (auto& list : fPrimitives)
        list->SetTextureRef(nullptr, nullptr);
}

ORN_DESCRIBE_PROPERTIES(TOrnPrimitiveObj, &TOrnObject::ClassProperties()) {
    b.Access<bool>(
        "Textured", [](const TOrnPrimitiveObj& o) { return o.GetTextured(); },
        [](TOrnPrimitiveObj& o, bool v) { o.SetTextured(v); }, false);
    b.Reference(
        "Texture", "TOrnTexture", [](const TOrnPrimitiveObj& o) -> TComponent* { return o.fTextureRender; },
        [](TOrnPrimitiveObj& o, TComponent* c) {
            auto* texture = detail::exactly<TOrnTexture>(c, "TOrnTexture");
            o.SetTextureRef(texture, texture ? dynamic_cast<TOrnRender*>(c) : nullptr);
        });
    b.Object("TextureFlags", &TOrnPrimitiveObj::fTextureFlags);
}

} // namespace orn
