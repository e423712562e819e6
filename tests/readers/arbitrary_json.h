// JSON of any shape, for tests that put it where models have something else. Values that stand for
// variants, lists and failures are frequent among it.
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <iterator>
#include <random>

namespace cw::fixture_tests {

class arbitrary_json {
protected:
    explicit arbitrary_json(unsigned seed) : m_random(seed) {}

    bool chance(unsigned one_in) { return m_random() % one_in == 0; }

    /// A value that nests at most so deep.
    nlohmann::json anything(int depth)
    {
        using nlohmann::json;
        static const char* const texts[] = {
            "",           "Main",           "0x80004005", "VT_ARRAY|VT_VARIANT", "VT_R8",
            "VT_BSTR",    "VT_ARRAY|VT_I4", "VT_DATE",    "2001-02-03T00:04:05", "VT_DECIMAL",
            "OPTYPE_FILE"};
        static const char* const keys[] = {"items", "counts", "fail", "vt",    "value",
                                           "lower", "dims",   "Name", "array", "First"};
        switch (m_random() % (depth > 0 ? 9u : 6u)) {
        case 0:
            return nullptr;
        case 1:
            return chance(2);
        case 2:
            return static_cast<std::int64_t>(m_random()) * (chance(2) ? -1 : 1);
        case 3:
            return static_cast<int>(m_random() % 8) - 2;
        case 4:
            return static_cast<double>(m_random()) / 7;
        case 5:
            return texts[m_random() % std::size(texts)];
        case 6: {
            json array = json::array();
            for (unsigned i = m_random() % 4; i > 0; --i)
                array.push_back(anything(depth - 1));
            return array;
        }
        default: {
            json result = json::object();
            for (unsigned i = m_random() % 4; i > 0; --i)
                result[keys[m_random() % std::size(keys)]] = anything(depth - 1);
            if (chance(2))
                result["vt"] = texts[3 + m_random() % 4];
            return result;
        }
        }
    }

    std::mt19937 m_random;
};

} // namespace cw::fixture_tests
