// Whatever member of the library fails, the frame goes on.
#include "app/main_frame.h"

#include "bridges/media_interface.h"
#include "platform/utf8.h"
#include "tests/support/frame_harness.h"
#include "tests/support/frame_pictures.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <functional>
#include <span>

namespace cw {
namespace {

using namespace test_support;
using nlohmann::json;

/// A media with one of each object that has members.
json sample_media()
{
    return json::parse(R"({
        "Features": [
            {"Name": "Main", "SubFeatures": [{"Name": "Help"}], "RequiredFeatures": ["Help"],
             "IncludedComponents": ["Program"]},
            {"Name": "Object", "Flags": 1, "ObjectProperties": [{"Name": "P", "Value": 7}]}],
        "Components": [{"Name": "Program", "Files": [{"Name": "a.txt"}]}]})");
}

class failing_members : public testing::Test {
protected:
    failing_members() { program.start(); }
    CMainFrame& frame() { return program.frame(); }

    /// Selects every item that is there.
    void visit(HTREEITEM item)
    {
        for (; item; item = frame().Tree().GetNextSiblingItem(item)) {
            frame().Tree().SelectItem(item);
            visit(frame().Tree().GetChildItem(item));
        }
    }
    /// Opens the media, looks at everything, and goes on to one that is sound.
    void expect_frame_goes_on(const json& media, const std::string& what)
    {
        const json model{{"media", media}};
        program.open(program.write(model.dump(), "failing.hdr"));
        visit(frame().Tree().GetRootItem());
        for (const std::string& line : program.take_unhandled())
            EXPECT_TRUE(line.starts_with("cwcabview: unhandled error: 0x8000ABCD")) << what << ": " << line;
        EXPECT_TRUE(program.person.take_messages().empty()) << what;

        EXPECT_TRUE(program.open(program.write(json{{"media", sample_media()}}.dump(), "sound.hdr"))) << what;
        EXPECT_EQ(tree_of(frame(), "Features"), "Features\n  Main\n    Help\n  Object\n") << what;
        EXPECT_EQ(tree_of(frame(), "Components"), "Components\n  Program\n    Files\n") << what;
        select(frame(), "Features/Main");
        EXPECT_EQ(rows_of(frame()).size(), 26u) << what;
        EXPECT_TRUE(program.take_unhandled().empty()) << what;
    }
    /// Makes each member of a table fail at the object that `find` gives.
    void fail_each(std::span<const media_member_row> table, const std::function<json&(json& media)>& find)
    {
        for (const media_member_row& row : table) {
            json media = sample_media();
            const std::string name = row.kind == DISPATCH_METHOD ? "content" : platform::to_utf8(row.name);
            find(media)[name] = {{"fail", "0x8000ABCD"}};
            expect_frame_goes_on(media, name);
        }
    }

    frame_harness program;
};

TEST_F(failing_members, of_the_media)
{
    fail_each(media::all, [](json& media) -> json& { return media; });
}

TEST_F(failing_members, of_a_feature)
{
    fail_each(media_feature::all, [](json& media) -> json& { return media["Features"][0]; });
}

TEST_F(failing_members, of_a_sub_feature)
{
    fail_each(media_feature::all, [](json& media) -> json& { return media["Features"][0]["SubFeatures"][0]; });
}

TEST_F(failing_members, of_an_object_feature)
{
    fail_each(media_feature::all, [](json& media) -> json& { return media["Features"][1]; });
}

TEST_F(failing_members, of_an_object_property)
{
    fail_each(media_feature_property::all,
              [](json& media) -> json& { return media["Features"][1]["ObjectProperties"][0]; });
}

TEST_F(failing_members, of_a_component)
{
    fail_each(media_component::all, [](json& media) -> json& { return media["Components"][0]; });
}

TEST_F(failing_members, of_a_file)
{
    fail_each(media_file::all, [](json& media) -> json& { return media["Components"][0]["Files"][0]; });
}

TEST_F(failing_members, of_collections)
{
    const std::function<json&(json&)> collections[] = {
        [](json& media) -> json& { return media["Features"]; },
        [](json& media) -> json& { return media["Features"][0]["SubFeatures"]; },
        [](json& media) -> json& { return media["Features"][0]["RequiredFeatures"]; },
        [](json& media) -> json& { return media["Features"][0]["IncludedComponents"]; },
        [](json& media) -> json& { return media["Features"][1]["ObjectProperties"]; },
        [](json& media) -> json& { return media["Components"]; },
        [](json& media) -> json& { return media["Components"][0]["Files"]; },
    };
    const json failure{{"fail", "0x8000ABCD"}};
    for (const auto& find : collections) {
        for (const json& counts : {json::array({failure}), json::array({1, failure})}) {
            json media = sample_media();
            json& collection = find(media);
            collection = {{"items", collection}, {"counts", counts}};
            expect_frame_goes_on(media, counts.dump());
        }
        json media = sample_media();
        find(media)[0] = failure;
        expect_frame_goes_on(media, "item");
    }
}

} // namespace
} // namespace cw
