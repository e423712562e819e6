#include "authoring/json_node.h"

#include "tests/authoring/authoring_support.h"

#include <gtest/gtest.h>

#include <chrono>

namespace {

using namespace cw::authoring;
using cw::test::error_of;

std::string parse_error(const std::string& text)
{
    return error_of([&] { (void)parse_manifest_text(text); });
}

TEST(manifest_text, is_json)
{
    EXPECT_EQ(parse_error("{}"), "no error");
    EXPECT_EQ(parse_error(""), "manifest: line 1, column 1: not valid JSON");
    EXPECT_EQ(parse_error("{\n  \"a\": 1,\n  \"b\" 2 }"), "manifest: line 3, column 7: not valid JSON");
    EXPECT_EQ(parse_error("{\"a\": [1, 2"), "manifest: line 1, column 12: not valid JSON");
    EXPECT_EQ(parse_error("{\"a\": \"\xFF\"}"), "manifest: line 1, column 8: not valid JSON");
    EXPECT_EQ(parse_error("{\"a\": \"\\ud800\"}"), "manifest: line 1, column 14: not valid JSON");
    EXPECT_EQ(parse_error("{\"a\": 1e999}"), "manifest: a: a number is out of range");
    EXPECT_EQ(parse_error("{\"a\": [1, {}, 1e999]}"), "manifest: a[2]: a number is out of range");
    EXPECT_EQ(parse_error("{} x").substr(0, 16), "manifest: line 1");
}

TEST(manifest_text, has_no_key_twice)
{
    EXPECT_EQ(parse_error("{\"a\": 1, \"b\": 2, \"a\": 3}"), "manifest: a: the key stands twice");
    EXPECT_EQ(parse_error("{\"x\": [1, {\"y\": {}}, {\"z\": 1, \"q\": [[]], \"z\": 2}]}"),
              "manifest: x[2].z: the key stands twice");
    EXPECT_EQ(parse_error("{\"a\": {\"b\": 1}, \"c\": {\"b\": 1}}"), "no error");
}

TEST(manifest_text, is_nested_within_reason)
{
    EXPECT_EQ(parse_error(std::string(1000, '[') + std::string(1000, ']')), "no error");
    EXPECT_EQ(parse_error(std::string(1001, '[') + std::string(1001, ']')), "manifest: nested deeper than 1000 levels");
    EXPECT_EQ(parse_error(std::string(1'000'000, '[')), "manifest: nested deeper than 1000 levels");
}

TEST(manifest_text, is_read_in_time_that_grows_with_its_length)
{
    std::string text = "[";
    for (int i = 0; i < 300'000; ++i)
        text += R"({"path": "x", "Flags": 1},)";
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(parse_manifest_text(text + "{}]").size(), 300'001u);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
}

TEST(json_node, names_its_place)
{
    const nlohmann::json root = nlohmann::json::parse(R"({"a": [{"b": 1}, {"b": "x", "c": [[7]]}]})");
    const json_node node(root);
    EXPECT_EQ(node.path(), "");
    std::vector<std::string> paths;
    const json_node list = node["a"];
    list.for_each_item([&](const json_node& item) {
        paths.push_back(item["b"].path());
        if (item.has("c"))
            item["c"].for_each_item([&](const json_node& inner) {
                inner.for_each_item([&](const json_node& number) { paths.push_back(number.path()); });
            });
    });
    EXPECT_EQ(paths, (std::vector<std::string>{"a[0].b", "a[1].b", "a[1].c[0][0]"}));
    EXPECT_EQ(error_of([&] { node["a"].fail("why"); }), "manifest: a: why");
    EXPECT_EQ(error_of([&] { node.fail("why"); }), "manifest: why");
}

TEST(json_node, is_strict_about_types)
{
    const nlohmann::json root =
        nlohmann::json::parse(R"({"t": "x", "i": 5, "f": 1.5, "b": true, "n": null, "l": [], "o": {},
                                  "big": 18446744073709551615, "minus": -1})");
    const json_node node(root);
    const auto error_for = [&](const char* key, auto call) { return error_of([&] { call(node[key]); }); };
    const auto text = [](const json_node& value) { (void)value.text(); };
    const auto boolean = [](const json_node& value) { (void)value.boolean(); };
    const auto integer = [](const json_node& value) { (void)value.integer(-10, 10); };
    const auto unsigned_integer = [](const json_node& value) { (void)value.unsigned_integer(10); };
    const auto number = [](const json_node& value) { (void)value.number(); };
    const auto list = [](const json_node& value) { value.for_each_item([](const json_node&) {}); };
    const auto object = [](const json_node& value) { value.require_object(); };
    EXPECT_EQ(error_for("i", text), "manifest: i: expected a text, not a number");
    EXPECT_EQ(error_for("n", text), "manifest: n: expected a text, not null");
    EXPECT_EQ(error_for("i", boolean), "manifest: i: expected true or false, not a number");
    EXPECT_EQ(error_for("t", integer), "manifest: t: expected an integer, not a text");
    EXPECT_EQ(error_for("f", integer), "manifest: f: expected an integer, not a fraction");
    EXPECT_EQ(error_for("b", integer), "manifest: b: expected an integer, not true or false");
    EXPECT_EQ(error_for("big", integer), "manifest: big: 18446744073709551615 is not within -10 to 10");
    EXPECT_EQ(error_for("minus", unsigned_integer), "manifest: minus: -1 is not within 0 to 10");
    EXPECT_EQ(error_for("big", unsigned_integer), "manifest: big: 18446744073709551615 is not within 0 to 10");
    EXPECT_EQ(error_for("o", number), "manifest: o: expected a number, not an object");
    EXPECT_EQ(error_for("o", list), "manifest: o: expected a list, not an object");
    EXPECT_EQ(error_for("l", object), "manifest: l: expected an object, not a list");
    EXPECT_EQ(node["t"].text(), "x");
    EXPECT_TRUE(node["b"].boolean());
    EXPECT_EQ(node["minus"].integer(-1, 0), -1);
    EXPECT_EQ(node["big"].unsigned_integer(~0ull), ~0ull);
    EXPECT_EQ(node["f"].number(), 1.5);
    EXPECT_EQ(node["i"].number(), 5.0);
}

TEST(manifest_complaint, is_one_line)
{
    EXPECT_EQ(manifest_complaint("a\nb", "x"), "manifest: a?b: x");
    EXPECT_LT(manifest_complaint(std::string(5000, 'a'), "x").size(), 300u);
}

TEST(line_text, is_not_spoken_of_as_a_manifest)
{
    EXPECT_EQ(error_of([] { (void)parse_line_text("{\"a\" 1}"); }), "column 6: not valid JSON");
    EXPECT_EQ(error_of([] { (void)parse_line_text(R"({"a": {"b": 1, "b": 2}})"); }), "a.b: the key stands twice");
    const nlohmann::json json = parse_line_text(R"({"a": [1]})");
    const json_node node(json, "");
    EXPECT_EQ(error_of([&] { node.fail("why"); }), "why");
    EXPECT_EQ(error_of([&] { node["a"].fail("why"); }), "a: why");
}

} // namespace
