// Contracts every described property of every class keeps: the scene file, Assign and the setters.
#include <orn/geometry/TOrnPrimitiveObj.h>
#include <orn/io/TOrnExchange.h>
#include <orn/math/TOrnPropList.h>
#include <orn/scene/TOrnNode.h>
#include <orn/scene/TOrnRegistry.h>

#include <cmath>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <pugixml.hpp>
#include <set>

using namespace orn;

namespace {
/// A described property ("Transformation/Scale/P") and the value objects on the way to its holder.
struct PropPath {
    std::string path;
    std::vector<const TOrnPropInfo*> chain;
    const TOrnPropInfo& Info() const { return *chain.back(); }
    TOrnExchangeItem& Holder(TOrnExchangeItem& root) const {
        TOrnExchangeItem* at = &root;
        for (std::size_t i = 0; i + 1 < chain.size(); ++i)
            at = chain[i]->object(*at);
        return *at;
    }
    std::string Text(TOrnExchangeItem& root) const { return Info().Text(Holder(root)); }
};
std::vector<PropPath> Paths(const TOrnExchangeItem& item, const std::string& prefix = "",
                            const std::vector<const TOrnPropInfo*>& chain = {}) {
    std::vector<PropPath> out;
    for (const TOrnPropInfo* p : item.Properties()->All()) {
        std::vector<const TOrnPropInfo*> c = chain;
        c.push_back(p);
        if (p->kind != pkObject)
            out.push_back({prefix + p->name, c});
        else if (p->object(item)->Properties())
            for (PropPath& q : Paths(*p->object(item), prefix + p->name + "/", c))
                out.push_back(std::move(q));
    }
    return out;
}
/// A non-default value the setter takes; k, from the path, tells properties apart.
TOrnPropValue NonDefault(const TOrnPropInfo& p, const TOrnExchangeItem& holder, const std::string& path) {
    unsigned h = 2166136261u;
    for (char c : path)
        h = (h ^ static_cast<unsigned char>(c)) * 16777619u;
    const int k = static_cast<int>(h % 5u);
    if (!p.examples.empty()) return p.examples[static_cast<std::size_t>(k) % p.examples.size()];
    const TOrnPropValue def = p.Default(holder);
    switch (p.kind) {
    case pkBool:
        return !std::get<bool>(def);
    case pkInt:
    case pkSingle:
    case pkDouble: {
        const bool whole = p.kind == pkInt;
        const double d = whole ? static_cast<double>(std::get<std::int64_t>(def)) : std::get<double>(def);
        const double step = whole ? 1 : 0.125;
        double v = std::clamp(d + step * (1 + k), p.min, p.max);
        if (v == d) v = std::clamp(d - step, p.min, p.max);
        return whole ? TOrnPropValue(static_cast<std::int64_t>(v)) : TOrnPropValue(v);
    }
    case pkString:
        return (p.flags & pfIdentifier ? "Named" : "Text ") + std::to_string(k);
    case pkColor:
        return static_cast<std::int64_t>(0x102030 + 0x010101 * k);
    case pkVector: {
        const TOrnMathVector d = std::get<TOrnMathVector>(def);
        return TOrnMathVector{d.x * 0.5 + 0.125, d.y * 0.5 + 0.25, d.z * 0.5 + 0.375};
    }
    case pkEnum: {
        const auto n = static_cast<std::int64_t>(p.max - p.min + 1);
        const auto from = std::get<std::int64_t>(def) - static_cast<std::int64_t>(p.min);
        return static_cast<std::int64_t>(p.min) + (from + 1 + k % std::max<std::int64_t>(n - 1, 1)) % n;
    }
    default:
        return def;
    }
}
/// Setters that neither notify nor invalidate: values read at the next render or load, fields without a
/// setter, setters that only store (clip planes), mark an upload stale or measure later (labels), a
/// cut-off that tells of any value given, an ambient colour not linked back to its attributes.
const std::string kQuiet =
    " *.Cached *.Textured TOrnPolygon.InitClearPoints TOrnPointSet.Columns "
    "TOrnAttributes.StippleShift TOrnAttributes.StippleFactor TOrnClip.* TOrnTexture.* "
    "TOrnLabel.* TOrnLight.CutOff TOrnAttributes.ColorAmbient/Color "
    "TOrnAttributes.ColorAmbient/Alpha ";
bool Quiet(const std::string& cls, const std::string& path) {
    for (const std::string& k : {cls + "." + path, "*." + path, cls + ".*"})
        if (kQuiet.find(" " + k + " ") != std::string::npos) return true;
    return false;
}
/// Values that follow another one: a 3D object's overdraw its kind, a cut-off the light's kind.
const std::set<std::string> kDependent = {"TOrn3dObj.overdraw", "TOrnLight.CutOff"};
/// The palette's described classes: not those a test registers, so counts do not depend on order.
std::vector<TComponentClass> DescribedClasses() {
    std::vector<TComponentClass> out;
    std::set<std::string> seen;
    for (const std::string& page : GetPaletteNames())
        for (TComponentClass cls : GetPaletteClasses(page)) {
            if (!seen.insert(cls->Name).second) continue;
            TComponent form(nullptr);
            if (auto* item = dynamic_cast<TOrnExchangeItem*>(cls->Create(&form)); item && item->Properties())
                out.push_back(cls);
        }
    return out;
}
/// A scene (holding an item of class cls named Item) and the components references may name.
struct Scene {
    TComponent form{nullptr};
    TOrnNode* node = new TOrnNode(&form);
    std::vector<TComponent*> targets;
    TComponent* item = nullptr;
    explicit Scene(TComponentClass cls = nullptr) : item(cls ? Add(cls, "Item") : nullptr) {}
    TOrnExchangeItem& Exchange() const { return dynamic_cast<TOrnExchangeItem&>(*item); }
    TComponent* Add(TComponentClass cls, const std::string& name) {
        TComponent* c = cls->Create(node);
        c->SetName(name);
        if (auto* render = dynamic_cast<TOrnRender*>(c)) node->Add(render);
        return c;
    }
    TComponent* Target(const std::string& name) {
        for (TComponent* t : targets)
            if (name.empty() || t->ClassName() == name) return t;
        TComponentClass cls = GetRenderClass(name.empty() ? "TOrnNode" : name);
        if (!cls) return nullptr;
        targets.push_back(Add(cls, "Target" + std::to_string(targets.size())));
        return targets.back();
    }
    bool SetNonDefault(TComponent* c, const PropPath& p) {
        TOrnExchangeItem& holder = p.Holder(dynamic_cast<TOrnExchangeItem&>(*c));
        const TOrnPropInfo& info = p.Info();
        if (info.kind != pkReference) {
            info.set(holder, NonDefault(info, holder, p.path));
            return true;
        }
        TComponent* t = Target(info.refClass);
        if (t) info.setRef(holder, t);
        return t && info.ref(holder) == t;
    }
    void SetAllNonDefault(TComponent* c) {
        for (const PropPath& p : Paths(dynamic_cast<TOrnExchangeItem&>(*c)))
            if (!(p.Info().flags & pfIdentifier)) SetNonDefault(c, p);
    }
    std::string Save(bool compact) const {
        TOrnExchange exchange(nullptr);
        exchange.SetCompact(compact);
        return exchange.SaveToString(*node);
    }
};
/// Compares every described property of two trees; returns how many were compared.
int ExpectSameTree(TOrnRender& a, TOrnRender& b, const std::string& where) {
    EXPECT_EQ(a.ClassName(), b.ClassName()) << where;
    if (a.ClassName() != b.ClassName()) return 0;
    EXPECT_EQ(a.Properties()->Difference(a, b), "") << where;
    int compared = static_cast<int>(Paths(a).size());
    auto *na = dynamic_cast<TOrnNode*>(&a), *nb = dynamic_cast<TOrnNode*>(&b);
    if (!na) return compared;
    EXPECT_EQ(na->Count(), nb->Count()) << where << " holds another number of items";
    for (int i = 0; i < std::min(na->Count(), nb->Count()); ++i)
        compared += ExpectSameTree(*na->Items(i), *nb->Items(i),
                                   where + "/" + na->Items(i)->ClassName() + " " + na->Items(i)->Name());
    return compared;
}
int ExpectSameAfterLoading(const std::string& text, TOrnNode& before, const std::string& where) {
    TComponent form(nullptr);
    auto* loaded = new TOrnNode(&form);
    TOrnExchange(nullptr).LoadFromString(*loaded, text);
    return ExpectSameTree(before, *loaded, where);
}
/// Every key below element as "Child/Grandchild#2/key" (#n: the n-th child so named), its name under "".
void Flatten(pugi::xml_node element, const std::string& prefix, std::map<std::string, std::string>& out) {
    if (prefix.empty()) out[""] = element.name();
    for (pugi::xml_attribute a : element.attributes())
        out[prefix + a.name()] = a.value();
    std::map<std::string, int> seen;
    for (pugi::xml_node c : element.children()) {
        const int n = seen[c.name()]++;
        Flatten(c, prefix + c.name() + (n ? "#" + std::to_string(n) : "") + "/", out);
    }
}
std::map<std::string, std::string> ItemKeys(const std::string& text) {
    pugi::xml_document doc;
    EXPECT_TRUE(doc.load_string(text.c_str()));
    std::map<std::string, std::string> keys;
    for (pugi::xml_node n : doc.child("ORNGL").child("Objects").children())
        if (std::string(n.attribute("name").value()) == "Item") Flatten(n, "", keys);
    return keys;
}
/// "1,2.5,3" in single precision; empty where it is no list of numbers.
std::vector<float> Numbers(const std::string& s) {
    std::vector<float> out;
    for (const char* p = s.c_str(); *p; p += *p == ',') {
        char* end = nullptr;
        out.push_back(static_cast<float>(std::strtod(p, &end)));
        if (end == p || (*end != ',' && *end != '\0')) return {};
        p = end;
    }
    return out;
}
} // namespace

