#include <orn/geometry/TOrnPrimitiveArray.h>
#include <orn/host/EOrnError.h>

#include "host/detail/HugePages.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace orn {

namespace {

constexpr int kMaxIndices = 1 << 28;

EOrnError tooMany(std::int64_t n) {
    return EOrnError("TOrnPrimitiveArray: " + std::to_string(n) + " indices are beyond the limit of " +
                     std::to_string(kMaxIndices) + ".");
}

} // namespace

TOrnPrimitiveArray::TOrnPrimitiveArray(GLenum type) : fType(type) {}

TOrnPrimitiveArray::~TOrnPrimitiveArray() {
    std::free(fData);
}

void TOrnPrimitiveArray::Reserve(int n) {
    if (n <= fCapacity) return;
    std::size_t cap =
        std::max<std::size_t>(static_cast<std::size_t>(n), static_cast<std::size_t>(fCapacity) * 3 / 2);
    cap = std::min<std::size_t>(cap, 0x7fffffff);
    void* p = std::realloc(fData, cap * sizeof(std::uint32_t));
    if (!p)
        throw EOrnError(std::string(ClassName()) + ": no memory for " + std::to_string(cap) + " elements.");
    fData = static_cast<std::uint32_t*>(p);
    fCapacity = static_cast<int>(cap);
    detail::AdviseHugePages(p, cap * sizeof(std::uint32_t));
}

void TOrnPrimitiveArray::SetSize(int n) {
    const int old = fSize;
    SetSizeUncleared(n);
    // Entries past the old size read as 0, as a zero-filled block would.
    if (n > old) std::fill(fData + old, fData + n, 0u);
}

void TOrnPrimitiveArray::SetSizeUncleared(int n) {
    if (n < 0) return;
    if (n > kMaxIndices) throw tooMany(n);
    if (n == 0) {
        std::free(fData);
        fData = nullptr;
        fCapacity = 0;
    } else {
        Reserve(n);
    }
    fSize = n;
    fCount = std::min(fCount, n);
}

std::uint32_t* TOrnPrimitiveArray::Overwrite(int n) {
    SetSizeUncleared(n);
    fCount = n;
    return fData;
}

void TOrnPrimitiveArray::SetCount(int n) {
    if (n < 0) return;
    SetSize(n);
    fCount = n;
}

std::uint32_t* TOrnPrimitiveArray::Append(int n) {
    if (n < 1) return nullptr;
    const std::int64_t wanted = std::int64_t{fCount} + n;
    if (wanted > kMaxIndices) throw tooMany(wanted);
    const int first = fCount;
    if (wanted > fSize) SetSizeUncleared(static_cast<int>(wanted));
    fCount = static_cast<int>(wanted);
    return fData + first;
}

void TOrnPrimitiveArray::GrowForAppend() {
    if (fSize - 1 < fCount) SetSize(fSize + 12);
}

int TOrnPrimitiveArray::AddIndex(std::uint32_t index) {
    GrowForAppend();
    fData[fCount] = index;
    return fCount++;
}

void TOrnPrimitiveArray::Insert(int position, std::uint32_t index) {
    position = std::clamp(position, 0, fCount);
    GrowForAppend();
    std::memmove(fData + position + 1, fData + position, static_cast<std::size_t>(fCount - position) * 4);
    fData[position] = index;
    ++fCount;
}

void TOrnPrimitiveArray::Delete(int first, int count) {
    if (first < 0) {
        count += first;
        first = 0;
    }
    count = std::min(count, fCount - first);
    if (count < 1) return;
    std::memmove(fData + first, fData + first + count, static_cast<std::size_t>(fCount - first - count) * 4);
    fCount -= count;
}

std::uint32_t TOrnPrimitiveArray::Indices(int position) const {
    return position >= 0 && position < fSize ? fData[position] : 0;
}

void TOrnPrimitiveArray::SetIndices(int position, std::uint32_t value) {
    if (position >= 0 && position < fSize) fData[position] = value;
}

void TOrnPrimitiveArray::Add(const TOrnPrimitiveArray& other, std::uint32_t offset) {
    if (other.fType != fType || other.fCount == 0) return;
    const int n = other.fCount; // other may be this list
    if (fCount + n > fSize) SetSize(fCount + n);
    for (int i = 0; i < n; ++i)
        fData[fCount + i] = other.fData[i] + offset;
    fCount += n;
}

