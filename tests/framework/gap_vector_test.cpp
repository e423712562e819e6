#include "framework/gap_vector.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
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

TEST(gap_vector, takes_over_elements)
{
    gap_vector<int> values(std::vector<int>{1, 2, 3});
    EXPECT_FALSE(values.empty());
    values.insert(1, 2, 7);
    values[0] = 9;
    EXPECT_EQ(elements_of(values), (std::vector<int>{9, 7, 7, 2, 3}));
    values = {};
    EXPECT_TRUE(values.empty());
}

TEST(gap_vector, inserts_nothing_too)
{
    gap_vector<int> values(std::vector<int>{1, 2});
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
                values.make_room(random() % 100);
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

/// Counts how often elements are moved about.
struct counted {
    int value = 0;
    counted() = default;
    explicit counted(int number) : value(number) {}
    counted(const counted&) = default;
    counted& operator=(const counted& other)
    {
        value = other.value;
        ++copies;
        return *this;
    }
    static inline std::size_t copies = 0;
};

TEST(gap_vector, a_run_in_the_middle_moves_nothing_behind_it)
{
    gap_vector<counted> values;
    constexpr std::size_t count = 20'000;
    for (std::size_t i = 0; i < count; ++i)
        values.insert(i, 1, counted(1));
    counted::copies = 0;
    for (std::size_t i = 0; i < count; ++i)
        values.insert(i, 1, counted(2));
    // Each element is written once and moved a few times as the room grows.
    EXPECT_LT(counted::copies, count * 20);
    EXPECT_EQ(values[count - 1].value, 2);
    EXPECT_EQ(values[count].value, 1);
}

} // namespace
} // namespace cw
