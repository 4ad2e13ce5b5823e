#include <orn/objects/TOrnPointSet.h>

#include "host/detail/FileBytes.h"
#include "objects/detail/PointSetText.h"

#include <orn/host/EOrnError.h>
#include <orn/scene/TOrnRegistry.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <fstream>

namespace orn {

ORN_REGISTER_RENDER_CLASS(TOrnPointSet, "Orn Obj")

const char* const kPointSetFormatNames[2] = {"Matrix", "XYZ"};

namespace {

constexpr std::int64_t kPointLimit = std::int64_t{1} << 27; // what a primitive object can hold

std::string rampText(const std::vector<TColor>& ramp) {
    std::string out;
    char buf[16];
    for (TColor c : ramp) {
        std::snprintf(buf, sizeof buf, "%s%06X", out.empty() ? "" : ",",
                      static_cast<unsigned>(c) & 0xFFFFFFu);
        out += buf;
    }
    return out;
}

/// The colours of a "ColorRamp" value; empty when any part is not a hexadecimal colour.
std::vector<TColor> parseRamp(const std::string& text) {
    std::vector<TColor> ramp;
    const char* p = text.data();
    const char* end = p + text.size();
    while (p < end) {
        unsigned v = 0;
        const auto [next, ec] = std::from_chars(p, end, v, 16);
        if (ec != std::errc() || v > 0xFFFFFFu || (next != end && *next != ',')) return {};
        ramp.push_back(static_cast<TColor>(v));
        p = next == end ? end : next + 1;
    }
    return ramp;
}

} // namespace

TOrnPointSet::TOrnPointSet(TComponent* owner)
    : TOrnPrimitiveObj(owner), fColorRamp{clBlue, clAqua, clLime, clYellow, clRed} {}

void TOrnPointSet::SetFileName(const std::string& path) {
    LoadFromFile(path);
}

void TOrnPointSet::SetFormat(TOrnPointSetFormat value) {
    if (value == fFormat || (value != pfMatrix && value != pfXYZ)) return;
    std::vector<double> converted;
    const int n = fRows * fColumns;
    converted.reserve(static_cast<std::size_t>(n) * (value == pfXYZ ? 3 : 1));
    for (int r = 0; r < fRows; ++r)
        for (int c = 0; c < fColumns; ++c) {
            const TOrnMathVector p = GridPoint(r, c);
            if (value == pfXYZ)
                converted.insert(converted.end(), {p.x, p.y, p.z});
            else
                converted.push_back(p.z);
        }
    fFormat = value;
    fValues = std::move(converted);
    Invalidate();
}

void TOrnPointSet::SetColumns(int value) {
    if (value < 1 || value == fColumns) return;
    if (fValues.empty()) {
        fColumns = value;
        return;
    }
    const std::size_t points = fValues.size() / 3;
    if (fFormat != pfXYZ || points % static_cast<std::size_t>(value) != 0) return;
    fColumns = value;
    fRows = static_cast<int>(points / static_cast<std::size_t>(value));
    Invalidate();
}

void TOrnPointSet::SetSpacingX(double value) {
    if (assignIfChanged(fSpacingX, value)) Invalidate();
}

void TOrnPointSet::SetSpacingY(double value) {
    if (assignIfChanged(fSpacingY, value)) Invalidate();
}

void TOrnPointSet::SetHeightScale(double value) {
    if (assignIfChanged(fHeightScale, value)) Invalidate();
}

void TOrnPointSet::SetMaxPoints(std::int64_t value) {
    if (value >= 1 && assignIfChanged(fMaxPoints, std::min(value, kPointLimit))) Changed();
}

void TOrnPointSet::SetColorByHeight(bool value) {
    if (assignIfChanged(fColorByHeight, value)) Invalidate();
}

void TOrnPointSet::SetColorRamp(const std::vector<TColor>& value) {
    if (!value.empty() && assignIfChanged(fColorRamp, value)) Invalidate();
}

TOrnMathVector TOrnPointSet::GridPoint(int row, int column) const {
    if (row < 0 || row >= fRows || column < 0 || column >= fColumns) return {};
    const std::size_t k =
        static_cast<std::size_t>(row) * static_cast<std::size_t>(fColumns) + static_cast<std::size_t>(column);
    if (fFormat == pfXYZ) return {fValues[3 * k], fValues[3 * k + 1], fValues[3 * k + 2]};
    return {column * fSpacingX, row * fSpacingY, fValues[k]};
}

void TOrnPointSet::LoadFromFile(const std::string& path) {
    // Even with long comments a file far beyond what its points need is a mistake, not data.
    const auto limit =
        std::max<std::uint64_t>(std::uint64_t{1} << 26, static_cast<std::uint64_t>(fMaxPoints) * 256);
    const std::vector<std::uint8_t> bytes = detail::ReadFileBytes(path, {}, limit, "point data");
    ReadFromText(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()), path);
    fFileName = path;
}

