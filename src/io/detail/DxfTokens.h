#pragma once

// Group-code pairs of a DXF file, ASCII or binary, read without copying the file.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace orn::detail::dxf {

/// One group: its code and value. ASCII values stay text until a reader asks for a number;
/// binary numbers arrive as numbers.
struct Group {
    int code = 0;
    std::int64_t where = 0; ///< the value's line (ASCII) or byte offset (binary)
    std::string_view text;  ///< the value as text (ASCII, and binary strings)
    double number = 0;      ///< the value of a binary number
    bool binaryNumber = false;
};

/// What a value's group code says it holds.
enum class ValueType : std::uint8_t { String, Double, Int16, Int32, Int64, Bool, Chunk, Unknown };
ValueType TypeOfCode(int code);

/// The value as a finite double; false when it is not one.
bool ToDouble(const Group& g, double& out);
/// The value as an integer (a whole-numbered real is accepted); false when it is not one.
bool ToInt(const Group& g, std::int64_t& out);

/// Splits a DXF file into groups. A group code that is not a number is reported and skipped with
/// its value line; a binary file stops at a code whose type is unknown.
class Tokenizer {
public:
    Tokenizer(const char* data, std::size_t size);

    bool Binary() const { return fBinary; }
    /// The next group; false at the end of the data.
    bool Next(Group& g);
    /// Bytes consumed so far.
    std::size_t Offset() const { return fPos; }
    std::size_t Size() const { return fSize; }
    /// "line N" or "offset N" for a group's position.
    std::string Where(const Group& g) const;
    /// The last problem met since the previous call (empty when none); cleared by reading it.
    std::string TakeProblem();

private:
    bool NextAscii(Group& g);
    bool NextBinary(Group& g);
    /// The next line without its line break and surrounding blanks; false at the end.
    bool Line(std::string_view& out);

    const char* fData;
    std::size_t fSize;
    std::size_t fPos = 0;
    std::int64_t fLine = 0;
    bool fBinary = false;
    bool fWideCodes = false; // binary codes of two bytes (from R13) rather than one
    std::string fProblem;
};

} // namespace orn::detail::dxf
