#pragma once

#include <orn/math/TOrnCustomExchange.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <strings.h>
#include <vector>

namespace orn::test {

/// The scene-file stand-in of every test: items write keys and child elements into it, and Load reads
/// them back into another item the way the scene file does (keys, then each child through ReadComp).
/// Keys are kept in the order written, values as text; a test edits them to play a damaged file, and
/// text that is no number reads as the default, as the file reader does.
class MemoryExchange : public TOrnCustomExchange {
public:
    struct Element {
        std::string tag;
        std::vector<std::pair<std::string, std::string>> keys;
        std::vector<std::unique_ptr<Element>> children;

        std::string* Find(const std::string& key) {
            for (auto& [k, v] : keys)
                if (strcasecmp(k.c_str(), key.c_str()) == 0) return &v;
            return nullptr;
        }
        const std::string* Find(const std::string& key) const {
            return const_cast<Element*>(this)->Find(key);
        }
    };

    MemoryExchange() { fStack.push_back(&root); }

    /// Writes item's values into the root element.
    void Save(TOrnExchangeItem& item) {
        root = Element{};
        fStack.assign(1, &root);
        item.WriteValues(*this);
    }
    /// Reads the root element back into item.
    void Load(TOrnExchangeItem& item) {
        fCurrent = &root;
        item.ReadValues(*this);
        ReadChildren(item, root);
    }

    void StartTag(const std::string& name) override {
        auto child = std::make_unique<Element>();
        child->tag = name;
        Element* raw = child.get();
        fStack.back()->children.push_back(std::move(child));
        fStack.push_back(raw);
    }
    void EndTag() override {
        if (fStack.size() > 1) fStack.pop_back();
    }
    void WriteBool(const std::string& key, bool value, bool) override { Put(key, value ? "true" : "false"); }
    void WriteInt(const std::string& key, std::int64_t value, std::int64_t) override {
        Put(key, std::to_string(value));
    }
    void WriteFloat(const std::string& key, double value, double) override { Put(key, Number(value)); }
    void WriteString(const std::string& key, const std::string& value, const std::string&) override {
        Put(key, value);
    }
    void WriteColor(const std::string& key, TColor value, TColor) override {
        Put(key, std::to_string(value));
    }
    void WriteVector(const std::string& key, const TOrnMathVector& value, const TOrnMathVector&) override {
        Put(key, Number(value.x) + " " + Number(value.y) + " " + Number(value.z));
    }
    void ObjectStep() override {}

    bool ReadBool(const std::string& key, bool def) override {
        const std::string* v = fCurrent->Find(key);
        return v && (*v == "true" || *v == "false") ? *v == "true" : def;
    }
    std::int64_t ReadInt(const std::string& key, std::int64_t def) override {
        return Number(key, def, [](const char* s, char** end) { return std::strtoll(s, end, 10); });
    }
    double ReadFloat(const std::string& key, double def) override {
        return Number(key, def, [](const char* s, char** end) { return std::strtod(s, end); });
    }
    std::string ReadString(const std::string& key, const std::string& def) override {
        const std::string* v = fCurrent->Find(key);
        return v ? *v : def;
    }
    TColor ReadColor(const std::string& key, TColor def) override {
        return static_cast<TColor>(ReadInt(key, def));
    }
    TOrnMathVector ReadVector(const std::string& key, const TOrnMathVector& def) override {
        const std::string* v = fCurrent->Find(key);
        TOrnMathVector r{};
        return v && std::sscanf(v->c_str(), "%lf %lf %lf", &r.x, &r.y, &r.z) == 3 ? r : def;
    }

    /// Sets a key of the root element as a file would hold it, replacing an earlier one.
    void Set(const std::string& key, const std::string& value) {
        if (std::string* v = root.Find(key))
            *v = value;
        else
            root.keys.emplace_back(key, value);
    }

    std::string GetFileName(const std::string& extension) override {
        return "file" + std::to_string(++fFiles) + "." + extension;
    }
    std::string FilePath(const std::string& name) override {
        if (name.find('/') != std::string::npos || name == ".." || folder.empty()) return "";
        return folder + "/" + name;
    }

    Element root;
    /// Where referenced files go; empty refuses every file reference.
    std::string folder;

private:
    static std::string Number(double v) {
        char buffer[40];
        std::snprintf(buffer, sizeof buffer, "%.17g", v);
        return buffer;
    }
    void Put(const std::string& key, std::string value) {
        fStack.back()->keys.emplace_back(key, std::move(value));
    }
    /// The key's value parsed whole, or def.
    template <class T, class Parse> T Number(const std::string& key, T def, Parse parse) const {
        const std::string* v = fCurrent->Find(key);
        char* end = nullptr;
        const T r = v ? static_cast<T>(parse(v->c_str(), &end)) : def;
        return v && !v->empty() && *end == 0 ? r : def;
    }
    // A child's keys are read by the ReadComp that accepts it; then its own children.
    void ReadChildren(TOrnExchangeItem& item, const Element& element) {
        for (const auto& child : element.children) {
            fCurrent = child.get();
            if (TOrnExchangeItem* sub = item.ReadComp(*this, child->tag)) ReadChildren(*sub, *child);
        }
    }

    std::vector<Element*> fStack;
    const Element* fCurrent = &root;
    int fFiles = 0;
};

} // namespace orn::test
