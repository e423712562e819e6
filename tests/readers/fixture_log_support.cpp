#include "tests/readers/fixture_log_support.h"

#include "tests/readers/reader_module.h"

#include "automation/error_info.h"
#include "readers/fixture/text.h"

#include <cstdio>
#include <stdexcept>

namespace cw::fixture_log_tests {

namespace {

std::string hexadecimal(HRESULT result)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(result));
    return text;
}

std::string shown_text(BSTR text)
{
    return text ? "\"" + fixture::to_utf8({text, SysStringLen(text)}) + "\"" : "null text";
}

} // namespace

dll_get_class_object entry_point()
{
    static const dll_get_class_object found = reader_tests::load_entry_point(CW_TEST_BUILD_DIR "/fixture/LogKit.dll");
    return found;
}

std::string shown(const VARIANT& value)
{
    switch (value.vt) {
    case VT_EMPTY:
        return "empty";
    case VT_BSTR:
        return shown_text(value.bstrVal);
    case VT_I4:
        return std::to_string(value.lVal);
    case VT_BOOL:
        return value.boolVal == VARIANT_TRUE ? "true" : value.boolVal == VARIANT_FALSE ? "false" : "neither";
    case VT_ARRAY | VT_BSTR: {
        std::string all;
        for (const std::string& text : shown(value.parray))
            all.append(all.empty() ? "" : ", ").append(text);
        return "[" + all + "]";
    }
    default:
        return "vt " + std::to_string(value.vt);
    }
}

std::string shown(const outcome<bstr>& text)
{
    EXPECT_TRUE(SUCCEEDED(text.result) || !text.value.get());
    return SUCCEEDED(text.result) ? shown_text(text.value.get()) : hexadecimal(text.result);
}

strings shown(SAFEARRAY* array)
{
    if (!array)
        return {"null array"};
    EXPECT_EQ(SafeArrayGetDim(array), 1u);
    VARTYPE type = VT_EMPTY;
    EXPECT_EQ(SafeArrayGetVartype(array, &type), S_OK);
    LONG lower = 0;
    LONG upper = 0;
    EXPECT_EQ(SafeArrayGetLBound(array, 1, &lower), S_OK);
    EXPECT_EQ(SafeArrayGetUBound(array, 1, &upper), S_OK);
    void* data = nullptr;
    EXPECT_EQ(SafeArrayAccessData(array, &data), S_OK);
    strings texts;
    for (LONG i = 0; i <= upper - lower; ++i)
        texts.push_back(type == VT_BSTR ? shown_text(static_cast<BSTR*>(data)[i])
                                        : shown(static_cast<VARIANT*>(data)[i]));
    EXPECT_EQ(SafeArrayUnaccessData(array), S_OK);
    return texts;
}

std::string id_of(const com_ptr<IFeatureLog>& feature)
{
    outcome<bstr> text{};
    text.result = feature->ID(text.value.put());
    return shown(text);
}

VARIANT index_of(LONG index)
{
    VARIANT value;
    VariantInit(&value);
    value.vt = VT_I4;
    value.lVal = index;
    return value;
}

outcome<com_ptr<IFeatureLog>> item(const com_ptr<IFeatureLogCollection>& features, LONG index)
{
    return call<IFeatureLog>(features, &IFeatureLogCollection::Item, index_of(index));
}

outcome<com_ptr<IOperationType>> item(const com_ptr<IOperationTypeCollection>& types, LONG index)
{
    return call<IOperationType>(types, &IOperationTypeCollection::Item, index_of(index));
}

com_ptr<IFeatureLogCollection> sub_features(const com_ptr<IFeatureLog>& feature)
{
    return get<IFeatureLogCollection>(feature, &IFeatureLog::SubFeatures);
}

com_ptr<IFeatureLog> sub_feature(const com_ptr<IFeatureLog>& feature, LONG index)
{
    return get<IFeatureLog>(sub_features(feature), &IFeatureLogCollection::Item, index_of(index));
}

outcome<SAFEARRAY*> property_names(const com_ptr<IFeatureLog>& feature)
{
    auto* names = reinterpret_cast<SAFEARRAY*>(0x10); // must be overwritten
    const HRESULT result = feature->PropertyNames(&names);
    EXPECT_TRUE(SUCCEEDED(result) || !names);
    return {result, names};
}

outcome<variant> property_value(const com_ptr<IFeatureLog>& feature, std::u16string_view name)
{
    const variant wanted(name);
    outcome<variant> found{};
    found.result = feature->PropertyValue(wanted, &found.value);
    return found;
}

std::string property(const com_ptr<IFeatureLog>& feature, std::u16string_view name)
{
    const auto [result, value] = property_value(feature, name);
    EXPECT_TRUE(SUCCEEDED(result) || value.vt == VT_EMPTY);
    return SUCCEEDED(result) ? shown(value) : hexadecimal(result);
}

outcome<com_ptr<IOperationList>> operations(const com_ptr<IFeatureLog>& feature, std::u16string_view type)
{
    const bstr type_name(type);
    return call<IOperationList>(feature, &IFeatureLog::Operations, type_name.get());
}

outcome<LONG> first(const com_ptr<IOperationList>& list)
{
    LONG position = 77;
    const HRESULT result = list->First(0, &position);
    return {result, position};
}

outcome<SAFEARRAY*> next(const com_ptr<IOperationList>& list, LONG& position)
{
    auto* record = reinterpret_cast<SAFEARRAY*>(0x10); // must be overwritten
    const HRESULT result = list->Next(&position, &record);
    EXPECT_TRUE(SUCCEEDED(result) || !record);
    return {result, record};
}

std::string last_error()
{
    com_ptr<IErrorInfo> info;
    bstr description;
    if (GetErrorInfo(0, info.put()) == S_OK)
        info->GetDescription(description.put());
    return fixture::to_utf8(description.view());
}

log_test::log_test()
{
    com_ptr<IClassFactory> class_object;
    EXPECT_EQ(entry_point()(CLSID_LogLoader, IID_IClassFactory, class_object.put_void()), S_OK);
    EXPECT_EQ(class_object->CreateInstance(nullptr, IID_ILogLoader, m_loader.put_void()), S_OK);
    if (!m_loader)
        throw std::runtime_error("no loader");
}

outcome<com_ptr<ILogDocument>> log_test::open_path(std::u16string_view path)
{
    const bstr text(path);
    return call<ILogDocument>(m_loader, &ILogLoader::Open, text.get());
}

outcome<com_ptr<ILogDocument>> log_test::try_open(std::string_view model)
{
    m_folder.write("log.clg", model);
    return open_path(m_folder.wide_file("log.clg"));
}

com_ptr<ILogDocument> log_test::open(std::string_view model)
{
    auto opened = try_open(model);
    if (!opened.value)
        throw std::runtime_error("the log does not open: " + last_error());
    EXPECT_EQ(opened.result, S_OK);
    return opened.value;
}

com_ptr<IFeatureLog> log_test::open_feature(std::string_view members)
{
    return get<IFeatureLog>(open(R"({"root": {)" + std::string(members) + "}}"), &ILogDocument::RootFeature);
}

com_ptr<IOperationList> log_test::open_list(std::string_view list)
{
    const auto feature = open_feature(R"("operations": {"OPTYPE_FILE": )" + std::string(list) + "}");
    auto made = operations(feature, u"OPTYPE_FILE");
    EXPECT_EQ(made.result, S_OK);
    return made.value;
}

} // namespace cw::fixture_log_tests
