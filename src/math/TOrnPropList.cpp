#include <orn/math/TOrnPropList.h>

#include <orn/host/TComponent.h>
#include <orn/math/TOrnProperty.h>

#include "math/detail/NumberText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <strings.h>

namespace orn {

namespace {

/// The double whose shortest text is the shortest text of the float v, so that a writer printing
/// doubles in their shortest form writes 0.4 for 0.4f, not 0.4000000059604645.
double ShortestSingle(double v) {
    char text[32];
    const auto [end, ec] = std::to_chars(text, text + sizeof text, static_cast<float>(v));
    if (ec != std::errc()) return v;
    double out = v;
    std::from_chars(text, end, out);
    return out;
}

/// A vector as it is written: single-precision components in their shortest form.
TOrnMathVector VectorValue(const TOrnPropInfo& p, const TOrnPropValue& v) {
    const TOrnMathVector& m = std::get<TOrnMathVector>(v);
    if (!(p.flags & pfSingle)) return m;
    return {ShortestSingle(m.x), ShortestSingle(m.y), ShortestSingle(m.z)};
}

std::string Hex(std::int64_t v) {
    char text[24];
    std::snprintf(text, sizeof text, "%06llX",
                  static_cast<unsigned long long>(static_cast<std::uint32_t>(v)));
    return text;
}

std::string VectorText(const TOrnMathVector& v) {
    return std::to_string(v.x) + "," + std::to_string(v.y) + "," + std::to_string(v.z);
}

bool SameName(const std::string& a, const std::string& b) {
    return strcasecmp(a.c_str(), b.c_str()) == 0;
}

/// Assign of an owned value object: its values, not its change handler (which stays the owner's).
void CopyObject(TOrnExchangeItem& target, const TOrnExchangeItem& source) {
    auto* t = dynamic_cast<TPersistent*>(&target);
    auto* s = dynamic_cast<const TPersistent*>(&source);
    if (!t || !s || t == s) return;
    auto* property = dynamic_cast<TOrnProperty*>(t);
    TNotifyEvent handler = property ? property->OnChange : nullptr;
    t->Assign(s);
    if (property) property->OnChange = std::move(handler);
}

} // namespace

std::string OrnGroupsText(const std::vector<double>& values, std::size_t width) {
    std::string text;
    for (std::size_t k = 0; k < values.size(); ++k) {
        if (k > 0) text += k % width == 0 ? ';' : ',';
        detail::AppendNumber(text, values[k]);
    }
    return text;
}

bool OrnParseGroups(const std::string& text, std::size_t width, std::vector<double>& values) {
    return detail::ParseNumberGroups(text, width, values);
}

std::string TOrnPropInfo::Text(const TOrnExchangeItem& item) const {
    switch (kind) {
    case pkObject:
        return "<" + name + ">";
    case pkReference: {
        const TComponent* c = ref(item);
        return c ? c->Name() : std::string();
    }
    default:
        break;
    }
    const TOrnPropValue v = get(item);
    switch (kind) {
    case pkBool:
        return std::get<bool>(v) ? "true" : "false";
    case pkInt:
        return std::to_string(std::get<std::int64_t>(v));
    case pkEnum: {
        const std::int64_t i = std::get<std::int64_t>(v);
        return i >= 0 && static_cast<std::size_t>(i) < names.size() ? names[static_cast<std::size_t>(i)]
                                                                    : std::to_string(i);
    }
    case pkColor:
        return Hex(std::get<std::int64_t>(v));
    case pkSingle:
    case pkDouble: {
        char text[32];
        const double d = kind == pkSingle ? ShortestSingle(std::get<double>(v)) : std::get<double>(v);
        const auto [end, ec] = std::to_chars(text, text + sizeof text, d);
        return ec == std::errc() ? std::string(text, end) : std::string();
    }
    case pkString:
        return std::get<std::string>(v);
    case pkVector:
        return VectorText(VectorValue(*this, v));
    default:
        return {};
    }
}

std::vector<const TOrnPropInfo*> TOrnPropList::All() const {
    std::vector<const TOrnPropInfo*> all = fParent ? fParent->All() : std::vector<const TOrnPropInfo*>{};
    for (const TOrnPropInfo& p : fOwn)
        all.push_back(&p);
    return all;
}

TOrnPropInfo& TOrnPropList::Add(TOrnPropInfo info) {
    fOwn.push_back(std::move(info));
    return fOwn.back();
}

void TOrnPropList::Write(const TOrnExchangeItem& item, TOrnCustomExchange& exchange) const {
    if (fParent) fParent->Write(item, exchange);
    for (const TOrnPropInfo& p : fOwn) {
        if (p.kind == pkObject) {
            p.object(item)->WriteComp(exchange, p.name);
            continue;
        }
        if (p.kind == pkReference) {
            exchange.WriteReference(p.name, p.ref(item));
            continue;
        }
        const TOrnPropValue v = p.get(item);
        const TOrnPropValue d = p.Default(item);
        switch (p.kind) {
        case pkBool:
            exchange.WriteBool(p.name, std::get<bool>(v), std::get<bool>(d));
            break;
        case pkInt:
            exchange.WriteInt(p.name, std::get<std::int64_t>(v), std::get<std::int64_t>(d));
            break;
        case pkSingle:
            exchange.WriteFloat(p.name, ShortestSingle(std::get<double>(v)),
                                ShortestSingle(std::get<double>(d)));
            break;
        case pkDouble:
            exchange.WriteFloat(p.name, std::get<double>(v), std::get<double>(d));
            break;
        case pkString:
            exchange.WriteString(p.name, std::get<std::string>(v), std::get<std::string>(d));
            break;
        case pkColor:
            exchange.WriteColor(p.name, static_cast<TColor>(std::get<std::int64_t>(v)),
                                static_cast<TColor>(std::get<std::int64_t>(d)));
            break;
        case pkVector:
            exchange.WriteVector(p.name, VectorValue(p, v), VectorValue(p, d));
            break;
        case pkEnum:
            exchange.WriteEnum(p.name, static_cast<int>(std::get<std::int64_t>(v)),
                               static_cast<int>(std::get<std::int64_t>(d)), p.names);
            break;
        default:
            break;
        }
    }
}

void TOrnPropList::Read(TOrnExchangeItem& item, TOrnCustomExchange& exchange) const {
    if (fParent) fParent->Read(item, exchange);
    for (const TOrnPropInfo& p : fOwn)
        if (p.flags & pfReadFirst) ReadKey(p, item, exchange);
    for (const TOrnPropInfo& p : fOwn)
        if (!(p.flags & pfReadFirst)) ReadKey(p, item, exchange);
}

void TOrnPropList::ReadKey(const TOrnPropInfo& p, TOrnExchangeItem& item, TOrnCustomExchange& exchange) {
    {
        if (p.flags & pfNoRead || p.kind == pkObject) return;
        if (p.kind == pkReference) {
            // Resolved once the whole scene is read.
            exchange.ReadReference(p.name, [&item, set = p.setRef](TComponent* c) { set(item, c); });
            return;
        }
        const TOrnPropValue v = p.get(item);
        switch (p.kind) {
        case pkBool:
            p.set(item, exchange.ReadBool(p.name, std::get<bool>(v)));
            break;
        case pkInt: {
            const std::int64_t now = std::get<std::int64_t>(v);
            const std::int64_t read = p.highest <= std::numeric_limits<std::int32_t>::max()
                                          ? exchange.ReadInt32(p.name, static_cast<std::int32_t>(now))
                                          : exchange.ReadInt(p.name, now);
            // A value the member cannot hold counts as missing.
            p.set(item, read >= p.lowest && read <= p.highest ? read : now);
            break;
        }
        case pkSingle: {
            // Beyond single precision saturates, so the setter's own clamp decides; NaN counts as missing.
            const double read = exchange.ReadFloat(p.name, std::get<double>(v));
            const double most = std::numeric_limits<float>::max();
            p.set(item, std::isnan(read) ? std::get<double>(v) : std::clamp(read, -most, most));
            break;
        }
        case pkDouble:
            p.set(item, exchange.ReadFloat(p.name, std::get<double>(v)));
            break;
        case pkString:
            p.set(item, exchange.ReadString(p.name, std::get<std::string>(v)));
            break;
        case pkColor:
            p.set(item, static_cast<std::int64_t>(
                            exchange.ReadColor(p.name, static_cast<TColor>(std::get<std::int64_t>(v)))));
            break;
        case pkVector:
            p.set(item, exchange.ReadVector(p.name, std::get<TOrnMathVector>(v)));
            break;
        case pkEnum:
            p.set(item, static_cast<std::int64_t>(
                            exchange.ReadEnum(p.name, static_cast<int>(std::get<std::int64_t>(v)), p.names)));
            break;
        default:
            break;
        }
    }
}

TOrnExchangeItem* TOrnPropList::ReadComp(TOrnExchangeItem& item, TOrnCustomExchange& exchange,
                                         const std::string& tagName) const {
    for (const TOrnPropInfo& p : fOwn) {
        if (p.kind != pkObject || p.flags & pfNoRead || !SameName(p.name, tagName)) continue;
        TOrnExchangeItem* object = p.object(item);
        object->ReadValues(exchange);
        return object;
    }
    return fParent ? fParent->ReadComp(item, exchange, tagName) : nullptr;
}

void TOrnPropList::CopyOwn(TOrnExchangeItem& item, const TOrnExchangeItem& source) const {
    if (&item == &source) return;
    for (const TOrnPropInfo& p : fOwn) {
        if (p.flags & pfNoAssign) continue;
        switch (p.kind) {
        case pkObject:
            (p.copy ? p.copy : CopyObject)(*p.object(item), *p.object(source));
            break;
        case pkReference:
            p.setRef(item, p.ref(source));
            break;
        default:
            (p.store ? p.store : p.set)(item, p.get(source));
            break;
        }
    }
}

bool TOrnPropList::Copy(TOrnExchangeItem& item, const TOrnExchangeItem& source) const {
    if (&item == &source) return false;
    const bool mine = !fIsA || fIsA(source);
    const bool first = fParent ? fParent->Copy(item, source) : mine;
    if (first && mine) CopyOwn(item, source);
    return first;
}

std::string TOrnPropList::Difference(const TOrnExchangeItem& a, const TOrnExchangeItem& b) const {
    for (const TOrnPropInfo* p : All()) {
        if (p->kind == pkObject) {
            TOrnExchangeItem* oa = p->object(a);
            TOrnExchangeItem* ob = p->object(b);
            if (const TOrnPropList* list = oa->Properties())
                if (std::string d = list->Difference(*oa, *ob); !d.empty()) return p->name + "." + d;
            continue;
        }
        const std::string ta = p->Text(a), tb = p->Text(b);
        bool same = ta == tb;
        if (p->kind != pkReference && p->kind != pkSingle) same = p->get(a) == p->get(b);
        if (!same) return p->name + ": " + ta + " != " + tb;
    }
    return {};
}

} // namespace orn
