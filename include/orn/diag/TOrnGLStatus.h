#pragma once

#include <orn/view/TOrnSurface.h>

#include <string>
#include <vector>

namespace orn {

class TOrnView;

/// A shared library of the GL stack loaded in this process.
struct TOrnLibraryFile {
    /// The file name (libGLU.so.1).
    std::string Name;
    /// Where it was loaded from, links resolved.
    std::string Path;
    /// The version its file name carries (1.3.1 for libGLU.so.1.3.1); empty when it carries none.
    std::string Version;
};

/// What the OpenGL driver of a view reports about itself.
struct TOrnGLStatus {
    std::string Vendor;
    std::string Renderer;
    std::string Version;
    std::string GLUVersion;
    /// The EGL display's vendor and version (headless surfaces only).
    std::string EGLVersion;
    std::string Surface;
    std::vector<std::string> Extensions;
    TOrnPixelFormat PixelFormat;
    std::vector<TOrnLibraryFile> Libraries;
};

/// The status of view's context, made current for the query. Throws EOrnError when the view is
/// not active.
TOrnGLStatus GetGLStatus(TOrnView& view);

/// The GL, GLX, EGL, GLU, GL dispatch and Mesa driver libraries loaded in this process, in load order.
std::vector<TOrnLibraryFile> LoadedGLLibraries();

/// The version a library file name carries after ".so." ("libEGL.so.1.1.0" → "1.1.0").
std::string LibraryFileVersion(const std::string& fileName);

/// The status as a report of "Label: value" lines; extensions one per line when listExtensions,
/// else counted.
std::string FormatGLStatus(const TOrnGLStatus& status, bool listExtensions = false);

} // namespace orn
