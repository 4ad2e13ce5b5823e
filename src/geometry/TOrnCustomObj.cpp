#include <orn/geometry/TOrnCustomObj.h>
#include <orn/scene/TOrnRegistry.h>

#include "geometry/detail/PointGrid.h"

#include <orn/host/EOrnError.h>

#include <orn/math/TOrnCustomExchange.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>
#include <string_view>
#include <strings.h>
#include <type_traits>
#include <utility>

namespace orn {

ORN_REGISTER_RENDER_CLASS(TOrnCustomObj, "Orn Obj")

// ---------------------------------------------------------------------------------------------
// TOrnPrimitiveInterface

long TOrnPrimitiveInterface::PointOf(int k) const {
    if (k < 1 || k > fCount) return -1;
    const TOrnPrimitiveArray* list = fOwner->Primitive(fList);
    if (!list || list->Count() < fFirst + k) return -1;
    return list->Indices(fFirst + k - 1);
}

TOrnMathVector TOrnPrimitiveInterface::GetPoint(int k) const {
    const long p = PointOf(k);
    return p < 0 ? TOrnMathVector{} : fOwner->Points()->GetVector(static_cast<int>(p), daVertex);
}

void TOrnPrimitiveInterface::SetPoint(int k, const TOrnMathVector& v) {
    const long p = PointOf(k);
    if (p >= 0) fOwner->Points()->SetVector(static_cast<int>(p), daVertex, v);
}

// ---------------------------------------------------------------------------------------------
// TOrnCustomObj

TOrnCustomObj::TOrnCustomObj(TComponent* owner)
    : TOrnPrimitiveObj(owner), fInterface(std::make_unique<TOrnPrimitiveInterface>(this)),
      fWeld(std::make_unique<detail::PointGrid>()) {}

TOrnCustomObj::~TOrnCustomObj() = default;

struct TOrnCustomObj::Mesh {
    std::vector<double> positions, normals, texCoords;
    std::vector<std::uint32_t> indices;
    GLenum type = GL_TRIANGLES;
    std::vector<std::uint8_t> edgeFlags;
};

void TOrnCustomObj::InitPoints() {}

void TOrnCustomObj::InitPrimitives() {
    fPoints->SetDefineArrays(fPoints->DefineArrays() + TOrnArrays{daVertex, daNormal});
    if (fMesh) LayMesh();
    if (OnConstruct) OnConstruct(this);
    // Normals the application gave are kept as given.
    if (fAutoCalcNormals && !(fMesh && !fMesh->normals.empty())) CalcNormals();
}

void TOrnCustomObj::SetMesh(std::vector<double> positions, std::vector<double> normals,
                            std::vector<double> texCoords, std::vector<std::uint32_t> indices, GLenum type,
                            std::vector<std::uint8_t> edgeFlags) {
    auto fail = [](const std::string& why) { throw EOrnError("CustomObj mesh: " + why); };
    const std::size_t n = positions.size() / 3;
    if (positions.size() % 3 != 0)
        fail(std::to_string(positions.size()) + " position values are not 3 per point");
    if (!normals.empty() && normals.size() != positions.size() && normals.size() != 3)
        fail(std::to_string(normals.size()) + " normal values for " + std::to_string(n) + " points");
    if (!texCoords.empty() && texCoords.size() != 2 * n && texCoords.size() != 3 * n)
        fail(std::to_string(texCoords.size()) + " texture values for " + std::to_string(n) + " points");
    if (!edgeFlags.empty() && edgeFlags.size() != n)
        fail(std::to_string(edgeFlags.size()) + " edge flags for " + std::to_string(n) + " points");
    if (type > GL_POLYGON) fail("primitive type " + std::to_string(type) + " is not a GL primitive");
    CheckBuildSize(static_cast<std::int64_t>(n), "CustomObj");
    CheckBuildSize(static_cast<std::int64_t>(indices.size()), "CustomObj");
    for (std::size_t i = 0; i < indices.size(); ++i)
        if (indices[i] >= n)
            fail("index " + std::to_string(indices[i]) + " at " + std::to_string(i) + " is beyond the " +
                 std::to_string(n) + " points");
    fMesh = std::make_unique<Mesh>(Mesh{std::move(positions), std::move(normals), std::move(texCoords),
                                        std::move(indices), type, std::move(edgeFlags)});
    Invalidate();
}

void TOrnCustomObj::ClearMesh() {
    if (!fMesh) return;
    fMesh.reset();
    Invalidate();
}

void TOrnCustomObj::LayMesh() {
    const Mesh& m = *fMesh;
    const int n = static_cast<int>(m.positions.size() / 3);
    TOrnArrays arrays = fPoints->DefineArrays() + TOrnArrays{daVertex, daNormal};
    if (!m.texCoords.empty()) arrays = arrays + TOrnArrays{daTexture};
    if (!m.edgeFlags.empty()) {
        arrays = arrays + TOrnArrays{daEdgeFlag};
        fPoints->SetEnabledArrays(fPoints->EnabledArrays() + TOrnArrays{daEdgeFlag});
    }
    fPoints->SetDefineArrays(arrays);
    const int first = fPoints->Count();
    fPoints->SetCount(first + n);
    const auto at = static_cast<std::size_t>(first) * 3;
    std::copy(m.positions.begin(), m.positions.end(), fPoints->Vertices() + at);
    if (m.normals.empty())
        std::fill_n(fPoints->Normals() + at, m.positions.size(), 0.0);
    else if (m.normals.size() != m.positions.size())
        for (double* nv = fPoints->Normals() + at; nv != fPoints->Normals() + at + m.positions.size();
             nv += 3)
            std::copy(m.normals.begin(), m.normals.end(), nv);
    else
        std::copy(m.normals.begin(), m.normals.end(), fPoints->Normals() + at);
    if (m.texCoords.empty()) {
        // An untextured build has no texture array, and nothing to compute for it.
        if (double* t = fPoints->TexCoords()) {
            std::fill_n(t + at, m.positions.size(), 0.0);
            for (int i = first; i < first + n; ++i)
                CalcTexturePoint(i);
        }
    } else {
        const std::size_t per = m.texCoords.size() / static_cast<std::size_t>(std::max(n, 1));
        double* t = fPoints->TexCoords() + at;
        for (std::size_t i = 0; i < static_cast<std::size_t>(n); ++i) {
            t[3 * i] = m.texCoords[per * i];
            t[3 * i + 1] = m.texCoords[per * i + 1];
            t[3 * i + 2] = per == 3 ? m.texCoords[per * i + 2] : 0.0;
        }
    }
    if (!m.edgeFlags.empty())
        std::transform(m.edgeFlags.begin(), m.edgeFlags.end(), fPoints->EdgeFlags() + first,
                       [](std::uint8_t f) { return f ? 1 : 0; });
    TOrnPrimitiveArray& list = *Primitive(AddPrimitiveArray(m.type));
    std::uint32_t* out = list.Append(static_cast<int>(m.indices.size()));
    for (std::size_t i = 0; i < m.indices.size(); ++i)
        out[i] = m.indices[i] + static_cast<std::uint32_t>(first);
}

namespace {

template <class T> std::string JoinNumbers(const std::vector<T>& values) {
    std::string out;
    out.reserve(values.size() * 8);
    char buf[32];
    for (const T v : values) {
        if (!out.empty()) out += ' ';
        const auto r = std::to_chars(buf, buf + sizeof buf, v); // shortest text that reads back exactly
        out.append(buf, r.ptr);
    }
    return out;
}

/// The numbers of a mesh key; throws when one of them is not a number of type T.
template <class T> std::vector<T> SplitNumbers(const std::string& key, std::string_view text) {
    std::vector<T> out;
    const char* p = text.data();
    const char* end = p + text.size();
    for (;;) {
        while (p != end && *p == ' ')
            ++p;
        if (p == end) return out;
        T v{};
        const auto r = std::from_chars(p, end, v);
        bool finite = true;
        if constexpr (std::is_floating_point_v<T>) finite = std::isfinite(v);
        if (r.ec != std::errc() || (r.ptr != end && *r.ptr != ' ') || !finite)
            throw EOrnError("CustomObj mesh: " + key + " holds '" +
                            std::string(p, static_cast<std::size_t>(std::min<std::ptrdiff_t>(end - p, 20))) +
                            "', which is not a number");
        out.push_back(v);
        p = r.ptr;
    }
}

} // namespace

void TOrnCustomObj::WriteValues(TOrnCustomExchange& exchange) {
    TOrnPrimitiveObj::WriteValues(exchange);
    if (!fMesh) return;
    exchange.StartTag("Mesh");
    exchange.WriteInt("Type", fMesh->type, GL_TRIANGLES);
    exchange.WriteString("Positions", JoinNumbers(fMesh->positions), "");
    exchange.WriteString("Normals", JoinNumbers(fMesh->normals), "");
    exchange.WriteString("TexCoords", JoinNumbers(fMesh->texCoords), "");
    exchange.WriteString("Indices", JoinNumbers(fMesh->indices), "");
    exchange.WriteString("EdgeFlags", JoinNumbers(fMesh->edgeFlags), "");
    exchange.EndTag();
}

TOrnExchangeItem* TOrnCustomObj::ReadComp(TOrnCustomExchange& exchange, const std::string& tagName) {
    if (strcasecmp(tagName.c_str(), "Mesh") != 0) return TOrnPrimitiveObj::ReadComp(exchange, tagName);
    const std::int64_t type = exchange.ReadInt("Type", GL_TRIANGLES);
    if (type < 0 || type > GL_POLYGON) throw EOrnError("CustomObj mesh: type " + std::to_string(type));
    SetMesh(SplitNumbers<double>("Positions", exchange.ReadString("Positions", "")),
            SplitNumbers<double>("Normals", exchange.ReadString("Normals", "")),
            SplitNumbers<double>("TexCoords", exchange.ReadString("TexCoords", "")),
            SplitNumbers<std::uint32_t>("Indices", exchange.ReadString("Indices", "")),
            static_cast<GLenum>(type),
            SplitNumbers<std::uint8_t>("EdgeFlags", exchange.ReadString("EdgeFlags", "")));
    return nullptr; // the element holds no children to read
}

int TOrnCustomObj::FirstList(GLenum type) {
    for (int i = 0; i < PrimitiveCount(); ++i)
        if (Primitive(i)->Type() == type) return i;
    return AddPrimitiveArray(type);
}

void TOrnCustomObj::AddTriangle(const TOrnMathVector& p1, const TOrnMathVector& p2,
                                const TOrnMathVector& p3) {
    const int list = FirstList(GL_TRIANGLES);
    for (const TOrnMathVector* p : {&p1, &p2, &p3})
        Primitive(list)->AddIndex(static_cast<std::uint32_t>(GetPointIndex(*p)));
}

void TOrnCustomObj::AddQuad(const TOrnMathVector& p1, const TOrnMathVector& p2, const TOrnMathVector& p3,
                            const TOrnMathVector& p4) {
    const int list = FirstList(GL_QUADS);
    for (const TOrnMathVector* p : {&p1, &p2, &p3, &p4})
        Primitive(list)->AddIndex(static_cast<std::uint32_t>(GetPointIndex(*p)));
}

void TOrnCustomObj::SyncWeld() {
    const TOrnPrimitivePoints& pool = *fPoints;
    const int count = pool.Count();
    const std::uint8_t* flags = pool.Flags();
    const double* pos = pool.Vertices();
    int from = fWeldIndexed;
    if (fWeldIndexed < 0 || pool.Version() != fWeldVersion || count < fWeldIndexed) {
        fWeld->Clear(count);
        fWeldBarrier = -1;
        from = 0;
    }
    // Points at or below the newest bit-2 point can never be found: the scan stops there.
    for (int i = from; i < count; ++i) {
        if (flags && (flags[i] & 4u)) {
            fWeldBarrier = i;
            fWeld->Clear();
        } else if (pos) {
            fWeld->Insert(i, pos + 3 * static_cast<std::size_t>(i), true);
        }
    }
    fWeldIndexed = count;
    fWeldVersion = pool.Version();
}

int TOrnCustomObj::GetPointIndex(const TOrnMathVector& v) {
    if (!fPoints->DefineArrays().Contains(daVertex))
        fPoints->SetDefineArrays(fPoints->DefineArrays() + TOrnArrays{daVertex});
    SyncWeld();
    const double at[3] = {v.x, v.y, v.z};
    const double* pos = std::as_const(*fPoints).Vertices();
    if (pos) {
        // Lists hold the newest point first, so the first match per cell is its newest.
        const int q = fWeld->Find(at, pos, [](int a, int b) { return a > b; });
        if (q >= 0) return q;
    }
    const int i = fPoints->Add(v, {0, 0, 0}, {0, 0, 0});
    CalcTexturePoint(i);
    fPoints->SetFlag(i, 1, true);
    // Our own append and flag: the index only needs the new point.
    if (fWeldIndexed == i && fPoints->Version() != fWeldVersion) fWeldVersion = fPoints->Version();
    SyncWeld();
    return i;
}

void TOrnCustomObj::CloseEdges() {
    const int count = fPoints->Count();
    std::uint8_t* flags = fPoints->Flags();
    if (!flags) return;
    for (int i = 0; i < count; ++i)
        flags[i] |= 4u;
    if (count > 0) {
        fWeld->Clear();
        fWeldBarrier = count - 1;
        fWeldIndexed = count;
        fWeldVersion = fPoints->Version();
    }
}

TOrnPrimitiveInterface* TOrnCustomObj::GetInterface(int face, GLenum type) {
    int position = -1;
    for (int i = 0; i < PrimitiveCount() && position < 0; ++i)
        if (Primitive(i)->Type() == type) position = i;
    if (position < 0) return nullptr;
    const int n = type == GL_TRIANGLES ? 3 : type == GL_QUADS ? 4 : 0;
    face = std::max(face, 1);
    if (static_cast<long>(Primitive(position)->Count()) < static_cast<long>(face) * n) return nullptr;
    fInterface->fCount = n;
    fInterface->fList = position;
    fInterface->fFirst = (face - 1) * n;
    return fInterface.get();
}

} // namespace orn
