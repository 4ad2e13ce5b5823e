#pragma once

#include <orn/host/TPersistent.h>

#include <functional>
#include <vector>

namespace orn {

/// A source of window-system events (a window surface): the application polls it in each step
/// and waits on it when it has nothing else to do.
class TEventSource {
public:
    virtual ~TEventSource() = default;
    /// Handles every pending event without blocking (and repaints what was invalidated).
    virtual void PollEvents() = 0;
    /// Blocks until an event arrives or timeoutSeconds pass.
    virtual void WaitEvents(double timeoutSeconds) = 0;
};

/// Stands for the host's message loop: window surfaces register as event sources, timers hook
/// the idle handler, and a program drives it with Step (one round) or Run (until Terminate).
class TApplication {
public:
    /// Idle handler: set done to false to be called again at once instead of waiting for events.
    using TIdleEvent = std::function<void(TObject* sender, bool& done)>;

    /// The process-wide application.
    static TApplication& Instance();

    TIdleEvent OnIdle;

    /// Whether the application has the input focus; timers with Activeonly tick only then.
    bool Active() const { return fActive; }
    void SetActive(bool value) { fActive = value; }

    void AddEventSource(TEventSource* source);
    void RemoveEventSource(TEventSource* source);

    /// Handles the pending window events of every source without waiting.
    void ProcessMessages();
    /// One round of the loop: pending events, then the idle handler; when it does not ask for
    /// more (or there is none), waits for the next event up to maxWaitSeconds.
    void Step(double maxWaitSeconds = 0.5);
    /// Runs steps until Terminate.
    void Run();
    void Terminate() { fTerminated = true; }
    bool Terminated() const { return fTerminated; }
    void ResetTerminated() { fTerminated = false; }

private:
    TApplication() = default;
    bool fActive = true;
    bool fTerminated = false;
    std::vector<TEventSource*> fSources;
};

} // namespace orn
