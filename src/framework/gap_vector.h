// A growing array with its spare room wherever the last insertion was, so that a run of insertions in
// the middle costs no more than one at the end. The list keeps its cells in these.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <span>
#include <type_traits>
#include <utility>

namespace cw {

template <class T>
requires std::is_trivially_copyable_v<T>
class gap_vector {
public:
    gap_vector() noexcept = default;
    gap_vector(gap_vector&& other) noexcept { swap(other); }
    gap_vector& operator=(gap_vector other) noexcept
    {
        swap(other);
        return *this;
    }

    [[nodiscard]] std::size_t size() const noexcept { return m_capacity - m_gapLength; }
    [[nodiscard]] bool empty() const noexcept { return size() == 0; }
    [[nodiscard]] T& operator[](std::size_t index) noexcept { return m_storage[place_of(index)]; }
    [[nodiscard]] const T& operator[](std::size_t index) const noexcept { return m_storage[place_of(index)]; }

    /// Makes room for `added` more elements and no more, where many are to come.
    void reserve(std::size_t added)
    {
        if (added > m_gapLength)
            grow(size() + added);
    }

    /// Inserts `count` copies of `value` before the element `index`, which is at most `size()`. Room
    /// grows by a quarter at a time, so that storage stays close to what it holds; inserting in one
    /// place is still constant time on average.
    void insert(std::size_t index, std::size_t count, const T& value)
    {
        std::fill_n(make_room(index, count), count, value);
    }
    void push_back(const T& value) { insert(size(), 1, value); }
    /// Adds a run of elements, which is none of this one's own, at the end.
    void append(std::span<const T> run) { std::ranges::copy(run, make_room(size(), run.size())); }

    /// All elements side by side; valid until the next insertion.
    [[nodiscard]] std::span<T> elements() noexcept
    {
        move_gap(size());
        return {m_storage.get(), size()};
    }

    [[nodiscard]] std::size_t size_in_bytes() const noexcept { return m_capacity * sizeof(T); }

private:
    [[nodiscard]] std::size_t place_of(std::size_t index) const noexcept
    {
        return index < m_gapStart ? index : index + m_gapLength;
    }

    void swap(gap_vector& other) noexcept
    {
        std::swap(m_storage, other.m_storage);
        std::swap(m_capacity, other.m_capacity);
        std::swap(m_gapStart, other.m_gapStart);
        std::swap(m_gapLength, other.m_gapLength);
    }

    /// Takes `count` elements of the gap before the element `index`; answers where they stand.
    T* make_room(std::size_t index, std::size_t count)
    {
        constexpr std::size_t smallest_growth = 16;
        if (count > m_gapLength)
            grow(std::max(size() + count, m_capacity + m_capacity / 4 + smallest_growth));
        move_gap(index);
        T* const room = m_storage.get() + m_gapStart;
        m_gapStart += count;
        m_gapLength -= count;
        return room;
    }

    void grow(std::size_t capacity)
    {
        const std::size_t used = size();
        // The gap is never read, so nothing need stand there.
        auto grown = std::make_unique_for_overwrite<T[]>(capacity);
        std::copy_n(m_storage.get(), m_gapStart, grown.get());
        std::copy_n(m_storage.get() + m_gapStart + m_gapLength, used - m_gapStart,
                    grown.get() + capacity - (used - m_gapStart));
        m_storage = std::move(grown);
        m_capacity = capacity;
        m_gapLength = capacity - used;
    }

    void move_gap(std::size_t index) noexcept
    {
        if (index == m_gapStart)
            return;
        T* const all = m_storage.get();
        if (index < m_gapStart)
            std::copy_backward(all + index, all + m_gapStart, all + m_gapStart + m_gapLength);
        else
            std::copy(all + m_gapStart + m_gapLength, all + index + m_gapLength, all + m_gapStart);
        m_gapStart = index;
    }

    std::unique_ptr<T[]> m_storage; // elements, the gap, elements
    std::size_t m_capacity = 0;
    std::size_t m_gapStart = 0;
    std::size_t m_gapLength = 0;
};

} // namespace cw
