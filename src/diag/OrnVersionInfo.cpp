#include <orn/Version.h>
#include <orn/diag/OrnVersionInfo.h>

namespace orn {

std::string OrnVersion() {
    return ORN_VERSION_STRING;
}

std::string OrnProductName() {
    return "Orn " ORN_VERSION_STRING " - 3D visualisation components over OpenGL 1.1";
}

std::string OrnBuildDate() {
    // __DATE__ reads "Mmm dd yyyy", the day padded with a space.
    static constexpr const char kMonths[] = "JanFebMarAprMayJunJulAugSepOctNovDec";
    const std::string date = __DATE__;
    const std::string months = kMonths;
    const std::size_t month = months.find(date.substr(0, 3)) / 3 + 1;
    std::string day = date.substr(4, 2);
    if (day[0] == ' ') day[0] = '0';
    return date.substr(7, 4) + "-" + (month < 10 ? "0" : "") + std::to_string(month) + "-" + day;
}

std::string OrnLicence() {
    return "Licensed under the terms of the Orn distribution; see its licence file.";
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
