// Loads the built reader of logs as its callers do, writes logs for it by plain statements and walks
// its objects. Used by the tests of the reader.
#pragma once

#include "automation/error_info.h"
#include "bridges/log_interface.h"
#include "formats/log_format.h"
#include "tests/readers/reader_module.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <string>
#include <string_view>
#include <vector>

namespace cw::logkit_tests {

using automation::bstr;
using automation::com_ptr;
using automation::variant;

/// The exported entry point of the library that was built.
dll_get_class_object entry_point();
std::string library_path();

/// A result code for a numbered error.
constexpr HRESULT failure(int number)
{
    return make_hresult(0x80040200u + static_cast<unsigned>(number));
}

using reader_tests::narrow;
using reader_tests::wide;

/// A connection that writes.
class sql_file {
public:
    explicit sql_file(const std::string& path);
    ~sql_file();
    sql_file(const sql_file&) = delete;
    sql_file& operator=(const sql_file&) = delete;
    /// Runs statements, which must succeed.
    void run(const std::string& sql) const;
    /// The result code of statements.
    [[nodiscard]] int result_of(const std::string& sql) const;

private:
    sqlite3* m_handle = nullptr;
};

/// The statements of a log that has its tables, the known types and nothing else.
std::string empty_log();
/// The same and the main feature, number 1.
std::string plain_log();
/// A row of every table, three levels of features.
std::string rich_log();

/// The text of the thread's error object, which it then has no longer.
std::string last_error();

/// An element as "text", yes, no, i2:1, i4:1, i8:1, r8:1, null for a text that is not there, empty.
std::string shown(const VARIANT& value);
/// Elements of a record that is not locked, joined by blanks.
std::string shown(SAFEARRAY* record);

using feature = com_ptr<IFeatureLog>;
using operations = com_ptr<IOperationList>;

std::string name_of(IFeatureLog* one);
feature child(IFeatureLog* one, LONG index);
LONG child_count(IFeatureLog* one);
operations list(IFeatureLog* one, std::u16string_view type);
LONG count_of(IOperationList* one);
/// All records as callers walk them.
std::vector<std::string> records(IOperationList* one);
std::vector<std::string> records(IFeatureLog* one, std::u16string_view type);
/// The value of a property; `result` is that of the call.
variant property(IFeatureLog* one, std::u16string_view name, HRESULT* result = nullptr);
std::vector<std::string> property_names(IFeatureLog* one);
/// Elements of an array of texts.
std::vector<std::string> texts(SAFEARRAY* array);

/// What a walk over a whole log came to.
struct walked {
    int features = 0;
    int properties = 0;
    int records = 0;
    int failures = 0;
    std::string first_failure;
};
walked walk(ILogDocument* document);

/// Takes the right to write away from a folder while it lives, and gives up the rights of an
/// administrator, to whom nothing is denied.
class as_nobody {
public:
    explicit as_nobody(const std::filesystem::path& folder);
    ~as_nobody();

private:
    std::filesystem::path m_folder;
    bool m_wasRoot;
};

/// A folder of one test, and a loader to open logs with.
class log_test : public testing::Test {
protected:
    log_test();

    [[nodiscard]] std::string path_of(const std::string& name) const { return m_folder.file(name); }
    /// The names of all that lies in the test's folder.
    [[nodiscard]] std::vector<std::string> listing() const;
    /// Writes the log `name` with these statements; its path.
    std::string write_log(const std::string& sql, const std::string& name = "setup.clg") const;
    /// Opens a path: the result of the call.
    HRESULT open_path(std::string_view path, com_ptr<ILogDocument>& document) const;
    /// The document, or null with a failed test.
    com_ptr<ILogDocument> open(std::string_view path) const;
    /// The main feature of an opened log.
    feature open_main(std::string_view path) const;
    /// Opens a path that must fail with this error, its text naming the file and `part`.
    void expect_error(std::string_view path, int number, std::string_view part = {}) const;

    test_support::temporary_folder m_folder;
    com_ptr<ILogLoader> m_loader;
};

feature main_feature(ILogDocument* document);

} // namespace cw::logkit_tests
