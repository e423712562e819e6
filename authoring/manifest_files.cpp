#include "authoring/manifest_files.h"

#include "authoring/error.h"
#include "authoring/typed_values.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <unordered_set>

namespace cw::authoring {
namespace {

namespace fs = std::filesystem;

constexpr std::array<std::string_view, 9> file_keys{"path", "content",        "Name",         "Version", "Size",
                                                    "Date", "CompressedSize", "Md5Signature", "Flags"};
// A folder's files differ in these.
constexpr std::array<std::string_view, 4> keys_of_one_file{"Name", "Size", "CompressedSize", "Md5Signature"};
// The name of a row that stands for no file.
constexpr std::string_view no_file_name = "\\";

formats::md5_digest read_md5(const json_node& node)
{
    const std::string& text = node.text();
    if (text.size() != 32 || text.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
        node.fail("expected 32 hexadecimal digits");
    formats::md5_digest digest;
    for (std::size_t i = 0; i < digest.size(); ++i)
        digest[i] = static_cast<std::uint8_t>(std::stoul(text.substr(2 * i, 2), nullptr, 16));
    return digest;
}

std::uint64_t read_size(const json_node& node)
{
    return static_cast<std::uint64_t>(node.integer(0, std::numeric_limits<std::int64_t>::max()));
}

void check_keys(const json_node& node)
{
    node.for_each_key([](std::string_view key, const json_node& value) {
        if (std::find(file_keys.begin(), file_keys.end(), key) == file_keys.end())
            value.fail("unknown key");
    });
    if (node.has("path") && node.has("content"))
        node["content"].fail("a file has a path or a content, not both");
}

/// The part of an object that stands aside of the file itself; null where there is nothing to tell.
std::shared_ptr<const file_details> read_details(const json_node& node)
{
    file_details details;
    if (node.has("content"))
        details.content = node["content"].text();
    if (node.has("Version") && !node["Version"].is_null())
        details.version = node["Version"].text();
    if (node.has("CompressedSize"))
        details.compressed_size_in_bytes = read_size(node["CompressedSize"]);
    if (node.has("Md5Signature"))
        details.expected_md5 = read_md5(node["Md5Signature"]);
    if (node.has("Flags"))
        details.flags = static_cast<std::int32_t>(
            node["Flags"].integer(std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()));
    details.has_payload = node.has("path") || node.has("content");
    return std::make_shared<const file_details>(std::move(details));
}

void override_members(const json_node& node, source_file& file)
{
    if (node.has("Name"))
        file.name = node["Name"].text();
    if (node.has("Date"))
        file.date = read_date(node["Date"]);
    if (!node.has("Size"))
        return;
    const std::uint64_t size = read_size(node["Size"]);
    if (size != file.size_in_bytes)
        node["Size"].fail(std::to_string(size) + " given, but the file has " + std::to_string(file.size_in_bytes) +
                          " bytes");
}

std::vector<source_file> scan(const json_node& node, const fs::path& folder, bool& is_a_folder)
{
    const std::string& text = node.text();
    if (text.empty() || text.find('\0') != std::string::npos)
        node.fail("no path");
    std::vector<source_file> files;
    try {
        const fs::path path = (folder / fs::path(text)).lexically_normal();
        is_a_folder = is_folder(path);
        scan_source(path, [&](source_file&& file) { files.push_back(std::move(file)); });
    } catch (const error& failure) {
        node.fail(failure.what());
    }
    return files;
}

std::vector<source_file> read_item(const json_node& node, const fs::path& folder)
{
    bool is_a_folder = false;
    if (node.is_string())
        return scan(node, folder, is_a_folder);
    check_keys(node);
    const std::shared_ptr<const file_details> details = read_details(node);
    std::vector<source_file> files;
    if (node.has("path")) {
        files = scan(node["path"], folder, is_a_folder);
        for (const std::string_view key : keys_of_one_file) {
            if (is_a_folder && node.has(key))
                node[key].fail("the files of a folder do not share this");
        }
    } else {
        if (!node.has("Name"))
            node.fail(details->content ? "Name is missing" : "path is missing");
        if (!details->content && node["Name"].text() != no_file_name)
            node.fail("path is missing");
        files.emplace_back().size_in_bytes = details->content ? details->content->size() : 0;
    }
    for (source_file& file : files) {
        file.details = details;
        override_members(node, file);
    }
    return files;
}

} // namespace

std::vector<source_file> read_component_files(const json_node& list, const fs::path& folder)
{
    std::vector<source_file> files;
    std::uint32_t item = 0;
    list.for_each_item([&](const json_node& node) {
        for (source_file& file : read_item(node, folder)) {
            file.item = item;
            if (file.name.empty())
                node.fail("a file needs a name");
            files.push_back(std::move(file));
        }
        ++item;
    });
    // Files are asked for by name: of two with one name nobody could reach the second.
    std::unordered_set<std::string_view> names;
    for (const source_file& file : files) {
        if (file.name != no_file_name && !names.insert(file.name).second)
            list.fail("two files are called " + file.name);
    }
    if (files.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()))
        list.fail("more files than a component can have");
    return files;
}

} // namespace cw::authoring
