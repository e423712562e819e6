#include "bridges/log_interface.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace cw {
namespace {

std::string called;

/// The operations that all seven have in common.
template <class Interface>
class slots_of_dispatch : public Interface {
public:
    HRESULT QueryInterface(REFIID, void**) noexcept override { return note("QueryInterface"); }
    ULONG AddRef() noexcept override { return static_cast<ULONG>(note("AddRef")); }
    ULONG Release() noexcept override { return static_cast<ULONG>(note("Release")); }
    HRESULT GetTypeInfoCount(UINT*) noexcept override { return note("GetTypeInfoCount"); }
    HRESULT GetTypeInfo(UINT, LCID, ITypeInfo**) noexcept override { return note("GetTypeInfo"); }
    HRESULT GetIDsOfNames(REFIID, WCHAR**, UINT, LCID, DISPID*) noexcept override { return note("GetIDsOfNames"); }
    HRESULT Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) noexcept override
    {
        return note("Invoke");
    }

protected:
    static HRESULT note(const char* name)
    {
        called = name;
        return S_OK;
    }
};

class loader final : public slots_of_dispatch<ILogLoader> {
    HRESULT Open(BSTR, ILogDocument**) noexcept override { return note("Open"); }
};
class document final : public slots_of_dispatch<ILogDocument> {
    HRESULT RootFeature(IFeatureLog**) noexcept override { return note("RootFeature"); }
    HRESULT OperationTypes(IOperationTypeCollection**) noexcept override { return note("OperationTypes"); }
};
class feature final : public slots_of_dispatch<IFeatureLog> {
    HRESULT Name(BSTR*) noexcept override { return note("Name"); }
    HRESULT reserved_2() noexcept override { return note("2"); }
    HRESULT ID(BSTR*) noexcept override { return note("ID"); }
    HRESULT Parent(IFeatureLog**) noexcept override { return note("Parent"); }
    HRESULT PropertyValue(VARIANT, VARIANT*) noexcept override { return note("PropertyValue"); }
    HRESULT reserved_6() noexcept override { return note("6"); }
    HRESULT SubFeatures(IFeatureLogCollection**) noexcept override { return note("SubFeatures"); }
    HRESULT Operations(BSTR, IOperationList**) noexcept override { return note("Operations"); }
    HRESULT reserved_9() noexcept override { return note("9"); }
    HRESULT reserved_10() noexcept override { return note("10"); }
    HRESULT PropertyNames(SAFEARRAY**) noexcept override { return note("PropertyNames"); }
};
class feature_collection final : public slots_of_dispatch<IFeatureLogCollection> {
    HRESULT Count(LONG*) noexcept override { return note("Count"); }
    HRESULT Item(VARIANT, IFeatureLog**) noexcept override { return note("Item"); }
};
class type_collection final : public slots_of_dispatch<IOperationTypeCollection> {
    HRESULT Count(LONG*) noexcept override { return note("Count"); }
    HRESULT Item(VARIANT, IOperationType**) noexcept override { return note("Item"); }
};
class operation_type final : public slots_of_dispatch<IOperationType> {
    HRESULT Name(BSTR*) noexcept override { return note("Name"); }
};
class operation_list final : public slots_of_dispatch<IOperationList> {
    HRESULT Name(BSTR*) noexcept override { return note("Name"); }
    HRESULT Count(LONG*) noexcept override { return note("Count"); }
    HRESULT First(LONG, LONG*) noexcept override { return note("First"); }
    HRESULT Next(LONG*, SAFEARRAY**) noexcept override { return note("Next"); }
};

/// Calls the operations by their place in the table, as a library that was built elsewhere does.
template <class Fake, class Interface>
void expect_slots(std::vector<std::string> own)
{
    std::vector<std::string> expected{"QueryInterface", "AddRef",        "Release", "GetTypeInfoCount",
                                      "GetTypeInfo",    "GetIDsOfNames", "Invoke"};
    expected.insert(expected.end(), own.begin(), own.end());
    Fake fake;
    Interface* object = &fake;
    void** table = *reinterpret_cast<void***>(object);
    for (std::size_t slot = 0; slot < expected.size(); ++slot) {
        called.clear();
        reinterpret_cast<HRESULT (*)(void*, void*, void*, void*)>(table[slot])(object, nullptr, nullptr, nullptr);
        EXPECT_EQ(called, expected[slot]) << slot;
    }
}

TEST(log_interface, has_its_operations_in_binary_order)
{
    expect_slots<loader, ILogLoader>({"Open"});
    expect_slots<document, ILogDocument>({"RootFeature", "OperationTypes"});
    expect_slots<feature, IFeatureLog>(
        {"Name", "2", "ID", "Parent", "PropertyValue", "6", "SubFeatures", "Operations", "9", "10", "PropertyNames"});
    expect_slots<feature_collection, IFeatureLogCollection>({"Count", "Item"});
    expect_slots<type_collection, IOperationTypeCollection>({"Count", "Item"});
    expect_slots<operation_type, IOperationType>({"Name"});
    expect_slots<operation_list, IOperationList>({"Name", "Count", "First", "Next"});
}

