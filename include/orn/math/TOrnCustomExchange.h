#pragma once

#include <orn/host/TColor.h>
#include <orn/math/OrnMath.h>

#include <cstdint>
#include <functional>
#include <span>
#include <string>

namespace orn {

class TComponent;
class TOrnCustomExchange;
class TPersistent;
class TOrnPropList;

/// Anything that writes itself as an element of the scene file and reads its keys back: the value
/// objects and the components. The scene file component drives it; the item only names its keys.
class TOrnExchangeItem {
public:
    virtual ~TOrnExchangeItem() = default;

    /// Writes the element tagName holding this item's keys and children.
    void WriteComp(TOrnCustomExchange& exchange, const std::string& tagName);
    /// The properties this item's class describes (nullptr: it writes and reads by hand).
    virtual const TOrnPropList* Properties() const { return nullptr; }
    /// Writes this item's keys (and child elements) into the current element; by default its
    /// described properties.
    virtual void WriteValues(TOrnCustomExchange& exchange);
    /// Reads this item's keys from the current element, each with the present value as default.
    virtual void ReadValues(TOrnCustomExchange& exchange);
    /// Assign's common part: copies the described properties that source shares with this item
    /// (Copy of the property list); false when source is this item or not of this item's family.
    bool AssignProperties(const TPersistent* source);
    /// The item that takes the child element tagName (and has read its keys), or nullptr to skip it.
    virtual TOrnExchangeItem* ReadComp(TOrnCustomExchange& exchange, const std::string& tagName);
};

/// What a scene file offers its items: keys of the current element as typed values. Every writer
/// gets the key's default too (a compact file may leave defaults out); every reader returns def
/// when the key is missing or its value cannot be read.
class TOrnCustomExchange {
public:
    virtual ~TOrnCustomExchange() = default;

    virtual void StartTag(const std::string& name) = 0;
    virtual void EndTag() = 0;
    virtual void WriteBool(const std::string& key, bool value, bool def) = 0;
    virtual void WriteInt(const std::string& key, std::int64_t value, std::int64_t def) = 0;
    virtual void WriteFloat(const std::string& key, double value, double def) = 0;
    virtual void WriteString(const std::string& key, const std::string& value, const std::string& def) = 0;
    /// A colour as hexadecimal text.
    virtual void WriteColor(const std::string& key, TColor value, TColor def) = 0;
    virtual void WriteVector(const std::string& key, const TOrnMathVector& value,
                             const TOrnMathVector& def) = 0;
    /// Reports one saved object (progress).
    virtual void ObjectStep() = 0;

    virtual bool ReadBool(const std::string& key, bool def) = 0;
    virtual std::int64_t ReadInt(const std::string& key, std::int64_t def) = 0;
    virtual double ReadFloat(const std::string& key, double def) = 0;
    virtual std::string ReadString(const std::string& key, const std::string& def) = 0;
    virtual TColor ReadColor(const std::string& key, TColor def) = 0;
    virtual TOrnMathVector ReadVector(const std::string& key, const TOrnMathVector& def) = 0;

    /// A new plain file name (no folder) with the given extension for a file that the scene refers
    /// to, unique within this save.
    virtual std::string GetFileName(const std::string& extension) = 0;
    /// The full path of a file name relative to the scene file's folder, subfolders included; empty
    /// when the name leads outside that folder (through "..", as an absolute path, or through a
    /// link pointing outside): such a reference is ignored.
    virtual std::string FilePath(const std::string& name) = 0;

    /// An enumeration written by the name of its value.
    void WriteEnum(const std::string& key, int value, int def, std::span<const char* const> names);
    /// An enumeration read by name (letter case ignored); def when the name is unknown.
    int ReadEnum(const std::string& key, int def, std::span<const char* const> names);
    /// A 32-bit integer read with def when the value is missing or outside the 32-bit range.
    std::int32_t ReadInt32(const std::string& key, std::int32_t def);

    /// A reference to another component of the scene, written as its name ("" for none).
    void WriteReference(const std::string& key, const TComponent* value);
    /// Asks for a reference to be resolved once the whole file is read: resolve then receives the
    /// loaded component that the key's value names (nullptr when the value is empty or names none).
    /// Not called when the key is missing. A reader that cannot resolve references ignores them.
    virtual void ReadReference(const std::string& key, std::function<void(TComponent*)> resolve);
};

} // namespace orn
