#pragma once

// How the traced gl* and glu* functions format their arguments. Parameters whose C type does not
// say what they mean (an enumeration, a bit mask, a flag, a vector behind a pointer) are wrapped in
// one of the markers below in GLTraceTable.h; everything else is formatted by its type.

#include <cstdio>
#include <string>
#include <type_traits>

namespace orn::test::trace {

/// The GL_/GLU_ name of an enumeration value, or nullptr when it is not in the table.
const char* EnumName(unsigned value);
/// Values of a vector parameter whose length depends on pname (4 for GL_DIFFUSE, 3 for GL_SPOT_DIRECTION).
int ParamCount(unsigned pname);
/// Whether the calling thread records now: a recorder is active on it and no traced GLU call is open.
bool ShouldRecord();
void Record(const char* name, std::string arguments);
/// The next definition of name after the test binary's own; never null (aborts with the name).
void* Real(const char* name);

/// How many traced GLU calls are open on this thread: the gl* calls inside them are not recorded.
inline thread_local int tGluDepth = 0;
/// Marks the span of a traced call, of GLU or not.
struct GluScope {
    explicit GluScope(bool glu) : depth(glu) { tGluDepth += depth; }
    ~GluScope() { tGluDepth -= depth; }
    int depth;
};

/// A parameter whose C type hides its meaning, marked for Append; Kind only tells the markers apart.
template <class T, int Kind> struct Marked { T value; };
using En = Marked<unsigned, 0>;        // an enumeration: its name, or 0x hex
using IEn = Marked<double, 1>;         // an int/float that often holds an enumeration (GL_LINEAR)
using Prim = Marked<unsigned, 2>;      // a primitive mode: GL_POINTS .. GL_POLYGON
using Blend = Marked<unsigned, 3>;     // a blend factor: GL_ZERO, GL_ONE, GL_SRC_ALPHA ..
using Bits = Marked<unsigned, 4>;      // a clear or attribute mask: GL_COLOR_BUFFER_BIT | ..
using Bool = Marked<unsigned char, 5>; // GL_TRUE / GL_FALSE
template <class T> struct Vec {
    const T* values;
    int count;
};
template <class T> Vec<T> Vector(const T* values, int count) {
    return {values, count};
}
template <class T> Vec<T> PVec(unsigned pname, const T* values) {
    return {values, ParamCount(pname)};
}

void Append(std::string& out, En e);
void Append(std::string& out, IEn e);
void Append(std::string& out, Prim p);
void Append(std::string& out, Blend b);
void Append(std::string& out, Bits b);
void Append(std::string& out, Bool b);

inline void AppendNumber(std::string& out, double v) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%g", v);
    out += buffer;
}

template <class T> void Append(std::string& out, T value) {
    if constexpr (std::is_pointer_v<T>) {
        out += "ptr";
    } else if constexpr (std::is_floating_point_v<T>) {
        AppendNumber(out, static_cast<double>(value));
    } else if constexpr (std::is_signed_v<T>) {
        out += std::to_string(static_cast<long long>(value));
    } else {
        out += std::to_string(static_cast<unsigned long long>(value));
    }
}

template <class T> void Append(std::string& out, Vec<T> v) {
    if (!v.values) {
        out += "null";
        return;
    }
    out += '{';
    for (int i = 0; i < v.count; ++i) {
        if (i > 0) out += ", ";
        Append(out, v.values[i]);
    }
    out += '}';
}

template <class... A> std::string Args(A... args) {
    std::string out;
    bool first = true;
    ((out += first ? "" : ", ", first = false, Append(out, args)), ...);
    return out;
}

} // namespace orn::test::trace
