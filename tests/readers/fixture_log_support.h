// Loads the fixture log library as its callers do and calls its objects slot by slot. Used by the
// tests of the fixture reader of logs.
#pragma once

#include "bridges/log_interface.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace cw::fixture_log_tests {

using automation::bstr;
using automation::com_ptr;
using automation::variant;
using strings = std::vector<std::string>;

/// The exported entry point of the library that was built.
dll_get_class_object entry_point();

/// What an operation came to: its result and what it answered.
template <class Value>
struct outcome {
    HRESULT result;
    Value value;
};

/// A value for people: `"a"`, `null text`, `5`, `true`, `empty`, `["a", "b"]`, `vt 5`.
std::string shown(const VARIANT& value);
/// `"a"`, `null text`, or the failing result as `0x80004005`.
std::string shown(const outcome<bstr>& text);
/// The values of an array between its bounds; `null array` alone for none.
strings shown(SAFEARRAY* array);

/// Calls an operation with one result. What a failing one leaves is checked to be empty.
template <class Interface, class Object, class... Parameters, class... Arguments>
outcome<com_ptr<Interface>> call(const com_ptr<Object>& object, HRESULT (Object::*operation)(Parameters...),
                                 Arguments... arguments)
{
    auto* place = reinterpret_cast<Interface*>(0x10); // must be overwritten
    const HRESULT result = (object.get()->*operation)(arguments..., &place);
    EXPECT_TRUE(SUCCEEDED(result) || !place);
    return {result, com_ptr<Interface>::adopt(place)};
}
/// The same for an object that has to be there.
template <class Interface, class Object, class... Parameters, class... Arguments>
com_ptr<Interface> get(const com_ptr<Object>& object, HRESULT (Object::*operation)(Parameters...),
                       Arguments... arguments)
{
    auto [result, value] = call<Interface>(object, operation, arguments...);
    EXPECT_EQ(result, S_OK);
    if (!value)
        throw std::runtime_error("an object is null");
    return value;
}

template <class Object>
std::string name_of(const com_ptr<Object>& object)
{
    outcome<bstr> text{};
    text.result = object->Name(text.value.put());
    return shown(text);
}
std::string id_of(const com_ptr<IFeatureLog>& feature);

template <class Object>
outcome<LONG> count_of(const com_ptr<Object>& object)
{
    outcome<LONG> count{0, 77};
    count.result = object->Count(&count.value);
    EXPECT_TRUE(SUCCEEDED(count.result) || count.value == 0);
    return count;
}
/// Successive reads of `Count`, each of which has to succeed.
template <class Object>
std::vector<LONG> counts_of(const com_ptr<Object>& object, int reads)
{
    std::vector<LONG> counts;
    for (int i = 0; i < reads; ++i) {
        const auto [result, value] = count_of(object);
        EXPECT_EQ(result, S_OK);
        counts.push_back(value);
    }
    return counts;
}

VARIANT index_of(LONG index);
outcome<com_ptr<IFeatureLog>> item(const com_ptr<IFeatureLogCollection>& features, LONG index);
outcome<com_ptr<IOperationType>> item(const com_ptr<IOperationTypeCollection>& types, LONG index);
com_ptr<IFeatureLogCollection> sub_features(const com_ptr<IFeatureLog>& feature);
/// The sub-feature at an index from 1, which has to be there.
com_ptr<IFeatureLog> sub_feature(const com_ptr<IFeatureLog>& feature, LONG index);

outcome<SAFEARRAY*> property_names(const com_ptr<IFeatureLog>& feature);
outcome<variant> property_value(const com_ptr<IFeatureLog>& feature, std::u16string_view name);
/// The value for people, or the failing result as `0x80004005`.
std::string property(const com_ptr<IFeatureLog>& feature, std::u16string_view name);

outcome<com_ptr<IOperationList>> operations(const com_ptr<IFeatureLog>& feature, std::u16string_view type);
outcome<LONG> first(const com_ptr<IOperationList>& list);
outcome<SAFEARRAY*> next(const com_ptr<IOperationList>& list, LONG& position);

/// The description of the error object on the thread, which is taken; empty for none.
std::string last_error();

/// A folder for the models of one test, and a loader to open them with.
class log_test : public testing::Test {
protected:
    log_test();

    outcome<com_ptr<ILogDocument>> open_path(std::u16string_view path);
    /// Writes a model and opens it.
    outcome<com_ptr<ILogDocument>> try_open(std::string_view model);
    /// The same for a log that has to open.
    com_ptr<ILogDocument> open(std::string_view model);
    /// The root feature of a log whose root has these members.
    com_ptr<IFeatureLog> open_feature(std::string_view members);
    /// The list of `OPTYPE_FILE` of a feature, as the model writes it.
    com_ptr<IOperationList> open_list(std::string_view list);

    test_support::temporary_folder m_folder;
    com_ptr<ILogLoader> m_loader;
};

} // namespace cw::fixture_log_tests
