#pragma once

#include <stdexcept>
#include <string>

namespace orn {

/// The one exception type of the library: real failures carry the component's own message,
/// I/O failures the file's name and the system's reason.
class EOrnError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace orn
