// orn info: what the OpenGL driver says about itself, and the library's version.
#include "Verb.h"

#include <orn/diag/OrnVersionInfo.h>
#include <orn/diag/TOrnGLStatus.h>
#include <orn/view/TOrnView.h>

#include <cstdio>

namespace orn::app {

namespace {

constexpr const char* kUsage = R"(Usage: orn info [--extensions]

Opens a headless OpenGL context and reports the driver (vendor, renderer, version), the pixel
format obtained, the GL, EGL and GLU libraries loaded with their file versions, and the version
of Orn.

Options:
  --extensions   list every OpenGL extension instead of counting them
  -h, --help     this text
)";

int Run(const std::vector<std::string>& args) {
    bool listExtensions = false;
    for (const std::string& a : args) {
        if (a == "--extensions")
            listExtensions = true;
        else
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
