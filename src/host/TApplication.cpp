#include <orn/host/TApplication.h>

#include <algorithm>

namespace orn {

TApplication& TApplication::Instance() {
    static TApplication app;
    return app;
}

void TApplication::AddEventSource(TEventSource* source) {
    if (source && std::find(fSources.begin(), fSources.end(), source) == fSources.end())
        fSources.push_back(source);
}

void TApplication::RemoveEventSource(TEventSource* source) {
    fSources.erase(std::remove(fSources.begin(), fSources.end(), source), fSources.end());
}

void TApplication::ProcessMessages() {
    // A copy: a handler may close a window and unregister its source.
    const std::vector<TEventSource*> sources = fSources;
    for (TEventSource* s : sources)
        if (std::find(fSources.begin(), fSources.end(), s) != fSources.end()) s->PollEvents();
}

void TApplication::Step(double maxWaitSeconds) {
    ProcessMessages();
    bool done = true;
    if (OnIdle) OnIdle(nullptr, done);
    if (done && !fSources.empty() && maxWaitSeconds > 0) {
        // Without a timer that asks for more, sleep in the window system instead of spinning.
        fSources.front()->WaitEvents(maxWaitSeconds);
        ProcessMessages();
    }
}

void TApplication::Run() {
    while (!fTerminated) Step();
}

} // namespace orn
