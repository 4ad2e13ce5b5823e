#pragma once

#include <orn/math/TOrnProperty.h>

#include <GL/gl.h>

#include <cstdint>

namespace orn {

class TOrnTexture;
class TOrnRender;

/// A list of 32-bit point indices drawn with one OpenGL primitive type (GL_POINTS … GL_POLYGON).
///
/// Size is the capacity the list reports and grows by 12 on a full append; the memory underneath
/// grows geometrically.
class TOrnPrimitiveArray : public TOrnProperty {
    ORN_CLASS(TOrnPrimitiveArray)
public:
    explicit TOrnPrimitiveArray(GLenum type = GL_TRIANGLES);
    ~TOrnPrimitiveArray() override;

    int Count() const { return fCount; }
    /// n < 0 is ignored; SetSize(n) and Count = n.
    void SetCount(int n);
    int Size() const { return fSize; }
    /// Reallocates to n entries (n < 0 is ignored, n above 2^28 throws EOrnError); Count is cut to n.
    void SetSize(int n);
    GLenum Type() const { return fType; }
    /// Changes the type where the indices allow it (see the conversions); other requests are ignored.
    void SetType(GLenum value);
    bool Enabled() const { return fEnabled; }
    void SetEnabled(bool value) { fEnabled = value; }
    bool Textured() const { return fTextured; }
    void SetTextured(bool value) { fTextured = value; }
    /// The texture bound before drawing (not owned), and the same component as a render component.
    TOrnTexture* Texture() const { return fTexture; }
    TOrnRender* TextureRender() const { return fTextureRender; }
    void SetTextureRef(TOrnTexture* texture, TOrnRender* render) {
        fTexture = texture;
        fTextureRender = render;
    }

    /// Appends a point index; its position.
    int AddIndex(std::uint32_t index);
    /// Appends n entries that the caller writes at once, left uncleared: the first of them, or null
    /// for n < 1. Valid until the next resize.
    std::uint32_t* Append(int n);
    /// Inserts at position (clamped to 0 … Count).
    void Insert(int position, std::uint32_t index);
    /// Removes count entries from first; a negative first eats into count.
    void Delete(int first, int count);
    /// The entry at position 0 … Size − 1; 0 outside.
    std::uint32_t Indices(int position) const;
    std::uint32_t GetIndices(int position) const { return Indices(position); }
    void SetIndices(int position, std::uint32_t value);
    /// Appends the entries of other, each plus offset, when both have the same type.
    void Add(const TOrnPrimitiveArray& other, std::uint32_t offset);

    /// Strips, fans, quads and quad strips into separate triangles.
    void SwitchToTriangles();
    /// Strips and quad strips into separate quads.
    void SwitchToQuads();
    /// Flips the winding of every face.
    void Invert();
    /// One glDrawElements of the whole list.
    void ProceedDirectRendering() const;

    /// Type, flags, texture and indices.
    void Assign(const TPersistent* source) override;

    /// The entries for fast readers and writers; valid for Size entries until the next resize.
    std::uint32_t* Data() { return fData; }
    const std::uint32_t* Data() const { return fData; }

private:
    void Reserve(int n);
    void SetSizeUncleared(int n);
    /// SetCount(n) for a caller that writes all n entries next.
    std::uint32_t* Overwrite(int n);
    void GrowForAppend();

    int fCount = 0;
    int fSize = 0;
    GLenum fType;
    bool fEnabled = true;
    TOrnTexture* fTexture = nullptr;
    TOrnRender* fTextureRender = nullptr;
    bool fTextured = false;
    std::uint32_t* fData = nullptr;
    int fCapacity = 0;
};

} // namespace orn
