#pragma once

#include <orn/host/TComponent.h>
#include <orn/math/TOrnCustomExchange.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace orn {

class TOrnCamera;
class TOrnNode;
namespace detail {
class FileTransaction;
}

/// value as upper-case hexadecimal with at least digits digits (at most 16); a negative value is
/// written as its 32-bit two's complement when it fits 32 bits.
std::string int2hex(std::int64_t value, int digits);
/// The value of hexadecimal text ("FF8000", "$FF8000", "#FF8000" or "0xFF8000", letter case
/// ignored); def when the text is empty, holds anything else or has more than 8 digits. Eight
/// digits give the 32-bit pattern as a signed value ("80000005" → −2147483643).
std::int64_t hex2int(std::string_view text, std::int64_t def);

/// Progress of a load or a save: the fraction done, 0 … 1.
using TOrnProgressEvent = std::function<void(double fraction)>;

/// The scene file component: saves a node with everything it holds as an ORNGL file and loads
/// such a file back into a node.
///
/// Values read from a file are taken only in the form the writer uses; a value of another form, a
/// number out of range (integers beyond 64 bits, reals that are not finite or beyond single
/// precision) counts as missing and the component keeps its present value. Unknown elements and
/// keys are skipped. Elements nested deeper than MaxDepth are skipped, and a save that would
/// write them fails.
///
/// What a load had to leave out (a referenced file that is missing, unreadable or outside the
/// scene's folder, an element a component refused, elements nested too deep, a file that ends
/// early) is told in Warnings: the scene that did load is incomplete.
class TOrnExchange : public TComponent, public TOrnCustomExchange {
    ORN_CLASS(TOrnExchange)
public:
    /// The format version written into every file.
    static constexpr const char* FormatVersion = "1.0";
    /// Elements below this depth (ORNGL is depth 1) are skipped on reading and refused on saving.
    static constexpr int MaxDepth = 128;

    explicit TOrnExchange(TComponent* owner);
    ~TOrnExchange() override;

    /// The scene file: named in messages; its folder holds the files the scene refers to.
    const std::string& FileName() const { return fFileName; }
    void SetFileName(const std::string& value) { fFileName = value; }
    /// Written as "program" (default: "Orn" and the library version).
    const std::string& Program() const { return fProgram; }
    void SetProgram(const std::string& value) { fProgram = value; }
    /// Written as "description"; a load sets it from the file.
    const std::string& Description() const { return fDescription; }
    void SetDescription(const std::string& value) { fDescription = value; }
    /// The "version" of the file loaded last ("" before any load).
    const std::string& FileVersion() const { return fFileVersion; }
    /// Leaves out keys equal to their defaults (a smaller file; loading into fresh components
    /// gives the same scene). Off by default: every key is written.
    bool Compact() const { return fCompact; }
    void SetCompact(bool value) { fCompact = value; }

    /// A camera saved with the scene (element "Camera" after "Objects", its class in "class") and
    /// read back from a file that holds one; not owned (nullptr: none is written or read).
    TOrnCamera* Camera() const { return fCamera; }
    void SetCamera(TOrnCamera* value);
    /// The class of the camera in the file loaded last ("" when it held none).
    const std::string& FileCameraClass() const { return fFileCameraClass; }

    /// Reports loads (as the input is read) and saves (per object written).
    TOrnProgressEvent OnProgress;

    /// The longest value a load reads (default 64 MiB); a longer one is left out with a warning,
    /// since reading it takes several times its size.
    std::size_t MaxValueBytes() const { return fMaxValueBytes; }
    void SetMaxValueBytes(std::size_t value) { fMaxValueBytes = value; }
    /// The largest scene file LoadFromFile reads (default 1 GiB); a larger one is refused before
    /// it is read, since loading takes several times its size.
    std::uint64_t MaxFileBytes() const { return fMaxFileBytes; }
    void SetMaxFileBytes(std::uint64_t value) { fMaxFileBytes = value; }

    /// What the last load could not take, one message each (file, element or line, and why);
    /// empty when it read everything.
    const std::vector<std::string>& Warnings() const { return fWarnings; }

