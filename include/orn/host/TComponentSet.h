#pragma once

#include <cstddef>
#include <memory>
#include <unordered_map>
#include <vector>

namespace orn {

class TComponent;

/// A set of components kept in the order they joined, with constant-time Add, Remove and
/// Contains: a component hearing from thousands of others must not search a list for each one.
/// Removing moves the last member into the gap. Small sets are searched directly; the hash index
/// is built only once a set grows, so the common set of zero to a few members costs no allocation.
class TComponentSet {
public:
    size_t size() const { return fItems.size(); }
    bool empty() const { return fItems.empty(); }
    TComponent* operator[](size_t index) const { return fItems[index]; }
    TComponent* back() const { return fItems.back(); }

    bool Contains(TComponent* c) const { return Find(c) != npos; }

    /// Adds c; false when it was a member already.
    bool Add(TComponent* c) {
        if (Contains(c)) return false;
        fItems.push_back(c);
        if (fIndex)
            (*fIndex)[c] = fItems.size() - 1;
        else if (fItems.size() > kDirect)
            BuildIndex();
        return true;
    }

    /// Removes c; false when it was not a member.
    bool Remove(TComponent* c) {
        const size_t i = Find(c);
        if (i == npos) return false;
        TComponent* last = fItems.back();
        fItems[i] = last;
        fItems.pop_back();
        if (fIndex) {
            if (last != c) (*fIndex)[last] = i;
            fIndex->erase(c);
        }
        return true;
    }

private:
    static constexpr size_t npos = static_cast<size_t>(-1);
    static constexpr size_t kDirect = 8;

    size_t Find(TComponent* c) const {
        if (fIndex) {
            auto it = fIndex->find(c);
            return it == fIndex->end() ? npos : it->second;
        }
        for (size_t i = 0; i < fItems.size(); ++i)
            if (fItems[i] == c) return i;
        return npos;
    }

    void BuildIndex() {
        fIndex = std::make_unique<std::unordered_map<TComponent*, size_t>>();
        fIndex->reserve(fItems.size() * 2);
        for (size_t i = 0; i < fItems.size(); ++i)
            (*fIndex)[fItems[i]] = i;
    }

    std::vector<TComponent*> fItems;
    std::unique_ptr<std::unordered_map<TComponent*, size_t>> fIndex;
};

} // namespace orn