TEST(PropertyContract, EveryClassIsDescribedAndAFreshOneHoldsItsDefaultsAndWritesOnlyItsIdentity) {
    for (TComponentClass cls : GetRenderClassList()) {
        TComponent form(nullptr);
        auto* item = dynamic_cast<TOrnExchangeItem*>(cls->Create(&form));
        EXPECT_TRUE(item && item->Properties()) << cls->Name << " describes no properties";
    }
    // Values that follow others: the object name follows the component name, a label measures its
    // caption, a colour object starts with its owner's colour; a camera starts two units back.
    const auto follows = [](const std::string& cls, const std::string& k) {
        const std::string tail = k.substr(k.find_last_of('/') + 1);
        return k == "ObjectName" || ((k == "Width" || k == "Height") && cls == "TOrnLabel") ||
               (k == "Transformation/Translation/P" && cls.ends_with("Camera")) ||
               (k.find('/') != std::string::npos && (tail == "Color" || tail == "Alpha"));
    };
    for (TComponentClass cls : DescribedClasses()) {
        Scene probe(cls);
        for (const PropPath& p : Paths(probe.Exchange())) {
            const TOrnExchangeItem& holder = p.Holder(probe.Exchange());
            if (p.Info().kind == pkReference || p.Info().flags & pfIdentifier || follows(cls->Name, p.path))
                continue;
            EXPECT_TRUE(p.Info().get(holder) == p.Info().Default(holder))
                << cls->Name << "." << p.path << " starts at " << p.Text(probe.Exchange());
        }
        if (!dynamic_cast<TOrnRender*>(probe.item)) continue;
        std::map<std::string, std::string> keys = ItemKeys(probe.Save(true));
        const std::string name = keys["name"];
        std::erase_if(keys, [&](const auto& key) {
            return key.first.empty() || key.first == "name" ||
                   (follows(cls->Name, key.first) && (key.first != "ObjectName" || key.second == name));
        });
        EXPECT_TRUE(keys.empty()) << cls->Name << " writes keys equal to their defaults: "
                                  << ::testing::PrintToString(keys);
    }
}

