#pragma once

#include <orn/math/TOrnCustomExchange.h>

#include <cstdint>
#include <functional>
#include <limits>
#include <span>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

namespace orn {

class TComponent;

/// How a described property travels in the scene file.
enum TOrnPropKind : std::uint8_t {
    pkBool,
    pkInt,    ///< an integer (32-bit on reading unless the member is wider)
    pkSingle, ///< a single-precision real, written in its shortest form
    pkDouble,
    pkString,
    pkColor,     ///< a TColor, written as hexadecimal
    pkVector,    ///< an "x,y,z" triple
    pkEnum,      ///< written by the name of its value
    pkObject,    ///< an owned value object: a child element of its own
    pkReference, ///< another component of the scene, written by its name
};

/// Rules a property keeps besides the common ones.
enum TOrnPropFlag : unsigned {
    pfNoAssign = 1u << 0,   ///< Assign leaves it alone on purpose
    pfNoRead = 1u << 1,     ///< read by the class's own ReadValues (an order or a rule of its own)
    pfIdentifier = 1u << 2, ///< a component name: only identifiers are taken
    pfReadFirst = 1u << 3,  ///< read before the class's other keys (a limit that clamps them)
    pfSingle = 1u << 4,     ///< a vector of single-precision components, written in their shortest form
};

/// A value of any scalar kind; colours and enumerations travel as integers.
using TOrnPropValue = std::variant<bool, std::int64_t, double, std::string, TOrnMathVector>;

/// One described property: its key, its kind, its default and how to reach it on an item.
struct TOrnPropInfo {
    std::string name;
    TOrnPropKind kind = pkInt;
    unsigned flags = 0;
    TOrnPropValue def;
    /// The values the setter takes (numbers); a value outside is clamped or ignored by the setter.
    double min = -1e9, max = 1e9;
    /// What the member can hold (integers): a file value beyond counts as missing.
    double lowest = -9.2e18, highest = 9.2e18;
    std::span<const char* const> names;
    /// A value other than the default that the setter takes, where the kind alone cannot tell one
    /// (text of a form of its own); empty for none.
    std::vector<TOrnPropValue> examples;
    /// For a reference: the class name the component it refers to must have ("" for any).
    std::string refClass;

    std::function<TOrnPropValue(const TOrnExchangeItem&)> get;
    /// Through the setter: what reading a file does.
    std::function<void(TOrnExchangeItem&, const TOrnPropValue&)> set;
    /// Straight into the member, without notification: what Assign does (set when absent).
    std::function<void(TOrnExchangeItem&, const TOrnPropValue&)> store;
    /// The default of this item when it depends on the item (the vector families).
    std::function<TOrnPropValue(const TOrnExchangeItem&)> defOf;
    /// pkObject: the owned value object.
    std::function<TOrnExchangeItem*(const TOrnExchangeItem&)> object;
    /// pkObject: copies source's object into item's for Assign (default: its described values).
    std::function<void(TOrnExchangeItem&, const TOrnExchangeItem&)> copy;
    /// pkReference: the component referred to, and how a new one is taken.
    std::function<TComponent*(const TOrnExchangeItem&)> ref;
    std::function<void(TOrnExchangeItem&, TComponent*)> setRef;

    TOrnPropValue Default(const TOrnExchangeItem& item) const { return defOf ? defOf(item) : def; }
    /// The value as the file writes it (for messages and tests).
    std::string Text(const TOrnExchangeItem& item) const;
};

/// The properties a class adds to those of its base, declared once: the scene file, Assign and the
/// comparison of two items all run from it.
class TOrnPropList {
public:
    /// isA tells whether an item belongs to the class described (Assign copies only those levels).
    explicit TOrnPropList(const TOrnPropList* parent = nullptr,
                          std::function<bool(const TOrnExchangeItem&)> isA = {})
        : fParent(parent), fIsA(std::move(isA)) {}

    const TOrnPropList* Parent() const { return fParent; }
    const std::vector<TOrnPropInfo>& Own() const { return fOwn; }
    /// Every property of the class, its bases' first.
    std::vector<const TOrnPropInfo*> All() const;
    TOrnPropInfo& Add(TOrnPropInfo info);

    /// Writes the keys and child elements of all properties.
    void Write(const TOrnExchangeItem& item, TOrnCustomExchange& exchange) const;
    /// Reads the keys of all properties through their setters; a missing key keeps the value.
    void Read(TOrnExchangeItem& item, TOrnCustomExchange& exchange) const;
    /// The owned value object named tagName (letter case ignored) having read its keys, or nullptr.
    TOrnExchangeItem* ReadComp(TOrnExchangeItem& item, TOrnCustomExchange& exchange,
                               const std::string& tagName) const;
    /// Copies this class's own properties (not the bases') from source, except those marked
    /// pfNoAssign.
    void CopyOwn(TOrnExchangeItem& item, const TOrnExchangeItem& source) const;
    /// What Assign copies: the properties of every class of item that source belongs to too, bases
    /// first, except those marked pfNoAssign. False (nothing copied) when source is item or does not
    /// belong to the first class.
    bool Copy(TOrnExchangeItem& item, const TOrnExchangeItem& source) const;
    /// The first described property (value objects searched too) in which a and b differ, as
    /// "Key: a-value != b-value"; "" when they agree. References compare by name.
    std::string Difference(const TOrnExchangeItem& a, const TOrnExchangeItem& b) const;

private:
    static void ReadKey(const TOrnPropInfo& p, TOrnExchangeItem& item, TOrnCustomExchange& exchange);

