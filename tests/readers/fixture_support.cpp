#include "tests/readers/fixture_support.h"

#include "tests/readers/reader_module.h"

#include "readers/fixture/text.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace cw::fixture_tests {

std::u16string outcome::text() const
{
    EXPECT_EQ(value.vt, VT_BSTR);
    return value.vt == VT_BSTR && value.bstrVal ? std::u16string(value.bstrVal, SysStringLen(value.bstrVal))
                                                : std::u16string();
}

com_ptr<IDispatch> outcome::object() const
{
    EXPECT_EQ(value.vt, VT_DISPATCH);
    return value.vt == VT_DISPATCH ? value.pdispVal : nullptr;
}

outcome call_with(IDispatch* object, const media_member_row& row, std::vector<variant> arguments)
{
    outcome result;
    if (!object) {
        ADD_FAILURE() << "call of a null object";
        result.result = E_POINTER;
        return result;
    }
    std::reverse(arguments.begin(), arguments.end());
    std::vector<VARIANTARG> raw(arguments.begin(), arguments.end());
    DISPPARAMS parameters{raw.data(), nullptr, static_cast<UINT>(raw.size()), 0};
    EXCEPINFO exception{};
    result.result = object->Invoke(row.id, IID_NULL, 0, row.kind, &parameters, result.value.put(), &exception, nullptr);
    automation::bstr source;
    automation::bstr description;
    automation::bstr help_file;
    source.attach(exception.bstrSource);
    description.attach(exception.bstrDescription);
    help_file.attach(exception.bstrHelpFile);
    if (result.result == DISP_E_EXCEPTION) {
        result.result = exception.scode;
        result.description = description.view();
    }
    return result;
}

com_ptr<IDispatch> item(IDispatch* collection, int index)
{
    const outcome found = call(collection, media_collection::Item, index);
    EXPECT_EQ(found.result, S_OK);
    return found.result == S_OK ? found.object() : nullptr;
}

com_ptr<IDispatch> item(IDispatch* collection, std::u16string_view name)
{
    const outcome found = call(collection, media_collection::Item, name);
    EXPECT_EQ(found.result, S_OK);
    return found.result == S_OK ? found.object() : nullptr;
}

dll_get_class_object entry_point()
{
    static const dll_get_class_object found =
        reader_tests::load_entry_point(CW_TEST_BUILD_DIR "/fixture/MediaForge40.dll");
    return found;
}

fixture_test::fixture_test()
{
    std::string name = (std::filesystem::temp_directory_path() / "cw-fixture-XXXXXX").string();
    if (!::mkdtemp(name.data()))
        throw std::runtime_error("no temporary folder");
    m_folder = name;
    com_ptr<IClassFactory> class_object;
    EXPECT_EQ(entry_point()(CLSID_MediaFactory, IID_IClassFactory, class_object.put_void()), S_OK);
    com_ptr<IUnknown> object;
    EXPECT_EQ(class_object->CreateInstance(nullptr, IID_IUnknown, object.put_void()), S_OK);
    m_factory = automation::query_interface<IDispatch>(object.get(), IID_IMediaFactory);
    if (!m_factory)
        throw std::runtime_error("no factory");
}

fixture_test::~fixture_test()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_folder, ignored);
}

std::string fixture_test::write(std::string_view bytes, const std::string& name)
{
    std::ofstream(path_of(name), std::ios::binary | std::ios::trunc) << bytes;
    return path_of(name);
}

std::string fixture_test::read(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file.is_open()) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

outcome fixture_test::open_path(std::string_view path, std::u16string_view password)
{
    const std::u16string wide = fixture::to_utf16(path);
    return call(m_factory.get(), media_factory::OpenMedia, std::u16string_view(wide), password);
}

com_ptr<IDispatch> fixture_test::open(std::string_view model)
{
    const outcome opened = open_path(write(model));
    EXPECT_EQ(opened.result, S_OK) << fixture::to_utf8(opened.description);
    return opened.result == S_OK ? opened.object() : nullptr;
}

com_ptr<IDispatch> fixture_test::open_media(std::string_view media_members)
{
    return open("{\"media\": {" + std::string(media_members) + "}}");
}

com_ptr<IDispatch> fixture_test::open_feature(std::string_view feature_members)
{
    const auto media = open_media("\"Features\": [{" + std::string(feature_members) + "}]");
    return item(call(media.get(), media::Features).object().get(), 1);
}

com_ptr<IDispatch> fixture_test::open_file(std::string_view file_members)
{
    const auto media = open_media("\"Components\": [{\"Files\": [{" + std::string(file_members) + "}]}]");
    const auto component = item(call(media.get(), media::Components).object().get(), 1);
    const auto files = call(component.get(), media_component::Files).object();
    const outcome found = call(files.get(), media_file_list::Item, 1);
    EXPECT_EQ(found.result, S_OK);
    return found.object();
}

outcome fixture_test::last_error(const media_member_row& row)
{
    return call(call(m_factory.get(), media_factory::LastError).object().get(), row);
}

} // namespace cw::fixture_tests
