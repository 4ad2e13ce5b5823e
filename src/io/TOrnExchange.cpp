#include <orn/io/TOrnExchange.h>

#include <orn/Version.h>
#include <orn/host/EOrnError.h>
#include <orn/host/TComponentClass.h>
#include <orn/io/TXMLParser.h>
#include <orn/scene/TOrnNode.h>
#include <orn/view/TOrnCamera.h>

#include "host/detail/FileBytes.h"
#include "host/detail/FileTransaction.h"
#include "io/detail/ExchangeText.h"
#include "io/detail/SceneMarkup.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>
#include <unordered_map>
#include <unordered_set>

namespace orn {

namespace {

[[maybe_unused]] const bool kOnPalette = [] {
    RegisterComponents("Orn", {ClassOf<TOrnExchange>()});
    return true;
}();

constexpr const char* kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";

std::string lowerCase(std::string_view s) {
    std::string r(s);
    std::transform(r.begin(), r.end(), r.begin(), [](unsigned char c) { return std::tolower(c); });
    return r;
}

std::size_t countItems(const TOrnNode& node) {
    std::size_t n = static_cast<std::size_t>(node.Count());
    for (int i = 0; i < node.Count(); ++i)
        if (auto* sub = dynamic_cast<const TOrnNode*>(node.Items(i))) n += countItems(*sub);
    return n;
}

/// Line and column (from 1) of offset in text.
std::string positionText(std::string_view text, std::size_t offset) {
    const std::string_view before = text.substr(0, std::min(offset, text.size()));
    const std::size_t line = 1 + static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n'));
    const std::size_t lineStart = before.rfind('\n');
    const std::size_t column = offset - (lineStart == std::string_view::npos ? 0 : lineStart + 1) + 1;
    return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

/// Why text holds no scene: what stands where a scene file would start.
std::string describeStart(std::string_view text) {
    for (std::size_t at = text.find('<'); at != std::string_view::npos; at = text.find('<', at + 1)) {
        const std::size_t nameStart = at + 1;
        if (nameStart >= text.size()) break;
        const char c = text[nameStart];
        if (c == '?' || c == '!' || c == '/') continue;
        std::size_t nameEnd = nameStart;
        while (nameEnd < text.size() && nameEnd - nameStart < 40 &&
               std::isalnum(static_cast<unsigned char>(text[nameEnd])))
            ++nameEnd;
        std::string name;
        detail::AppendEscaped(name, text.substr(nameStart, nameEnd - nameStart));
        return "element '" + name + "' at " + positionText(text, at) + " is not ORNGL";
    }
    return "no element found in " + std::to_string(text.size()) + " bytes";
}

} // namespace

// --- Loading state --------------------------------------------------------------------------------

struct TOrnExchange::Load {
    /// Takes the document's root element.
    struct Document : TOrnExchangeItem {
        Load& load;
        explicit Document(Load& l) : load(l) {}
        TOrnExchangeItem* ReadComp(TOrnCustomExchange& exchange, const std::string& tagName) override {
            if (strcasecmp(tagName.c_str(), "ORNGL") != 0) return nullptr;
            load.foundRoot = true;
            load.ex.fFileVersion = exchange.ReadString("version", "");
            load.ex.fDescription = exchange.ReadString("description", load.ex.fDescription);
            return &load.scene;
        }
    };
    /// Takes the children of ORNGL: the saved node's element.
    struct Scene : TOrnExchangeItem {
        Load& load;
        explicit Scene(Load& l) : load(l) {}
        TOrnExchangeItem* ReadComp(TOrnCustomExchange& exchange, const std::string& tagName) override {
            if (strcasecmp(tagName.c_str(), "Camera") == 0) {
                load.ex.fFileCameraClass = exchange.ReadString("class", "");
                if (!load.ex.fCamera) return nullptr;
                load.ex.fCamera->ReadValues(exchange);
                return load.ex.fCamera;
            }
            if (strcasecmp(tagName.c_str(), "Objects") != 0) return nullptr;
            load.node.ReadValues(exchange);
            return &load.node;
        }
    };
    struct Frame {
        TOrnExchangeItem* item; // nullptr: the element and everything in it is skipped
        int depth;
    };
    struct Pending {
        std::string name;
        std::function<void(TComponent*)> resolve;
    };

