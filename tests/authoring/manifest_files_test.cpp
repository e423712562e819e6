#include "authoring/manifest_files.h"

#include "authoring/dates.h"
#include "tests/authoring/authoring_support.h"

#include <gtest/gtest.h>

namespace {

using namespace cw::authoring;
using namespace cw::test;

class manifest_files : public testing::Test {
protected:
    manifest_files()
    {
        write_file(folder / "a.txt", "hello");
        write_file(folder / "d/x", "1");
        write_file(folder / "d/s/y", "22");
    }
    std::vector<source_file> read(const std::string& list)
    {
        const nlohmann::json json = nlohmann::json::parse("{\"Files\": " + list + "}");
        return read_component_files(json_node(json)["Files"], folder.path());
    }
    std::string error_in(const std::string& list)
    {
        return error_of([&] { (void)read(list); });
    }
    temporary_folder folder;
};

TEST_F(manifest_files, takes_paths_of_files_and_folders)
{
    const std::vector<source_file> files = read(R"(["a.txt", "d", {"path": "./d/../d/x", "Name": "again"}])");
    ASSERT_EQ(files.size(), 4u);
    EXPECT_EQ(files[0].name, "a.txt");
    EXPECT_EQ(files[0].path, (folder / "a.txt").string());
    EXPECT_EQ(files[0].item, 0u);
    EXPECT_EQ(files[1].name, "s\\y");
    EXPECT_EQ(files[2].name, "x");
    EXPECT_EQ(files[2].item, 1u);
    EXPECT_EQ(files[3].name, "again");
    EXPECT_EQ(files[3].item, 2u);
    EXPECT_EQ(files[3].size_in_bytes, 1u);
    EXPECT_EQ(read(R"([")" + (folder / "a.txt").string() + R"("])").size(), 1u) << "an absolute path";
}

TEST_F(manifest_files, lets_members_override)
{
    const std::vector<source_file> files = read(R"([{"path": "a.txt", "Name": "Ж", "Version": "1.2", "Size": 5,
        "Date": "2001-02-03T13:07:09", "CompressedSize": 77, "Flags": 65536,
        "Md5Signature": "5D41402ABC4B2A76B9719D911017C592"}])");
    ASSERT_EQ(files.size(), 1u);
    EXPECT_EQ(files[0].name, "Ж");
    EXPECT_EQ(files[0].date, date_from_text("2001-02-03T13:07:09"));
    const file_details& details = *files[0].details;
    EXPECT_EQ(details.version, "1.2");
    EXPECT_EQ(details.compressed_size_in_bytes, 77u);
    EXPECT_EQ(details.flags, 65536);
    EXPECT_EQ(cw::formats::md5_text(*details.expected_md5), "5d41402abc4b2a76b9719d911017c592");
    EXPECT_TRUE(details.has_payload);

    const std::vector<source_file> shared = read(R"([{"path": "d", "Version": "3", "Date": 2.5}])");
    ASSERT_EQ(shared.size(), 2u);
    EXPECT_EQ(shared[1].details->version, "3");
    EXPECT_EQ(shared[1].date, 2.5);
    EXPECT_EQ(shared[0].details, shared[1].details);
}

TEST_F(manifest_files, takes_content_and_rows_without_a_file)
{
    const std::vector<source_file> files =
        read(R"([{"Name": "n", "content": "grüße"}, {"Name": "\\"}, {"Name": "\\", "Flags": 1}])");
    ASSERT_EQ(files.size(), 3u);
    EXPECT_EQ(files[0].size_in_bytes, 7u);
    EXPECT_EQ(files[0].path, "");
    EXPECT_EQ(files[0].details->content, "grüße");
    EXPECT_FALSE(files[1].details->has_payload);
    EXPECT_EQ(files[2].details->flags, 1);
}

TEST_F(manifest_files, complains_with_the_place)
{
    const std::string missing = (folder.path() / "no").string();
    EXPECT_EQ(error_in(R"(["no"])"), "manifest: Files[0]: no such file: " + missing);
    EXPECT_EQ(error_in(R"(["a.txt", {"path": "no"}])"), "manifest: Files[1].path: no such file: " + missing);
    EXPECT_EQ(error_in(R"([""])"), "manifest: Files[0]: no path");
    EXPECT_EQ(error_in(R"(["a\u0000b"])"), "manifest: Files[0]: no path");
    EXPECT_EQ(error_in("5"), "manifest: Files: expected a list, not a number");
    EXPECT_EQ(error_in("[5]"), "manifest: Files[0]: expected an object, not a number");
    EXPECT_EQ(error_in(R"([{"path": 5}])"), "manifest: Files[0].path: expected a text, not a number");
    EXPECT_EQ(error_in(R"([{"path": "a.txt", "size": 5}])"), "manifest: Files[0].size: unknown key");
    EXPECT_EQ(error_in(R"([{"path": "a.txt", "content": "x"}])"),
              "manifest: Files[0].content: a file has a path or a content, not both");
    EXPECT_EQ(error_in(R"([{"path": "a.txt", "Size": 6}])"),
              "manifest: Files[0].Size: 6 given, but the file has 5 bytes");
    EXPECT_EQ(error_in(R"([{"path": "a.txt", "Size": -1}])").substr(0, 42),
              "manifest: Files[0].Size: -1 is not within ");
    EXPECT_EQ(error_in(R"([{"path": "a.txt", "Md5Signature": "5d41"}])"),
              "manifest: Files[0].Md5Signature: expected 32 hexadecimal digits");
    EXPECT_EQ(error_in(R"([{"path": "a.txt", "Date": "then"}])"),
              "manifest: Files[0].Date: no date like \"2001-02-03T00:04:05\": then");
    EXPECT_EQ(error_in(R"([{"path": "d", "Name": "x"}])"),
              "manifest: Files[0].Name: the files of a folder do not share this");
    EXPECT_EQ(error_in(R"([{"path": "d", "Md5Signature": "5D41402ABC4B2A76B9719D911017C592"}])"),
              "manifest: Files[0].Md5Signature: the files of a folder do not share this");
    EXPECT_EQ(error_in("[{}]"), "manifest: Files[0]: path is missing");
    EXPECT_EQ(error_in(R"([{"Name": "x"}])"), "manifest: Files[0]: path is missing");
    EXPECT_EQ(error_in(R"([{"content": "x"}])"), "manifest: Files[0]: Name is missing");
    EXPECT_EQ(error_in(R"([{"path": "a.txt", "Name": ""}])"), "manifest: Files[0]: a file needs a name");
    EXPECT_EQ(error_in(R"(["a.txt", "a.txt"])"), "manifest: Files: two files are called a.txt");
}

} // namespace
