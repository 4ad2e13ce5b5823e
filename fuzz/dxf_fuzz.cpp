// libFuzzer target: any bytes import as a DXF drawing without a crash, a hang or a leak, and every
// object built from them can be generated. Seed it with the files of the shared DXF corpus.
#include <orn/geometry/TOrnCustomObj.h>
#include <orn/io/TOrnDXFImport.h>
#include <orn/scene/TOrnNode.h>

#include <cstddef>
#include <cstdint>

namespace {

void BuildAll(orn::TOrnNode& node, int depth) {
    if (depth > 64) return;
    for (int i = 0; i < node.Count(); ++i) {
        if (auto* child = dynamic_cast<orn::TOrnNode*>(node.Items(i)))
            BuildAll(*child, depth + 1);
        else if (auto* obj = dynamic_cast<orn::TOrnCustomObj*>(node.Items(i)))
            obj->Init();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    orn::TComponent form(nullptr);
    auto* node = new orn::TOrnNode(&form);
    orn::TOrnDXFImport importer(nullptr);
    importer.SetNode(node);
    importer.SetCircleSegments(16);
    importer.LoadFromBuffer(reinterpret_cast<const char*>(data), size);
    BuildAll(*node, 0);
    (void)importer.Report().Text();
    return 0;
}