    Load(TOrnExchange& e, TOrnNode& n) : ex(e), node(n), document(*this), scene(*this) {
        stack.push_back({&document, 0});
    }

    void Took(TOrnExchangeItem* item) {
        auto* component = dynamic_cast<TComponent*>(item);
        if (!component) return;
        std::string_view name;
        if (ex.Value("name", name) && !name.empty()) byName.emplace(lowerCase(name), component);
        if (!seen.insert(component).second) return;
        if (!component->ComponentState().Contains(csLoading)) component->Loading();
        loaded.push_back(component);
    }

    void OnTag(TXMLTag& element) {
        const int depth = element.Depth;
        while (stack.size() > 1 && stack.back().depth >= depth)
            stack.pop_back();
        TOrnExchangeItem* parent = stack.back().item;
        if (!parent) return;
        if (depth > MaxDepth) {
            if (!tooDeep)
                ex.Warn("elements nested deeper than " + std::to_string(MaxDepth) + " are not read");
            tooDeep = true;
            return;
        }
        tag = &element;
        TOrnExchangeItem* item = nullptr;
        try {
            item = parent->ReadComp(ex, element.Name);
            Took(item);
        } catch (const std::exception& e) {
            // A component that cannot take this element: the rest of the file still loads.
            std::string shown;
            detail::AppendEscaped(shown, element.Name);
            ex.Warn("the element '" + shown + "' is not read: " + e.what());
            item = nullptr;
        }
        tag = nullptr;
        stack.push_back({item, depth});
    }

    void OnEndTag(const TXMLTag& element) {
        while (stack.size() > 1 && stack.back().depth >= element.Depth)
            stack.pop_back();
    }

    /// Resolves the references and calls Loaded on everything loaded; the first failure of a
    /// Loaded is thrown after all were called.
    void Finish() {
        for (Pending& p : pending) {
            TComponent* target = nullptr;
            if (!p.name.empty()) {
                auto it = byName.find(lowerCase(p.name));
                if (it != byName.end()) target = it->second;
            }
            try {
                p.resolve(target);
            } catch (const std::exception&) {
                // A reference the component refuses stays unset.
            }
        }
        std::string failure;
        for (TComponent* c : loaded) {
            try {
                c->Loaded();
            } catch (const std::exception& e) {
                if (failure.empty()) failure = e.what();
            }
        }
        if (!failure.empty()) throw EOrnError(failure);
    }

