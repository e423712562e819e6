// Models of random JSON: whatever stands at whatever place, a call answers in its type or fails.
#include "tests/readers/fixture_support.h"

#include "readers/fixture/text.h"
#include "tests/readers/arbitrary_json.h"
#include "tests/readers/object_members.h"

#include <nlohmann/json.hpp>

#include <algorithm>

using namespace cw;
using namespace cw::fixture_tests;

namespace {

using nlohmann::json;

class random_json : private arbitrary_json {
public:
    explicit random_json(unsigned seed) : arbitrary_json(seed) {}

    // An object with members of an interface, most of them of a fitting kind.
    json object(std::u16string_view interface_name, int depth)
    {
        json result = json::object();
        const auto rows = reader_tests::members_of(interface_name);
        EXPECT_FALSE(rows.empty()) << "no table of " << fixture::to_utf8(interface_name);
        for (const media_member_row& row : rows)
            if (chance(2))
                result[fixture::to_utf8(row.name)] = member(row, depth);
        return result;
    }

private:
    json member(const media_member_row& row, int depth)
    {
        if (row.type != VT_DISPATCH || chance(6) || depth == 0)
            return anything(3);
        const bool files = row.object == media_file_list::interface_name;
        const std::u16string_view inner = files ? media_file::interface_name : row.object;
        if (!row.collection && !files)
            return object(inner, depth - 1);
        json items = json::array();
        for (int i = static_cast<int>(m_random() % 3); i >= 0; --i)
            items.push_back(chance(6) ? anything(2) : object(inner, depth - 1));
        return chance(4) ? json{{"items", items}, {"counts", anything(2)}} : items;
    }
};

class FixtureArbitraryJson : public fixture_test {
protected:
    // Calls every member of an object and of what it leads to.
    void walk(const com_ptr<IDispatch>& object, std::u16string_view interface_name)
    {
        for (const media_member_row& row : reader_tests::members_of(interface_name)) {
            if (row.kind != DISPATCH_PROPERTYGET)
                continue;
            const outcome got = call(object.get(), row);
            check(got, row.type);
            if (got.result != S_OK || row.type != VT_DISPATCH || !got.value.pdispVal)
                continue;
            if (row.collection)
                walk_items(got.object(), media_collection::Count, media_collection::Item, row.object);
            else if (row.object == media_file_list::interface_name)
                walk_items(got.object(), media_file_list::Count, media_file_list::Item, media_file::interface_name);
            else
                walk(got.object(), row.object);
        }
    }

    void walk_items(const com_ptr<IDispatch>& collection, const media_member_row& count, const media_member_row& item,
                    std::u16string_view interface_name)
    {
        check(call(collection.get(), count), VT_I4);
        check(call(collection.get(), count), VT_I4);
        check(call(collection.get(), item, std::u16string_view(u"Main")), VT_DISPATCH);
        for (int index = 0; index < 4; ++index) {
            const outcome got = call(collection.get(), item, index);
            check(got, VT_DISPATCH);
            if (got.result == S_OK && got.value.pdispVal)
                walk(got.object(), interface_name);
        }
    }

    void check(const outcome& got, VARTYPE type)
    {
        ++m_calls;
        if (got.result == S_OK) {
            ++m_answers;
            EXPECT_TRUE(got.value.vt == type || type == VT_VARIANT) << got.value.vt;
            return;
        }
        EXPECT_EQ(got.value.vt, VT_EMPTY);
        EXPECT_FALSE(got.description.empty());
        EXPECT_LT(got.result, 0);
    }

    int m_calls = 0;
    int m_answers = 0;
};

TEST_F(FixtureArbitraryJson, EveryCallAnswersInItsTypeOrFails)
{
    for (unsigned seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        random_json random(seed);
        const json model{{"missing", seed % 2 ? "null" : "fail"}, {"media", random.object(media::interface_name, 3)}};
        walk(open(model.dump()), media::interface_name);
    }
    EXPECT_GT(m_answers, 10'000);
    EXPECT_GT(m_calls - m_answers, 1'000);
}

} // namespace
