#include <orn/geometry/TOrnPrimitivePoints.h>

#include <orn/host/EOrnError.h>

#include "host/detail/HugePages.h"

#include <GL/gl.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

namespace orn {

// ---------------------------------------------------------------------------------------------
// TOrnPointItem

TOrnPointItem::TOrnPointItem()
    : fPoint(std::make_unique<TOrnVector>()), fNormal(std::make_unique<TOrnNormal>()),
      fTexture(std::make_unique<TOrnVector>()), fColor(std::make_unique<TOrnColor>()) {
    auto forward = [this](TObject*) { Changed(); };
    fPoint->OnChange = forward;
    fNormal->OnChange = forward;
    fTexture->OnChange = forward;
    fColor->OnChange = forward;
}

void TOrnPointItem::SetPoint(const TOrnVector* value) {
    if (value) fPoint->Assign(value);
}

void TOrnPointItem::SetNormal(const TOrnNormal* value) {
    if (value) fNormal->Assign(value);
}

void TOrnPointItem::SetTexture(const TOrnVector* value) {
    if (value) fTexture->Assign(value);
}

void TOrnPointItem::SetColor(const TOrnColor* value) {
    if (!value) return;
    // The colour's Assign would take over the source's handler; only the values are ours to copy.
    fColor->SetColor(value->Color());
    fColor->SetAlpha(value->Alpha());
}

void TOrnPointItem::SetFlag(int value) {
    if (assignIfChanged(fFlag, value)) Changed();
}

void TOrnPointItem::SetEdgeFlag(bool value) {
    if (assignIfChanged(fEdgeFlag, value)) Changed();
}

void TOrnPointItem::Assign(const TPersistent* source) {
    AssignProperties(source);
}

ORN_DESCRIBE_PROPERTIES(TOrnPointItem, nullptr) {
    // Copied through the setters, which notify a real change.
    ORN_PROP(b, TOrnPointItem, Flag, 0).store = nullptr;
    ORN_PROP(b, TOrnPointItem, EdgeFlag, true).store = nullptr;
    b.Object("Point", &TOrnPointItem::fPoint);
    b.Object("Normal", &TOrnPointItem::fNormal);
    b.Object("Texture", &TOrnPointItem::fTexture);
    b.Object("Color", &TOrnPointItem::fColor);
}

// ---------------------------------------------------------------------------------------------
// TOrnPrimitivePoints

namespace {

constexpr std::size_t kElementSizes[6] = {
    3 * sizeof(double), 3 * sizeof(double), 3 * sizeof(double), 4 * sizeof(float), 1, 1};

bool isVectorKind(TOrnArray kind) {
    return kind == daVertex || kind == daNormal || kind == daTexture;
}

} // namespace

TOrnPrimitivePoints::TOrnPrimitivePoints() {
    SetSize(0);
}

TOrnPrimitivePoints::~TOrnPrimitivePoints() {
    SetSize(0);
    for (Block& b : fBlocks)
        std::free(b.data);
}

std::size_t TOrnPrimitivePoints::ElementSize(TOrnArray kind) {
    return kElementSizes[kind];
}

void TOrnPrimitivePoints::Reserve(TOrnArray kind, int n) {
    Block& b = fBlocks[kind];
    if (n <= b.capacity) return;
    // Geometric growth under the fixed logical step keeps a run of appends linear; a sixteenth at a
    // time leaves at most about 6 % of the memory unused (large blocks grow in place by remapping).
    std::size_t cap = std::max<std::size_t>(static_cast<std::size_t>(n),
                                            static_cast<std::size_t>(b.capacity) + b.capacity / 16);
    cap = std::min<std::size_t>(cap, 0x7fffffff);
    void* p = std::realloc(b.data, cap * ElementSize(kind));
    if (!p)
        throw EOrnError(std::string(ClassName()) + ": no memory for " + std::to_string(cap) + " elements.");
    b.data = static_cast<unsigned char*>(p);
    b.capacity = static_cast<int>(cap);
    detail::AdviseHugePages(p, cap * ElementSize(kind));
}

void TOrnPrimitivePoints::Resize(TOrnArray kind, int n) {
    Block& b = fBlocks[kind];
    if (n == 0) {
        std::free(b.data);
        b = Block{};
        return;
    }
    if (n > b.capacity) {
        Reserve(kind, n);
    } else if (n < b.capacity / 4) {
        if (void* p = std::realloc(b.data, static_cast<std::size_t>(n) * ElementSize(kind))) {
            b.data = static_cast<unsigned char*>(p);
            b.capacity = n;
        }
    }
    if (n > b.length) {
        const std::size_t from = static_cast<std::size_t>(b.length) * ElementSize(kind);
        const std::size_t bytes = static_cast<std::size_t>(n - b.length) * ElementSize(kind);
        if (kind == daFlag) std::memset(b.data + from, 0, bytes);
        // Edge flags start as edges, as OpenGL's own default.
        if (kind == daEdgeFlag) std::memset(b.data + from, 1, bytes);
    }
    b.length = n;
}

void TOrnPrimitivePoints::SetSize(int n) {
    if (n < 0) return;
    constexpr int kMaxPoints = 1 << 27;
    if (n > kMaxPoints)
        throw EOrnError("TOrnPrimitivePoints: " + std::to_string(n) + " points are beyond the limit of " +
                        std::to_string(kMaxPoints) + ".");
    for (int k = daVertex; k <= daFlag; ++k)
        if (fDefineArrays.Contains(static_cast<TOrnArray>(k))) Resize(static_cast<TOrnArray>(k), n);
    fSize = n;
    if (fCount > n) {
        fCount = n;
        Touch();
    }
}

void TOrnPrimitivePoints::SetCount(int n) {
    if (n < 0) return;
    SetSize(n);
    fCount = n;
    Touch();
}

void TOrnPrimitivePoints::SetDefineArrays(TOrnArrays value) {
    fDefineArrays = value;
    SetSize(fSize);
    Touch();
}

void TOrnPrimitivePoints::SetEnabledArrays(TOrnArrays value) {
    fEnabledArrays = value;
}

bool TOrnPrimitivePoints::HasArray(TOrnArray kind) const {
    return fDefineArrays.Contains(kind) && fBlocks[kind].data != nullptr;
}

bool TOrnPrimitivePoints::Defined(TOrnArray kind, int index) const {
    return index >= 0 && index < fSize && index < fBlocks[kind].length && HasArray(kind);
}

void* TOrnPrimitivePoints::Data(TOrnArray kind, bool geometry) {
    if (geometry) Touch();
    return HasArray(kind) ? fBlocks[kind].data : nullptr;
}

const void* TOrnPrimitivePoints::CData(TOrnArray kind) const {
    return HasArray(kind) ? fBlocks[kind].data : nullptr;
}

std::size_t TOrnPrimitivePoints::AllocatedBytes() const {
    std::size_t total = 0;
    for (int k = daVertex; k <= daFlag; ++k)
        total += static_cast<std::size_t>(fBlocks[k].capacity) * ElementSize(static_cast<TOrnArray>(k));
    return total;
}

void TOrnPrimitivePoints::GrowForAppend(int extra) {
    if (fSize - extra < fCount) SetSize(std::max(fSize + 12, fCount + extra));
}

int TOrnPrimitivePoints::Add(double x, double y, double z) {
    GrowForAppend(1);
    if (!HasArray(daVertex)) return -1;
    double* v = reinterpret_cast<double*>(fBlocks[daVertex].data) + 3 * static_cast<std::size_t>(fCount);
    v[0] = x;
    v[1] = y;
    v[2] = z;
    if (HasArray(daFlag)) fBlocks[daFlag].data[fCount] = 0;
    return fCount++;
}

int TOrnPrimitivePoints::Add(const TOrnMathVector& position, const TOrnMathVector& normal,
                             const TOrnMathVector& texture) {
    GrowForAppend(1);
    const int i = fCount++;
    auto put = [&](TOrnArray kind, const TOrnMathVector& v) {
        if (!HasArray(kind)) return;
        double* d = reinterpret_cast<double*>(fBlocks[kind].data) + 3 * static_cast<std::size_t>(i);
        d[0] = v.x;
        d[1] = v.y;
        d[2] = v.z;
    };
    put(daVertex, position);
    put(daNormal, normal);
    put(daTexture, texture);
    if (HasArray(daFlag)) fBlocks[daFlag].data[i] = 0;
    return i;
}

int TOrnPrimitivePoints::Add(const TOrnPointItem& item) {
    GrowForAppend(1);
    const int i = fCount++;
    const std::uint64_t version = fVersion;
    SetPoint(i, item);
    fVersion = version; // an append, not a change of existing points
    return i;
}

int TOrnPrimitivePoints::Add(const TOrnPrimitivePoints& pool) {
    const int first = fCount;
    const int n = pool.fCount;
    if (n <= 0) return first;
    if (fCount + n > fSize) SetSize(fCount + n);
    for (int k = daVertex; k <= daFlag; ++k) {
        const auto kind = static_cast<TOrnArray>(k);
        if (!HasArray(kind)) continue;
        unsigned char* dst = fBlocks[k].data + static_cast<std::size_t>(first) * ElementSize(kind);
        if (pool.HasArray(kind))
            std::memcpy(dst, pool.fBlocks[k].data, static_cast<std::size_t>(n) * ElementSize(kind));
        else if (kind == daFlag)
            std::memset(dst, 0, static_cast<std::size_t>(n));
    }
    fCount += n;
    return first;
}

TOrnMathVector TOrnPrimitivePoints::GetVector(int index, TOrnArray kind) const {
    if (!isVectorKind(kind) || !Defined(kind, index)) return {};
    const double* d =
        reinterpret_cast<const double*>(fBlocks[kind].data) + 3 * static_cast<std::size_t>(index);
    return {d[0], d[1], d[2]};
}

void TOrnPrimitivePoints::SetVector(int index, TOrnArray kind, const TOrnMathVector& v) {
    if (!isVectorKind(kind) || !Defined(kind, index)) return;
    double* d = reinterpret_cast<double*>(fBlocks[kind].data) + 3 * static_cast<std::size_t>(index);
    d[0] = v.x;
    d[1] = v.y;
    d[2] = v.z;
    if (kind == daVertex) Touch();
}

double TOrnPrimitivePoints::GetValues(int index, int component, TOrnArray kind) const {
    if (!Defined(kind, index)) return 0;
    if (isVectorKind(kind) && component >= 0 && component < 3)
        return reinterpret_cast<const double*>(
            fBlocks[kind].data)[3 * static_cast<std::size_t>(index) + component];
    if (kind == daColor && component >= 0 && component < 4)
        return reinterpret_cast<const float*>(
            fBlocks[kind].data)[4 * static_cast<std::size_t>(index) + component];
    return 0;
}

void TOrnPrimitivePoints::SetValues(int index, int component, TOrnArray kind, double value) {
    if (!Defined(kind, index)) return;
    if (isVectorKind(kind) && component >= 0 && component < 3) {
        reinterpret_cast<double*>(fBlocks[kind].data)[3 * static_cast<std::size_t>(index) + component] =
            value;
        if (kind == daVertex) Touch();
    } else if (kind == daColor && component >= 0 && component < 4) {
        reinterpret_cast<float*>(fBlocks[kind].data)[4 * static_cast<std::size_t>(index) + component] =
            static_cast<float>(value);
    }
}

std::uint8_t TOrnPrimitivePoints::GetEdgeFlag(int index) const {
    if (index >= fCount || !Defined(daEdgeFlag, index)) return 255;
    return fBlocks[daEdgeFlag].data[index];
}

void TOrnPrimitivePoints::SetEdgeFlag(int index, std::uint8_t value) {
    if (index < fCount && Defined(daEdgeFlag, index)) fBlocks[daEdgeFlag].data[index] = value;
}

bool TOrnPrimitivePoints::GetFlag(int index, int bit) const {
    if (bit < 0 || bit > 7 || index >= fCount || !Defined(daFlag, index)) return false;
    return (fBlocks[daFlag].data[index] >> bit) & 1u;
}

void TOrnPrimitivePoints::SetFlag(int index, int bit, bool value) {
    if (bit < 0 || bit > 7 || index >= fCount || !Defined(daFlag, index)) return;
    const auto mask = static_cast<std::uint8_t>(1u << bit);
    std::uint8_t& b = fBlocks[daFlag].data[index];
    b = value ? static_cast<std::uint8_t>(b | mask) : static_cast<std::uint8_t>(b & ~mask);
    Touch();
}

void TOrnPrimitivePoints::GetPoint(int index, TOrnPointItem& item) const {
    if (Defined(daVertex, index)) item.Point()->SetAsMathVector(GetVector(index, daVertex));
    if (Defined(daNormal, index)) item.Normal()->SetAsMathVector(GetVector(index, daNormal));
    if (Defined(daTexture, index)) item.Texture()->SetAsMathVector(GetVector(index, daTexture));
    if (Defined(daColor, index)) {
        const float* c =
            reinterpret_cast<const float*>(fBlocks[daColor].data) + 4 * static_cast<std::size_t>(index);
        const float rgba[4] = {c[0], c[1], c[2], c[3]};
        item.Color()->SetParams(rgba);
        item.Color()->SetAlpha(c[3]);
    }
    if (Defined(daEdgeFlag, index)) item.SetEdgeFlag(fBlocks[daEdgeFlag].data[index] > 0);
    if (Defined(daFlag, index)) item.SetFlag(fBlocks[daFlag].data[index]);
}

void TOrnPrimitivePoints::SetPoint(int index, const TOrnPointItem& item) {
    SetVector(index, daVertex, item.Point()->AsMathVector());
    SetVector(index, daNormal, item.Normal()->AsMathVector());
    SetVector(index, daTexture, item.Texture()->AsMathVector());
    if (Defined(daColor, index)) {
        float* c = reinterpret_cast<float*>(fBlocks[daColor].data) + 4 * static_cast<std::size_t>(index);
        const auto rgba = item.Color()->GetParams();
        std::copy(rgba.begin(), rgba.end(), c);
    }
    if (Defined(daEdgeFlag, index)) fBlocks[daEdgeFlag].data[index] = item.EdgeFlag() ? 1 : 0;
    if (Defined(daFlag, index)) fBlocks[daFlag].data[index] = static_cast<std::uint8_t>(item.Flag());
    Touch();
}

void TOrnPrimitivePoints::Delete(int first, int count) {
    if (first < 0) {
        count += first;
        first = 0;
    }
    count = std::min(count, fCount - first);
    if (count < 1) return;
    for (int k = daVertex; k <= daFlag; ++k) {
        const auto kind = static_cast<TOrnArray>(k);
        if (!HasArray(kind)) continue;
        const std::size_t es = ElementSize(kind);
        const int end = std::min(fCount, fBlocks[k].length);
        if (first + count >= end) continue;
        std::memmove(fBlocks[k].data + first * es, fBlocks[k].data + (first + count) * es,
                     static_cast<std::size_t>(end - first - count) * es);
    }
    fCount -= count;
    Touch();
}

void TOrnPrimitivePoints::DeleteMarked(const std::vector<bool>& remove) {
    const int n = std::min(fCount, static_cast<int>(remove.size()));
    int kept = 0;
    for (int i = 0; i < n; ++i) {
        if (remove[i]) continue;
        if (kept != i) {
            for (int k = daVertex; k <= daFlag; ++k) {
                const auto kind = static_cast<TOrnArray>(k);
                if (!HasArray(kind) || i >= fBlocks[k].length) continue;
                const std::size_t es = ElementSize(kind);
                std::memcpy(fBlocks[k].data + kept * es, fBlocks[k].data + i * es, es);
            }
        }
        ++kept;
    }
    if (kept == n) return;
    // Points beyond the marks move down behind the kept ones.
    const int removed = n - kept;
    for (int i = n; i < fCount; ++i) {
        for (int k = daVertex; k <= daFlag; ++k) {
            const auto kind = static_cast<TOrnArray>(k);
            if (!HasArray(kind) || i >= fBlocks[k].length) continue;
            const std::size_t es = ElementSize(kind);
            std::memcpy(fBlocks[k].data + (i - removed) * es, fBlocks[k].data + i * es, es);
        }
    }
    fCount -= removed;
    Touch();
}

void TOrnPrimitivePoints::LiftPoint(int index, double d) {
    if (index < 0 || index >= fSize || !Defined(daNormal, index) || !Defined(daTexture, index) ||
        !Defined(daVertex, index))
        return;
    TOrnMathVector p = GetVector(index, daVertex);
    const TOrnMathVector n = GetVector(index, daNormal);
    SetVector(index, daVertex, {p.x + n.x * d, p.y + n.y * d, p.z + n.z * d});
}

void TOrnPrimitivePoints::ScalePoints(double x, double y, double z) {
    double* v = Vertices();
    if (!v) return;
    for (int i = 0; i < fCount; ++i) {
        v[3 * i] *= x;
        v[3 * i + 1] *= y;
        v[3 * i + 2] *= z;
    }
}

void TOrnPrimitivePoints::MovePoints(double x, double y, double z) {
    double* v = Vertices();
    if (!v) return;
    for (int i = 0; i < fCount; ++i) {
        v[3 * i] += x;
        v[3 * i + 1] += y;
        v[3 * i + 2] += z;
    }
}

void TOrnPrimitivePoints::BeforeRender(TOrnCustomView*) {
    auto on = [this](TOrnArray kind) { return fEnabledArrays.Contains(kind) && HasArray(kind); };
    if (on(daNormal)) {
        glEnableClientState(GL_NORMAL_ARRAY);
        glNormalPointer(GL_DOUBLE, 0, fBlocks[daNormal].data);
    }
    if (on(daTexture)) {
        glEnableClientState(GL_TEXTURE_COORD_ARRAY);
        glTexCoordPointer(3, GL_DOUBLE, 0, fBlocks[daTexture].data);
        glEnable(GL_TEXTURE_2D);
    } else {
        glDisable(GL_TEXTURE_2D);
    }
    if (on(daColor)) {
        glEnableClientState(GL_COLOR_ARRAY);
        glColorPointer(4, GL_FLOAT, 0, fBlocks[daColor].data);
    }
    if (on(daEdgeFlag)) {
        glEnableClientState(GL_EDGE_FLAG_ARRAY);
        glEdgeFlagPointer(0, fBlocks[daEdgeFlag].data);
    }
    if (on(daVertex)) {
        glEnableClientState(GL_VERTEX_ARRAY);
        glVertexPointer(3, GL_DOUBLE, 0, fBlocks[daVertex].data);
    }
}

void TOrnPrimitivePoints::AfterRender(TOrnCustomView*) {
    glDisableClientState(GL_NORMAL_ARRAY);
    glDisableClientState(GL_COLOR_ARRAY);
    glDisableClientState(GL_TEXTURE_COORD_ARRAY);
    glDisableClientState(GL_EDGE_FLAG_ARRAY);
    glDisableClientState(GL_VERTEX_ARRAY);
    glEdgeFlag(GL_TRUE);
}

void TOrnPrimitivePoints::Assign(const TPersistent* source) {
    auto* pool = dynamic_cast<const TOrnPrimitivePoints*>(source);
    if (!pool || pool == this) return;
    fDefineArrays = pool->fDefineArrays;
    fEnabledArrays = pool->fEnabledArrays;
    SetSize(pool->fSize);
    fCount = pool->fCount;
    for (int k = daVertex; k <= daFlag; ++k) {
        const auto kind = static_cast<TOrnArray>(k);
        if (!HasArray(kind) || !pool->HasArray(kind)) continue;
        const int n = std::min(fBlocks[k].length, pool->fBlocks[k].length);
        std::memcpy(fBlocks[k].data, pool->fBlocks[k].data, static_cast<std::size_t>(n) * ElementSize(kind));
    }
    Touch();
    Changed();
}

} // namespace orn
