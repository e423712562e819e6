#include "library_exports.h"
#include "logkit_support.h"

namespace cw::logkit_tests {
namespace {

TEST(logkit_library, has_one_class)
{
    com_ptr<IClassFactory> factory;
    EXPECT_EQ(entry_point()(CLSID_LogLoader, IID_IClassFactory, factory.put_void()), S_OK);
    ASSERT_TRUE(factory);
    void* none = &factory;
    EXPECT_EQ(entry_point()(IID_ILogLoader, IID_IClassFactory, &none), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(none, nullptr);
    none = &factory;
    EXPECT_EQ(entry_point()(CLSID_LogLoader, IID_ILogLoader, &none), E_NOINTERFACE);
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(entry_point()(CLSID_LogLoader, IID_IClassFactory, nullptr), E_POINTER);
    com_ptr<IUnknown> first;
    com_ptr<IUnknown> second;
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_ILogLoader, first.put_void()), S_OK);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, second.put_void()), S_OK);
    EXPECT_NE(first.get(), second.get());
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_ILogDocument, &none), E_NOINTERFACE);
    EXPECT_EQ(factory->CreateInstance(first.get(), IID_IUnknown, &none), CLASS_E_NOAGGREGATION);
}

TEST(logkit_library, exports_its_entry_point_alone)
{
    EXPECT_EQ(reader_tests::exported_names(library_path().c_str()), std::vector<std::string>{"DllGetClassObject"});
}

using logkit_interfaces = log_test;

/// Calls the n-th own operation of an object, which stands behind seven others.
template <class... Arguments>
HRESULT call_slot(void* object, std::size_t order, Arguments... arguments)
{
    using operation = HRESULT (*)(void*, Arguments...);
    return reinterpret_cast<operation>((*static_cast<void***>(object))[6 + order])(object, arguments...);
}

template <class Interface>
void expect_interface(Interface* object, REFIID iid)
{
    for (const IID& each : {IID_IUnknown, IID_IDispatch, iid})
        EXPECT_EQ(automation::query_interface<IUnknown>(object, each).get(), object);
    const auto errors = automation::query_interface<ISupportErrorInfo>(object, IID_ISupportErrorInfo);
    ASSERT_TRUE(errors);
    EXPECT_EQ(errors->InterfaceSupportsErrorInfo(iid), S_OK);
    for (const IID& each : {IID_ILogLoader, IID_ILogDocument, IID_IFeatureLog, IID_IFeatureLogCollection,
                            IID_IOperationTypeCollection, IID_IOperationType, IID_IOperationList})
        EXPECT_EQ(static_cast<bool>(automation::query_interface<IUnknown>(object, each)), each == iid);
}

TEST_F(logkit_interfaces, each_operation_stands_in_its_slot)
{
    const bstr path(wide(write_log(rich_log())));
    com_ptr<ILogDocument> document;
    ASSERT_EQ(call_slot(m_loader.get(), 1, path.get(), document.put()), S_OK);
    feature main;
    ASSERT_EQ(call_slot(document.get(), 1, main.put()), S_OK);
    com_ptr<IOperationTypeCollection> types;
    ASSERT_EQ(call_slot(document.get(), 2, types.put()), S_OK);
    LONG number = 0;
    EXPECT_EQ(call_slot(types.get(), 1, &number), S_OK);
    EXPECT_EQ(number, 10);
    com_ptr<IOperationType> type;
    const variant tenth(10);
    ASSERT_EQ(call_slot<VARIANT>(types.get(), 2, tenth, type.put()), S_OK);
    bstr text;
    EXPECT_EQ(call_slot(type.get(), 1, text.put()), S_OK);
    EXPECT_EQ(text.view(), u"OPTYPE_SERVICE");

    EXPECT_EQ(call_slot(main.get(), 1, text.put()), S_OK);
    EXPECT_EQ(text.view(), u"Main");
    EXPECT_EQ(call_slot(main.get(), 3, text.put()), S_OK);
    EXPECT_EQ(text.view(), u"main-id");
    for (const std::size_t reserved : {2, 6, 9, 10})
        EXPECT_EQ(call_slot(main.get(), reserved), E_NOTIMPL);
    const variant state(std::u16string_view(u"State"));
    variant value;
    EXPECT_EQ(call_slot<VARIANT>(main.get(), 5, state, value.put()), S_OK);
    EXPECT_EQ(shown(value), "i4:2");
    com_ptr<IFeatureLogCollection> features;
    ASSERT_EQ(call_slot(main.get(), 7, features.put()), S_OK);
    EXPECT_EQ(call_slot(features.get(), 1, &number), S_OK);
    EXPECT_EQ(number, 2);
    feature second;
    const variant index(2);
    ASSERT_EQ(call_slot<VARIANT>(features.get(), 2, index, second.put()), S_OK);
    feature parent;
    EXPECT_EQ(call_slot(second.get(), 4, parent.put()), S_OK);
    EXPECT_EQ(parent, main);
    SAFEARRAY* names = nullptr;
    EXPECT_EQ(call_slot(main.get(), 11, &names), S_OK);
    EXPECT_EQ(texts(names), (std::vector<std::string>{"State", "Titles", "Values"}));

    operations files;
    const bstr file_type(log_operation_type::file);
    ASSERT_EQ(call_slot(main.get(), 8, file_type.get(), files.put()), S_OK);
    EXPECT_EQ(call_slot(files.get(), 1, text.put()), S_OK);
    EXPECT_EQ(text.view(), u"OPTYPE_FILE");
    EXPECT_EQ(call_slot(files.get(), 2, &number), S_OK);
    EXPECT_EQ(number, 2);
    LONG position = -1;
    EXPECT_EQ(call_slot(files.get(), 3, LONG{0}, &position), S_OK);
    EXPECT_EQ(position, 0);
    SAFEARRAY* record = nullptr;
    EXPECT_EQ(call_slot(files.get(), 4, &position, &record), S_OK);
    EXPECT_EQ(shown(record), R"("/opt/a" "a.bin" yes no no yes)");

    expect_interface(m_loader.get(), IID_ILogLoader);
    expect_interface(document.get(), IID_ILogDocument);
    expect_interface(main.get(), IID_IFeatureLog);
    expect_interface(features.get(), IID_IFeatureLogCollection);
    expect_interface(types.get(), IID_IOperationTypeCollection);
    expect_interface(type.get(), IID_IOperationType);
    expect_interface(files.get(), IID_IOperationList);
}

