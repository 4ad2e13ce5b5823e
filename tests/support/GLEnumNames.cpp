// Names for the enumeration values that the recorder prints. Where two names share a value, the
// first listed wins, so the meaning most often traced comes first.

#include "support/GLTrace.h"

#include <GL/gl.h>
#include <GL/glu.h>

#include <cmath>
#include <utility>

namespace orn::test::trace {

namespace {

#define N(e)                                                                                                 \
    { e, #e }
const std::pair<unsigned, const char*> kEnums[] = {
    // matrices, render modes, lists
    N(GL_MODELVIEW),
    N(GL_PROJECTION),
    N(GL_COMPILE),
    N(GL_COMPILE_AND_EXECUTE),
    // capabilities
    N(GL_LIGHTING),
    N(GL_DEPTH_TEST),
    N(GL_CULL_FACE),
    N(GL_BLEND),
    N(GL_FOG),
    N(GL_TEXTURE_2D),
    N(GL_COLOR_MATERIAL),
    N(GL_LINE_STIPPLE),
    N(GL_LINE_SMOOTH),
    N(GL_POINT_SMOOTH),
    N(GL_POLYGON_SMOOTH),
    N(GL_DITHER),
    N(GL_LIGHT0),
    N(GL_LIGHT7),
    N(GL_CLIP_PLANE5),
    // client arrays and interleaved formats
    N(GL_VERTEX_ARRAY),
    N(GL_NORMAL_ARRAY),
    N(GL_COLOR_ARRAY),
    N(GL_TEXTURE_COORD_ARRAY),
    N(GL_EDGE_FLAG_ARRAY),
    // data types
    N(GL_UNSIGNED_BYTE),
    N(GL_UNSIGNED_INT),
    N(GL_FLOAT),
    N(GL_DOUBLE),
    // faces, polygon and shading modes
    N(GL_FRONT),
    N(GL_BACK),
    N(GL_FRONT_AND_BACK),
    N(GL_POINT),
    N(GL_LINE),
    N(GL_FLAT),
    // compare functions, stencil operations, blend factors
    N(GL_ALWAYS),
    N(GL_SRC_ALPHA),
    N(GL_ONE_MINUS_SRC_ALPHA),
    // hints
    N(GL_PERSPECTIVE_CORRECTION_HINT),
    N(GL_FOG_HINT),
    N(GL_FASTEST),
    N(GL_NICEST),
    // lights, materials, light model
    N(GL_AMBIENT),
    N(GL_DIFFUSE),
    N(GL_SPECULAR),
    N(GL_POSITION),
    N(GL_SPOT_DIRECTION),
    N(GL_SPOT_CUTOFF),
    N(GL_EMISSION),
    N(GL_SHININESS),
    N(GL_AMBIENT_AND_DIFFUSE),
    N(GL_LIGHT_MODEL_AMBIENT),
    // fog
    N(GL_FOG_MODE),
    N(GL_FOG_DENSITY),
    N(GL_FOG_START),
    N(GL_FOG_END),
    N(GL_FOG_COLOR),
    N(GL_LINEAR),
    N(GL_EXP),
    N(GL_EXP2),
    // pixel formats
    N(GL_RGBA),
    N(GL_LESS),
};

const char* const kPrimitives[] = {"GL_POINTS",     "GL_LINES",          "GL_LINE_LOOP",    "GL_LINE_STRIP",
                                   "GL_TRIANGLES",  "GL_TRIANGLE_STRIP", "GL_TRIANGLE_FAN", "GL_QUADS",
                                   "GL_QUAD_STRIP", "GL_POLYGON"};

const std::pair<unsigned, const char*> kBits[] = {N(GL_COLOR_BUFFER_BIT), N(GL_DEPTH_BUFFER_BIT),
                                                  N(GL_SCISSOR_BIT)};
#undef N

void AppendHex(std::string& out, unsigned value) {
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, "0x%X", value);
    out += buffer;
}

} // namespace

const char* EnumName(unsigned value) {
    for (const auto& [v, name] : kEnums)
        if (v == value) return name;
    return nullptr;
}

int ParamCount(unsigned pname) {
    for (unsigned four : {GL_AMBIENT, GL_DIFFUSE, GL_SPECULAR, GL_EMISSION, GL_POSITION,
                          GL_AMBIENT_AND_DIFFUSE, GL_FOG_COLOR, GL_LIGHT_MODEL_AMBIENT})
        if (pname == four) return 4;
    return pname == GL_SPOT_DIRECTION ? 3 : 1;
}

void Append(std::string& out, En e) {
    if (const char* name = EnumName(e.value))
        out += name;
    else
        AppendHex(out, e.value);
}

void Append(std::string& out, IEn e) {
    // Small values are counts and flags far more often than enumerations.
    const double v = e.value;
    if (v >= 0x100 && v == std::floor(v) && v <= 0xFFFFFFFF)
        if (const char* name = EnumName(static_cast<unsigned>(v))) {
            out += name;
            return;
        }
    AppendNumber(out, v);
}

void Append(std::string& out, Prim p) {
    if (p.value < std::size(kPrimitives))
        out += kPrimitives[p.value];
    else
        AppendHex(out, p.value);
}

void Append(std::string& out, Blend b) {
    if (b.value == GL_ZERO)
        out += "GL_ZERO";
    else if (b.value == GL_ONE)
        out += "GL_ONE";
    else
        Append(out, En{b.value});
}

void Append(std::string& out, Bits b) {
    if (b.value == GL_ALL_ATTRIB_BITS) {
        out += "GL_ALL_ATTRIB_BITS";
        return;
    }
    unsigned rest = b.value;
    bool first = true;
    for (const auto& [bit, name] : kBits) {
        if (!(rest & bit)) continue;
        out += first ? "" : " | ";
        out += name;
        first = false;
        rest &= ~bit;
    }
    if (rest != 0 || first) {
        out += first ? "" : " | ";
        AppendHex(out, rest);
    }
}

void Append(std::string& out, Bool b) {
    out += b.value ? "GL_TRUE" : "GL_FALSE";
}

} // namespace orn::test::trace