void TOrnPointSet::ReadFromText(std::string_view text, const std::string& sourceName) {
    detail::PointSetGrid grid = detail::ParsePointSet(text, fFormat, fColumns, fMaxPoints, sourceName);
    fRows = grid.rows;
    fColumns = grid.columns;
    fValues = std::move(grid.values);
    Invalidate();
}

std::string TOrnPointSet::WriteToText() const {
    detail::PointSetGrid grid{fRows, fColumns, fValues};
    return detail::FormatPointSet(grid, fFormat);
}

void TOrnPointSet::SaveToFile(const std::string& path) const {
    const std::string text = WriteToText();
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    if (!out) throw EOrnError("Point set file \"" + path + "\": " + std::strerror(errno) + ".");
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
    out.close();
    if (!out) throw EOrnError("Point set file \"" + path + "\": it could not be written.");
}

void TOrnPointSet::InitPoints() {
    if (fValues.empty()) return;
    const std::int64_t count = std::int64_t{fRows} * fColumns;
    CheckBuildSize(count, "Point set");
    fPoints->SetSize(static_cast<int>(count));
    const TOrnTextureFlags& f = *TextureFlags();
    const double du = fColumns > 1 ? 1.0 / (fColumns - 1) : 0, dv = fRows > 1 ? 1.0 / (fRows - 1) : 0;
    for (int r = 0; r < fRows; ++r)
        for (int c = 0; c < fColumns; ++c) {
            TOrnMathVector p = GridPoint(r, c);
            p.z *= fHeightScale;
            fPoints->Add(p, {0, 0, 1},
                         {c * du * f.ScaleX() + f.ShiftX(), r * dv * f.ScaleY() + f.ShiftY(), 0});
        }
    ApplyColors();
}

void TOrnPointSet::ApplyColors() {
    TOrnArrays enabled = fPoints->EnabledArrays();
    enabled.Exclude(daColor);
    if (fColorByHeight) {
        enabled.Include(daColor);
        fPoints->SetDefineArrays(fPoints->DefineArrays() + TOrnArrays{daColor});
    }
    fPoints->SetEnabledArrays(enabled);
    if (!fColorByHeight) return;
    const int n = fPoints->Count();
    const double* v = fPoints->Vertices();
    float* out = fPoints->Colors();
    double lo = 0, hi = 0;
    for (int i = 0; i < n; ++i) {
        const double z = v[3 * i + 2];
        lo = i == 0 ? z : std::min(lo, z);
        hi = i == 0 ? z : std::max(hi, z);
    }
    const double span = hi - lo;
    const int stops = static_cast<int>(fColorRamp.size());
    for (int i = 0; i < n; ++i) {
        const double h = span > 0 ? (v[3 * i + 2] - lo) / span * (stops - 1) : 0;
        const int k = std::clamp(static_cast<int>(h), 0, std::max(stops - 2, 0));
        const double w = stops > 1 ? std::clamp(h - k, 0.0, 1.0) : 0;
        const TColor a = fColorRamp[static_cast<std::size_t>(k)];
        const TColor b = fColorRamp[static_cast<std::size_t>(std::min(k + 1, stops - 1))];
        auto mix = [w](std::uint8_t x, std::uint8_t y) {
            return static_cast<float>((x + (y - x) * w) / 255.0);
        };
        float* rgba = out + 4 * static_cast<std::size_t>(i);
        rgba[0] = mix(GetRValue(a), GetRValue(b));
        rgba[1] = mix(GetGValue(a), GetGValue(b));
        rgba[2] = mix(GetBValue(a), GetBValue(b));
        rgba[3] = 1.0f;
    }
}

