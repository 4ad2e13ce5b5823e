#pragma once

#include <string>

namespace orn {

/// The library's version, "major.minor.patch".
std::string OrnVersion();
/// The product line of the about box: name, version and what it is.
std::string OrnProductName();
/// The day the library was built, "YYYY-MM-DD".
std::string OrnBuildDate();
/// The licence line of the about box.
std::string OrnLicence();
/// The version of the library actually loaded (which may differ from the headers compiled against).
int OrnVersionMajor();
int OrnVersionMinor();
int OrnVersionPatch();

} // namespace orn
