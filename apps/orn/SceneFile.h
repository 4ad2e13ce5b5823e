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
    /// For a drawing: the import report, one fact per line; empty for a scene file.
    std::string report;
    /// What the load could not take (TOrnExchange::Warnings).
    std::vector<std::string> warnings;
};

/// Whether file is a DXF drawing (by its extension) rather than a scene file.
bool IsDrawing(const std::string& file);

/// A progress bar on standard error when it is a terminal; an empty handler otherwise.
TOrnProgressEvent ProgressBar(const char* what);
/// Loads file (a scene, or a DXF drawing with a camera looking down on it when it is flat) into a
/// new node owned by form; throws EOrnError as TOrnExchange does. Every verb reads files through
/// here, so a new format needs only a branch in this one function.
LoadedScene LoadScene(const std::string& file, TComponent* form);
/// A sphere that holds every object of a scene.
struct SceneBounds {
    TOrnMathVector centre;
    double radius = 1;
};
/// Measures node (building the geometry of every shape in it), telling progress as it goes.
SceneBounds MeasureScene(TOrnNode& node, TOrnProgressEvent progress = {});

/// The angles a framed scene is seen from, in degrees: a little from above and from the side.
constexpr float kFramingAngleX = 20;
constexpr float kFramingAngleY = -30;
/// How far from the centre camera must stand to see a sphere of radius whole.
double FramingDistance(const TOrnCamera& camera, double radius);
/// Points camera at the bounds' centre from distance, turned by the angles (degrees) about the
/// centre, with near and far planes around the bounds.
void AimAt(TOrnCamera& camera, const SceneBounds& bounds, double distance, float angleX, float angleY);
/// Prints the scene's warnings on standard error for verb; true when the verb may go on: there were
/// none, or lenient says an incomplete scene is to be used anyway.
bool AcceptWarnings(const char* verb, const std::string& file, const LoadedScene& scene, bool lenient);
/// A camera of kind ("perspective" or "orthographic") that sees every object of node.
std::unique_ptr<TOrnCamera> FramingCamera(TOrnNode& node, const std::string& kind,
                                          TOrnProgressEvent progress = {});

} // namespace orn::app