TEST(PropertyContract, EachPropertySetAloneNotifiesARealChangeOnlyAndIsSavedUnderItsOwnKey) {
    int compared = 0;
    for (TComponentClass cls : DescribedClasses())
        for (const PropPath& p : Paths(Scene(cls).Exchange())) {
            const std::string key = std::string(cls->Name) + "." + p.path;
            if (p.Info().flags & pfIdentifier) continue;
            Scene s(cls);
            int changes = 0;
            if (auto* component = dynamic_cast<TOrnComponent*>(s.item))
                component->OnChange = [&](TObject*) { ++changes; };
            auto* primitive = dynamic_cast<TOrnPrimitiveObj*>(s.item);
            if (primitive) primitive->Init();
            const std::string before = p.Text(s.Exchange());
            ASSERT_TRUE(s.SetNonDefault(s.item, p)) << key;
            const bool changed = p.Text(s.Exchange()) != before;
            const bool invalidated = primitive && !primitive->Initialized();
            // A value that follows another one may stay, or be set anew by the one it follows.
            EXPECT_TRUE(changed || kDependent.count(key)) << key << ": the setter ignores a good value";
            if (dynamic_cast<TOrnRender*>(s.item) && changed && !kDependent.count(key)) {
                // The setter may tie other values to this one; the key itself must be there.
                const std::string text = s.Save(true);
                const std::map<std::string, std::string> written = ItemKeys(text);
                EXPECT_TRUE(written.count(p.path))
                    << key << " is not written under its key: " << ::testing::PrintToString(written);
                ExpectSameAfterLoading(text, *s.node, key);
                ++compared;
            }
            if (Quiet(cls->Name, p.path)) continue;
            if (changed)
                EXPECT_TRUE(changes > 0 || invalidated)
                    << key << ": the setter neither notifies nor invalidates";
            else
                EXPECT_EQ(changes, 0) << key << ": the setter notifies although the value stays";
            const int first = changes;
            if (primitive) primitive->Init();
            s.SetNonDefault(s.item, p);
            EXPECT_EQ(changes, first) << key << ": setting the same value notifies";
            EXPECT_TRUE(!primitive || primitive->Initialized()) << key << ": the same value rebuilds";
        }
    EXPECT_GE(compared, 200) << "properties written alone and read back";
}