void TOrnPointSet::InitPrimitives() {
    const auto cols = static_cast<std::uint32_t>(fColumns);
    for (int r = 1; r < fRows; ++r) {
        TOrnPrimitiveArray* list = Primitive(AddPrimitiveArray(GL_QUAD_STRIP));
        std::uint32_t* out = list->Append(2 * fColumns);
        // The upper row first, so that the faces wind counter-clockwise seen from +z.
        const std::uint32_t above = static_cast<std::uint32_t>(r) * cols, below = above - cols;
        for (std::uint32_t c = 0; c < cols; ++c) {
            *out++ = above + c;
            *out++ = below + c;
        }
    }
    if (fAutoCalcNormals) CalcNormals();
}

void TOrnPointSet::Assign(const TPersistent* source) {
    if (auto* s = dynamic_cast<const TOrnPointSet*>(source)) {
        fFileName = s->fFileName;
        fRows = s->fRows;
        fValues = s->fValues;
    }
    TOrnPrimitiveObj::Assign(source);
}

void TOrnPointSet::WriteValues(TOrnCustomExchange& exchange) {
    // The data goes beside the scene file under a new name; without a place for it, no name.
    const std::string name = fValues.empty() ? "" : exchange.GetFileName(fFormat == pfXYZ ? "xyz" : "txt");
    const std::string path = name.empty() ? name : exchange.FilePath(name);
    if (!path.empty()) SaveToFile(path);
    exchange.WriteString("FileName", path.empty() ? "" : name, "");
    TOrnPrimitiveObj::WriteValues(exchange);
}

void TOrnPointSet::ReadValues(TOrnCustomExchange& exchange) {
    // The data last, laid out by the format and the columns just read.
    TOrnPrimitiveObj::ReadValues(exchange);
    const std::string name = exchange.ReadString("FileName", "");
    const std::string path = name.empty() ? std::string() : exchange.FilePath(name);
    if (!path.empty()) LoadFromFile(path);
}

ORN_DESCRIBE_PROPERTIES(TOrnPointSet, &TOrnPrimitiveObj::ClassProperties()) {
    b.Enum("Format", &TOrnPointSet::fFormat, &TOrnPointSet::SetFormat, pfMatrix, kPointSetFormatNames);
    ORN_PROP(b, TOrnPointSet, Columns, 0).min = 1;
    ORN_PROP(b, TOrnPointSet, SpacingX, 1.0);
    ORN_PROP(b, TOrnPointSet, SpacingY, 1.0);
    ORN_PROP(b, TOrnPointSet, HeightScale, 1.0);
    ORN_PROP(b, TOrnPointSet, MaxPoints, std::int64_t{1} << 24).min = 1;
    ORN_PROP(b, TOrnPointSet, ColorByHeight, false);
    b.Access<std::string>(
         "ColorRamp", [](const TOrnPointSet& p) { return rampText(p.fColorRamp); },
         [](TOrnPointSet& p, std::string v) { p.SetColorRamp(parseRamp(v)); },
         "FF0000,FFFF00,00FF00,00FFFF,0000FF")
        .examples = {std::string("102030,405060")};
}

} // namespace orn
