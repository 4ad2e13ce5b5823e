#pragma once

#include <orn/geometry/TOrnPrimitiveObj.h>
#include <orn/math/TOrnCustomExchange.h>

#include <cmath>
#include <cstdio>
#include <map>
#include <string>
#include <strings.h>
#include <vector>

namespace orn::test {

/// An exchange that writes a flat trace ("<Tag", "key=value", ">") and reads keys from a map.
class TraceExchange : public TOrnCustomExchange {
public:
    std::vector<std::string> trace;
    std::map<std::string, std::string> keys; // read side, exact key names

    void StartTag(const std::string& name) override { trace.push_back("<" + name); }
    void EndTag() override { trace.push_back(">"); }
    void WriteBool(const std::string& k, bool v, bool) override { put(k, v ? "true" : "false"); }
    void WriteInt(const std::string& k, std::int64_t v, std::int64_t) override { put(k, std::to_string(v)); }
    void WriteFloat(const std::string& k, double v, double) override { put(k, num(v)); }
    void WriteString(const std::string& k, const std::string& v, const std::string&) override { put(k, v); }
    void WriteColor(const std::string& k, TColor v, TColor) override { put(k, std::to_string(v)); }
    void WriteVector(const std::string& k, const TOrnMathVector& v, const TOrnMathVector&) override {
        put(k, num(v.x) + " " + num(v.y) + " " + num(v.z));
    }
    void ObjectStep() override {}

    bool ReadBool(const std::string& k, bool def) override {
        auto v = get(k);
        return v ? *v == "true" : def;
    }
    std::int64_t ReadInt(const std::string& k, std::int64_t def) override {
        auto v = get(k);
        return v ? std::stoll(*v) : def;
    }
    double ReadFloat(const std::string& k, double def) override {
        auto v = get(k);
        return v ? std::stod(*v) : def;
    }
    std::string ReadString(const std::string& k, const std::string& def) override {
        auto v = get(k);
        return v ? *v : def;
    }
    TColor ReadColor(const std::string&, TColor def) override { return def; }
    TOrnMathVector ReadVector(const std::string&, const TOrnMathVector& def) override { return def; }
    std::string GetFileName(const std::string& ext) override { return "f." + ext; }
    std::string FilePath(const std::string&) override { return ""; }

    /// The keys written, in order, without the tags.
    std::vector<std::string> KeyNames() const {
        std::vector<std::string> out;
        for (const auto& t : trace)
            if (t[0] != '<' && t[0] != '>') out.push_back(t.substr(0, t.find('=')));
        return out;
    }
    /// Turns a written trace's top-level keys into readable keys.
    void TakeTopLevelKeys() {
        int depth = 0;
        for (const auto& t : trace) {
            if (t[0] == '<')
                ++depth;
            else if (t[0] == '>')
                --depth;
            else if (depth == 0)
                keys[t.substr(0, t.find('='))] = t.substr(t.find('=') + 1);
        }
    }

private:
    static std::string num(double v) {
        char b[64];
        std::snprintf(b, sizeof b, "%.17g", v);
        return b;
    }
    void put(const std::string& k, const std::string& v) { trace.push_back(k + "=" + v); }
    const std::string* get(const std::string& k) const {
        for (const auto& [name, value] : keys)
            if (strcasecmp(name.c_str(), k.c_str()) == 0) return &value;
        return nullptr;
    }
};

inline double Length(const TOrnMathVector& v) {
    return std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
}

/// Indices of a list as a vector.
inline std::vector<std::uint32_t> Entries(const TOrnPrimitiveArray* list) {
    return {list->Data(), list->Data() + list->Count()};
}

} // namespace orn::test