std::u16string text_of(const GUID& guid)
{
    char16_t text[39];
    StringFromGUID2(guid, text, 39);
    return text;
}

TEST(log_interface, has_its_identifiers)
{
    EXPECT_EQ(text_of(CLSID_LogLoader), u"{55A97042-5A18-42D8-81C7-04678F008A7E}");
    EXPECT_EQ(log_loader_class_text, u"{55A97042-5A18-42D8-81C7-04678F008A7E}");
    EXPECT_EQ(log_library_name, u"LogKit.dll");
    EXPECT_EQ(text_of(IID_ILogLoader), u"{C95E0E43-DCA0-47F9-9733-913162D2594A}");
    EXPECT_EQ(text_of(IID_ILogDocument), u"{F5EBB941-06FC-4D66-9587-4CFBBD9C0129}");
    EXPECT_EQ(text_of(IID_IFeatureLog), u"{4F224BFE-A12F-49C2-9D77-B076C604645F}");
    EXPECT_EQ(text_of(IID_IFeatureLogCollection), u"{93E32B8B-EC87-473F-83D0-C74E07EA6474}");
    EXPECT_EQ(text_of(IID_IOperationTypeCollection), u"{6605917A-E0FF-42FD-8EC4-E207A321CBBE}");
    EXPECT_EQ(text_of(IID_IOperationType), u"{AE49E8A1-5019-4808-A709-EB09007DA4AC}");
    EXPECT_EQ(text_of(IID_IOperationList), u"{71F37993-4B51-43E0-9C10-8F6B27FB9FC0}");
}

TEST(log_interface, names_operation_types_and_hives)
{
    const std::set<std::u16string_view> names(log_operation_type::all.begin(), log_operation_type::all.end());
    EXPECT_EQ(names, (std::set<std::u16string_view>{u"OPTYPE_FILE", u"OPTYPE_SHELL", u"OPTYPE_REGISTRY",
                                                    u"OPTYPE_REGISTRY64", u"OPTYPE_PROGMAN", u"OPTYPE_INI",
                                                    u"OPTYPE_FILEREG", u"OPTYPE_DOTNET", u"OPTYPE_GENERAL"}));
    EXPECT_EQ(log_operation_type::registry64, u"OPTYPE_REGISTRY64");
    ASSERT_EQ(log_hive_names.size(), 7u);
    EXPECT_EQ(log_hive_names[0], u"HKEY_CLASSES_ROOT");
    EXPECT_EQ(log_hive_names[1], u"HKEY_CURRENT_USER");
    EXPECT_EQ(log_hive_names[2], u"HKEY_LOCAL_MACHINE");
    EXPECT_EQ(log_hive_names[3], u"");
    EXPECT_EQ(log_hive_names[4], u"HKEY_PERFORMANCE_DATA");
    EXPECT_EQ(log_hive_names[5], u"HKEY_CURRENT_CONFIG");
    EXPECT_EQ(log_hive_names[6], u"HKEY_DYN_DATA");
    EXPECT_EQ(log_state::not_installed, 0);
    EXPECT_EQ(log_state::installed, 2);
}

/// Elements of a record stand without gaps from 0, with the forms given.
void expect_record(ULONG count, std::initializer_list<log_element> elements, std::string_view forms)
{
    EXPECT_EQ(elements.size(), count);
    LONG index = 0;
    std::string seen;
    for (const log_element& element : elements) {
        EXPECT_EQ(element.index, index++);
        seen += "tfnc"[static_cast<int>(element.form)];
    }
    EXPECT_EQ(seen, forms);
}

TEST(log_interface, lays_records_out)
{
    {
        using namespace log_file_record;
        expect_record(element_count,
                      {folder, file_name, shared, is_directory, potentially_locked, permanent_or_created}, "ttffff");
    }
    {
        using namespace log_filereg_record;
        expect_record(element_count, {folder, file_name, shared}, "ttf");
    }
    {
        using namespace log_registry_record;
        expect_record(element_count64,
                      {key, value_name, remote_name, hive, permanent_or_created, remote, shared, flags}, "tctnfffc");
        EXPECT_EQ(element_count, 7u);
    }
    {
        using namespace log_ini_record;
        expect_record(element_count, {path, section, key, value, added_section, created_file}, "ttttff");
    }
    {
        using namespace log_shell_record;
        expect_record(element_count, {folder_name, shortcut, permanent, created_directory}, "ttff");
    }
    {
        using namespace log_general_record;
        expect_record(element_count, {operation, data}, "tt");
    }
    {
        using namespace log_dotnet_record;
        expect_record(element_count, {folder, file_name, assembly_type, shared, com_interop}, "ttnff");
    }
}

} // namespace
} // namespace cw
