// The orn command: verbs that render, inspect and convert scenes, each in its own file.
#include "Verb.h"

#include <orn/diag/OrnVersionInfo.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <exception>

namespace orn::app {

namespace {

std::vector<Verb>& Table() {
    static std::vector<Verb> verbs;
    return verbs;
}

void PrintUsage(std::FILE* out) {
    std::fprintf(out, "%s\n\nUsage: orn <verb> [options]\n\nVerbs:\n", OrnProductName().c_str());
    for (const Verb& v : Verbs())
        std::fprintf(out, "  %-10s %s\n", v.name, v.summary);
    std::fprintf(
        out, "\n'orn help VERB' (or 'orn VERB --help') tells more about a verb; 'orn --version' prints the "
             "version.\nOptions that take a value are written '--size 800x600' or '--size=800x600', "
             "'-o out.png' or '-oout.png'.\n");
}

// Messages are printed as one line, whatever a library put into them.
std::string OneLine(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    std::replace(text.begin(), text.end(), '\r', ' ');
    return text;
}

} // namespace

bool RegisterVerb(const Verb& verb) {
    Table().push_back(verb);
    return true;
}

std::vector<Verb> Verbs() {
    std::vector<Verb> verbs = Table();
    std::sort(verbs.begin(), verbs.end(),
              [](const Verb& a, const Verb& b) { return std::string(a.name) < b.name; });
    return verbs;
}

bool ParseSize(const std::string& text, int& width, int& height, int maxSide) {
    const auto x = text.find_first_of("xX");
    if (x == std::string::npos) return false;
    const char* begin = text.data();
    const char* end = begin + text.size();
    int w = 0, h = 0;
    auto [wEnd, wErr] = std::from_chars(begin, begin + x, w);
    auto [hEnd, hErr] = std::from_chars(begin + x + 1, end, h);
    if (wErr != std::errc() || hErr != std::errc() || wEnd != begin + x || hEnd != end) return false;
    if (w < 1 || h < 1 || w > maxSide || h > maxSide) return false;
    width = w;
    height = h;
    return true;
}

std::string SizeError(const std::string& text) {
    return "Cannot use the size '" + text + "': give WxH with each side 1 ... " + std::to_string(kMaxSide) +
           ", such as 800x600";
}

int ParseSamples(const std::string& text) {
    int samples = -1;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), samples);
    if (error != std::errc() || end != text.data() + text.size() || samples < 0 || samples > 16)
        throw UsageError("Cannot use '" + text + "' samples per pixel: give 0 ... 16, such as 4");
    return samples;
}

void ReportSamples(const char* verb, int asked, int obtained) {
    if (obtained >= asked) return;
    if (obtained == 0)
        std::fprintf(stderr,
                     "orn %s: Cannot get %d samples per pixel: the driver has no multisampled format; "
                     "drawing without anti-aliasing\n",
                     verb, asked);
    else
        std::fprintf(stderr, "orn %s: Cannot get %d samples per pixel: the driver gave %d\n", verb, asked,
                     obtained);
}

std::vector<std::string> SplitOptionValues(const std::vector<std::string>& args) {
    std::vector<std::string> out;
    for (const std::string& a : args) {
        const auto equals = a.find('=');
        if (a.rfind("--", 0) == 0 && equals != std::string::npos) {
            out.push_back(a.substr(0, equals));
            out.push_back(a.substr(equals + 1));
        } else if (a.size() > 2 && a.rfind("-o", 0) == 0) {
            out.push_back("-o");
            out.push_back(a.substr(2));
        } else {
            out.push_back(a);
        }
    }
    return out;
}

const std::string& OptionValue(const std::vector<std::string>& args, std::size_t& i) {
    if (i + 1 >= args.size()) throw UsageError("Cannot use the option '" + args[i] + "' without a value");
    return args[++i];
}

} // namespace orn::app

int main(int argc, char** argv) {
    using namespace orn::app;
    const std::vector<std::string> args(argv + 1, argv + argc);
    if (args.empty()) {
        PrintUsage(stderr);
        return 2;
    }
    const std::string& first = args.front();
    if (first == "--help" || first == "-h" || (first == "help" && args.size() == 1)) {
        PrintUsage(stdout);
        return 0;
    }
    const std::vector<Verb> verbs = Verbs();
    auto find = [&](const std::string& name) {
        return std::find_if(verbs.begin(), verbs.end(), [&](const Verb& v) { return name == v.name; });
    };
    if (first == "help") {
        if (args.size() > 2) {
            std::fprintf(stderr, "orn: Cannot tell about more than one verb at a time (orn help VERB)\n");
            return 2;
        }
        const auto verb = find(args[1]);
        if (verb == verbs.end()) {
            std::fprintf(stderr, "orn: Cannot tell about '%s': no such verb (see orn --help)\n",
                         args[1].c_str());
            return 2;
        }
        std::printf("%s", verb->usage);
        return 0;
    }
    if (first == "--version") {
        std::printf("orn %s\n", orn::OrnVersion().c_str());
        return 0;
    }
    const auto verb = find(first);
    if (verb == verbs.end()) {
        std::fprintf(stderr, "orn: Cannot run '%s': no such verb (see orn --help)\n", first.c_str());
        return 2;
    }
    const std::vector<std::string> rest = SplitOptionValues({args.begin() + 1, args.end()});
    if (std::find(rest.begin(), rest.end(), "--help") != rest.end() ||
        std::find(rest.begin(), rest.end(), "-h") != rest.end()) {
        std::printf("%s", verb->usage);
        return 0;
    }
    try {
        return verb->run(rest);
    } catch (const UsageError& e) {
        std::fprintf(stderr, "orn %s: %s (see orn %s --help)\n", verb->name, OneLine(e.what()).c_str(),
                     verb->name);
        return 2;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "orn %s: %s\n", verb->name, OneLine(e.what()).c_str());
        return 1;
    }
}
