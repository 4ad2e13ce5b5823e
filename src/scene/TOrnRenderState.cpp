#include <orn/scene/TOrnRenderState.h>

#include <orn/scene/TOrnRender.h>

#include <algorithm>
#include <atomic>

namespace orn {

// --- Share group

void TOrnShareGroup::DeleteListLater(GLuint list) {
    if (list != 0) fPendingLists.push_back(list);
}

std::vector<TOrnShareGroup::Resident>::iterator TOrnShareGroup::Find(const TOrnRender* owner) {
    return std::find_if(fTextures.begin(), fTextures.end(), [owner](const Resident& r) { return r.owner == owner; });
}

std::vector<TOrnShareGroup::Resident>::const_iterator TOrnShareGroup::Find(const TOrnRender* owner) const {
    return std::find_if(fTextures.begin(), fTextures.end(), [owner](const Resident& r) { return r.owner == owner; });
}

GLuint TOrnShareGroup::TextureName(const TOrnRender* owner) const {
    auto it = Find(owner);
    return it == fTextures.end() ? 0 : it->name;
}

void TOrnShareGroup::Evict(std::vector<Resident>::iterator it) {
    TOrnRender* owner = it->owner;
    fPendingTextures.push_back(it->name);
    fTextures.erase(it);
    // Lists that bound the evicted name are out of date, and the pixels must go up again.
    owner->Changed();
}

GLuint TOrnShareGroup::AddTexture(TOrnRender* owner) {
    if (!owner) return 0;
    if (auto it = Find(owner); it != fTextures.end()) fTextures.erase(it);
    while (!fTextures.empty() && static_cast<int>(fTextures.size()) >= fMaxTexture)
        Evict(fTextures.begin());
    DeletePending(); // the caller renders: a context of the group is current
    GLuint name = 0;
    glGenTextures(1, &name);
    fTextures.push_back({owner, name, 0});
    return name;
}

void TOrnShareGroup::TouchTexture(const TOrnRender* owner) {
    auto it = Find(owner);
    if (it != fTextures.end()) std::rotate(it, it + 1, fTextures.end());
}

void TOrnShareGroup::RemoveTexture(const TOrnRender* owner, bool current) {
    auto it = Find(owner);
    if (it == fTextures.end()) return;
    const GLuint name = it->name;
    fTextures.erase(it);
    if (current)
        glDeleteTextures(1, &name);
    else
        fPendingTextures.push_back(name);
}

std::uint64_t TOrnShareGroup::UploadedStamp(const TOrnRender* owner) const {
    auto it = Find(owner);
    return it == fTextures.end() ? 0 : it->uploaded;
}

void TOrnShareGroup::SetUploadedStamp(const TOrnRender* owner, std::uint64_t stamp) {
    if (auto it = Find(owner); it != fTextures.end()) it->uploaded = stamp;
}

int TOrnShareGroup::SetMaxTexture(int count) {
    if (count < fMaxTexture) {
        if (count < 1) return fMaxTexture;
        while (static_cast<int>(fTextures.size()) > count)
            Evict(fTextures.begin());
    }
    fMaxTexture = count;
    return fMaxTexture;
}

void TOrnShareGroup::DeletePending() {
    for (GLuint list : fPendingLists)
        glDeleteLists(list, 1);
    fPendingLists.clear();
    if (!fPendingTextures.empty())
        glDeleteTextures(static_cast<GLsizei>(fPendingTextures.size()), fPendingTextures.data());
    fPendingTextures.clear();
}

// --- Render state of one context

TOrnRenderState::TOrnRenderState(const TOrnRenderState* shareWith)
    : fGroup(shareWith ? shareWith->fGroup : std::make_shared<TOrnShareGroup>()) {}

void TOrnRenderState::BeginFrame() {
    fApplied = {};
    fGroup->DeletePending();
}

std::uint64_t TOrnRenderState::NewStamp() {
    // Only ever counts up: a stamp names one state of one component for the life of the process.
    static std::atomic<std::uint64_t> next{1};
    return next.fetch_add(1, std::memory_order_relaxed);
}

void TOrnRenderState::BeginCompile() {
    if (fCompiling++ > 0) return;
    fBeforeCompile = fApplied;
    fApplied = {};
}

TOrnAppliedStamps TOrnRenderState::EndCompile() {
    const TOrnAppliedStamps leaves = fApplied;
    if (fCompiling > 0 && --fCompiling == 0)
        for (int i = 0; i < kStateSlotCount; ++i)
            if (fApplied[i] == 0) fApplied[i] = fBeforeCompile[i]; // the list left that slot alone
    return leaves;
}

void TOrnRenderState::ListCalled(const TOrnAppliedStamps& leaves) {
    for (int i = 0; i < kStateSlotCount; ++i)
        if (leaves[i] != 0) fApplied[i] = leaves[i];
}

} // namespace orn
