#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace orn::app {

/// One verb of the orn command. Each verb lives in its own file and adds itself to the table:
///
///     namespace { const bool registered = RegisterVerb({"render", "…", "usage…", &Run}); }
struct Verb {
    const char* name;
    /// One line for `orn --help`.
    const char* summary;
    /// The whole of `orn <verb> --help`.
    const char* usage;
    /// Runs with the arguments after the verb (never "--help"); returns the exit status.
    int (*run)(const std::vector<std::string>& args);
};

bool RegisterVerb(const Verb& verb);
/// The verbs, sorted by name.
std::vector<Verb> Verbs();

/// Bad arguments: reported as one line with exit status 2. Every message of the command starts
/// "Cannot …" and says why.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The largest image or window side the command accepts, in pixels.
constexpr int kMaxSide = 16384;
/// The exit status of a verb whose scene file loaded incomplete (a referenced file missing, an
/// element not read, the file cut short) and that was not told to be lenient.
inline constexpr int kExitIncomplete = 3;

/// "WxH" with both in 1 … maxSide; false otherwise.
bool ParseSize(const std::string& text, int& width, int& height, int maxSide = kMaxSide);
/// The message for a size ParseSize refused: the allowed form and range.
std::string SizeError(const std::string& text);
/// The value of --samples: 0 … 16 samples per pixel; throws a UsageError otherwise.
int ParseSamples(const std::string& text);
/// Tells on standard error, once, when the driver gave fewer samples per pixel than asked for.
void ReportSamples(const char* verb, int asked, int obtained);

/// The arguments with "--option=value" and "-oFILE" split into an option and its value.
std::vector<std::string> SplitOptionValues(const std::vector<std::string>& args);

/// The value of an option that takes one (args[i] is the option): advances i, or throws a
/// UsageError when the value is missing.
const std::string& OptionValue(const std::vector<std::string>& args, std::size_t& i);

} // namespace orn::app
