// Input sent to a window through the X server, so that it travels the way a user's does.
#pragma once

#include <X11/Xlib.h>
#include <X11/keysym.h>

#include <chrono>
#include <functional>

namespace orn::test {

struct XInput {
    Display* display = nullptr;
    Window window = 0;

    void Send(XEvent e, long mask) const {
        e.xany.display = display;
        e.xany.window = window;
        XSendEvent(display, window, True, mask, &e);
        XFlush(display);
    }
    void Key(KeySym sym, unsigned state = 0) const {
        XEvent e{};
        e.xkey.type = KeyPress;
        e.xkey.state = state;
        e.xkey.keycode = XKeysymToKeycode(display, sym);
        e.xkey.same_screen = True;
        Send(e, KeyPressMask);
    }
    void Button(bool press, unsigned button, int x, int y) const {
        XEvent e{};
        e.xbutton.type = press ? ButtonPress : ButtonRelease;
        e.xbutton.button = button;
        e.xbutton.x = x;
        e.xbutton.y = y;
        e.xbutton.same_screen = True;
        Send(e, press ? ButtonPressMask : ButtonReleaseMask);
    }
    void Motion(int x, int y) const {
        XEvent e{};
        e.xmotion.type = MotionNotify;
        e.xmotion.x = x;
        e.xmotion.y = y;
        e.xmotion.same_screen = True;
        Send(e, PointerMotionMask);
    }
};

/// Runs step until done() holds, for at most limit; whether it came to hold.
inline bool StepUntil(const std::function<bool()>& done, const std::function<void()>& step,
                      std::chrono::milliseconds limit = std::chrono::seconds(2)) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (std::chrono::steady_clock::now() < end) {
        step();
        if (done()) return true;
    }
    return done();
}

} // namespace orn::test
