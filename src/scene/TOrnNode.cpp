#include <orn/scene/TOrnNode.h>

#include <orn/host/EOrnError.h>
#include <orn/scene/TOrnRegistry.h>

#include <algorithm>
#include <cctype>

namespace orn {

ORN_REGISTER_RENDER_CLASS(TOrnNode, "Orn")

TOrnNode::TOrnNode(TComponent* owner) : TOrnCustomNode(owner) {}

TOrnNode::~TOrnNode() {
    NotifyItem(this, opRemove);
    Clear();
}

TOrnRender* TOrnNode::Items(int index) const {
    if (index < 0 || index >= Count())
        throw EOrnError("List index out of bounds (" + std::to_string(index) + ")");
    return fItems[static_cast<size_t>(index)];
}

int TOrnNode::IndexOf(const TOrnRender* item) const {
    auto it = std::find(fItems.begin(), fItems.end(), item);
    return it == fItems.end() ? -1 : static_cast<int>(it - fItems.begin());
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
    item->OnChange = [this](TObject* sender) { SubChange(sender); };
    FreeNotification(item);
    NotifyItem(item, opInsert);
}

int TOrnNode::Remove(TOrnRender* item) {
    // Item.SetNode(nil) below calls back into Remove; the item is told of its removal once.
    if (item && item == fRemoving) return -1;
    const int i = IndexOf(item);
    if (i >= 0) {
        const bool indirect = fIndirect[static_cast<size_t>(i)];
        fItems.erase(fItems.begin() + i);
        fIndirect.erase(fIndirect.begin() + i);
        if (!indirect) {
            item->OnChange = nullptr;
            fRemoving = item;
            item->SetNode(nullptr);
            fRemoving = nullptr;
        }
        if (IndexOf(item) < 0) RemoveFreeNotification(item);
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
}

void TOrnNode::Exchange(int i, int j) {
    Items(i);
    Items(j); // range checks
    std::swap(fItems[static_cast<size_t>(i)], fItems[static_cast<size_t>(j)]);
    const bool bi = fIndirect[static_cast<size_t>(i)];
    fIndirect[static_cast<size_t>(i)] = fIndirect[static_cast<size_t>(j)];
    fIndirect[static_cast<size_t>(j)] = bi;
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
        for (int i = Count() - 1; i >= 0; --i)
            if (fItems[static_cast<size_t>(i)] == component) {
                fItems.erase(fItems.begin() + i);
                fIndirect.erase(fIndirect.begin() + i);
            }
    }
    NotifyItem(component, operation);
}

void TOrnNode::DoRender(TOrnCustomView* view) {
    if (OnRender) {
        OnRender(view);
        return;
    }
    for (size_t i = 0; i < fItems.size(); ++i)
        if (fItems[i]) fItems[i]->Render(view);
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
