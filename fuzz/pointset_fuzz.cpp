// The point-set reader on arbitrary bytes: the first byte picks the layout and the columns. Whatever
// it reads must write back to text that reads to the same grid.
#include <orn/host/EOrnError.h>
#include <orn/objects/TOrnPointSet.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    using namespace orn;
    const TOrnPointSetFormat format = data[0] & 1 ? pfXYZ : pfMatrix;
    const int columns = 1 + (data[0] >> 1) % 16;
    const std::string_view text(reinterpret_cast<const char*>(data + 1), size - 1);
    TOrnPointSet set(nullptr);
    set.SetMaxPoints(1 << 16);
    set.SetFormat(format);
    set.SetColumns(columns);
    try {
        set.ReadFromText(text, "fuzz.txt");
    } catch (const EOrnError&) {
        return 0;
    }
    set.SetColorByHeight(true);
    set.Init();
    TOrnPointSet again(nullptr);
    again.SetFormat(format);
    again.SetColumns(set.Columns());
    again.ReadFromText(set.WriteToText(), "again.txt"); // a written grid must read back
    if (again.Values() != set.Values() || again.Rows() != set.Rows() || again.Columns() != set.Columns())
        std::abort();
    return 0;
}
