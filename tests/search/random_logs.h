// Logs that nobody would record, as models for the fixture library: few words, many of each, so that a
// search finds something nearly everywhere. The same seed makes the same log on every machine.
#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <random>
#include <string>

namespace cw::test_support {

class random_log {
public:
    explicit random_log(std::uint32_t seed) : m_random(seed) {}

    /// A whole model. Most have no member that fails.
    nlohmann::json model();
    /// A text that is likely to be somewhere in such a log, or to be a word with a meaning of its own.
    std::string search_text();
    /// From 0 up to, and without, `end`, which is not 0.
    std::size_t below(std::size_t end) { return m_random() % end; }
    bool one_in(std::size_t count) { return below(count) == 0; }

private:
    template <class Item>
    Item any_of(std::initializer_list<Item> items)
    {
        return items.begin()[below(items.size())];
    }
    std::string word();
    /// True in a few places of the logs that fail, and nowhere in others.
    bool fails_here() { return m_mayFail && one_in(100); }
    nlohmann::json types();
    nlohmann::json feature(std::size_t deepest);
    nlohmann::json properties();
    nlohmann::json property_value();
    nlohmann::json words(std::size_t count);
    nlohmann::json operations();
    nlohmann::json record(const std::string& type);
    // Elements by the way in which they are read.
    nlohmann::json text();
    nlohmann::json flag();
    nlohmann::json small_number();
    nlohmann::json anything();

    // Not one of the library's distributions: those differ from library to library.
    std::mt19937 m_random;
    bool m_mayFail = false;
    std::size_t m_featuresLeft = 0;
};

} // namespace cw::test_support
