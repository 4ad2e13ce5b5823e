#pragma once

#include <orn/host/EOrnError.h>

#include <string>

namespace orn::test {

/// The message of the EOrnError that f raises; "" when it raises none.
template <class F> std::string ErrorText(F&& f) {
    try {
        f();
    } catch (const EOrnError& e) {
        return e.what();
    }
    return "";
}

} // namespace orn::test
