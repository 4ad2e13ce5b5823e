#pragma once

#include <GL/gl.h>

#include <array>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace orn {

class TOrnRender;

/// The slots of render state that components share and send once: what a context applied last in
/// each of them is remembered.
enum TOrnStateSlot { ssAttributes, ssMaterial, ssTexture };
inline constexpr int kStateSlotCount = 3;

/// What a context applied last in each slot: a component's stamp, 0 for unknown.
using TOrnAppliedStamps = std::array<std::uint64_t, kStateSlotCount>;

/// The GL names that contexts sharing display lists and textures hold in common. Names given up
/// while none of the group's contexts is current are deleted at the group's next frame; a group
/// dies with its last context, and with it every name it held, so components keep only a weak
/// reference and forget their names when it is gone.
class TOrnShareGroup {
public:
    TOrnShareGroup() = default;
    TOrnShareGroup(const TOrnShareGroup&) = delete;
    TOrnShareGroup& operator=(const TOrnShareGroup&) = delete;

    /// Deletes a display list at the group's next frame.
    void DeleteListLater(GLuint list);

    /// The texture name owner holds in the group, 0 when none.
    GLuint TextureName(const TOrnRender* owner) const;
    /// A new texture name for owner at the back of the group's list (most recently rendered),
    /// evicting the least recently rendered first when the list is full. Needs a current context.
    GLuint AddTexture(TOrnRender* owner);
    /// Moves owner (when listed) to the back of the list.
    void TouchTexture(const TOrnRender* owner);
    /// Takes owner out of the list; its name is deleted now when current, else at the next frame.
    void RemoveTexture(const TOrnRender* owner, bool current);
    /// The pixels uploaded under owner's name (0: none yet).
    std::uint64_t UploadedStamp(const TOrnRender* owner) const;
    void SetUploadedStamp(const TOrnRender* owner, std::uint64_t stamp);
    /// Sets how many textures may hold a name (values below 1 are ignored), evicting the least
    /// recently rendered beyond it (their names go at the next frame). The maximum in force.
    int SetMaxTexture(int count);
    int MaxTexture() const { return fMaxTexture; }
    /// How many textures hold a name now.
    int TextureCount() const { return static_cast<int>(fTextures.size()); }

    /// Deletes what was given up while no context of the group was current. Needs one current.
    void DeletePending();

private:
    struct Resident {
        TOrnRender* owner;
        GLuint name;
        std::uint64_t uploaded;
    };
    std::vector<Resident>::iterator Find(const TOrnRender* owner);
    std::vector<Resident>::const_iterator Find(const TOrnRender* owner) const;
    void Evict(std::vector<Resident>::iterator it);

    std::vector<GLuint> fPendingLists;
    std::vector<GLuint> fPendingTextures;
    std::vector<Resident> fTextures; // front: least recently rendered
    int fMaxTexture = 4;
};

/// The render state of one GL context, reached through the view being rendered
/// (TOrnCustomView::RenderState): what the context applied last, whether a display list is being
/// compiled (then nothing may be skipped), and the share group whose lists and textures it uses.
class TOrnRenderState {
public:
    /// A context of its own share group, or (shareWith) one sharing the group of shareWith.
    explicit TOrnRenderState(const TOrnRenderState* shareWith = nullptr);
    TOrnRenderState(const TOrnRenderState&) = delete;
    TOrnRenderState& operator=(const TOrnRenderState&) = delete;

    /// Starts a frame in this context, which must be current: nothing is known to be applied any
    /// more, and names the group gave up meanwhile are deleted.
    void BeginFrame();

    /// Whether stamp is what the context applied last in slot, so that sending it again may be
    /// skipped; never while a display list is being compiled.
    bool IsApplied(TOrnStateSlot slot, std::uint64_t stamp) const {
        return fCompiling == 0 && stamp != 0 && fApplied[slot] == stamp;
    }
    void SetApplied(TOrnStateSlot slot, std::uint64_t stamp) { fApplied[slot] = stamp; }
    /// Forgets what slot holds, for a component that changed state behind the slot's back.
    void ForgetApplied(TOrnStateSlot slot) { fApplied[slot] = 0; }
    /// A stamp never handed out before: state components take a new one whenever they change.
    static std::uint64_t NewStamp();

    bool Compiling() const { return fCompiling > 0; }
    /// Around compiling a display list: what the list applies is recorded as what it leaves.
    void BeginCompile();
    TOrnAppliedStamps EndCompile();
    /// After calling a list: the slots it applied hold what it left.
    void ListCalled(const TOrnAppliedStamps& leaves);

    const std::shared_ptr<TOrnShareGroup>& Group() const { return fGroup; }

private:
    std::shared_ptr<TOrnShareGroup> fGroup;
    TOrnAppliedStamps fApplied{};
    TOrnAppliedStamps fBeforeCompile{};
    int fCompiling = 0;
};

} // namespace orn
