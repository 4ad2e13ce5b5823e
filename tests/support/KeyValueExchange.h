#pragma once

#include <orn/math/TOrnCustomExchange.h>

#include <cstdlib>
#include <map>
#include <string>
#include <strings.h>

namespace orn::test {

/// A scene-file stand-in for one element: every key written lands in a map as text (as a file
/// would hold it), and reads parse it back. Tests put odd text in the map to play a bad file.
class KeyValueExchange : public TOrnCustomExchange {
public:
    struct NoCase {
        bool operator()(const std::string& a, const std::string& b) const {
            return strcasecmp(a.c_str(), b.c_str()) < 0;
        }
    };
    std::map<std::string, std::string, NoCase> keys;

    void StartTag(const std::string&) override {}
    void EndTag() override {}
    void WriteBool(const std::string& k, bool v, bool) override { keys[k] = v ? "true" : "false"; }
    void WriteInt(const std::string& k, std::int64_t v, std::int64_t) override {
        keys[k] = std::to_string(v);
    }
    void WriteFloat(const std::string& k, double v, double) override {
        char buf[64];
        std::snprintf(buf, sizeof buf, "%.9g", v);
        keys[k] = buf;
    }
    void WriteString(const std::string& k, const std::string& v, const std::string&) override { keys[k] = v; }
    void WriteColor(const std::string& k, TColor v, TColor) override { keys[k] = std::to_string(v); }
    void WriteVector(const std::string& k, const TOrnMathVector& v, const TOrnMathVector&) override {
        keys[k] = std::to_string(v.x) + " " + std::to_string(v.y) + " " + std::to_string(v.z);
    }
    void ObjectStep() override {}

    bool ReadBool(const std::string& k, bool def) override {
        auto it = keys.find(k);
        if (it == keys.end()) return def;
        if (it->second == "true") return true;
        if (it->second == "false") return false;
        return def;
    }
    std::int64_t ReadInt(const std::string& k, std::int64_t def) override {
        auto it = keys.find(k);
        if (it == keys.end()) return def;
        char* end = nullptr;
        const long long v = std::strtoll(it->second.c_str(), &end, 10);
        return end && *end == 0 && end != it->second.c_str() ? v : def;
    }
    double ReadFloat(const std::string& k, double def) override {
        auto it = keys.find(k);
        if (it == keys.end()) return def;
        char* end = nullptr;
        const double v = std::strtod(it->second.c_str(), &end);
        return end && *end == 0 && end != it->second.c_str() ? v : def;
    }
    std::string ReadString(const std::string& k, const std::string& def) override {
        auto it = keys.find(k);
        return it == keys.end() ? def : it->second;
    }
    TColor ReadColor(const std::string&, TColor def) override { return def; }
    TOrnMathVector ReadVector(const std::string&, const TOrnMathVector& def) override { return def; }
    std::string GetFileName(const std::string& extension) override { return "file." + extension; }
    std::string FilePath(const std::string&) override { return ""; }
};

} // namespace orn::test