    const TOrnPropList* fParent;
    std::function<bool(const TOrnExchangeItem&)> fIsA;
    std::vector<TOrnPropInfo> fOwn;
};

/// Numbers in groups of width, as a number-groups property writes them: "1,2,3;4,5,6".
std::string OrnGroupsText(const std::vector<double>& values, std::size_t width);
/// The numbers of a text of whole groups of width finite numbers; false (values untouched) for any
/// other text.
bool OrnParseGroups(const std::string& text, std::size_t width, std::vector<double>& values);

/// Declares the properties of class C into a list; member pointers give the value, the setter
/// is what reading calls.
template <class C> class TOrnPropBuilder {
public:
    explicit TOrnPropBuilder(TOrnPropList& list) : fList(list) {}

    /// A value kept in member, set through setter; the kind follows from the member's type.
    template <class M, class S>
    TOrnPropInfo& Value(const char* name, M C::*member, S setter, std::type_identity_t<M> def) {
        TOrnPropInfo info;
        info.name = name;
        info.kind = KindOf<M>();
        info.def = ToValue<M>(def);
        if constexpr ((std::is_integral_v<M> || std::is_enum_v<M>)&&!std::is_same_v<M, bool>) {
            using Limit = std::conditional_t<std::is_enum_v<M>, int, M>;
            info.min = info.lowest = static_cast<double>(std::numeric_limits<Limit>::min());
            info.max = info.highest = static_cast<double>(std::numeric_limits<Limit>::max());
        }
        info.get = [member](const TOrnExchangeItem& i) { return ToValue<M>(self(i).*member); };
        info.set = [setter](TOrnExchangeItem& i, const TOrnPropValue& v) {
            (self(i).*setter)(FromValue<M>(v));
        };
        info.store = [member](TOrnExchangeItem& i, const TOrnPropValue& v) {
            self(i).*member = FromValue<M>(v);
        };
        return fList.Add(std::move(info));
    }
    /// An enumeration written by the names of its values.
    template <class M, class S>
    TOrnPropInfo& Enum(const char* name, M C::*member, S setter, std::type_identity_t<M> def,
                       std::span<const char* const> names) {
        TOrnPropInfo& info = Value(name, member, setter, def);
        info.kind = pkEnum;
        info.names = names;
        info.min = 0;
        info.max = static_cast<double>(names.size()) - 1;
        return info;
    }
    /// A colour kept as a TColor member.
    template <class S> TOrnPropInfo& Color(const char* name, TColor C::*member, S setter, TColor def) {
        TOrnPropInfo& info = Value(name, member, setter, def);
        info.kind = pkColor;
        return info;
    }
    /// A value reached only through a getter and a setter (no direct store).
    template <class M>
    TOrnPropInfo& Access(const char* name, std::function<M(const C&)> getter,
                         std::function<void(C&, M)> setter, std::type_identity_t<M> def) {
        TOrnPropInfo info;
        info.name = name;
        info.kind = KindOf<M>();
        info.def = ToValue<M>(def);
        info.get = [getter](const TOrnExchangeItem& i) { return ToValue<M>(getter(self(i))); };
        info.set = [setter](TOrnExchangeItem& i, const TOrnPropValue& v) {
            setter(self(i), FromValue<M>(v));
        };
        return fList.Add(std::move(info));
    }
    /// Numbers in groups of width, written as one text ("x,y,z;x,y,z") and reached as one flat list.
    /// Reading gives setter only a text of whole groups that differs from the list held: any other
    /// text is ignored. Assign gives it any list, the empty one too.
    TOrnPropInfo& Groups(const char* name, std::size_t width,
                         std::function<std::vector<double>(const C&)> getter,
                         std::function<void(C&, std::vector<double>)> setter) {
        TOrnPropInfo info;
        info.name = name;
        info.kind = pkString;
        info.def = std::string();
        std::vector<double> example;
        for (std::size_t k = 0; k < 3 * width; ++k)
            example.push_back(static_cast<double>(k / width) + 0.25 * static_cast<double>(k % width + 1));
        info.examples = {OrnGroupsText(example, width)};
        info.get = [getter, width](const TOrnExchangeItem& i) {
            return TOrnPropValue(OrnGroupsText(getter(self(i)), width));
        };
        info.set = [getter, setter, width](TOrnExchangeItem& i, const TOrnPropValue& v) {
            std::vector<double> values;
            if (OrnParseGroups(std::get<std::string>(v), width, values) && !values.empty() &&
                values != getter(self(i)))
                setter(self(i), std::move(values));
        };
        info.store = [setter, width](TOrnExchangeItem& i, const TOrnPropValue& v) {
            std::vector<double> values;
            OrnParseGroups(std::get<std::string>(v), width, values);
            setter(self(i), std::move(values));
        };
        return fList.Add(std::move(info));
    }
    /// An owned value object written as the child element name.
    template <class P> TOrnPropInfo& Object(const char* name, P C::*member) {
        TOrnPropInfo info;
        info.name = name;
        info.kind = pkObject;
        info.object = [member](const TOrnExchangeItem& i) -> TOrnExchangeItem* {
            return &*(self(i).*member);
        };
        return fList.Add(std::move(info));
    }
    /// An owned value object that the class reaches through getter (an element of an array).
    TOrnPropInfo& ObjectAt(const char* name, std::function<TOrnExchangeItem*(const C&)> getter) {
        TOrnPropInfo info;
        info.name = name;
        info.kind = pkObject;
        info.object = [getter](const TOrnExchangeItem& i) { return getter(self(i)); };
        return fList.Add(std::move(info));
    }
    /// A reference to a component of class refClass.
    TOrnPropInfo& Reference(const char* name, const char* refClass,
                            std::function<TComponent*(const C&)> getter,
                            std::function<void(C&, TComponent*)> setter) {
        TOrnPropInfo info;
        info.name = name;
        info.kind = pkReference;
        info.refClass = refClass;
        info.ref = [getter](const TOrnExchangeItem& i) { return getter(self(i)); };
        info.setRef = [setter](TOrnExchangeItem& i, TComponent* c) { setter(self(i), c); };
        return fList.Add(std::move(info));
    }

private:
    static C& self(TOrnExchangeItem& i) { return dynamic_cast<C&>(i); }
    static const C& self(const TOrnExchangeItem& i) { return dynamic_cast<const C&>(i); }

    template <class M> static constexpr TOrnPropKind KindOf() {
        if constexpr (std::is_same_v<M, bool>)
            return pkBool;
        else if constexpr (std::is_same_v<M, float>)
            return pkSingle;
        else if constexpr (std::is_same_v<M, double>)
            return pkDouble;
        else if constexpr (std::is_same_v<M, std::string>)
            return pkString;
        else if constexpr (std::is_same_v<M, TOrnMathVector>)
            return pkVector;
        else
            return pkInt;
    }
    template <class M> static TOrnPropValue ToValue(const M& v) {
        if constexpr (std::is_same_v<M, bool>)
            return v;
        else if constexpr (std::is_floating_point_v<M>)
            return static_cast<double>(v);
        else if constexpr (std::is_same_v<M, std::string> || std::is_same_v<M, TOrnMathVector>)
            return v;
        else
            return static_cast<std::int64_t>(v);
    }
    template <class M> static M FromValue(const TOrnPropValue& v) {
        if constexpr (std::is_same_v<M, bool>)
            return std::get<bool>(v);
        else if constexpr (std::is_floating_point_v<M>)
            return static_cast<M>(std::get<double>(v));
        else if constexpr (std::is_same_v<M, std::string> || std::is_same_v<M, TOrnMathVector>)
            return std::get<M>(v);
        else
            return static_cast<M>(std::get<std::int64_t>(v));
    }

    TOrnPropList& fList;
};

} // namespace orn

