#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace orn::test {

/// Records the gl* and glu* calls made on this thread, by the test and by the library alike (the test
/// binary interposes the traced functions and forwards each call to the real one). Calls that GLU
/// makes from inside a traced glu* function are not recorded. One recorder records at a time: the
/// most recently started one. Make a context current before recording: every call is forwarded.
///
///     GLRecorder rec;                 // recording from here
///     view.Render();
///     rec.Stop();
///     EXPECT_EQ(rec.Calls(), (std::vector<std::string>{"glPushMatrix()", "glPopMatrix()"}));
class GLRecorder {
public:
    GLRecorder() { Start(); }
    ~GLRecorder() { Stop(); }
    GLRecorder(const GLRecorder&) = delete;
    GLRecorder& operator=(const GLRecorder&) = delete;

    void Start();
    void Stop();

    /// Each call as `glRotatef(90, 0, 1, 0)`: numbers with %g, enumerations by their GL_ names (unknown
    /// ones in 0x hex), fixed-size input vectors as `{1, 0, 0, 1}`, other pointers as `ptr`.
    const std::vector<std::string>& Calls() const { return fCalls; }
    /// How many calls of exactly this function were recorded.
    std::size_t Count(std::string_view name) const;
    /// The calls whose function name starts with prefix ("glPush", "glu").
    std::vector<std::string> Filter(std::string_view prefix) const;
    /// The calls whose function name is one of names.
    std::vector<std::string> Filter(std::initializer_list<std::string_view> names) const;
    void Clear() { fCalls.clear(); }

    /// Used by the traced functions.
    void Add(std::string call) { fCalls.push_back(std::move(call)); }

private:
    std::vector<std::string> fCalls;
};

} // namespace orn::test
