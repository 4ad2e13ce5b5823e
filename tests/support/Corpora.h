#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace orn::test {

/// relative below ORN_CORPORA_DIR.
inline std::filesystem::path CorpusPath(const std::string& relative) {
    return std::filesystem::path(ORN_CORPORA_DIR) / relative;
}

} // namespace orn::test

/// Skips the running test, naming the folder, unless the corpus folder `relative` exists.
#define ORN_REQUIRE_CORPUS(relative)                                                                         \
    do {                                                                                                     \
        const std::filesystem::path ornCorpus = ::orn::test::CorpusPath(relative);                           \
        if (!std::filesystem::is_directory(ornCorpus))                                                       \
            GTEST_SKIP() << "corpus not found: " << ornCorpus.string()                                       \
                         << " (set the CMake cache variable ORN_CORPORA_DIR)";                               \
    } while (false)
