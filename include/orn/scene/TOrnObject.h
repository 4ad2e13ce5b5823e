#pragma once

#include <orn/math/TOrnColor.h>
#include <orn/math/TOrnPropList.h>
#include <orn/scene/TOrnRender.h>

#include <cstdint>

namespace orn {

class TOrnAttributes;
class TOrnMaterial;

/// The base of every visible object: a colour, optional attributes and material, a name for
/// the scene file and a selection name pushed in the naming draw modes.
class TOrnObject : public TOrnRender {
    ORN_CLASS(TOrnObject)
public:
    explicit TOrnObject(TComponent* owner);

    const std::string& ObjectName() const { return fObjectName; }
    void SetObjectName(const std::string& value);
    std::int32_t ObjectID() const { return fObjectID; }
    void SetObjectID(std::int32_t value);
    TOrnColor* Color() const { return fColor.get(); }
    /// Assigns value into the owned colour; nullptr is ignored.
    void SetColor(const TOrnColor* value);
    /// Render state shared with other objects, not owned (nullptr: none).
    TOrnAttributes* Attributes() const { return fAttributes; }
    void SetAttributes(TOrnAttributes* value);
    TOrnMaterial* Material() const { return fMaterial; }
    void SetMaterial(TOrnMaterial* value);
    /// 0 = off; 1 … 5 = ambient, diffuse, specular, emission, ambient and diffuse follow the colour.
    std::uint8_t ColorMaterial() const { return fColorMaterial; }
    void SetColorMaterial(std::uint8_t value);

    /// The object name follows the component name while they are equal (and not loading).
    void SetName(const std::string& name) override;
    void Notification(TComponent* component, TOperation operation) override;
    /// False: what an object draws through its own events or descendants has no known extent.
    bool GetBounds(TOrnBounds& bounds) override;
    /// Where the ray origin + t · direction (t >= 0, in the object's own coordinates) first meets
    /// a face of index list index (−1: of any list): true with the least such t in distance.
    /// False when it meets none, or when the object does not know its faces (this default).
    virtual bool IntersectRay(int index, const TOrnMathVector& origin, const TOrnMathVector& direction,
                              double& distance);
    ORN_DECLARE_PROPERTIES(TOrnObject)

protected:
    void BeforeRender(TOrnCustomView* view) override;
    /// Colour, attributes, material and colour material; descendants then issue their geometry.
    void DoRender(TOrnCustomView* view) override;
    void AfterRender(TOrnCustomView* view) override;
    /// The stamps of the attributes and material the display list holds.
    std::uint64_t ContentStamp() const override;
    /// Whether view wants selection names now.
    static bool WantsNames(const TOrnCustomView* view) { return view && IsNamingDrawMode(view->DrawMode()); }

private:
    /// Points a state slot at a component, keeping the free notifications right.
    void SetStateRef(TOrnRender*& slot, TOrnRender* value);
    std::string fObjectName;
    std::int32_t fObjectID = -1;
    std::unique_ptr<TOrnColor> fColor;
    TOrnAttributes* fAttributes = nullptr;
    TOrnMaterial* fMaterial = nullptr;
    // The same components as fAttributes and fMaterial, seen as render components: state/ defines
    // the setters above, this layer only renders and forgets them.
    TOrnRender* fAttributesRender = nullptr;
    TOrnRender* fMaterialRender = nullptr;
    std::uint8_t fColorMaterial = 0;

    friend class TOrnAttributes;
    friend class TOrnMaterial;
};

} // namespace orn
