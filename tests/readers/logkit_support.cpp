#include "logkit_support.h"

#include <unistd.h>

#include <algorithm>

namespace cw::logkit_tests {

std::string library_path()
{
    return CW_TEST_BUILD_DIR "/bin/LogKit.dll";
}

dll_get_class_object entry_point()
{
    static const dll_get_class_object found = reader_tests::load_entry_point(library_path());
    return found;
}

sql_file::sql_file(const std::string& path)
{
    EXPECT_EQ(sqlite3_open(path.c_str(), &m_handle), SQLITE_OK) << path;
}

sql_file::~sql_file()
{
    sqlite3_close(m_handle);
}

void sql_file::run(const std::string& sql) const
{
    char* message = nullptr;
    EXPECT_EQ(sqlite3_exec(m_handle, sql.c_str(), nullptr, nullptr, &message), SQLITE_OK) << sql << ": " << message;
    sqlite3_free(message);
}

int sql_file::result_of(const std::string& sql) const
{
    return sqlite3_exec(m_handle, sql.c_str(), nullptr, nullptr, nullptr);
}

std::string empty_log()
{
    std::string sql = "PRAGMA application_id = " + std::to_string(formats::log_application_id) +
                      "; PRAGMA user_version = " + std::to_string(formats::log_schema_version) + ";";
    for (const formats::log_table& table : formats::log_tables)
        sql += formats::create_statement(table) + ";";
    int id = 0;
    for (const formats::operation_table& table : formats::operation_tables)
        sql += formats::create_statement(table) + "; INSERT INTO operation_type VALUES (" + std::to_string(++id) +
               ", '" + narrow(table.type) + "');";
    return sql;
}

std::string plain_log()
{
    return empty_log() + "INSERT INTO feature VALUES (1, 0, 0, 'Main', 'main-id');";
}

std::string rich_log()
{
    return plain_log() + R"sql(
INSERT INTO feature VALUES (2, 1, 0, 'First', 'first-id'), (3, 1, 1, 'Second', 'second-id'), (4, 3, 0, 'Deep', 'deep-id');
INSERT INTO property VALUES (1, 0, 'State', 3, 2), (1, 1, 'Titles', 8200, NULL), (1, 2, 'Values', 8200, NULL),
    (2, 0, 'State', 8, 'Installed');
INSERT INTO property_element VALUES (1, 1, 0, 'Version'), (1, 1, 1, 'Vendor'), (1, 2, 0, '1.0');
INSERT INTO operation_type VALUES (10, 'OPTYPE_SERVICE');
INSERT INTO file_operation VALUES (1, 0, '/opt/a', 'a.bin', 1, 0, 0, 1), (1, 1, '/opt/b', NULL, 0, 1, 0, 1),
    (4, 0, '/deep', 'd', 0, 0, 1, 0);
INSERT INTO shell_operation VALUES (2, 0, 'Programs', 'Tool', 1, 0);
INSERT INTO registry_operation VALUES (1, 0, 'Software\X', 'Name', NULL, 2, 1, 0, 1);
INSERT INTO registry64_operation VALUES (1, 0, 'Software\Y', NULL, 'far', 0, 0, 1, 0, 512);
INSERT INTO progman_operation VALUES (1, 0, 'Group', 'Item', 'run', 1);
INSERT INTO ini_operation VALUES (1, 0, '/etc/x.ini', 'main', 'key', 'value', 1, 0);
INSERT INTO self_registration_operation VALUES (1, 0, '/opt/a', 'a.so', 1);
INSERT INTO dotnet_operation VALUES (1, 0, '/opt/a', 'a.dll', 3, 0, 1);
INSERT INTO general_operation VALUES (1, 0, 'Restart', 'later'), (1, 1, 'Done', NULL);
INSERT INTO other_operation VALUES (10, 1, 0), (10, 1, 1);
INSERT INTO operation_element VALUES (10, 1, 0, 0, 8, 'service'), (10, 1, 0, 1, 3, 7),
    (1, 1, 1, 0, 8, 'surplus'), (1, 1, 1, 1, 11, 1);
)sql";
}

std::string last_error()
{
    com_ptr<IErrorInfo> info;
    if (GetErrorInfo(0, info.put()) != S_OK)
        return {};
    bstr text;
    info->GetDescription(text.put());
    return narrow(text.view());
}

std::string shown(const VARIANT& value)
{
    switch (value.vt) {
    case VT_EMPTY:
        return "empty";
    case VT_BSTR:
        return value.bstrVal ? '"' + narrow({value.bstrVal, SysStringLen(value.bstrVal)}) + '"' : "null";
    case VT_BOOL:
        return value.boolVal == VARIANT_TRUE ? "yes" : value.boolVal == VARIANT_FALSE ? "no" : "?";
    case VT_I2:
        return "i2:" + std::to_string(value.iVal);
    case VT_I4:
        return "i4:" + std::to_string(value.lVal);
    case VT_I8:
        return "i8:" + std::to_string(value.llVal);
    case VT_R8:
        return "r8:" + std::to_string(value.dblVal);
    default:
        return "type " + std::to_string(value.vt);
    }
}

