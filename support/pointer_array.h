// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// A growing array of pointers to elements, which it owns unless Owns is false.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>

namespace Sonorel {

// Not shared between threads.
template <typename Element>
class PointerArray {
public:
    PointerArray() = default;
    PointerArray(const PointerArray&) = delete;
    PointerArray& operator=(const PointerArray&) = delete;
    ~PointerArray() { Clear(); }

    // Returns false when out of memory: the array is unchanged, and the caller keeps the element.
    bool Append(Element* element) {
        if (Count >= Capacity && !Grow()) return false;
        Items[Count++] = element;
        return true;
    }

    // Returns null outside 0 to Count - 1.
    Element* At(std::int32_t index) const {
        return Items && index >= 0 && index < Count ? Items[index] : nullptr;
    }

    // Removes all elements, and deletes them if they are owned.
    void Clear() {
        if (Items && Owns) std::for_each(Items, Items + Count, [](Element* item) { delete item; });
        delete[] Items;
        Items = nullptr;
        Count = 0;
        Capacity = 0;
    }

    std::int32_t Count = 0;
    std::int32_t Capacity = 0; // slots in Items
    Element** Items = nullptr;
    bool Owns = true;

private:
    // The lists have a few devices each, so small constant steps suffice.
    static constexpr std::int32_t GrowthStep = 16;

    bool Grow() {
        const std::int32_t capacity = Capacity + GrowthStep;
        auto** items = new (std::nothrow) Element*[static_cast<std::size_t>(capacity)];
        if (!items) return false;
        std::copy_n(Items, Count, items);
        delete[] Items;
        Items = items;
        Capacity = capacity;
        return true;
    }
};

} // namespace Sonorel
