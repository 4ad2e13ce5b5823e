#include "support/GLRecorder.h"
#include "support/GLTrace.h"

#include <GL/gl.h>
#include <GL/glu.h>

#include <algorithm>
#include <thread>
#include <unordered_map>

namespace orn::test {

namespace {

GLRecorder* gActive = nullptr;
std::thread::id gActiveThread;
thread_local int tGluDepth = 0;

std::string_view NameOf(const std::string& call) {
    return std::string_view(call).substr(0, call.find('('));
}

} // namespace

GLRecorder::GLRecorder(bool started) {
    if (started) Start();
}

GLRecorder::~GLRecorder() {
    Stop();
}

void GLRecorder::Start() {
    gActive = this;
    gActiveThread = std::this_thread::get_id();
}

void GLRecorder::Stop() {
    if (gActive == this) gActive = nullptr;
}

bool GLRecorder::Recording() const {
    return gActive == this;
}

std::vector<std::string> GLRecorder::Names() const {
    std::vector<std::string> names;
    names.reserve(fCalls.size());
    for (const std::string& call : fCalls)
        names.emplace_back(NameOf(call));
    return names;
}

std::size_t GLRecorder::Count(std::string_view name) const {
    return static_cast<std::size_t>(
        std::count_if(fCalls.begin(), fCalls.end(), [&](const std::string& c) { return NameOf(c) == name; }));
}

std::vector<std::string> GLRecorder::Filter(std::string_view prefix) const {
    std::vector<std::string> out;
    for (const std::string& call : fCalls)
        if (NameOf(call).starts_with(prefix)) out.push_back(call);
    return out;
}

std::vector<std::string> GLRecorder::Filter(std::initializer_list<std::string_view> names) const {
    std::vector<std::string> out;
    for (const std::string& call : fCalls)
        if (std::find(names.begin(), names.end(), NameOf(call)) != names.end()) out.push_back(call);
    return out;
}

namespace trace {

bool ShouldRecord() {
    return gActive && tGluDepth == 0 && gActiveThread == std::this_thread::get_id();
}

void Record(const char* name, std::string arguments) {
    if (!gActive) return;
    std::string call(name);
    call += '(';
    call += arguments;
    call += ')';
    gActive->Add(std::move(call));
}

GluScope::GluScope(bool glu) : fGlu(glu) {
    if (fGlu) ++tGluDepth;
}

GluScope::~GluScope() {
    if (fGlu) --tGluDepth;
}

} // namespace trace

} // namespace orn::test