void TOrnPrimitiveArray::SetType(GLenum value) {
    if (value == fType || fCount == 0) {
        fType = value;
        return;
    }
    auto in = [](GLenum t, std::initializer_list<GLenum> set) {
        return std::find(set.begin(), set.end(), t) != set.end();
    };
    if (in(fType, {GL_LINE_LOOP, GL_LINE_STRIP, GL_POLYGON}) &&
        in(value, {GL_LINE_LOOP, GL_LINE_STRIP, GL_POLYGON}))
        fType = value;
    else if (in(fType, {GL_TRIANGLE_STRIP, GL_QUAD_STRIP}) && in(value, {GL_TRIANGLE_STRIP, GL_QUAD_STRIP}))
        fType = value;
    else if (value == GL_TRIANGLES &&
             in(fType, {GL_TRIANGLE_STRIP, GL_TRIANGLE_FAN, GL_QUADS, GL_QUAD_STRIP}))
        SwitchToTriangles();
    else if (value == GL_QUADS && in(fType, {GL_TRIANGLE_STRIP, GL_QUAD_STRIP}))
        SwitchToQuads();
}

void TOrnPrimitiveArray::SwitchToTriangles() {
    const std::uint32_t* s = fData;
    std::vector<std::uint32_t> out;
    int n = fCount;
    if (fType == GL_TRIANGLE_STRIP || fType == GL_QUAD_STRIP) {
        if (fType == GL_QUAD_STRIP && n % 2 == 1) --n;
        if (n < 3) return;
        out.reserve(static_cast<std::size_t>(n - 2) * 3);
        for (int k = 0; k + 2 < n; ++k) {
            if (k % 2 == 0)
                out.insert(out.end(), {s[k], s[k + 1], s[k + 2]});
            else
                out.insert(out.end(), {s[k + 1], s[k], s[k + 2]});
        }
    } else if (fType == GL_QUADS) {
        if (n < 4) return;
        out.reserve(static_cast<std::size_t>(n / 4) * 6);
        for (int q = 0; q + 3 < n; q += 4)
            out.insert(out.end(), {s[q], s[q + 1], s[q + 2], s[q], s[q + 2], s[q + 3]});
    } else if (fType == GL_TRIANGLE_FAN) {
        if (n < 3) return;
        out.reserve(static_cast<std::size_t>(n - 2) * 3);
        for (int k = 1; k + 1 < n; ++k)
            out.insert(out.end(), {s[k], s[k + 1], s[0]});
    } else {
        return;
    }
    std::copy(out.begin(), out.end(), Overwrite(static_cast<int>(out.size())));
    fType = GL_TRIANGLES;
}

void TOrnPrimitiveArray::SwitchToQuads() {
    if (fType != GL_TRIANGLE_STRIP && fType != GL_QUAD_STRIP) return;
    if (fCount < 4) return;
    // An odd strip repeats its last index, making the final quad a triangle.
    if (fCount % 2 == 1) AddIndex(fData[fCount - 1]);
    const int pairs = fCount / 2;
    std::vector<std::uint32_t> out;
    out.reserve(static_cast<std::size_t>(pairs - 1) * 4);
    for (int k = 0; k + 1 < pairs; ++k) {
        const std::uint32_t* p = fData + 2 * k;
        out.insert(out.end(), {p[0], p[1], p[3], p[2]});
    }
    std::copy(out.begin(), out.end(), Overwrite(static_cast<int>(out.size())));
    fType = GL_QUADS;
}

void TOrnPrimitiveArray::Invert() {
    std::uint32_t* d = fData;
    const int n = fCount;
    switch (fType) {
    case GL_TRIANGLES:
        for (int t = 0; t + 2 < n; t += 3)
            std::swap(d[t], d[t + 1]);
        break;
    case GL_QUADS:
        for (int q = 0; q + 3 < n; q += 4)
            std::swap(d[q + 1], d[q + 3]);
        break;
    case GL_QUAD_STRIP:
        for (int k = 0; k + 1 < n; k += 2)
            std::swap(d[k], d[k + 1]);
        break;
    case GL_POLYGON:
        std::reverse(d, d + n);
        break;
    case GL_TRIANGLE_FAN:
        if (n >= 3) std::reverse(d + 1, d + n);
        break;
    case GL_TRIANGLE_STRIP:
        if (n < 3) break;
        // Reversing an odd strip flips every triangle; an even one first gets a leading duplicate,
        // a degenerate triangle that shifts the parity of all others.
        if (n % 2 == 0) {
            Insert(0, d[0]);
            d = fData;
        } else {
            std::reverse(d, d + n);
        }
        break;
    default:
        break;
    }
}

void TOrnPrimitiveArray::ProceedDirectRendering() const {
    glDrawElements(fType, fCount, GL_UNSIGNED_INT, fData);
}

void TOrnPrimitiveArray::Assign(const TPersistent* source) {
    auto* a = dynamic_cast<const TOrnPrimitiveArray*>(source);
    if (!a || a == this) return;
    fType = a->fType;
    fEnabled = a->fEnabled;
    fTextured = a->fTextured;
    fTexture = a->fTexture;
    fTextureRender = a->fTextureRender;
    Overwrite(a->fCount);
    if (fCount > 0) std::memcpy(fData, a->fData, static_cast<std::size_t>(fCount) * 4);
    Changed();
}

} // namespace orn
