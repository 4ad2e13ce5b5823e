#pragma once

#include <cstdint>
#include <initializer_list>
#include <type_traits>

namespace orn {

/// A set of up to 32 values of an enumeration whose ordinals start at 0, as the host's sets are.
template <class E> class TSet {
    static_assert(std::is_enum_v<E>);

public:
    constexpr TSet() = default;
    constexpr TSet(std::initializer_list<E> items) {
        for (E e : items) Include(e);
    }
    static constexpr TSet FromBits(std::uint32_t bits) {
        TSet s;
        s.fBits = bits;
        return s;
    }

    constexpr bool Contains(E e) const { return (fBits & Bit(e)) != 0; }
    constexpr TSet& Include(E e) {
        fBits |= Bit(e);
        return *this;
    }
    constexpr TSet& Exclude(E e) {
        fBits &= ~Bit(e);
        return *this;
    }
    constexpr bool Empty() const { return fBits == 0; }
    constexpr std::uint32_t Bits() const { return fBits; }

    constexpr TSet operator+(TSet o) const { return FromBits(fBits | o.fBits); }
    constexpr TSet operator-(TSet o) const { return FromBits(fBits & ~o.fBits); }
    constexpr TSet operator*(TSet o) const { return FromBits(fBits & o.fBits); }
    constexpr bool operator==(const TSet&) const = default;

private:
    static constexpr std::uint32_t Bit(E e) { return 1u << static_cast<unsigned>(e); }
    std::uint32_t fBits = 0;
};

} // namespace orn
