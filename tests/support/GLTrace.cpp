// The traced gl* and glu* functions. The test binary exports them, so every caller in the process
// (tests, the library, GLU) binds to these; each records and forwards to the next definition.

#include "support/GLTrace.h"

#include <GL/gl.h>
#include <GL/glu.h>
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace orn::test::trace {

void* Real(const char* name) {
    void* fn = dlsym(RTLD_NEXT, name);
    // The linker drops libGLU from the binary when every glu* it calls is defined here; open it then.
    static const char* const kLibraries[] = {"libGLU.so.1", "libOpenGL.so.0", "libGL.so.1"};
    for (const char* library : kLibraries) {
        if (fn) break;
        if (void* handle = dlopen(library, RTLD_LAZY | RTLD_LOCAL)) fn = dlsym(handle, name);
    }
    if (!fn) {
        std::fprintf(stderr, "GL recorder: no definition of %s after the test binary\n", name);
        std::abort();
    }
    return fn;
}

template <class Fn> Fn RealAs(const char* name) {
    void* fn = Real(name);
    Fn typed;
    std::memcpy(&typed, &fn, sizeof typed);
    return typed;
}

} // namespace orn::test::trace

using namespace orn::test::trace;

#define ORN_TRACED(glu, ret, name, params, args, logs)                                                       \
    extern "C" ret name params {                                                                             \
        using Fn = ret(*) params;                                                                            \
        static const Fn real = RealAs<Fn>(#name);                                                            \
        if (ShouldRecord()) Record(#name, Args logs);                                                        \
        const GluScope scope(glu);                                                                           \
        return real args;                                                                                    \
    }
#define ORN_GL(ret, name, params, args, logs) ORN_TRACED(false, ret, name, params, args, logs)
#define ORN_GLU(ret, name, params, args, logs) ORN_TRACED(true, ret, name, params, args, logs)
#include "support/GLTraceTable.h"
#undef ORN_GL
#undef ORN_GLU
#undef ORN_TRACED
