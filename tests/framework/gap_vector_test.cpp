#include "framework/gap_vector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <span>
#include <utility>
#include <vector>

namespace cw {
namespace {

std::vector<int> elements_of(const gap_vector<int>& values)
{
    std::vector<int> elements;
    for (std::size_t i = 0; i < values.size(); ++i)
        elements.push_back(values[i]);
    return elements;
}

TEST(gap_vector, starts_empty)
{
    const gap_vector<int> values;
    EXPECT_TRUE(values.empty());
    EXPECT_EQ(values.size(), 0u);
    EXPECT_EQ(values.size_in_bytes(), 0u);
}

gap_vector<int> numbers(int count)
{
    gap_vector<int> values;
    for (int i = 1; i <= count; ++i)
        values.push_back(i);
    return values;
}

TEST(gap_vector, inserts_anywhere)
{
    gap_vector<int> values = numbers(3);
    EXPECT_FALSE(values.empty());
    values.insert(1, 2, 7);
    values[0] = 9;
    EXPECT_EQ(elements_of(values), (std::vector<int>{9, 7, 7, 2, 3}));
    values.insert(0, 1, 4);
    values.push_back(5);
    EXPECT_EQ(elements_of(values), (std::vector<int>{4, 9, 7, 7, 2, 3, 5}));
}

TEST(gap_vector, moves_whole)
{
    gap_vector<int> values = numbers(2);
    gap_vector<int> taken = std::move(values);
    EXPECT_EQ(elements_of(taken), (std::vector<int>{1, 2}));
    taken = {};
    EXPECT_TRUE(taken.empty());
    EXPECT_EQ(taken.size_in_bytes(), 0u);
}

TEST(gap_vector, reserves_just_what_is_told)
{
    gap_vector<int> values;
    values.reserve(1000);
    for (int i = 0; i < 1000; ++i)
        values.push_back(i);
    EXPECT_EQ(values.size_in_bytes(), 1000 * sizeof(int));
}

TEST(gap_vector, has_its_elements_side_by_side)
{
    gap_vector<int> values = numbers(4);
    values.insert(2, 1, 9);
    const std::span<int> all = values.elements();
    EXPECT_EQ(std::vector<int>(all.begin(), all.end()), (std::vector<int>{1, 2, 9, 3, 4}));
    gap_vector<int> others;
    EXPECT_TRUE(others.elements().empty());
    others.append(all.subspan(1, 2));
    others.append({});
    others.append(all.first(1));
    EXPECT_EQ(elements_of(others), (std::vector<int>{2, 9, 1}));
    others.insert(0, 1, 0);
    others.append(all.first(1));
    EXPECT_EQ(elements_of(others), (std::vector<int>{0, 2, 9, 1, 1}));
}

TEST(gap_vector, inserts_nothing_too)
{
    gap_vector<int> values = numbers(2);
    values.insert(1, 0, 5);
    EXPECT_EQ(elements_of(values), (std::vector<int>{1, 2}));
}

TEST(gap_vector, is_what_a_vector_would_be)
{
    std::mt19937 random(7);
    for (int round = 0; round < 50; ++round) {
        gap_vector<int> values;
        std::vector<int> expected;
        for (int step = 0; step < 200; ++step) {
            const std::size_t index = random() % (expected.size() + 1);
            const std::size_t count = random() % 4;
            values.insert(index, count, step);
            expected.insert(expected.begin() + static_cast<std::ptrdiff_t>(index), count, step);
            if (random() % 10 == 0)
                values.reserve(random() % 100);
            if (random() % 20 == 0) {
                ASSERT_TRUE(std::ranges::equal(values.elements(), expected));
            }
        }
        ASSERT_EQ(elements_of(values), expected);
    }
}

TEST(gap_vector, stays_close_to_what_it_holds)
{
    gap_vector<int> values;
    for (int i = 0; i < 100'000; ++i)
        values.insert(static_cast<std::size_t>(i), 1, i);
    EXPECT_LE(values.size_in_bytes(), values.size() * sizeof(int) * 5 / 4 + 256);
}

/// Moving elements about for each of these would take minutes.
TEST(gap_vector, a_run_in_the_middle_moves_nothing_behind_it)
{
    constexpr std::size_t count = 1'000'000;
    gap_vector<int> values;
    values.insert(0, count, 1);
    for (std::size_t i = 0; i < count; ++i)
        values.insert(i, 1, 2);
    EXPECT_EQ(values[0], 2);
    EXPECT_EQ(values[count - 1], 2);
    EXPECT_EQ(values[count], 1);
    EXPECT_EQ(values.size(), 2 * count);
}

} // namespace
} // namespace cw
