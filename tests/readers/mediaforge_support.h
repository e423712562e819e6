// Loads the built media reader as its callers do, makes media for it and calls its objects late-bound.
// Used by the tests of the reader.
#pragma once

#include "authoring/media_writer.h"
#include "automation/dispatch_object.h"
#include "bridges/media_interface.h"
#include "tests/readers/reader_module.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace cw::mediaforge_tests {

using authoring::media_writer;
using automation::com_ptr;
using automation::variant;
using object = com_ptr<IDispatch>;

/// What one call came to.
struct outcome {
    /// The result of the call; for DISP_E_EXCEPTION the code that came with it.
    HRESULT result = S_OK;
    variant value;
    std::u16string description;

    [[nodiscard]] std::u16string text() const;
    [[nodiscard]] object as_object() const;
    [[nodiscard]] bool tells(std::u16string_view part) const { return description.find(part) != std::u16string::npos; }
};

/// Calls a member as its row tells, with the arguments in their natural order.
outcome call_with(IDispatch* target, const media_member_row& row, std::vector<variant> arguments);

template <class... Arguments>
outcome call(IDispatch* target, const media_member_row& row, Arguments&&... arguments)
{
    std::vector<variant> all;
    (all.push_back(variant(std::forward<Arguments>(arguments))), ...);
    return call_with(target, row, std::move(all));
}

/// A member's value; the call must succeed with the type that the contract tells.
std::u16string text(IDispatch* target, const media_member_row& row);
std::int32_t number(IDispatch* target, const media_member_row& row);
object child(IDispatch* target, const media_member_row& row);
std::int32_t count(IDispatch* collection);
object item(IDispatch* collection, int index);
/// The names of all items of a collection, by the item's `Name`.
std::vector<std::u16string> names(IDispatch* collection, const media_member_row& name);
/// An item of a media's component, by the component's index and the file's.
object file_of(IDispatch* media, int component, int file);

/// The exported entry point of the library that was built.
dll_get_class_object entry_point();
std::string library_path();

/// A result code for a numbered error.
constexpr HRESULT failure(int number)
{
    return make_hresult(0x80040200u + static_cast<unsigned>(number));
}

/// Cheap protection, so that tests of it are fast.
inline constexpr formats::seal_cost quick_cost{1, 8192};

std::string read_file(const std::string& path);
void write_file(const std::string& path, std::string_view bytes);
/// Bytes that do not compress, the same for the same seed.
std::string noise(std::size_t size, unsigned seed);

/// Gives up the rights of an administrator, to whom nothing is denied, while it lives. Everybody may
/// look into `folder` then.
class as_nobody {
public:
    explicit as_nobody(const std::filesystem::path& folder);
    ~as_nobody();

private:
    bool m_wasRoot;
};

/// A folder of one test, and a factory to open media with.
class media_test : public testing::Test {
protected:
    media_test();
    ~media_test() override;

    [[nodiscard]] std::string path_of(const std::string& name) const { return (m_folder / name).string(); }
    /// The names of all that lies in the test's folder or in one below it.
    [[nodiscard]] std::vector<std::string> listing(const std::string& folder = ".") const;

    /// Writes the header `name`.hdr with rows of its own; its path.
    std::string make_header(const std::function<void(media_writer&)>& fill, const std::string& name = "media",
                            const std::string& password = {}) const;
    /// Runs statements on a header that is not protected.
    void alter(const std::string& path, const std::string& sql) const;
    /// Builds a media from a manifest; the path of its header.
    std::string build(const std::string& manifest, const std::string& name = "media", const std::string& password = {},
                      std::uint64_t volume_size_in_bytes = 0, std::uint64_t folder_size_in_bytes = 0) const;
    /// A media of one component with these files, by name and content, built as above.
    std::string build_files(const std::map<std::string, std::string>& files, const std::string& password = {},
                            std::uint64_t volume_size_in_bytes = 0, std::uint64_t folder_size_in_bytes = 0) const;

    outcome open_path(std::string_view path, std::u16string_view password = {}) const;
    /// The media, or null with a failed test.
    object open(std::string_view path, std::u16string_view password = {}) const;
    /// What `LastError` answers.
    [[nodiscard]] std::int32_t last_number() const;
    [[nodiscard]] std::u16string last_text(const media_member_row& row) const;
    /// Opens a path that must fail with this error, which `LastError` must tell too.
    void expect_error(std::string_view path, int number, std::u16string_view part = {},
                      std::u16string_view password = {}) const;
    outcome extract(IDispatch* file, const std::string& target) const;

    std::filesystem::path m_folder;
    object m_factory;
};

using reader_tests::narrow;
using reader_tests::wide;

} // namespace cw::mediaforge_tests