    /// Saves node (its keys, items and everything they hold) as fileName, which becomes FileName.
    /// The scene and the files it refers to are one transaction: each is written under a temporary
    /// name in its folder, and only when every write succeeded are they renamed over their real
    /// names. A failed save leaves every previous file as it was and no temporary file behind; the
    /// failure throws EOrnError naming the file and the system's reason. A fileName that is a
    /// symbolic link has the file it points to replaced; a character device or a FIFO is written
    /// through; anything else that is not a regular file is refused.
    void SaveToFile(TOrnNode& node, const std::string& fileName);
    /// The scene file text of node. The files it refers to (bitmaps, point data) are written in
    /// FileName's folder, as one transaction; with FileName empty a scene that refers to a file
    /// throws EOrnError, since its text would name a file that does not exist.
    std::string SaveToString(TOrnNode& node);
    /// Loads fileName (which becomes FileName) into node: the node reads its keys and the items
    /// are added to it, owned by it. Reads what can be read; throws EOrnError naming the file
    /// when it cannot be read or holds no ORNGL element (with the position of what it found).
    void LoadFromFile(TOrnNode& node, const std::string& fileName);
    /// Loads scene text as LoadFromFile does; FileName names it in messages.
    void LoadFromString(TOrnNode& node, std::string text);

    void StartTag(const std::string& name) override;
    void EndTag() override;
    void WriteBool(const std::string& key, bool value, bool def) override;
    void WriteInt(const std::string& key, std::int64_t value, std::int64_t def) override;
    /// The shortest text that reads back as the same double.
    void WriteFloat(const std::string& key, double value, double def) override;
    void WriteString(const std::string& key, const std::string& value, const std::string& def) override;
    void WriteColor(const std::string& key, TColor value, TColor def) override;
    /// "x,y,z", each as WriteFloat writes it.
    void WriteVector(const std::string& key, const TOrnMathVector& value, const TOrnMathVector& def) override;
    void ObjectStep() override;

    /// "true"/"false", also "1"/"0" and "yes"/"no", letter case ignored.
    bool ReadBool(const std::string& key, bool def) override;
    std::int64_t ReadInt(const std::string& key, std::int64_t def) override;
    double ReadFloat(const std::string& key, double def) override;
    std::string ReadString(const std::string& key, const std::string& def) override;
    TColor ReadColor(const std::string& key, TColor def) override;
    TOrnMathVector ReadVector(const std::string& key, const TOrnMathVector& def) override;
    /// References resolve by name among the components this load created (the first of a name
    /// wins), before Loaded is called.
    void ReadReference(const std::string& key, std::function<void(TComponent*)> resolve) override;

    /// "<stem>_<n>.<extension>" after the scene file's name ("scene" without one).
    std::string GetFileName(const std::string& extension) override;
    std::string FilePath(const std::string& name) override;

    void Notification(TComponent* component, TOperation operation) override;

private:
    struct Load;
    friend struct Load;
    /// One element as written, in document order.
    struct Element {
        std::string name;
        std::string keys;                     // ` key="value"` each
        std::vector<std::uint32_t> keyStarts; // where each key's name starts in keys
        int depth;
    };

    std::string Render(TOrnNode& node, detail::FileTransaction& transaction);
    void Warn(std::string message);
    void PutKey(const std::string& key, std::string_view text);
    void PutEscapedKey(const std::string& key, std::string_view value);
    void Progress(double fraction);
    /// The value of key in the element being read, its character references decoded; false when
    /// the key is missing or nothing is being read.
    bool Value(const std::string& key, std::string_view& value);

    std::string fFileName;
    std::string fProgram;
    std::string fDescription;
    std::string fFileVersion;
    std::string fFileCameraClass;
    bool fCompact = false;
    std::size_t fMaxValueBytes = std::size_t{64} << 20;
    std::uint64_t fMaxFileBytes = std::uint64_t{1} << 30;
    TOrnCamera* fCamera = nullptr;

    // Writing: every element written so far, and which of them are open.
    std::vector<Element> fElements;
    std::vector<std::size_t> fOpen;
    int fDepth = 0;
    detail::FileTransaction* fTransaction = nullptr;
    std::size_t fSteps = 0;
    std::size_t fTotalSteps = 0;
    double fLastProgress = -1.0;
    int fFileCounter = 0;

    // Reading: set while a load runs.
    Load* fLoad = nullptr;
    std::vector<std::string> fWarnings;
};

} // namespace orn
