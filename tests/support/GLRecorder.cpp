// The recorder, and the traced gl* and glu* functions: the test binary exports them, so every caller
// in the process (tests, the library, GLU) binds to these; each records and forwards to the next
// definition.

#include "support/GLRecorder.h"
#include "support/GLTrace.h"

#include <GL/gl.h>
#include <GL/glu.h>
#include <dlfcn.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace orn::test {

namespace {

GLRecorder* gActive = nullptr;
std::thread::id gActiveThread;

std::string_view NameOf(const std::string& call) {
    return std::string_view(call).substr(0, call.find('('));
}

} // namespace

void GLRecorder::Start() {
    gActive = this;
    gActiveThread = std::this_thread::get_id();
}

void GLRecorder::Stop() {
    if (gActive == this) gActive = nullptr;
}

std::size_t GLRecorder::Count(std::string_view name) const {
    return Filter({name}).size();
}

std::vector<std::string> GLRecorder::Filter(std::string_view prefix) const {
    std::vector<std::string> out;
    std::copy_if(fCalls.begin(), fCalls.end(), std::back_inserter(out),
                 [&](const std::string& c) { return NameOf(c).starts_with(prefix); });
    return out;
}

std::vector<std::string> GLRecorder::Filter(std::initializer_list<std::string_view> names) const {
    std::vector<std::string> out;
    std::copy_if(fCalls.begin(), fCalls.end(), std::back_inserter(out), [&](const std::string& c) {
        return std::find(names.begin(), names.end(), NameOf(c)) != names.end();
    });
    return out;
}

namespace trace {

bool ShouldRecord() {
    return gActive && tGluDepth == 0 && gActiveThread == std::this_thread::get_id();
}

void Record(const char* name, std::string arguments) {
    if (gActive) gActive->Add(std::string(name) + '(' + arguments + ')');
}

void* Real(const char* name) {
    void* fn = dlsym(RTLD_NEXT, name);
    // The linker drops libGLU from the binary when every glu* it calls is defined here; open it then.
    for (const char* library : {"libGLU.so.1", "libOpenGL.so.0", "libGL.so.1"}) {
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

} // namespace trace

} // namespace orn::test

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
