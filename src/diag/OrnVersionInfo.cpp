#include <orn/Version.h>
#include <orn/diag/OrnVersionInfo.h>

namespace orn {

std::string OrnVersion() {
    return ORN_VERSION_STRING;
}

std::string OrnProductName() {
    return "Orn " ORN_VERSION_STRING " - 3D visualisation components over OpenGL 1.1";
}

int OrnVersionMajor() {
    return ORN_VERSION_MAJOR;
}
int OrnVersionMinor() {
    return ORN_VERSION_MINOR;
}
int OrnVersionPatch() {
    return ORN_VERSION_PATCH;
}

} // namespace orn
