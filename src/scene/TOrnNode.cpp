#include <orn/scene/TOrnNode.h>

#include <orn/host/EOrnError.h>
#include <orn/scene/TOrnObject.h>
#include <orn/scene/TOrnRegistry.h>

#include "scene/detail/PickIndex.h"

#include <algorithm>
#include <cctype>

namespace orn {

namespace {

// Keeps the view's path of nodes while a node renders its items for names.
struct NodePathScope {
    TOrnCustomView* view;
    NodePathScope(TOrnCustomView* v, TOrnCustomNode* node) : view(v) {
        if (view) view->EnterNode(node);
    }
    ~NodePathScope() {
        if (view) view->LeaveNode();
    }
    NodePathScope(const NodePathScope&) = delete;
    NodePathScope& operator=(const NodePathScope&) = delete;
};

} // namespace

ORN_REGISTER_RENDER_CLASS(TOrnNode, "Orn")

TOrnNode::TOrnNode(TComponent* owner) : TOrnCustomNode(owner) {}

TOrnNode::~TOrnNode() {
    NotifyItem(this, opRemove);
    Clear();
}

void TOrnNode::ListEdited() {
    ++fListEdits;
    DropPickIndex();
}

void TOrnNode::DropPickIndex() {
    ++fPickChanges;
    fPickIndex.reset();
}

TOrnRender* TOrnNode::Items(int index) const {
    if (index < 0 || index >= Count())
        throw EOrnError("List index out of bounds (" + std::to_string(index) + ")");
    return fItems[static_cast<size_t>(index)];
}

int TOrnNode::IndexOf(const TOrnRender* item) const {
    if (Held(item) == 0) return -1;
    auto it = std::find(fItems.begin(), fItems.end(), item);
    return it == fItems.end() ? -1 : static_cast<int>(it - fItems.begin());
}

int TOrnNode::Held(const TComponent* item) const {
    auto it = fHeld.find(item);
    return it == fHeld.end() ? 0 : it->second;
}

void TOrnNode::CountHeld(const TComponent* item, int delta) {
    if ((fHeld[item] += delta) <= 0) fHeld.erase(item);
}

int TOrnNode::IndexForRemoval(const TOrnRender* item) const {
    // An item held once is found from the end: a node emptied or destroyed from its last item
    // then costs no search.
    if (Held(item) != 1) return IndexOf(item);
    auto it = std::find(fItems.rbegin(), fItems.rend(), item);
    return static_cast<int>(fItems.rend() - it) - 1;
}

bool TOrnNode::Indirect(int index) const {
    return index >= 0 && index < Count() && fIndirect[static_cast<size_t>(index)];
}

int TOrnNode::Add(TOrnRender* item) {
    if (!item) return -1; // nothing is inserted, so no bit may change
    Insert(Count(), item);
    const int last = Count() - 1;
    if (last >= 0) fIndirect[static_cast<size_t>(last)] = false;
    return last;
}

int TOrnNode::AddIndirect(TOrnRender* item) {
    fItems.push_back(item);
    fIndirect.push_back(true);
    CountHeld(item, 1);
    ListEdited();
    if (item) FreeNotification(item); // so a destroyed item never stays in the list
    return Count() - 1;
}

void TOrnNode::Insert(int index, TOrnRender* item) {
    if (item == this) throw EOrnError("Can not create a link to myself.");
    if (!item) return;
    item->SetNodeDirect(this);
    index = std::clamp(index, 0, Count());
    fItems.insert(fItems.begin() + index, item);
    fIndirect.insert(fIndirect.begin() + index, false);
    CountHeld(item, 1);
    ListEdited();
    item->OnChange = [this](TObject* sender) { SubChange(sender); };
    FreeNotification(item);
    NotifyItem(item, opInsert);
}

int TOrnNode::Remove(TOrnRender* item) {
    // Item.SetNode(nil) below calls back into Remove; the item is told of its removal once.
    if (item && item == fRemoving) return -1;
    const int i = IndexForRemoval(item);
    if (i >= 0) {
        const bool indirect = fIndirect[static_cast<size_t>(i)];
        fItems.erase(fItems.begin() + i);
        fIndirect.erase(fIndirect.begin() + i);
        CountHeld(item, -1);
        ListEdited();
        if (!indirect) {
            item->OnChange = nullptr;
            fRemoving = item;
            item->SetNode(nullptr);
            fRemoving = nullptr;
        }
        if (Held(item) == 0) RemoveFreeNotification(item);
    }
    NotifyItem(item, opRemove);
    return i;
}

void TOrnNode::Delete(int index) {
    Remove(Items(index));
}

void TOrnNode::Move(int from, int to) {
    if (fItems.empty()) return;
    from = std::clamp(from, 0, Count() - 1);
    to = std::clamp(to, 0, Count() - 1);
    TOrnRender* item = fItems[static_cast<size_t>(from)];
    const bool bit = fIndirect[static_cast<size_t>(from)];
    fItems.erase(fItems.begin() + from);
    fIndirect.erase(fIndirect.begin() + from);
    fItems.insert(fItems.begin() + to, item);
    fIndirect.insert(fIndirect.begin() + to, bit);
    ListEdited();
}

void TOrnNode::Exchange(int i, int j) {
    Items(i);
    Items(j); // range checks
    std::swap(fItems[static_cast<size_t>(i)], fItems[static_cast<size_t>(j)]);
    const bool bi = fIndirect[static_cast<size_t>(i)];
    fIndirect[static_cast<size_t>(i)] = fIndirect[static_cast<size_t>(j)];
    fIndirect[static_cast<size_t>(j)] = bi;
    ListEdited();
}

void TOrnNode::Clear() {
    for (int i = Count() - 1; i >= 0; --i)
        if (i < Count()) Delete(i);
}

int TOrnNode::CountAllItems() const {
    int n = 0;
    for (const TOrnRender* item : fItems) {
        if (auto* node = dynamic_cast<const TOrnNode*>(item))
            n += node->CountAllItems();
        else
            ++n;
    }
    return n;
}

void TOrnNode::SubChange(TObject* sender) {
    // An item may have moved or changed its shape; the node's own transformation moves them all.
    if (sender != Transformation()) DropPickIndex();
    TOrnCustomNode::SubChange(sender);
    ClearCache();
}

void TOrnNode::NotifyItem(TComponent* item, TOperation operation) {
    if (OnItemNotify) OnItemNotify(item, operation);
}

void TOrnNode::Notification(TComponent* component, TOperation operation) {
    TOrnCustomNode::Notification(component, operation);
    if (operation == opRemove && component) {
        // A destroyed item leaves the list without being called: it may be half gone.
        for (int i = Count() - 1; i >= 0 && Held(component) > 0; --i)
            if (fItems[static_cast<size_t>(i)] == component) {
                fItems.erase(fItems.begin() + i);
                fIndirect.erase(fIndirect.begin() + i);
                CountHeld(component, -1);
                ListEdited();
            }
    }
    NotifyItem(component, operation);
}

bool TOrnNode::GetBounds(TOrnBounds& bounds) {
    // Nodes that hold each other would draw for ever; their bounds stop at the second visit.
    if (fBounding) return false;
    fBounding = true;
    bool any = false;
    for (TOrnRender* item : fItems) {
        TOrnBounds own;
        if (!item || !item->Enabled() || !item->GetBounds(own)) continue;
        bounds.Add(own.Transformed(*item->Transformation()));
        any = true;
    }
    fBounding = false;
    return any;
}

void TOrnNode::DoRender(TOrnCustomView* view) {
    if (OnRender) {
        OnRender(view);
        return;
    }
    NodePathScope path(view && IsNamingDrawMode(view->DrawMode()) ? view : nullptr, this);
    if (!view || view->DrawMode() != dmSelection) {
        for (size_t i = 0; i < fItems.size(); ++i)
            if (TOrnRender* item = fItems[i]) item->Render(view);
        return;
    }
    // Picking draws only the items that may meet the pick volume, found through the index; items
    // that leave state behind for the next ones are always drawn.
    // Bounds may build an item, and a change then drops the index: it is held here meanwhile.
    std::unique_ptr<detail::PickIndex> index = std::move(fPickIndex);
    const std::uint64_t changes = fPickChanges;
    if (!index) index = std::make_unique<detail::PickIndex>(fItems, fIndirect);
    std::vector<int> drawn;
    index->Query(fItems, detail::ClipVolume(), drawn);
    if (fPickChanges == changes) fPickIndex = std::move(index);
    const std::uint64_t edits = fListEdits;
    for (std::size_t k = 0; k < drawn.size(); ++k) {
        const auto i = static_cast<std::size_t>(drawn[k]);
        if (i < fItems.size() && fItems[i]) fItems[i]->Render(view);
        if (fListEdits != edits) {
            // An item's render changed the list: the positions found are stale; what is left
            // is drawn in full.
            for (std::size_t rest = i + 1; rest < fItems.size(); ++rest)
                if (TOrnRender* item = fItems[rest]) item->Render(view);
            return;
        }
    }
}

void TOrnNode::WriteValues(TOrnCustomExchange& exchange) {
    TOrnCustomNode::WriteValues(exchange);
    for (TOrnRender* item : fItems) {
        std::string tag = item->ClassName();
        std::transform(tag.begin(), tag.end(), tag.begin(), [](unsigned char c) { return std::toupper(c); });
        item->WriteComp(exchange, tag);
        exchange.ObjectStep();
    }
}

TOrnExchangeItem* TOrnNode::ReadComp(TOrnCustomExchange& exchange, const std::string& tagName) {
    TComponentClass cls = GetRenderClass(tagName);
    if (!cls) return TOrnCustomNode::ReadComp(exchange, tagName);
    TComponent* made = cls->Create(this);
    auto* render = dynamic_cast<TOrnRender*>(made);
    if (!render) {
        delete made;
        return nullptr;
    }
    Add(render);
    // Items made while the node loads read their keys in the loading state too.
    if (ComponentState().Contains(csLoading)) render->Loading();
    render->ReadValues(exchange);
    return render;
}

} // namespace orn