TEST(PropertyContract, EveryEnumValueAndEveryDeclaredBoundIsTakenAndBeyondABoundClampedOrIgnored) {
    int checked = 0;
    for (TComponentClass cls : DescribedClasses())
        for (const PropPath& p : Paths(Scene(cls).Exchange())) {
            const TOrnPropInfo& info = p.Info();
            const bool integer = info.kind == pkInt || info.kind == pkEnum;
            if (!integer && info.kind != pkSingle && info.kind != pkDouble) continue;
            Scene s(cls);
            TOrnExchangeItem& holder = p.Holder(s.Exchange());
            const auto set = [&](double v) {
                info.set(holder, integer ? TOrnPropValue(std::int64_t(v)) : TOrnPropValue(v));
                return integer ? double(std::get<std::int64_t>(info.get(holder)))
                               : std::get<double>(info.get(holder));
            };
            SCOPED_TRACE(std::string(cls->Name) + "." + p.path);
            if (info.kind == pkEnum) { // from the last, which an off-by-one loses first
                for (auto v = static_cast<int>(info.names.size()) - 1; v >= 0; --v)
                    EXPECT_EQ(set(v), v) << info.names[static_cast<std::size_t>(v)] << " is refused";
                ++checked;
                continue;
            }
            for (double bound : {info.min, info.max}) {
                if (std::fabs(bound) >= 1e9) continue;
                const double inward = bound == info.min ? 1 : -1;
                EXPECT_EQ(set(bound), bound) << "the bound " << bound << " is refused";
                const double before = set(bound + inward);
                if (bound - inward < info.lowest || bound - inward > info.highest) continue; // not held
                const double beyond = set(bound - inward);
                EXPECT_TRUE(beyond == bound || beyond == before) << bound - inward << " gives " << beyond;
                ++checked;
            }
        }
    EXPECT_GE(checked, 40);
}

