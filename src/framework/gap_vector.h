// A growing array with its spare room wherever the last insertion was, so that a run of insertions in
// the middle costs no more than one at the end. The list keeps its cells in these.
#pragma once

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace cw {

/// `T` is copied and moved freely and has a default value.
template <class T>
class gap_vector {
public:
    gap_vector() = default;
    /// The elements in their order, without spare room but what `elements` has.
    explicit gap_vector(std::vector<T> elements) noexcept : m_storage(std::move(elements)), m_gapStart(m_storage.size())
    {
    }

    [[nodiscard]] std::size_t size() const noexcept { return m_storage.size() - m_gapLength; }
    [[nodiscard]] bool empty() const noexcept { return size() == 0; }
    [[nodiscard]] T& operator[](std::size_t index) noexcept { return m_storage[place_of(index)]; }
    [[nodiscard]] const T& operator[](std::size_t index) const noexcept { return m_storage[place_of(index)]; }

    /// Makes room for `added` more elements. Grown by a quarter at a time, so that storage stays close to
    /// what it holds; inserting in one place is still constant time on average.
    void make_room(std::size_t added)
    {
        constexpr std::size_t smallest_growth = 16;
        if (added <= m_gapLength)
            return;
        const std::size_t used = size();
        std::vector<T> grown(std::max(used + added, m_storage.size() + m_storage.size() / 4 + smallest_growth));
        const auto gap = m_storage.begin() + static_cast<std::ptrdiff_t>(m_gapStart);
        std::copy(m_storage.begin(), gap, grown.begin());
        std::copy_backward(gap + static_cast<std::ptrdiff_t>(m_gapLength), m_storage.end(), grown.end());
        m_gapLength = grown.size() - used;
        m_storage = std::move(grown);
    }

    /// Inserts `count` copies of `value` before the element `index`, which is at most `size()`.
    void insert(std::size_t index, std::size_t count, const T& value)
    {
        make_room(count);
        move_gap(index);
        std::fill_n(m_storage.begin() + static_cast<std::ptrdiff_t>(m_gapStart), count, value);
        m_gapStart += count;
        m_gapLength -= count;
    }

    [[nodiscard]] std::size_t size_in_bytes() const noexcept { return m_storage.capacity() * sizeof(T); }

private:
    [[nodiscard]] std::size_t place_of(std::size_t index) const noexcept
    {
        return index < m_gapStart ? index : index + m_gapLength;
    }

    void move_gap(std::size_t index)
    {
        const auto at = [this](std::size_t place) { return m_storage.begin() + static_cast<std::ptrdiff_t>(place); };
        if (index < m_gapStart)
            std::move_backward(at(index), at(m_gapStart), at(m_gapStart + m_gapLength));
        else
            std::move(at(m_gapStart + m_gapLength), at(index + m_gapLength), at(m_gapStart));
        m_gapStart = index;
    }

    std::vector<T> m_storage; // elements, the gap, elements
    std::size_t m_gapStart = 0;
    std::size_t m_gapLength = 0;
};

} // namespace cw
