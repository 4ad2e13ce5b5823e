// orn info: what the OpenGL driver says about itself, and the library's version.
#include "SceneFile.h"
#include "Verb.h"

#include <orn/diag/OrnVersionInfo.h>
#include <orn/diag/TOrnGLStatus.h>
#include <orn/view/TOrnView.h>

#include <cstdio>

namespace orn::app {

namespace {

constexpr const char* kUsage = R"(Usage: orn info [--extensions]
       orn info DRAWING.dxf

Opens a headless OpenGL context and reports the driver (vendor, renderer, version), the pixel
format obtained, the GL, EGL and GLU libraries loaded with their file versions, and the version
of Orn. Given a DXF drawing, prints its import report instead: version, units, extents, and the
entities imported, skipped and left out with the reasons.

Options:
  --extensions   list every OpenGL extension instead of counting them
  -h, --help     this text
)";

int Run(const std::vector<std::string>& args) {
    bool listExtensions = false;
    for (const std::string& a : args) {
        if (a == "--extensions") {
            listExtensions = true;
        } else if (IsDrawing(a)) {
            TComponent form(nullptr);
            std::printf("%s", LoadScene(a, &form).report.c_str());
            return 0;
        } else
            throw UsageError("Cannot use the argument '" + a + "'");
    }
    TOrnView view(nullptr);
    view.SetBounds(64, 64);
    view.OpenGLConnect();
    const TOrnGLStatus status = GetGLStatus(view);
    std::printf("%s\n%s", OrnProductName().c_str(), FormatGLStatus(status, listExtensions).c_str());
    return 0;
}

const bool registered =
    RegisterVerb({"info", "report the OpenGL driver, pixel format and libraries", kUsage, &Run});

} // namespace

} // namespace orn::app