TEST_F(logkit_interfaces, results_need_a_place)
{
    const std::string path = write_log(rich_log());
    const bstr text(wide(path));
    EXPECT_EQ(m_loader->Open(text.get(), nullptr), E_POINTER);
    const com_ptr<ILogDocument> document = open(path);
    EXPECT_EQ(document->RootFeature(nullptr), E_POINTER);
    EXPECT_EQ(document->OperationTypes(nullptr), E_POINTER);
    const feature main = main_feature(document.get());
    EXPECT_EQ(main->Name(nullptr), E_POINTER);
    EXPECT_EQ(main->ID(nullptr), E_POINTER);
    EXPECT_EQ(main->Parent(nullptr), E_POINTER);
    EXPECT_EQ(main->PropertyValue(variant(std::u16string_view(u"State")), nullptr), E_POINTER);
    EXPECT_EQ(main->SubFeatures(nullptr), E_POINTER);
    EXPECT_EQ(main->Operations(text.get(), nullptr), E_POINTER);
    EXPECT_EQ(main->PropertyNames(nullptr), E_POINTER);
    com_ptr<IFeatureLogCollection> features;
    ASSERT_EQ(main->SubFeatures(features.put()), S_OK);
    EXPECT_EQ(features->Count(nullptr), E_POINTER);
    EXPECT_EQ(features->Item(variant(1), nullptr), E_POINTER);
    com_ptr<IOperationTypeCollection> types;
    ASSERT_EQ(document->OperationTypes(types.put()), S_OK);
    EXPECT_EQ(types->Count(nullptr), E_POINTER);
    EXPECT_EQ(types->Item(variant(1), nullptr), E_POINTER);
    com_ptr<IOperationType> type;
    ASSERT_EQ(types->Item(variant(1), type.put()), S_OK);
    EXPECT_EQ(type->Name(nullptr), E_POINTER);
    const operations files = list(main.get(), log_operation_type::file);
    EXPECT_EQ(files->Name(nullptr), E_POINTER);
    EXPECT_EQ(files->Count(nullptr), E_POINTER);
    EXPECT_EQ(files->First(0, nullptr), E_POINTER);
    LONG position = 0;
    EXPECT_EQ(files->Next(&position, nullptr), E_POINTER);
    EXPECT_EQ(position, 0);
    SAFEARRAY* record = reinterpret_cast<SAFEARRAY*>(&position);
    EXPECT_EQ(files->Next(nullptr, &record), E_POINTER);
    EXPECT_EQ(record, nullptr);
}

TEST_F(logkit_interfaces, a_null_path_is_not_found)
{
    com_ptr<ILogDocument> document;
    EXPECT_EQ(m_loader->Open(nullptr, document.put()), failure(2));
    EXPECT_NE(last_error().find("cannot be found"), std::string::npos);
}

} // namespace
} // namespace cw::logkit_tests
