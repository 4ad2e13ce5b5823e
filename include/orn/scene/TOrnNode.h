#pragma once

#include <orn/scene/TOrnRender.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <unordered_map>
#include <vector>

namespace orn {

namespace detail {
class PickIndex;
}

/// Hears of items inserted into and removed from a node, and of the node's own end.
using TOrnItemNotifyEvent = std::function<void(TComponent* component, TOperation operation)>;

/// A group of render components, rendered in order inside the node's own transformation. A
/// change in any item drops the node's display list and travels on upwards.
///
/// A pick (dmSelection) draws only the items whose bounds may meet the pick volume, found through
/// an index that the node builds at a pick and drops when its list or an item changes. Assigning
/// an item's OnTransform, OnBeforeRender or OnAfterRender, or moving the points of a built object
/// in place, tells nobody: call the item's Changed then.
class TOrnNode : public TOrnCustomNode {
    ORN_CLASS(TOrnNode)
public:
    explicit TOrnNode(TComponent* owner);
    ~TOrnNode() override;

    /// The item at index; throws EOrnError out of range.
    TOrnRender* Items(int index) const;
    int Count() const { return static_cast<int>(fItems.size()); }
    int IndexOf(const TOrnRender* item) const;
    /// Whether the item at index was added with AddIndirect (false out of range).
    bool Indirect(int index) const;

    int Add(TOrnRender* item) override;
    /// Appends an item that keeps its own node and change handler.
    int AddIndirect(TOrnRender* item);
    /// Inserts item at index (clamped to the list), taking it from its previous node; a node
    /// cannot hold itself ("Can not create a link to myself.").
    virtual void Insert(int index, TOrnRender* item);
    int Remove(TOrnRender* item) override;
    void Delete(int index);
    /// Moves an item; both indexes are clamped to the list.
    void Move(int from, int to);
    void Exchange(int i, int j);
    void Clear();
    /// The leaves below this node: items that are nodes count their own leaves.
    int CountAllItems() const;

    /// Replaces the rendering of the items when assigned.
    TOrnRenderEvent OnRender;
    /// Told of insertions, removals and every notification the node receives.
    TOrnItemNotifyEvent OnItemNotify;

    void SubChange(TObject* sender) override;
    void Notification(TComponent* component, TOperation operation) override;
    /// Every item's bounds, placed by its transformation (an item with an OnTransform event by its
    /// transformation too).
    bool GetBounds(TOrnBounds& bounds) override;
    void WriteValues(TOrnCustomExchange& exchange) override;
    TOrnExchangeItem* ReadComp(TOrnCustomExchange& exchange, const std::string& tagName) override;

protected:
    void DoRender(TOrnCustomView* view) override;

private:
    /// The list itself changed: positions found before are stale.
    void ListEdited();
    void DropPickIndex();
    void NotifyItem(TComponent* item, TOperation operation);
    int Held(const TComponent* item) const;
    void CountHeld(const TComponent* item, int delta);
    int IndexForRemoval(const TOrnRender* item) const;

    std::vector<TOrnRender*> fItems;
    std::unordered_map<const TComponent*, int> fHeld; // how often each item is in fItems
    std::vector<bool> fIndirect;
    TOrnRender* fRemoving = nullptr;
    bool fBounding = false;
    // Built at a pick, dropped when the list or an item changes.
    std::unique_ptr<detail::PickIndex> fPickIndex;
    std::uint64_t fListEdits = 0;
    std::uint64_t fPickChanges = 0;
};

} // namespace orn
