#include <orn/math/TOrnCustomExchange.h>

#include <orn/host/TComponent.h>
#include <orn/host/TPersistent.h>
#include <orn/math/TOrnPropList.h>

#include <limits>
#include <strings.h>

namespace orn {

void TOrnExchangeItem::WriteComp(TOrnCustomExchange& exchange, const std::string& tagName) {
    exchange.StartTag(tagName);
    WriteValues(exchange);
    exchange.EndTag();
}

void TOrnExchangeItem::WriteValues(TOrnCustomExchange& exchange) {
    if (const TOrnPropList* list = Properties()) list->Write(*this, exchange);
}

void TOrnExchangeItem::ReadValues(TOrnCustomExchange& exchange) {
    if (const TOrnPropList* list = Properties()) list->Read(*this, exchange);
}

bool TOrnExchangeItem::AssignProperties(const TPersistent* source) {
    auto* s = dynamic_cast<const TOrnExchangeItem*>(source);
    const TOrnPropList* list = Properties();
    return s && list && list->Copy(*this, *s);
}

TOrnExchangeItem* TOrnExchangeItem::ReadComp(TOrnCustomExchange& exchange, const std::string& tagName) {
    const TOrnPropList* list = Properties();
    return list ? list->ReadComp(*this, exchange, tagName) : nullptr;
}

void TOrnCustomExchange::WriteEnum(const std::string& key, int value, int def,
                                   std::span<const char* const> names) {
    auto name = [&](int v) { return v >= 0 && static_cast<size_t>(v) < names.size() ? names[v] : ""; };
    WriteString(key, name(value), name(def));
}

int TOrnCustomExchange::ReadEnum(const std::string& key, int def, std::span<const char* const> names) {
    const std::string text = ReadString(key, "");
    for (size_t i = 0; i < names.size(); ++i)
        if (strcasecmp(names[i], text.c_str()) == 0) return static_cast<int>(i);
    return def;
}

std::int32_t TOrnCustomExchange::ReadInt32(const std::string& key, std::int32_t def) {
    const std::int64_t v = ReadInt(key, def);
    if (v < std::numeric_limits<std::int32_t>::min() || v > std::numeric_limits<std::int32_t>::max())
        return def;
    return static_cast<std::int32_t>(v);
}

void TOrnCustomExchange::WriteReference(const std::string& key, const TComponent* value) {
    WriteString(key, value ? value->Name() : std::string(), "");
}

void TOrnCustomExchange::ReadReference(const std::string&, std::function<void(TComponent*)>) {}

} // namespace orn
