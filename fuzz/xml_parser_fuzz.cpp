// Feeds arbitrary bytes to the scene file's XML reader with handlers that read every field of the
// records they get and use both close flags.
#include <orn/io/TXMLParser.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace {

std::size_t touch(const orn::TXMLTag& tag) {
    std::size_t sum = tag.Name.size() + tag.Value.size() + tag.Params.size();
    sum += static_cast<std::size_t>(tag.Depth) + static_cast<std::size_t>(tag.Close);
    for (const orn::TXMLTag* p = tag.Parent; p; p = p->Parent)
        sum += p->Name.size() + (p->Data != nullptr);
    for (int i = -1; i <= tag.ParamCount(); ++i)
        sum += tag.ParamNameAt(i).size() + tag.ParamValueAt(i).size();
    sum += tag.ParamValue("name", "none").size() + static_cast<std::size_t>(tag.IndexOfParam("P") + 1);
    return sum;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    orn::TXMLParser parser(nullptr);
    orn::TObject root;
    std::size_t sum = 0;
    auto onTag = [&](orn::TObject*, orn::TXMLTag& tag) {
        sum += touch(tag) + parser.Text().size();
        // Let the input pick the close flags, so that both paths run.
        if (!tag.Name.empty() && tag.Name[0] == 'e') tag.Close = 1;
        if (!tag.Name.empty() && tag.Name[0] == 'k') tag.Close = 2;
    };
    parser.OnTag = onTag;
    parser.OnTagName = onTag;
    parser.OnParam = onTag;
    parser.OnValue = onTag;
    parser.OnEndTag = [&](orn::TObject*, orn::TXMLTag& tag) { sum += touch(tag) + parser.Text().size(); };
    parser.OnComment = [&](const std::string& s) { sum += s.size(); };
    parser.OnSpecial = [&](const std::string& s) { sum += s.size(); };
    parser.OnProgress = [&](double f) {
        if (f < 0.0 || f > 1.0) __builtin_trap();
    };
    parser.Stream().assign(reinterpret_cast<const char*>(data), size);
    if (size == 0) return 0; // an empty stream would make execute load a file
    parser.execute(&root);
    if (!parser.Stream().empty()) __builtin_trap();
    // A second run on the same parser starts from a clean state.
    parser.Stream().assign(reinterpret_cast<const char*>(data), size);
    parser.execute(&root);
    return sum == 0xdeadbeef ? 1 : 0;
}