std::string shown(SAFEARRAY* record)
{
    if (!record)
        return "no record";
    LONG lower = -1;
    LONG upper = -2;
    VARTYPE type = VT_EMPTY;
    EXPECT_EQ(SafeArrayGetDim(record), 1u);
    EXPECT_EQ(SafeArrayGetVartype(record, &type), S_OK);
    EXPECT_EQ(type, VT_VARIANT);
    EXPECT_EQ(SafeArrayGetLBound(record, 1, &lower), S_OK);
    EXPECT_EQ(SafeArrayGetUBound(record, 1, &upper), S_OK);
    EXPECT_EQ(lower, 0);
    void* data = nullptr;
    EXPECT_EQ(SafeArrayAccessData(record, &data), S_OK);
    std::string line;
    for (LONG i = 0; i <= upper; ++i)
        line += (i ? " " : "") + shown(static_cast<VARIANT*>(data)[i]);
    EXPECT_EQ(SafeArrayUnaccessData(record), S_OK);
    return line;
}

feature main_feature(ILogDocument* document)
{
    feature root;
    EXPECT_EQ(document->RootFeature(root.put()), S_OK) << last_error();
    return root;
}

std::string name_of(IFeatureLog* one)
{
    bstr name;
    EXPECT_EQ(one->Name(name.put()), S_OK);
    EXPECT_NE(name.get(), nullptr);
    return narrow(name.view());
}

feature child(IFeatureLog* one, LONG index)
{
    com_ptr<IFeatureLogCollection> all;
    EXPECT_EQ(one->SubFeatures(all.put()), S_OK);
    feature found;
    EXPECT_EQ(all->Item(variant(index), found.put()), S_OK) << last_error();
    return found;
}

LONG child_count(IFeatureLog* one)
{
    com_ptr<IFeatureLogCollection> all;
    EXPECT_EQ(one->SubFeatures(all.put()), S_OK);
    LONG count = -1;
    EXPECT_EQ(all->Count(&count), S_OK);
    return count;
}

operations list(IFeatureLog* one, std::u16string_view type)
{
    const bstr name(type);
    operations found;
    EXPECT_EQ(one->Operations(name.get(), found.put()), S_OK) << last_error();
    return found;
}

LONG count_of(IOperationList* one)
{
    LONG count = -1;
    EXPECT_EQ(one->Count(&count), S_OK) << last_error();
    return count;
}

std::vector<std::string> records(IOperationList* one)
{
    std::vector<std::string> lines;
    LONG position = -7;
    EXPECT_EQ(one->First(0, &position), S_OK) << last_error();
    EXPECT_EQ(position < 0, count_of(one) == 0);
    for (LONG i = 0; i < count_of(one); ++i) {
        SAFEARRAY* record = nullptr;
        const HRESULT result = one->Next(&position, &record);
        EXPECT_EQ(result, S_OK) << last_error();
        if (result != S_OK)
            break;
        lines.push_back(shown(record));
    }
    return lines;
}

std::vector<std::string> records(IFeatureLog* one, std::u16string_view type)
{
    return records(list(one, type).get());
}

variant property(IFeatureLog* one, std::u16string_view name, HRESULT* result)
{
    const variant given(name);
    variant value;
    const HRESULT answered = one->PropertyValue(given, value.put());
    if (result)
        *result = answered;
    else
        EXPECT_EQ(answered, S_OK) << last_error();
    return value;
}

std::vector<std::string> texts(SAFEARRAY* array)
{
    std::vector<std::string> all;
    LONG lower = -1;
    LONG upper = -2;
    VARTYPE type = VT_EMPTY;
    EXPECT_EQ(SafeArrayGetVartype(array, &type), S_OK);
    EXPECT_EQ(type, VT_BSTR);
    EXPECT_EQ(SafeArrayGetLBound(array, 1, &lower), S_OK);
    EXPECT_EQ(SafeArrayGetUBound(array, 1, &upper), S_OK);
    EXPECT_EQ(lower, 0);
    for (LONG i = 0; i <= upper; ++i) {
        bstr text;
        EXPECT_EQ(SafeArrayGetElement(array, &i, text.put()), S_OK);
        all.push_back(narrow(text.view()));
    }
    return all;
}

std::vector<std::string> property_names(IFeatureLog* one)
{
    SAFEARRAY* names = nullptr;
    EXPECT_EQ(one->PropertyNames(&names), S_OK) << last_error();
    return names ? texts(names) : std::vector<std::string>{"no array"};
}

namespace {

// Damaged logs may tell of records without end.
constexpr LONG most_records_walked = 20'000;

class walker {
public:
    walked m_result;

    bool ok(HRESULT result)
    {
        const std::string text = last_error();
        if (SUCCEEDED(result))
            return true;
        // Whatever fails says what it is.
        EXPECT_TRUE(!text.empty() || result == E_OUTOFMEMORY) << std::hex << result;
        if (m_result.failures++ == 0)
            m_result.first_failure = text;
        return false;
    }

