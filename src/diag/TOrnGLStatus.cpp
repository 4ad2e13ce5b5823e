#include <orn/diag/TOrnGLStatus.h>

#include <orn/host/EOrnError.h>
#include <orn/view/TOrnView.h>

#include <EGL/egl.h>
#include <GL/gl.h>
#include <GL/glu.h>
#include <link.h>

#include <climits>
#include <cstdlib>
#include <sstream>

namespace orn {

namespace {

std::string GLString(GLenum name) {
    const auto* s = reinterpret_cast<const char*>(glGetString(name));
    return s ? s : "";
}

// The libraries that make up the GL stack: the dispatchers, the vendor libraries and the driver.
bool IsGLLibrary(const std::string& name) {
    static const char* const prefixes[] = {"libGL.",        "libGLX",   "libOpenGL", "libEGL",     "libGLU",
                                           "libGLdispatch", "libglapi", "libgbm",    "libgallium", "libglfw"};
    for (const char* p : prefixes)
        if (name.rfind(p, 0) == 0) return true;
    return name.find("_dri.so") != std::string::npos;
}

std::string BaseName(const std::string& path) {
    const auto slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

} // namespace

std::string LibraryFileVersion(const std::string& fileName) {
    const auto so = fileName.find(".so.");
    return so == std::string::npos ? std::string() : fileName.substr(so + 4);
}

std::vector<TOrnLibraryFile> LoadedGLLibraries() {
    std::vector<TOrnLibraryFile> files;
    dl_iterate_phdr(
        [](dl_phdr_info* info, size_t, void* data) {
            auto& out = *static_cast<std::vector<TOrnLibraryFile>*>(data);
            if (!info->dlpi_name || !*info->dlpi_name) return 0;
            const std::string loaded = info->dlpi_name;
            const std::string name = BaseName(loaded);
            if (!IsGLLibrary(name)) return 0;
            char resolved[PATH_MAX];
            const std::string path = realpath(loaded.c_str(), resolved) ? resolved : loaded;
            out.push_back({name, path, LibraryFileVersion(BaseName(path))});
            return 0;
        },
        &files);
    return files;
}

TOrnGLStatus GetGLStatus(TOrnView& view) {
    if (!view.Active()) throw EOrnError("The view has no OpenGL context to report on.");
    TOrnGLStatus status;
    view.SetCurrent(true);
    if (!view.GetCurrent()) throw EOrnError("The view's OpenGL context could not be made current.");
    status.Vendor = GLString(GL_VENDOR);
    status.Renderer = GLString(GL_RENDERER);
    status.Version = GLString(GL_VERSION);
    std::istringstream extensions(GLString(GL_EXTENSIONS));
    for (std::string e; extensions >> e;)
        status.Extensions.push_back(e);
    if (const auto* glu = reinterpret_cast<const char*>(gluGetString(GLU_VERSION))) status.GLUVersion = glu;
    if (EGLDisplay display = eglGetCurrentDisplay(); display != EGL_NO_DISPLAY) {
        const char* vendor = eglQueryString(display, EGL_VENDOR);
        const char* version = eglQueryString(display, EGL_VERSION);
        status.EGLVersion = std::string(vendor ? vendor : "") + " " + (version ? version : "");
    }
    view.SetCurrent(false);
    status.Surface = view.Surface()->Kind();
    status.PixelFormat = view.PixelFormat();
    status.Libraries = LoadedGLLibraries();
    return status;
}

std::string FormatGLStatus(const TOrnGLStatus& s, bool listExtensions) {
    std::ostringstream out;
    const TOrnPixelFormat& pf = s.PixelFormat;
    out << "Vendor: " << s.Vendor << "\n"
        << "Renderer: " << s.Renderer << "\n"
        << "Version: " << s.Version << "\n"
        << "GLU: " << s.GLUVersion << "\n";
    if (!s.EGLVersion.empty()) out << "EGL: " << s.EGLVersion << "\n";
    out << "Surface: " << s.Surface << "\n"
        << "Pixel format: " << (pf.PixelType == 0 ? "RGBA" : "colour index") << ", colour " << pf.ColorBits
        << " bits, alpha " << pf.AlphaBits << ", depth " << pf.DepthBits << ", stencil " << pf.StencilBits
        << ", " << (pf.DoubleBuffer() ? "double" : "single") << " buffered, flags 0x" << std::hex << pf.Flags
        << std::dec << "\n";
    if (listExtensions) {
        out << "Extensions:\n";
        for (const auto& e : s.Extensions)
            out << "  " << e << "\n";
    } else {
        out << "Extensions: " << s.Extensions.size() << "\n";
    }
    out << "Libraries:\n";
    for (const auto& lib : s.Libraries)
        out << "  " << lib.Name << " " << (lib.Version.empty() ? "-" : lib.Version) << " " << lib.Path
            << "\n";
    return out.str();
}

} // namespace orn