    TOrnExchange& ex;
    TOrnNode& node;
    Document document;
    Scene scene;
    TXMLTag* tag = nullptr; // the element whose keys are being read
    std::vector<Frame> stack;
    std::vector<TComponent*> loaded;
    std::unordered_set<TComponent*> seen;
    std::unordered_map<std::string, TComponent*> byName;
    std::vector<Pending> pending;
    std::string decoded;
    bool foundRoot = false;
    bool tooDeep = false;
};

// --- Construction ---------------------------------------------------------------------------------

TOrnExchange::TOrnExchange(TComponent* owner)
    : TComponent(owner), fProgram(std::string("Orn ") + ORN_VERSION_STRING) {}

TOrnExchange::~TOrnExchange() = default;

void TOrnExchange::Progress(double fraction) {
    if (!OnProgress) return;
    // Enough for any progress bar, and a handler that draws stays off the hot path.
    if (fraction < 1.0 && fraction - fLastProgress < 0.01) return;
    fLastProgress = fraction;
    OnProgress(fraction);
}

void TOrnExchange::SetCamera(TOrnCamera* value) {
    if (fCamera == value) return;
    if (fCamera) RemoveFreeNotification(fCamera);
    fCamera = value;
    if (fCamera) FreeNotification(fCamera);
}

void TOrnExchange::Notification(TComponent* component, TOperation operation) {
    TComponent::Notification(component, operation);
    if (operation == opRemove && component && component == fCamera) fCamera = nullptr;
}

// --- Saving ---------------------------------------------------------------------------------------

std::string TOrnExchange::Render(TOrnNode& node, detail::FileTransaction& transaction) {
    fElements.clear();
    fOpen.clear();
    fDepth = 0;
    fSteps = 0;
    fTotalSteps = countItems(node);
    fLastProgress = -1.0;
    fFileCounter = 0;
    fWarnings.clear();
    fTransaction = &transaction;
    struct Reset {
        TOrnExchange& ex;
        ~Reset() {
            ex.fTransaction = nullptr;
            ex.fDepth = 0;
            ex.fOpen.clear();
            // Big buffers are not kept between saves.
            if (ex.fElements.capacity() > 4096) std::vector<Element>().swap(ex.fElements);
            ex.fElements.clear();
        }
    } reset{*this};

    StartTag("ORNGL");
    // The header is written whatever Compact says.
    PutEscapedKey("version", FormatVersion);
    PutEscapedKey("program", fProgram);
    PutEscapedKey("description", fDescription);
    node.WriteComp(*this, "Objects");
    if (fCamera) {
        StartTag("Camera");
        PutEscapedKey("class", fCamera->ClassName());
        fCamera->WriteValues(*this);
        EndTag();
    }

    // Elements are kept in document order with their depths, and each is written once: the
    // text grows linearly with the scene, however deep it nests.
    std::size_t size = std::strlen(kDeclaration) + 1;
    for (const Element& e : fElements)
        size += 2 * (e.name.size() + static_cast<std::size_t>(e.depth)) + e.keys.size() + 8;
    std::string text;
    text.reserve(size);
    text += kDeclaration;
    std::vector<const Element*> open;
    auto close = [&text](const Element& e, bool ownLine) {
        if (ownLine) {
            text += '\n';
            text.append(2 * static_cast<std::size_t>(e.depth - 1), ' ');
        }
        text += "</";
        text += e.name;
        text += '>';
    };
    for (std::size_t i = 0; i < fElements.size(); ++i) {
        const Element& e = fElements[i];
        while (!open.empty() && open.back()->depth >= e.depth) {
            close(*open.back(), true);
            open.pop_back();
        }
        text += '\n';
        text.append(2 * static_cast<std::size_t>(e.depth - 1), ' ');
        text += '<';
        text += e.name;
        text += e.keys;
        text += '>';
        if (i + 1 < fElements.size() && fElements[i + 1].depth > e.depth)
            open.push_back(&e);
        else
            close(e, false);
    }
    while (!open.empty()) {
        close(*open.back(), true);
        open.pop_back();
    }
    text += '\n';
    Progress(1.0);
    return text;
}

std::string TOrnExchange::SaveToString(TOrnNode& node) {
    detail::FileTransaction transaction;
    std::string text = Render(node, transaction);
    transaction.Commit();
    return text;
}

void TOrnExchange::SaveToFile(TOrnNode& node, const std::string& fileName) {
    fFileName = fileName;
    detail::FileTransaction transaction;
    const std::string text = Render(node, transaction);
    // The scene comes last: renamed before its side files, it would refer to files not yet there.
    transaction.Write(fileName, text);
    transaction.Commit();
}

void TOrnExchange::StartTag(const std::string& name) {
    if (!detail::IsName(name)) throw EOrnError("Can not write the element '" + name + "': not a valid name");
    if (fDepth >= MaxDepth)
        throw EOrnError("Can not save " + (fFileName.empty() ? std::string("the scene") : fFileName) +
                        ": the element '" + name + "' would nest deeper than " + std::to_string(MaxDepth) +
                        " elements, more than a scene file holds");
    ++fDepth;
    fOpen.push_back(fElements.size());
    fElements.push_back({name, {}, {}, fDepth});
}

void TOrnExchange::EndTag() {
    if (fDepth <= 0) return;
    fOpen.pop_back();
    --fDepth;
}

void TOrnExchange::PutKey(const std::string& key, std::string_view text) {
    if (fDepth <= 0) return;
    if (!detail::IsName(key)) throw EOrnError("Can not write the key '" + key + "': not a valid name");
    Element& e = fElements[fOpen.back()];
    // A second key of the same name would make the file unreadable to XML tools, and the
    // reader takes the first anyway. Only names are compared: a value may hold anything.
    for (const std::uint32_t start : e.keyStarts)
        if (e.keys.size() > start + key.size() && e.keys[start + key.size()] == '=' &&
            strncasecmp(e.keys.data() + start, key.data(), key.size()) == 0)
            return;
    e.keys += ' ';
    e.keyStarts.push_back(static_cast<std::uint32_t>(e.keys.size()));
    e.keys += key;
    e.keys += "=\"";
    e.keys += text;
    e.keys += '"';
}

void TOrnExchange::PutEscapedKey(const std::string& key, std::string_view value) {
    thread_local std::string escaped;
    escaped.clear();
    detail::AppendEscaped(escaped, value);
    PutKey(key, escaped);
}

void TOrnExchange::WriteBool(const std::string& key, bool value, bool def) {
    if (fCompact && value == def) return;
    PutKey(key, value ? "true" : "false");
}

void TOrnExchange::WriteInt(const std::string& key, std::int64_t value, std::int64_t def) {
    if (fCompact && value == def) return;
    std::string text;
    detail::AppendInt(text, value);
    PutKey(key, text);
}

void TOrnExchange::WriteFloat(const std::string& key, double value, double def) {
    if (fCompact && value == def) return;
    std::string text;
    detail::AppendReal(text, value);
    PutKey(key, text);
}

void TOrnExchange::WriteString(const std::string& key, const std::string& value, const std::string& def) {
    if (fCompact && value == def) return;
    PutEscapedKey(key, value);
}

void TOrnExchange::WriteColor(const std::string& key, TColor value, TColor def) {
    if (fCompact && value == def) return;
    PutKey(key, int2hex(value, 6));
}

void TOrnExchange::WriteVector(const std::string& key, const TOrnMathVector& value,
                               const TOrnMathVector& def) {
    if (fCompact && value == def) return;
    std::string text;
    detail::AppendVector(text, value);
    PutKey(key, text);
}

void TOrnExchange::ObjectStep() {
    ++fSteps;
    if (fTotalSteps > 0)
        Progress(std::min(1.0, static_cast<double>(fSteps) / static_cast<double>(fTotalSteps)));
}

// --- Loading --------------------------------------------------------------------------------------

void TOrnExchange::LoadFromFile(TOrnNode& node, const std::string& fileName) {
    fFileName = fileName;
    // A file with no element in its first chunk is no scene: refused before the rest is read.
    std::string text = detail::ReadFileText(fileName, fMaxFileBytes, [&fileName](std::string_view head) {
        if (head.find('<') == std::string_view::npos)
            throw EOrnError("Can not load " + fileName + ": not a scene file (" + describeStart(head) + ")");
    });
    LoadFromString(node, std::move(text));
}

void TOrnExchange::LoadFromString(TOrnNode& node, std::string text) {
    const std::string where = fFileName.empty() ? std::string("scene text") : fFileName;
    if (fLoad) throw EOrnError("Can not load " + where + ": a load is already running");
    Load load(*this, node);
    fLoad = &load;
    struct Reset {
        TOrnExchange& ex;
        ~Reset() { ex.fLoad = nullptr; }
    } reset{*this};
    fLastProgress = -1.0;
    fFileVersion.clear();
    fFileCameraClass.clear();
    fWarnings.clear();

    // A node that its caller put into the loading state is left for the caller to finish.
    if (!node.ComponentState().Contains(csLoading)) {
        node.Loading();
        load.loaded.push_back(&node);
    }
    load.seen.insert(&node);
    std::string problem = "the file is empty";
    std::string markup;
    if (!text.empty()) {
        // The parser stops at a zero byte; the diagnosis looks at what it reads.
        const std::string_view read(text.data(), std::strlen(text.c_str()));
        problem = describeStart(read);
        if (read.size() < text.size())
            problem += "; a zero byte at " + positionText(text, read.size()) + " ends the input";
        // Whatever way another XML writer puts the same document, the reader gets it in the one
        // form it takes.
        std::vector<std::string> problems;
        markup = detail::SceneMarkup(text, problems, fMaxValueBytes);
        for (std::string& p : problems)
            Warn(std::move(p));
        if (read.size() < text.size())
            Warn("a zero byte at " + positionText(text, read.size()) + " ends the input");
        std::string().swap(text);
    }
    if (!markup.empty()) {
        TXMLParser parser(nullptr);
        parser.OnTag = [&load](TObject*, TXMLTag& tag) { load.OnTag(tag); };
        parser.OnEndTag = [&load](TObject*, TXMLTag& tag) { load.OnEndTag(tag); };
        parser.OnProgress = [this](double fraction) { Progress(std::min(fraction, 0.999)); };
        parser.Stream() = std::move(markup);
        parser.execute(this);
    }
    try {
        load.Finish();
    } catch (const EOrnError& e) {
        throw EOrnError("Can not load " + where + ": " + e.what());
    }
    Progress(1.0);
    if (!load.foundRoot) throw EOrnError("Can not load " + where + ": not a scene file (" + problem + ")");
}

bool TOrnExchange::Value(const std::string& key, std::string_view& value) {
    if (!fLoad || !fLoad->tag) return false;
    const int index = fLoad->tag->IndexOfParam(key);
    if (index < 0) return false;
    value = fLoad->tag->ParamValueAt(index);
    if (detail::NeedsDecoding(value)) {
        fLoad->decoded.clear();
        detail::AppendDecoded(fLoad->decoded, value);
        value = fLoad->decoded;
    }
    return true;
}

bool TOrnExchange::ReadBool(const std::string& key, bool def) {
    std::string_view text;
    bool v = def;
    return Value(key, text) && detail::ParseBool(text, v) ? v : def;
}

std::int64_t TOrnExchange::ReadInt(const std::string& key, std::int64_t def) {
    std::string_view text;
    std::int64_t v = def;
    return Value(key, text) && detail::ParseInt(text, v) ? v : def;
}

double TOrnExchange::ReadFloat(const std::string& key, double def) {
    std::string_view text;
    double v = def;
    return Value(key, text) && detail::ParseReal(text, v) ? v : def;
}

std::string TOrnExchange::ReadString(const std::string& key, const std::string& def) {
    std::string_view text;
    return Value(key, text) ? std::string(text) : def;
}

TColor TOrnExchange::ReadColor(const std::string& key, TColor def) {
    std::string_view text;
    return Value(key, text) ? static_cast<TColor>(hex2int(text, def)) : def;
}

TOrnMathVector TOrnExchange::ReadVector(const std::string& key, const TOrnMathVector& def) {
    std::string_view text;
    TOrnMathVector v = def;
    return Value(key, text) && detail::ParseVector(text, v) ? v : def;
}

void TOrnExchange::ReadReference(const std::string& key, std::function<void(TComponent*)> resolve) {
    std::string_view name;
    if (!resolve || !Value(key, name)) return;
    fLoad->pending.push_back({std::string(name), std::move(resolve)});
}

// --- Referenced files -----------------------------------------------------------------------------

std::string TOrnExchange::GetFileName(const std::string& extension) {
    std::string stem = std::filesystem::path(fFileName).stem().string();
    if (stem.empty()) stem = "scene";
    std::string ext;
    for (char c : extension)
        if (std::isalnum(static_cast<unsigned char>(c))) ext += c;
    std::string name = stem + "_" + std::to_string(++fFileCounter);
    if (!ext.empty()) name += "." + ext;
    return name;
}

std::string TOrnExchange::FilePath(const std::string& name) {
    if (name.empty()) return {};
    std::string shown;
    detail::AppendEscaped(shown, name);
    // Messages show a path's slashes as they are; only the characters a message cannot hold stay escaped.
    for (std::size_t at; (at = shown.find("&#47;")) != std::string::npos;)
        shown.replace(at, 5, "/");
    if (fFileName.empty()) {
        // Saved to a string, the scene would name a file that nobody writes.
        if (fTransaction)
            throw EOrnError("Cannot save the file '" + shown +
                            "' the scene refers to: FileName is empty, so no folder is there to hold "
                            "it (set FileName, or save with SaveToFile)");
        return {};
    }
    auto refuse = [&](const std::string& why) {
        if (fLoad) Warn("the file '" + shown + "' is not read: " + why);
        return std::string();
    };
    // Subfolders of the scene's folder are fine; a name that climbs out or starts elsewhere is not.
    if (name.find_first_of(std::string_view("\\\0", 2)) != std::string::npos)
        return refuse("its name holds a backslash or a null character");
    if (name.front() == '/') return refuse("it is an absolute path, not one in the scene file's folder");
    for (const auto& part : std::filesystem::path(name))
        if (part == "..") return refuse("it leads outside the scene file's folder");
    if (std::filesystem::path(name).filename().empty() || std::filesystem::path(name).filename() == ".")
        return refuse("it names a folder, not a file");
    const std::filesystem::path folder = std::filesystem::path(fFileName).parent_path();
    const std::string path = folder.empty() ? name : (folder / name).string();
    if (!fLoad) return fTransaction ? fTransaction->Stage(path) : path;

    // A link in the folder may lead anywhere: the file is confined where it really is.
    auto cannot = [&](const std::string& why) {
        Warn("the file '" + shown + "' can not be read: " + why);
        return std::string();
    };
    char* real = ::realpath(path.c_str(), nullptr);
    if (!real) return cannot(std::strerror(errno));
    const std::string realPath = real;
    std::free(real);
    real = ::realpath(folder.empty() ? "." : folder.c_str(), nullptr);
    if (!real) return cannot(std::strerror(errno));
    std::string realFolder = real;
    std::free(real);
    if (realFolder.back() != '/') realFolder += '/';
    if (realPath.compare(0, realFolder.size(), realFolder) != 0)
        return cannot("it leads outside the scene file's folder");
    struct stat st;
    if (::stat(realPath.c_str(), &st) != 0) return cannot(std::strerror(errno));
    if (!S_ISREG(st.st_mode)) return cannot("it is not a regular file");
    if (::access(realPath.c_str(), R_OK) != 0) return cannot(std::strerror(errno));
    return realPath;
}

void TOrnExchange::Warn(std::string message) {
    // A hostile file could ask for millions; the first ones say what is wrong.
    constexpr std::size_t kMaxWarnings = 100;
    if (fWarnings.size() < kMaxWarnings)
        fWarnings.push_back(std::move(message));
    else if (fWarnings.size() == kMaxWarnings)
        fWarnings.push_back("more problems were not listed");
}

// --- Hexadecimal ----------------------------------------------------------------------------------

std::string int2hex(std::int64_t value, int digits) {
    std::uint64_t bits = static_cast<std::uint64_t>(value);
    if (value < 0 && value >= INT32_MIN) bits &= 0xFFFFFFFFu;
    digits = std::clamp(digits, 1, 16);
    static constexpr char kHex[] = "0123456789ABCDEF";
    char buf[16];
    int n = 0;
    do {
        buf[15 - n++] = kHex[bits & 15];
        bits >>= 4;
    } while (bits != 0);
    while (n < digits)
        buf[15 - n++] = '0';
    return std::string(buf + 16 - n, static_cast<std::size_t>(n));
}

std::int64_t hex2int(std::string_view text, std::int64_t def) {
    if (!text.empty() && (text[0] == '$' || text[0] == '#'))
        text.remove_prefix(1);
    else if (text.size() >= 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X'))
        text.remove_prefix(2);
    if (text.empty() || text.size() > 8) return def;
    std::uint32_t v = 0;
    for (char c : text) {
        int d;
        if (c >= '0' && c <= '9')
            d = c - '0';
        else if (c >= 'a' && c <= 'f')
            d = c - 'a' + 10;
        else if (c >= 'A' && c <= 'F')
            d = c - 'A' + 10;
        else
            return def;
        v = (v << 4) | static_cast<std::uint32_t>(d);
    }
    return static_cast<std::int32_t>(v);
}

} // namespace orn
