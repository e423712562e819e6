// Models of random JSON: whatever stands at whatever place of a log, an operation answers or fails.
#include "tests/readers/fixture_log_support.h"

#include "tests/readers/arbitrary_json.h"

#include <nlohmann/json.hpp>

#include <algorithm>

using namespace cw;
using namespace cw::fixture_log_tests;

namespace {

using nlohmann::json;

class random_log : private fixture_tests::arbitrary_json {
public:
    explicit random_log(unsigned seed) : arbitrary_json(seed) {}

    json model()
    {
        json result{{"root", feature(3)}, {"types", collection([this] { return anything(1); })}};
        if (chance(8))
            result["types"] = anything(2);
        return result;
    }

private:
    json feature(int depth)
    {
        json result{{"Name", chance(4) ? anything(2) : json("Main")}};
        if (chance(2))
            result["ID"] = anything(2);
        if (chance(6))
            result["Parent"] = anything(1);
        if (!chance(4))
            result["properties"] = chance(6) ? anything(3) : properties();
        if (!chance(4))
            result["operations"] = chance(6) ? anything(3) : operations();
        if (depth > 0 && !chance(4))
            result["features"] =
                chance(6) ? anything(3) : collection([&] { return chance(6) ? anything(2) : feature(depth - 1); });
        return result;
    }

    template <class Make>
    json collection(Make make)
    {
        json items = json::array();
        for (auto i = m_random() % 4; i > 0; --i)
            items.push_back(make());
        return chance(4) ? json{{"items", items}, {"counts", anything(2)}} : items;
    }

    json properties()
    {
        json pairs = json::array();
        for (auto i = m_random() % 4; i > 0; --i)
            pairs.push_back(chance(6) ? anything(2)
                                      : json::array({chance(4) ? anything(1) : json("State"), anything(3)}));
        return pairs;
    }

    json operations()
    {
        json lists = json::object();
        for (const char* type : {"OPTYPE_FILE", "OPTYPE_REGISTRY", "MY_TYPE"})
            lists[type] = chance(6) ? anything(3) : collection([this] {
                json record = json::array();
                for (auto i = m_random() % 9; i > 0; --i)
                    record.push_back(anything(2));
                return chance(6) ? anything(2) : record;
            });
        return lists;
    }
};

class FixtureArbitraryLog : public log_test {
protected:
    template <class Value>
    Value checked(outcome<Value> got)
    {
        ++m_calls;
        if (got.result == S_OK)
            ++m_answers;
        else {
            EXPECT_LT(got.result, 0);
            EXPECT_FALSE(last_error().empty());
        }
        return std::move(got.value);
    }

    void walk(const com_ptr<IFeatureLog>& feature)
    {
        name_of(feature);
        id_of(feature);
        checked(call<IFeatureLog>(feature, &IFeatureLog::Parent));
        if (SAFEARRAY* names = checked(property_names(feature)))
            shown(names);
        for (const char16_t* name : {u"State", u"Main", u""})
            checked(property_value(feature, name));
        for (const char16_t* type : {u"OPTYPE_FILE", u"OPTYPE_REGISTRY", u"MY_TYPE", u"OPTYPE_INI"})
            if (const auto list = checked(operations(feature, type)))
                walk(list);
        const auto features = checked(call<IFeatureLogCollection>(feature, &IFeatureLog::SubFeatures));
        if (!features)
            return;
        checked(count_of(features));
        for (LONG index = 0; index < 5; ++index)
            if (const auto sub = checked(item(features, index)))
                walk(sub);
    }

    void walk(const com_ptr<IOperationList>& list)
    {
        name_of(list);
        checked(count_of(list));
        checked(first(list));
        for (LONG at = -1; at < 5; ++at) {
            LONG position = at;
            if (SAFEARRAY* record = checked(next(list, position))) {
                shown(record);
                const auto* elements = static_cast<const VARIANT*>(record->pvData);
                for (ULONG i = 0; i < log_registry_record::element_count64; ++i)
                    shown(elements[i]);
            }
        }
    }

    void walk(const com_ptr<IOperationTypeCollection>& types)
    {
        checked(count_of(types));
        for (LONG index = 0; index < 5; ++index)
            if (const auto type = checked(item(types, index)))
                name_of(type);
    }

    int m_calls = 0;
    int m_answers = 0;
};

TEST_F(FixtureArbitraryLog, EveryOperationAnswersOrFails)
{
    for (unsigned seed = 1; seed <= 200; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        const auto document = open(random_log(seed).model().dump());
        if (const auto types = checked(call<IOperationTypeCollection>(document, &ILogDocument::OperationTypes)))
            walk(types);
        if (const auto root = checked(call<IFeatureLog>(document, &ILogDocument::RootFeature)))
            walk(root);
    }
    EXPECT_GT(m_answers, 10'000);
    EXPECT_GT(m_calls - m_answers, 1'000);
}

} // namespace
