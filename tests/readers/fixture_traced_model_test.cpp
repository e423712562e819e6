#include "readers/fixture/traced_model.h"

#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace cw;
using namespace cw::fixture;
using automation::variant;

namespace {

TEST(FixtureTracedModel, TracesAnArgumentThatHasAText)
{
    const test_support::temporary_folder folder;
    traced_model model;
    model.trace_call(u"IOne", u"Before");
    model.trace.emplace(folder.file("calls.txt"));
    model.trace_call(u"IOne", u"Name");
    const variant number(7);
    model.trace_call(u"IOne", u"Item", &number);
    const variant text(u"a b");
    model.trace_call(u"IOne", u"Item", &text);
    variant by_reference;
    by_reference.vt = VT_BYREF | VT_VARIANT;
    by_reference.byref = const_cast<variant*>(&text);
    model.trace_call(u"IOne", u"Item", &by_reference);
    variant without_text;
    without_text.vt = VT_NULL;
    model.trace_call(u"IOne", u"Item", &without_text);
    EXPECT_EQ(folder.read("calls.txt"), "IOne Name\nIOne Item 7\nIOne Item a b\nIOne Item a b\nIOne Item\n");
}

TEST(FixtureTracedModel, TellsWhereATextIsNoJson)
{
    EXPECT_EQ(parse_model_text(R"({"a": [1]})"), (json{{"a", {1}}}));
    try {
        (void)parse_model_text("{\n\"a\": ]");
        FAIL();
    } catch (const std::runtime_error& error) {
        const std::string_view told = error.what();
        EXPECT_NE(told.find("line 2, column 6"), std::string_view::npos) << told;
        EXPECT_EQ(told.find("json.exception"), std::string_view::npos) << told;
    }
}

} // namespace
