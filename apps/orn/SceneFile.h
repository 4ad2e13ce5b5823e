#pragma once

// Scene files in the orn command: loading with the file's camera, progress on a terminal, and a
// camera that frames a scene that brings none.

#include <orn/io/TOrnExchange.h>
#include <orn/scene/TOrnNode.h>
#include <orn/view/TOrnCamera.h>

#include <memory>
#include <string>
#include <vector>

namespace orn::app {

/// A scene read from a file: its node (owned by the form given to LoadScene) and the camera the
/// file held, if any.
struct LoadedScene {
    TOrnNode* node = nullptr;
    std::unique_ptr<TOrnCamera> camera;
    std::string description;
    /// What the load could not take (TOrnExchange::Warnings).
    std::vector<std::string> warnings;
};

/// A progress bar on standard error when it is a terminal; an empty handler otherwise.
TOrnProgressEvent ProgressBar(const char* what);
/// Loads file into a new node owned by form; throws EOrnError as TOrnExchange does.
LoadedScene LoadScene(const std::string& file, TComponent* form);
/// Prints the scene's warnings on standard error for verb; true when the verb may go on: there were
/// none, or lenient says an incomplete scene is to be used anyway.
bool AcceptWarnings(const char* verb, const std::string& file, const LoadedScene& scene, bool lenient);
/// A camera of kind ("perspective" or "orthographic") that sees every object of node.
std::unique_ptr<TOrnCamera> FramingCamera(TOrnNode& node, const std::string& kind);

} // namespace orn::app