/// The common case: key Name, member fName, setter SetName; the key cannot drift from the member.
#define ORN_PROP(b, Class, Name, def) (b).Value(#Name, &Class::f##Name, &Class::Set##Name, def)

/// Inside a class body: the class describes its properties (ClassProperties) and the scene file,
/// Assign and comparisons find them through Properties.
#define ORN_DECLARE_PROPERTIES(Class)                                                                        \
    static const ::orn::TOrnPropList& ClassProperties();                                                     \
    const ::orn::TOrnPropList* Properties() const override {                                                 \
        return &ClassProperties();                                                                           \
    }                                                                                                        \
    static void DescribeProperties(::orn::TOrnPropBuilder<Class>& b);

/// In the class's source, followed by the body that declares its properties into b; ParentList is
/// the base's list (nullptr for none).
#define ORN_DESCRIBE_PROPERTIES(Class, ParentList)                                                           \
    const ::orn::TOrnPropList& Class::ClassProperties() {                                                    \
        static const ::orn::TOrnPropList list = [] {                                                         \
            ::orn::TOrnPropList l(ParentList, [](const ::orn::TOrnExchangeItem& i) {                         \
                return dynamic_cast<const Class*>(&i) != nullptr;                                            \
            });                                                                                              \
            ::orn::TOrnPropBuilder<Class> builder(l);                                                        \
            DescribeProperties(builder);                                                                     \
            return l;                                                                                        \
        }();                                                                                                 \
        return list;                                                                                         \
    }                                                                                                        \
    void Class::DescribeProperties([[maybe_unused]] ::orn::TOrnPropBuilder<Class>& b)
