#include <orn/io/TOrnDXFImport.h>

#include <orn/geometry/TOrnCustomObj.h>
#include <orn/host/EOrnError.h>
#include <orn/scene/TOrnNode.h>

#include "host/detail/FileBytes.h"
#include "io/detail/DxfBuild.h"
#include "io/detail/DxfModel.h"

#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>

namespace orn {

TOrnDXFImport::TOrnDXFImport(TComponent* owner) : TComponent(owner) {}

TOrnDXFImport::~TOrnDXFImport() = default;

void TOrnDXFImport::SetNode(TOrnNode* value) {
    if (fNode == value) return;
    if (fNode) RemoveFreeNotification(fNode);
    fNode = value;
    if (fNode) FreeNotification(fNode);
}

void TOrnDXFImport::Notification(TComponent* component, TOperation operation) {
    TComponent::Notification(component, operation);
    if (operation == opRemove && component == fNode) fNode = nullptr;
}

void TOrnDXFImport::SetCircleSegments(int value) {
    fCircleSegments = std::clamp(value, 8, 4096);
}

void TOrnDXFImport::SetSplineSegments(int value) {
    fSplineSegments = std::clamp(value, 1, 256);
}

void TOrnDXFImport::SetScale(double value) {
    fScale = value > 0 && std::isfinite(value) ? value : 1;
}

void TOrnDXFImport::Execute() {
    const std::string data = detail::ReadFileText(fFileName);
    LoadFromBuffer(data.data(), data.size());
}

void TOrnDXFImport::LoadFromStream(std::istream& stream) {
    std::string data((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    if (stream.bad()) throw EOrnError((fFileName.empty() ? "DXF stream" : fFileName) + ": read error");
    LoadFromBuffer(data.data(), data.size());
}

void TOrnDXFImport::LoadFromBuffer(const char* data, std::size_t size) {
    if (!fNode) throw EOrnError("TOrnDXFImport: there is no node to import into.");
    fReport = {};
    detail::dxf::Model model;
    detail::dxf::ReadOptions options;
    options.circleSegments = fCircleSegments;
    options.splineSegments = fSplineSegments;
    options.tolerance = fChordTolerance;
    options.paperSpace = fPaperSpace;
    options.skipHidden = fSkipHiddenLayers;
    auto progress = [this](double f) {
        if (OnProgress) OnProgress(0.9 * f);
    };
    detail::dxf::ReadDrawing(data, size, options, model, fReport, progress);
    double scale = fScale;
    fReport.unitScale = 1;
    if (fUnitsToMetres) fReport.unitScale = detail::dxf::UnitToMetres(fReport.units);
    scale *= fReport.unitScale;
    fReport.unitScale = scale;
    detail::dxf::BuildNodes(model, fReport, *fNode, scale);
    if (OnProgress) OnProgress(1.0);
}

std::string TOrnDXFReport::Text() const {
    std::ostringstream out;
    out << "format: " << (binary ? "binary" : "ASCII") << " DXF, version "
        << (version.empty() ? "unknown" : version) << "\n";
    out << "units: " << units << " (scale " << unitScale << ")\n";
    if (hasExtents)
        out << "extents: (" << extMin.x << ", " << extMin.y << ", " << extMin.z << ") - (" << extMax.x << ", "
            << extMax.y << ", " << extMax.z << ")\n";
    else
        out << "extents: none (empty drawing)\n";
    if (shifted)
        out << "shifted to a local origin at (" << shift.x << ", " << shift.y << ", " << shift.z
            << "), restored by the top node's translation\n";
    out << "layers: " << layers << ", blocks: " << blocks << ", inserts: " << inserts << "\n";
    out << "segments: " << segments << ", triangles: " << triangles << ", points: " << points << "\n";
    auto list = [&](const char* what, const std::map<std::string, int>& m) {
        if (m.empty()) return;
        out << what << ":";
        for (const auto& [type, n] : m)
            out << " " << type << " " << n << ";";
        out << "\n";
    };
    list("imported", imported);
    list("skipped (unsupported)", skipped);
    list("broken (left out)", broken);
    for (const std::string& m : messages)
        out << "  " << m << "\n";
    return out.str();
}

} // namespace orn