    void walk_list(IFeatureLog* one, std::u16string_view type)
    {
        const bstr name(type);
        operations found;
        LONG position = -1;
        LONG count = 0;
        if (!ok(one->Operations(name.get(), found.put())) || !ok(found->First(0, &position)))
            return;
        for (LONG i = 0; ok(found->Count(&count)) && i < std::min(count, most_records_walked); ++i) {
            SAFEARRAY* record = nullptr;
            const LONG before = position;
            if (!ok(found->Next(&position, &record))) {
                EXPECT_EQ(record, nullptr);
                EXPECT_EQ(position, before);
                return;
            }
            const formats::operation_table* table = formats::find_operation_table(type);
            LONG upper = -2;
            EXPECT_EQ(SafeArrayGetUBound(record, 1, &upper), S_OK);
            EXPECT_GE(upper + 1, table ? static_cast<LONG>(table->columns.size()) : 0);
            (void)shown(record);
            ++m_result.records;
        }
    }

    void walk_properties(IFeatureLog* one)
    {
        SAFEARRAY* names = nullptr;
        if (!ok(one->PropertyNames(&names)))
            return;
        LONG upper = -1;
        SafeArrayGetUBound(names, 1, &upper);
        for (LONG i = 0; i <= upper; ++i) {
            variant name;
            name.vt = VT_BSTR;
            EXPECT_EQ(SafeArrayGetElement(names, &i, &name.bstrVal), S_OK);
            variant value;
            ok(one->PropertyValue(name, value.put()));
            ++m_result.properties;
        }
    }

    void walk_features(ILogDocument* document, IFeatureLog* main)
    {
        std::vector<feature> waiting{feature(main)};
        while (!waiting.empty()) {
            const feature one = waiting.back();
            waiting.pop_back();
            ++m_result.features;
            (void)name_of(one.get());
            walk_properties(one.get());
            for (const std::u16string_view type : log_operation_type::all)
                walk_list(one.get(), type);
            com_ptr<IOperationTypeCollection> types;
            LONG count = 0;
            if (ok(document->OperationTypes(types.put())) && ok(types->Count(&count)))
                for (LONG i = 1; i <= count; ++i) {
                    com_ptr<IOperationType> type;
                    bstr name;
                    if (ok(types->Item(variant(i), type.put())) && ok(type->Name(name.put())))
                        walk_list(one.get(), name.view());
                }
            for (LONG i = 1; i <= child_count(one.get()); ++i)
                waiting.push_back(child(one.get(), i));
        }
    }
};

} // namespace

walked walk(ILogDocument* document)
{
    walker all;
    feature main;
    if (all.ok(document->RootFeature(main.put())))
        all.walk_features(document, main.get());
    return all.m_result;
}

as_nobody::as_nobody(const std::filesystem::path& folder) : m_folder(folder), m_wasRoot(geteuid() == 0)
{
    constexpr uid_t nobody = 65534;
    using std::filesystem::perms;
    std::filesystem::permissions(folder, perms(0555));
    if (m_wasRoot && seteuid(nobody) != 0)
        ADD_FAILURE() << "the rights cannot be given up";
}

as_nobody::~as_nobody()
{
    if (m_wasRoot && seteuid(0) != 0)
        ADD_FAILURE() << "the rights cannot be taken back";
    std::filesystem::permissions(m_folder, std::filesystem::perms(0755));
}

log_test::log_test()
{
    com_ptr<IClassFactory> factory;
    EXPECT_EQ(entry_point()(CLSID_LogLoader, IID_IClassFactory, factory.put_void()), S_OK);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_ILogLoader, m_loader.put_void()), S_OK);
}

std::vector<std::string> log_test::listing() const
{
    std::vector<std::string> all;
    for (const auto& entry : std::filesystem::directory_iterator(m_folder.path()))
        all.push_back(entry.path().filename().string());
    std::sort(all.begin(), all.end());
    return all;
}

std::string log_test::write_log(const std::string& sql, const std::string& name) const
{
    const std::string path = path_of(name);
    std::filesystem::remove(path);
    sql_file(path).run("PRAGMA synchronous = OFF; BEGIN;" + sql + "COMMIT;");
    return path;
}

HRESULT log_test::open_path(std::string_view path, com_ptr<ILogDocument>& document) const
{
    const bstr text(wide(path));
    return m_loader->Open(text.get(), document.put());
}

com_ptr<ILogDocument> log_test::open(std::string_view path) const
{
    com_ptr<ILogDocument> document;
    EXPECT_EQ(open_path(path, document), S_OK) << last_error();
    return document;
}

feature log_test::open_main(std::string_view path) const
{
    const com_ptr<ILogDocument> document = open(path);
    return document ? main_feature(document.get()) : feature();
}

void log_test::expect_error(std::string_view path, int number, std::string_view part) const
{
    com_ptr<ILogDocument> document;
    EXPECT_EQ(open_path(path, document), failure(number)) << path;
    EXPECT_FALSE(document);
    const std::string text = last_error();
    EXPECT_NE(text.find(part), std::string::npos) << text;
    EXPECT_NE(text.find(std::filesystem::path(path).filename().string()), std::string::npos) << text;
}

} // namespace cw::logkit_tests
