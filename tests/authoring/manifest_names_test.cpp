#include "authoring/manifest_names.h"

#include "tests/authoring/authoring_support.h"

#include <gtest/gtest.h>

namespace {

using namespace cw::authoring;
using cw::test::error_of;
using ids = std::vector<std::int64_t>;

const nlohmann::json root;
const json_node node(root);

feature_names example()
{
    feature_names names;
    names.add(0, "Main");  // 1
    names.add(1, "Help");  // 2
    names.add(2, "Deep");  // 3
    names.add(1, "Maps");  // 4
    names.add(0, "Other"); // 5
    names.add(5, "Help");  // 6
    names.add(0, "Other"); // 7
    return names;
}

TEST(feature_names, are_found_by_path_and_by_a_name_of_one)
{
    const feature_names names = example();
    EXPECT_EQ(names.find(node, "Main"), 1);
    EXPECT_EQ(names.find(node, "Main/Help"), 2);
    EXPECT_EQ(names.find(node, "Main/Help/Deep"), 3);
    EXPECT_EQ(names.find(node, "Deep"), 3);
    EXPECT_EQ(names.find(node, "Other/Help"), 6);
    EXPECT_EQ(names.path(3), "Main/Help/Deep");
}

TEST(feature_names, fail_where_nothing_or_too_much_is_found)
{
    const feature_names names = example();
    EXPECT_EQ(error_of([&] { (void)names.find(node, "main"); }), "manifest: no such feature: main");
    EXPECT_EQ(error_of([&] { (void)names.find(node, "Help/Deep"); }), "manifest: no such feature: Help/Deep");
    EXPECT_EQ(error_of([&] { (void)names.find(node, ""); }), "manifest: no such feature: ");
    EXPECT_EQ(error_of([&] { (void)names.find(node, "Help"); }), "manifest: more than one feature is called Help");
    EXPECT_EQ(error_of([&] { (void)names.find(node, "Other"); }), "manifest: more than one feature is called Other");
}

TEST(feature_names, have_patterns)
{
    feature_names names = example();
    EXPECT_EQ(names.find_all(node, "*"), (ids{1, 2, 3, 4, 5, 6, 7}));
    EXPECT_EQ(names.find_all(node, "Main/*"), (ids{2, 3, 4}));
    EXPECT_EQ(names.find_all(node, "Main/Help/*"), (ids{3}));
    EXPECT_EQ(names.find_all(node, "Main/Help"), (ids{2}));
    EXPECT_EQ(names.find_all(node, "Deep/*"), ids{});
    EXPECT_EQ(error_of([&] { (void)names.find_all(node, "No/*"); }), "manifest: no such feature: No");
    names.add(0, "*");
    EXPECT_EQ(names.find_all(node, "*"), (ids{8})) << "a name stands above a pattern";
    EXPECT_EQ(feature_names().find_all(node, "*"), ids{});
}

TEST(component_names, are_found)
{
    component_names names;
    names.add("A");
    names.add("B");
    names.add("B");
    EXPECT_EQ(names.find(node, "A"), 1);
    EXPECT_EQ(error_of([&] { (void)names.find(node, "B"); }), "manifest: more than one component is called B");
    EXPECT_EQ(error_of([&] { (void)names.find(node, "a"); }), "manifest: no such component: a");
}

} // namespace
