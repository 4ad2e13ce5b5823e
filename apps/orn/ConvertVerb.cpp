// orn convert: reads a scene file and writes it again as ORNGL.
#include "SceneFile.h"
#include "Verb.h"

#include <orn/io/TOrnExchange.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>

namespace orn::app {

namespace {

constexpr const char* kUsage =
    R"(Usage: orn convert [--compact] [--lenient] [--description TEXT] IN.orngl OUT.orngl

Reads the scene file IN and writes it as OUT in this version's ORNGL form, with the camera IN
holds. Files the scene refers to (texture bitmaps, point data) are written beside OUT. OUT and
those files are replaced only once all of them are completely written; an OUT that is a symbolic
link has the file it points to replaced, a device or a FIFO is written to.

When IN loads incomplete (a file it refers to is missing or unreadable, an element cannot be
read, the file ends early) the problems are listed and nothing is written: the exit status is 3.

Options:
  --compact            leave out keys that hold their default value
  --lenient            write what did load of an incomplete IN (exit status 0)
  --description TEXT   the description written into OUT (default: the one IN holds)
  -h, --help           this text
)";

int Run(const std::vector<std::string>& args) {
    bool compact = false;
    bool lenient = false;
    bool describe = false;
    std::string description;
    std::vector<std::string> files;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (a == "--compact") {
            compact = true;
        } else if (a == "--lenient") {
            lenient = true;
        } else if (a == "--description") {
            description = OptionValue(args, i);
            describe = true;
        } else if (!a.empty() && a[0] == '-') {
            throw UsageError("Cannot use the option '" + a + "'");
        } else {
            files.push_back(a);
        }
    }
    if (files.size() != 2) throw UsageError("Cannot convert without exactly one input and one output file");
    // Anything but a scene file would receive scene XML under a misleading name.
    std::string extension = std::filesystem::path(files[1]).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return std::tolower(c); });
    if (extension != ".orngl")
        throw UsageError("Cannot write '" + files[1] + "': orn convert writes only .orngl scene files");

    TComponent form(nullptr);
    LoadedScene scene = LoadScene(files[0], &form);
    if (!AcceptWarnings("convert", files[0], scene, lenient)) return kExitIncomplete;
    TOrnExchange exchange(nullptr);
    exchange.SetCompact(compact);
    exchange.SetDescription(describe ? description : scene.description);
    exchange.SetCamera(scene.camera.get());
    exchange.OnProgress = ProgressBar("saving");
    exchange.SaveToFile(*scene.node, files[1]);
    std::printf("wrote %s (%d objects)\n", files[1].c_str(), scene.node->CountAllItems());
    return 0;
}

const bool registered = RegisterVerb({"convert", "read a scene file and write it as ORNGL", kUsage, &Run});

} // namespace

} // namespace orn::app
