#pragma once

#include <orn/math/TOrnCustomExchange.h>

#include <map>
#include <string>

namespace orn::test {

/// A scene-file stand-in that keeps the keys of one element as text, so that a test can read what
/// an item wrote and feed values back. Child elements are written with their tag as a key prefix.
class KeyExchange : public TOrnCustomExchange {
public:
    std::map<std::string, std::string> keys;

    void StartTag(const std::string& name) override { fPrefix += name + "."; }
    void EndTag() override {
        const auto dot = fPrefix.rfind('.', fPrefix.size() - 2);
        fPrefix = dot == std::string::npos ? "" : fPrefix.substr(0, dot + 1);
    }
    void WriteBool(const std::string& k, bool v, bool) override { keys[fPrefix + k] = v ? "1" : "0"; }
    void WriteInt(const std::string& k, std::int64_t v, std::int64_t) override {
        keys[fPrefix + k] = std::to_string(v);
    }
    void WriteFloat(const std::string& k, double v, double) override {
        keys[fPrefix + k] = std::to_string(v);
    }
    void WriteString(const std::string& k, const std::string& v, const std::string&) override {
        keys[fPrefix + k] = v;
    }
    void WriteColor(const std::string& k, TColor v, TColor) override {
        keys[fPrefix + k] = std::to_string(v);
    }
    void WriteVector(const std::string& k, const TOrnMathVector& v, const TOrnMathVector&) override {
        keys[fPrefix + k] = std::to_string(v.x) + " " + std::to_string(v.y) + " " + std::to_string(v.z);
    }
    void ObjectStep() override {}

    bool ReadBool(const std::string& k, bool def) override {
        auto it = keys.find(k);
        return it == keys.end() ? def : it->second == "1";
    }
    std::int64_t ReadInt(const std::string& k, std::int64_t def) override {
        auto it = keys.find(k);
        return it == keys.end() ? def : std::stoll(it->second);
    }
    double ReadFloat(const std::string& k, double def) override {
        auto it = keys.find(k);
        return it == keys.end() ? def : std::stod(it->second);
    }
    std::string ReadString(const std::string& k, const std::string& def) override {
        auto it = keys.find(k);
        return it == keys.end() ? def : it->second;
    }
    TColor ReadColor(const std::string& k, TColor def) override {
        return static_cast<TColor>(ReadInt(k, def));
    }
    TOrnMathVector ReadVector(const std::string&, const TOrnMathVector& def) override { return def; }
    std::string GetFileName(const std::string& ext) override { return "file." + ext; }
    std::string FilePath(const std::string&) override { return {}; }

private:
    std::string fPrefix;
};

} // namespace orn::test
