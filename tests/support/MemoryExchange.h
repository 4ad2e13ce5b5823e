#pragma once

#include <orn/math/TOrnCustomExchange.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <strings.h>
#include <vector>

namespace orn::test {

/// The scene-file stand-in for items that a file does not hold alone (controllers, a camera) or
/// whose keys a test edits to play a damaged file. Keys are kept as text in the order written, a
/// child element's as "Child/key"; Load reads the item's own keys back. Text that is no number reads
/// as the default, as the file reader does.
class MemoryExchange : public TOrnCustomExchange {
public:
    struct Keys {
        std::vector<std::pair<std::string, std::string>> list;
        std::string* Find(const std::string& key) {
            for (auto& [k, v] : list)
                if (strcasecmp(k.c_str(), key.c_str()) == 0) return &v;
            return nullptr;
        }
    };

    void Save(TOrnExchangeItem& item) {
        root = {};
        fPrefix.clear();
        item.WriteValues(*this);
    }
    void Load(TOrnExchangeItem& item) { item.ReadValues(*this); }
    /// Sets a key as a file would hold it, replacing an earlier one.
    void Set(const std::string& key, const std::string& value) {
        if (std::string* v = root.Find(key))
            *v = value;
        else
            root.list.emplace_back(key, value);
    }

    void StartTag(const std::string& name) override { fPrefix += name + "/"; }
    void EndTag() override { fPrefix.erase(fPrefix.rfind('/', fPrefix.size() - 2) + 1); }
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
    void WriteVector(const std::string& key, const TOrnMathVector& v, const TOrnMathVector&) override {
        Put(key, Number(v.x) + " " + Number(v.y) + " " + Number(v.z));
    }
    void ObjectStep() override {}

    bool ReadBool(const std::string& key, bool def) override {
        const std::string* v = root.Find(key);
        return v && (*v == "true" || *v == "false") ? *v == "true" : def;
    }
    std::int64_t ReadInt(const std::string& key, std::int64_t def) override {
        return Parse(key, def, [](const char* s, char** end) { return std::strtoll(s, end, 10); });
    }
    double ReadFloat(const std::string& key, double def) override {
        return Parse(key, def, [](const char* s, char** end) { return std::strtod(s, end); });
    }
    std::string ReadString(const std::string& key, const std::string& def) override {
        const std::string* v = root.Find(key);
        return v ? *v : def;
    }
    TColor ReadColor(const std::string& key, TColor def) override {
        return static_cast<TColor>(ReadInt(key, def));
    }
    TOrnMathVector ReadVector(const std::string& key, const TOrnMathVector& def) override {
        const std::string* v = root.Find(key);
        TOrnMathVector r{};
        return v && std::sscanf(v->c_str(), "%lf %lf %lf", &r.x, &r.y, &r.z) == 3 ? r : def;
    }

    std::string GetFileName(const std::string& extension) override {
        return "file" + std::to_string(++fFiles) + "." + extension;
    }
    std::string FilePath(const std::string& name) override {
        if (name.find('/') != std::string::npos || name == ".." || folder.empty()) return "";
        return folder + "/" + name;
    }

    Keys root;
    /// Where referenced files go; empty refuses every file reference.
    std::string folder;

private:
    static std::string Number(double v) {
        char buffer[40];
        std::snprintf(buffer, sizeof buffer, "%.17g", v);
        return buffer;
    }
    template <class T, class F> T Parse(const std::string& key, T def, F parse) {
        const std::string* v = root.Find(key);
        char* end = nullptr;
        const T r = v ? parse(v->c_str(), &end) : def;
        return v && !v->empty() && *end == 0 ? r : def;
    }
    void Put(const std::string& key, std::string value) {
        root.list.emplace_back(fPrefix + key, std::move(value));
    }

    std::string fPrefix;
    int fFiles = 0;
};

} // namespace orn::test