TEST(PropertyContract, AssignCopiesEveryPropertyButThoseItLeavesOnPurpose) {
    for (TComponentClass cls : DescribedClasses()) {
        Scene source(cls);
        source.SetAllNonDefault(source.item);
        TComponent form(nullptr);
        TComponent* made = cls->Create(&form);
        made->Assign(source.item);
        auto& target = dynamic_cast<TOrnExchangeItem&>(*made);
        auto& fresh = dynamic_cast<TOrnExchangeItem&>(*cls->Create(&form));
        for (const PropPath& p : Paths(target)) {
            const bool left =
                std::any_of(p.chain.begin(), p.chain.end(), [](auto i) { return i->flags & pfNoAssign; });
            if (left && p.chain.size() > 1) continue; // inside a value object that Assign leaves
            EXPECT_EQ(p.Text(target), p.Text(left ? fresh : source.Exchange()))
                << cls->Name << " " << p.path << (left ? " is copied by Assign" : " is not copied");
        }
    }
}

TEST(PropertyContract, AFileOfEveryClassFilesWrittenBeforeAndShippedScenesConvertWithoutLoss) {
    namespace fs = std::filesystem;
    Scene every;
    for (TComponentClass cls : DescribedClasses())
        if (TComponent* c = every.Add(cls, std::string("Every") + cls->Name); dynamic_cast<TOrnRender*>(c))
            every.SetAllNonDefault(c);
    ExpectSameAfterLoading(every.Save(true), *every.node, "compact");
    const fs::path root(ORN_SOURCE_DIR), made = fs::temp_directory_path() / "orn_every_class.orngl";
    TOrnExchange(nullptr).SaveToFile(*every.node, made.string());
    std::vector<fs::path> files = {made};
    for (const auto& folder : {root / "tests/data/scenes", root / "examples/scenes"})
        for (const auto& entry : fs::directory_iterator(folder))
            if (entry.path().extension() == ".orngl") files.push_back(entry.path());
    for (const fs::path& path : files) {
        SCOPED_TRACE(path.string());
        TComponent form(nullptr);
        auto* scene = new TOrnNode(&form);
        TOrnExchange exchange(nullptr);
        exchange.LoadFromFile(*scene, path.string());
        EXPECT_TRUE(path != made || ExpectSameTree(*every.node, *scene, "every class") >= 500);
        // Files the scene refers to are written beside the saved one: not into the sources. Saving
        // what was loaded is what converting a file does: nothing may be lost on the way.
        exchange.SetFileName(fs::temp_directory_path() / "orn_props_before.orngl");
        const std::string text = exchange.SaveToString(*scene);
        // Every key of the file is written again, under the same name, with the same value.
        pugi::xml_document before, after;
        ASSERT_TRUE(before.load_file(path.c_str()));
        ASSERT_TRUE(after.load_string(text.c_str()));
        std::map<std::string, std::string> was, now;
        Flatten(before.child("ORNGL").child("Objects"), "/", was);
        Flatten(after.child("ORNGL").child("Objects"), "/", now);
        for (const auto& [k, v] : was) {
            const auto it = now.find(k);
            EXPECT_TRUE(it != now.end() &&
                        (v == it->second || (!Numbers(v).empty() && Numbers(v) == Numbers(it->second))))
                << k << ": " << v << (it == now.end() ? " is lost" : " became " + it->second);
        }
        ExpectSameAfterLoading(text, *scene, path.filename().string());
    }
    fs::remove(made);
    EXPECT_GE(files.size(), 4u);
}
