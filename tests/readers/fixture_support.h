// Loads the fixture media library as its callers do and calls its objects late-bound. Used by the
// tests of the fixture reader.
#pragma once

#include "automation/dispatch_object.h"
#include "bridges/media_interface.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace cw::fixture_tests {

using automation::com_ptr;
using automation::variant;

/// What one call came to.
struct outcome {
    /// The result of the call; for DISP_E_EXCEPTION the code that came with it.
    HRESULT result = S_OK;
    variant value;
    std::u16string description;

    [[nodiscard]] std::u16string text() const;
    [[nodiscard]] com_ptr<IDispatch> object() const;
};

/// Calls a member as its row tells, with the arguments in their natural order.
outcome call_with(IDispatch* object, const media_member_row& row, std::vector<variant> arguments);

template <class... Arguments>
outcome call(IDispatch* object, const media_member_row& row, Arguments&&... arguments)
{
    std::vector<variant> all;
    (all.push_back(variant(std::forward<Arguments>(arguments))), ...);
    return call_with(object, row, std::move(all));
}

/// `Item` of a plain collection, by index or by name; the object, or null where it fails.
com_ptr<IDispatch> item(IDispatch* collection, int index);
com_ptr<IDispatch> item(IDispatch* collection, std::u16string_view name);

/// The exported entry point of the library that was built.
dll_get_class_object entry_point();

/// A folder for the models of one test, and a factory to open them with.
class fixture_test : public testing::Test {
protected:
    fixture_test();
    ~fixture_test() override;

    /// Writes `bytes` to a file in the folder; its path.
    std::string write(std::string_view bytes, const std::string& name = "model.hdr");
    [[nodiscard]] std::string path_of(const std::string& name) const { return (m_folder / name).string(); }
    [[nodiscard]] static std::string read(const std::string& path);

    /// Calls `OpenMedia` with the path of a model.
    outcome open_path(std::string_view path, std::u16string_view password = {});
    /// Writes a model and opens it; the media, or null with a failed test.
    com_ptr<IDispatch> open(std::string_view model);
    /// The same for a model that has these members and nothing else.
    com_ptr<IDispatch> open_media(std::string_view media_members);
    /// The only feature of a media that has these members.
    com_ptr<IDispatch> open_feature(std::string_view feature_members);
    /// The only file of the only component of a media that has these members.
    com_ptr<IDispatch> open_file(std::string_view file_members);

    /// What `LastError` answers.
    outcome last_error(const media_member_row& row);

    com_ptr<IDispatch> m_factory;

private:
    std::filesystem::path m_folder;
};

} // namespace cw::fixture_tests
