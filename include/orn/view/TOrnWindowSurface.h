#pragma once

#include <orn/view/TOrnSurface.h>

#include <cstdint>
#include <string>

struct GLFWwindow;

namespace orn {

/// How a view's window looks and behaves.
struct TOrnWindowOptions {
    std::string Title = "Orn";
    bool Visible = true;
    /// Closing the window ends TApplication::Run.
    bool TerminateOnClose = true;
};

/// Surfaces that are real resizable windows (GLFW on X11/GLX). The window's paint, resize, mouse
/// and key events reach the view; each window is an event source of TApplication, whose Step
/// handles its events and repaints the view when it was invalidated. Lists are shared only with
/// other window views.
TOrnSurfaceFactory WindowSurfaceFactory(TOrnWindowOptions options = {});

/// Surfaces that draw into a GLFW window the application created, owns and pumps itself. The view
/// takes the window's current framebuffer size, follows its resizes and receives its mouse, wheel
/// and key events; callbacks the application installed before connecting still get every event,
/// and are put back when the view disconnects. The window's pixel format is what the application
/// asked for, and its lists are shared with no other view. The application's loop repaints:
/// `if (view->PaintPending()) view->Paint();` after processing events. One view per window.
TOrnSurfaceFactory ExistingWindowSurfaceFactory(GLFWwindow* window);

/// Whether windows can be opened (a display is reachable); on false, reason says why.
bool WindowSystemAvailable(std::string* reason = nullptr);

/// The host's virtual key code of a GLFW key (GLFW_KEY_…), or 0 for keys the host has no code for.
std::uint16_t GlfwKeyToVirtualKey(int glfwKey);

} // namespace orn
