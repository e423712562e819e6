#include "foundation/exceptions.h"

#include "platform/last_error.h"

#include "printing.h"
#include "tests/support/scripted_services.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

namespace {

using cw::string;
using cw::test_support::scripted_services;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace cw::platform;

/// The wide text behind the narrow pointer.
std::u16string wide_what(const std::exception& exception)
{
    return reinterpret_cast<const char16_t*>(exception.what());
}

static_assert(std::is_base_of_v<std::exception, cw::win32_exception>);
static_assert(std::is_base_of_v<cw::win32_exception, cw::internet_exception>);
static_assert(std::is_base_of_v<cw::internet_exception, cw::internet_file_exception>);
static_assert(std::is_base_of_v<cw::file_exception, cw::internet_file_exception>);
static_assert(std::is_base_of_v<com_exception, cw::safe_array_exception>);
static_assert(!std::is_base_of_v<cw::win32_exception, com_exception>);

// --- system errors ---

TEST(win32_exception, takes_the_last_error_at_construction)
{
    set_last_error(5);
    EXPECT_EQ(cw::win32_exception().code, 5u);
    EXPECT_EQ(cw::win32_exception(7).code, 7u);
    set_last_error(32);
    const cw::file_exception file(string(u"a path that is longer than the small buffer"));
    EXPECT_EQ(file.code, 32u);
    EXPECT_EQ(file.path, u"a path that is longer than the small buffer");
    EXPECT_EQ(cw::file_exception(string(u"x"), 3).code, 3u);
    set_last_error(12007);
    const cw::internet_file_exception internet(string(u"http://example.org/x"));
    EXPECT_EQ(internet.code, 12007u);
    EXPECT_EQ(internet.path, u"http://example.org/x");
}

TEST(win32_exception, takes_the_last_error_before_the_path_is_copied)
{
    scripted_services script;
    script.memory.last_error_left = 1234;
    set_last_error(5);
    EXPECT_EQ(cw::file_exception(string(u"a path that is longer than the small buffer")).code, 5u);
    set_last_error(6);
    EXPECT_EQ(cw::internet_file_exception(string(u"a path that is longer than the small buffer")).code, 6u);
}

TEST(win32_exception, fetches_its_text_when_it_is_asked_for)
{
    scripted_services script;
    script.messages.texts[5] = u"no access";
    {
        const cw::win32_exception exception(5);
        EXPECT_THAT(script.log.lines, IsEmpty());
        EXPECT_EQ(wide_what(exception), u"no access");
        EXPECT_EQ(wide_what(exception), u"no access");
        EXPECT_THAT(script.log.lines, ElementsAre("FormatMessageW 0x00000005"));
    }
    EXPECT_THAT(script.log.lines, ElementsAre("FormatMessageW 0x00000005", "LocalFree"));
    EXPECT_EQ(script.messages.texts_not_released(), 0u);
}

TEST(win32_exception, code_0_has_an_empty_text_without_a_question)
{
    scripted_services script;
    EXPECT_EQ(wide_what(cw::win32_exception(0)), u"");
    EXPECT_THAT(script.log.lines, IsEmpty());
}

TEST(win32_exception, a_code_without_a_text_is_looked_up_once)
{
    scripted_services script;
    {
        const cw::win32_exception exception(77);
        EXPECT_EQ(wide_what(exception), u"");
        EXPECT_EQ(wide_what(exception), u"");
        const cw::win32_exception copy(exception);
        EXPECT_EQ(wide_what(copy), u"");
    }
    EXPECT_THAT(script.log.lines, ElementsAre("FormatMessageW 0x0000004D"));
}

TEST(win32_exception, the_whole_family_shares_one_what)
{
    scripted_services script;
    script.messages.texts[5] = u"no access";
    EXPECT_EQ(wide_what(cw::file_exception(string(u"x"), 5)), u"no access");
    set_last_error(5);
    const cw::internet_file_exception internet(string(u"y"));
    EXPECT_EQ(wide_what(static_cast<const cw::internet_exception&>(internet)), u"no access");
    EXPECT_EQ(wide_what(static_cast<const cw::file_exception&>(internet)), u"no access");
    EXPECT_EQ(script.log.count("FormatMessageW"), 1u + 1u);
}

TEST(win32_exception, copies_share_a_text_that_was_formed_before)
{
    scripted_services script;
    script.messages.texts[5] = u"no access";
    auto first = std::make_unique<cw::win32_exception>(5);
    const char* const text = first->what();
    auto second = std::make_unique<cw::win32_exception>(*first);
    EXPECT_EQ(second->code, 5u);
    EXPECT_EQ(second->what(), text);
    EXPECT_EQ(script.log.count("FormatMessageW"), 1u);
    first.reset();
    EXPECT_EQ(script.log.count("LocalFree"), 0u);
    EXPECT_EQ(wide_what(*second), u"no access");
    second.reset();
    EXPECT_EQ(script.log.count("LocalFree"), 1u);
    EXPECT_EQ(script.messages.texts_not_released(), 0u);
}

TEST(win32_exception, a_text_formed_after_the_copy_stays_with_that_copy)
{
    scripted_services script;
    script.messages.texts[5] = u"no access";
    auto first = std::make_unique<cw::win32_exception>(5);
    auto second = std::make_unique<cw::win32_exception>(*first);
    EXPECT_NE(first->what(), second->what());
    EXPECT_EQ(script.log.count("FormatMessageW"), 2u);
    // Only the last one frees a text, and only its own: the other text is given up.
    first.reset();
    EXPECT_EQ(script.log.count("LocalFree"), 0u);
    EXPECT_EQ(wide_what(*second), u"no access");
    second.reset();
    EXPECT_EQ(script.log.count("LocalFree"), 1u);
    EXPECT_EQ(script.messages.texts_not_released(), 1u);
}

TEST(win32_exception, the_last_one_without_a_text_frees_nothing)
{
    scripted_services script;
    script.messages.texts[5] = u"no access";
    auto first = std::make_unique<cw::win32_exception>(5);
    auto second = std::make_unique<cw::win32_exception>(*first);
    (void)second->what();
    second.reset();
    first.reset();
    EXPECT_EQ(script.log.count("LocalFree"), 0u);
}

TEST(win32_exception, travels_through_the_raising_machinery)
{
    scripted_services script;
    script.messages.texts[5] = u"no access";
    set_last_error(5);
    std::exception_ptr kept;
    try {
        try {
            throw cw::internet_file_exception(string(u"http://example.org/x"));
        } catch (const cw::internet_file_exception& caught) {
            EXPECT_EQ(wide_what(caught), u"no access");
            throw cw::internet_file_exception(caught);
        }
    } catch (const cw::win32_exception& again) {
        EXPECT_EQ(wide_what(again), u"no access");
        EXPECT_EQ(dynamic_cast<const cw::file_exception&>(again).path, u"http://example.org/x");
        kept = std::current_exception();
    }
    EXPECT_EQ(script.log.count("FormatMessageW"), 1u);
    kept = nullptr;
    EXPECT_EQ(script.messages.texts_not_released(), 0u);
}

TEST(win32_exception, has_the_system_s_text)
{
    EXPECT_EQ(wide_what(cw::win32_exception(5)), u"Access is denied.\r\n");
}

// --- errors of COM calls ---

TEST(com_exception, without_an_error_object_it_has_the_system_s_text)
{
    SetErrorInfo(0, nullptr);
    const com_exception exception(E_FAIL);
    EXPECT_EQ(exception.hresult, E_FAIL);
    EXPECT_EQ(exception.description, u"Unspecified error\r\n");
    EXPECT_STREQ(exception.what(), "Unspecified error\r\n");
    EXPECT_TRUE(exception.source.empty());
    EXPECT_EQ(exception.error_guid, GUID_NULL);
    EXPECT_EQ(exception.source_clsid, GUID_NULL);
}

TEST(com_exception, a_result_without_a_text_is_an_unknown_error)
{
    scripted_services script;
    SetErrorInfo(0, nullptr);
    const com_exception exception(E_FAIL);
    EXPECT_EQ(exception.description, u"Unknown error");
    EXPECT_THAT(script.log.lines, ElementsAre("FormatMessageW 0x80004005"));
}

TEST(com_exception, gives_the_system_s_text_back)
{
    scripted_services script;
    script.messages.texts[0x80004005] = u"text";
    SetErrorInfo(0, nullptr);
    EXPECT_EQ(com_exception(E_FAIL).description, u"text");
    EXPECT_EQ(script.messages.texts_not_released(), 0u);
}

TEST(com_exception, takes_the_error_object_from_the_thread)
{
    scripted_services script;
    script.classes.program_ids[u"Reader.Media"] = IID_IClassFactory;
    cw::automation::set_error(E_FAIL, u"the volume is missing", u"Reader.Media", IID_IUnknown);
    const com_exception exception(E_FAIL);
    EXPECT_EQ(exception.description, u"the volume is missing");
    EXPECT_EQ(exception.source, u"Reader.Media");
    EXPECT_EQ(exception.error_guid, IID_IUnknown);
    EXPECT_EQ(exception.source_clsid, IID_IClassFactory);
    EXPECT_STREQ(exception.what(), "the volume is missing");
    EXPECT_THAT(script.log.lines, ElementsAre("CLSIDFromProgID Reader.Media"));
    IErrorInfo* left = nullptr;
    EXPECT_EQ(GetErrorInfo(0, &left), S_FALSE);
}

TEST(com_exception, a_source_that_is_no_program_id_stays_as_text)
{
    cw::automation::set_error(E_FAIL, u"text", u"not a program id", IID_IUnknown);
    const com_exception exception(E_FAIL);
    EXPECT_EQ(exception.source, u"not a program id");
    EXPECT_EQ(exception.source_clsid, GUID_NULL);
}

/// Fails, and leaves something in the class id.
struct careless_registry final : class_registry {
    HRESULT class_id_from_program_id(const char16_t*, CLSID* class_id) noexcept override
    {
        *class_id = IID_IClassFactory;
        return CO_E_CLASSSTRING;
    }
    HRESULT create_instance(REFCLSID, IUnknown*, DWORD, REFIID, void**) noexcept override { return E_NOTIMPL; }
};

TEST(com_exception, a_failed_look_up_of_the_source_leaves_no_class_id)
{
    careless_registry registry;
    services set = current();
    set.classes = &registry;
    const scoped_services scope(set);
    cw::automation::set_error(E_FAIL, u"text", u"not a program id", IID_IUnknown);
    EXPECT_EQ(com_exception(E_FAIL).source_clsid, GUID_NULL);
}

TEST(com_exception, copies_by_value)
{
    cw::automation::set_error(E_FAIL, u"text", u"source", IID_IUnknown);
    const com_exception exception(E_FAIL);
    const com_exception copy(exception);
    EXPECT_EQ(copy.description, u"text");
    EXPECT_EQ(copy.hresult, E_FAIL);
    EXPECT_STREQ(copy.what(), "text");
}

TEST(com_exception, what_survives_a_lack_of_memory)
{
    scripted_services script;
    SetErrorInfo(0, nullptr);
    const com_exception exception(E_FAIL);
    script.memory.fail_after = 1;
    EXPECT_STREQ(exception.what(), "");
    EXPECT_STREQ(exception.what(), "Unknown error");
}

TEST(safe_array_exception, is_an_invalid_argument)
{
    SetErrorInfo(0, nullptr);
    const cw::safe_array_exception exception;
    EXPECT_EQ(exception.hresult, E_INVALIDARG);
    EXPECT_EQ(exception.description, u"The parameter is incorrect.\r\n");
}

TEST(safe_array_exception, takes_the_text_of_a_pending_error)
{
    cw::automation::set_error(E_FAIL, u"something else", u"source", IID_IUnknown);
    const cw::safe_array_exception exception;
    EXPECT_EQ(exception.hresult, E_INVALIDARG);
    EXPECT_EQ(exception.description, u"something else");
}

// --- raising ---

cw::automation::com_ptr<IErrorInfo> error_object(std::u16string_view description)
{
    cw::automation::set_error(E_FAIL, description, u"source");
    cw::automation::com_ptr<IErrorInfo> info;
    GetErrorInfo(0, info.put());
    return info;
}

template <class Action>
_com_error raised_by(Action action)
{
    try {
        action();
    } catch (const _com_error& error) {
        return error;
    }
    ADD_FAILURE() << "nothing was raised";
    return {S_OK, nullptr};
}

TEST(raise_com_error, raises_with_both_values)
{
    const auto info = error_object(u"text");
    const _com_error error = raised_by([&] { cw::raise_com_error(E_FAIL, info.get()); });
    EXPECT_EQ(error.Error(), E_FAIL);
    EXPECT_EQ(error.ErrorInfo(), info.get());
    EXPECT_EQ(error.Description(), u"text");
    const _com_error bare = raised_by([] { cw::raise_com_error(E_POINTER); });
    EXPECT_EQ(bare.ErrorInfo(), nullptr);
    EXPECT_EQ(bare.Description(), u"");
}

void raise_number(HRESULT result, IErrorInfo*)
{
    throw result;
}

void come_back(HRESULT, IErrorInfo*) {}

TEST(raise_com_error, can_be_replaced)
{
    const cw::com_error_handler before = cw::set_com_error_handler(&raise_number);
    EXPECT_THROW(cw::raise_com_error(E_FAIL), HRESULT);
    EXPECT_EQ(cw::set_com_error_handler(&come_back), &raise_number);
    EXPECT_THROW(cw::raise_com_error(E_FAIL), _com_error);
    EXPECT_EQ(cw::set_com_error_handler(nullptr), &come_back);
    EXPECT_EQ(cw::set_com_error_handler(nullptr), before);
    EXPECT_THROW(cw::raise_com_error(E_FAIL), _com_error);
}

/// An object that may say that it leaves error objects for one interface.
struct supporting_object final : ISupportErrorInfo {
    bool has_interface = true;
    HRESULT answer = S_OK;
    int references = 1;

    HRESULT QueryInterface(REFIID iid, void** object) noexcept override
    {
        if (iid != IID_ISupportErrorInfo || !has_interface) {
            *object = nullptr;
            return E_NOINTERFACE;
        }
        *object = this;
        AddRef();
        return S_OK;
    }
    ULONG AddRef() noexcept override { return static_cast<ULONG>(++references); }
    ULONG Release() noexcept override { return static_cast<ULONG>(--references); }
    HRESULT InterfaceSupportsErrorInfo(REFIID iid) noexcept override
    {
        return iid == IID_IClassFactory ? answer : S_FALSE;
    }
};

class raise_com_error_for : public testing::Test {
protected:
    supporting_object object;
    raise_com_error_for() { cw::automation::set_error(E_FAIL, u"pending", u"source"); }
    ~raise_com_error_for() override
    {
        EXPECT_EQ(object.references, 1);
        SetErrorInfo(0, nullptr);
    }
    string description(IUnknown* of, REFIID iid)
    {
        const _com_error error = raised_by([&] { cw::raise_com_error_for(E_ABORT, of, iid); });
        EXPECT_EQ(error.Error(), E_ABORT);
        return error.ErrorInfo() ? error.Description() : string(u"<none>");
    }
    static bool is_pending()
    {
        cw::automation::com_ptr<IErrorInfo> info;
        return GetErrorInfo(0, info.put()) == S_OK;
    }
};

TEST_F(raise_com_error_for, takes_the_text_that_belongs_to_the_call)
{
    EXPECT_EQ(description(&object, IID_IClassFactory), u"pending");
    EXPECT_FALSE(is_pending());
}

TEST_F(raise_com_error_for, leaves_a_text_that_belongs_to_another)
{
    EXPECT_EQ(description(&object, IID_IDispatch), u"<none>");
    EXPECT_TRUE(is_pending());
}

TEST_F(raise_com_error_for, needs_the_object_to_say_so)
{
    object.answer = E_FAIL;
    EXPECT_EQ(description(&object, IID_IClassFactory), u"<none>");
    object.has_interface = false;
    EXPECT_EQ(description(&object, IID_IClassFactory), u"<none>");
    EXPECT_EQ(description(nullptr, IID_IClassFactory), u"<none>");
    EXPECT_TRUE(is_pending());
}

TEST_F(raise_com_error_for, an_object_that_left_nothing_raises_without_text)
{
    SetErrorInfo(0, nullptr);
    EXPECT_EQ(description(&object, IID_IClassFactory), u"<none>");
}

TEST(raise_framework_error, tells_memory_from_the_rest)
{
    EXPECT_THROW(cw::raise_framework_error(E_OUTOFMEMORY), cw::memory_exception);
    try {
        cw::raise_framework_error(DISP_E_TYPEMISMATCH);
    } catch (const cw::ole_exception& error) {
        EXPECT_EQ(error.hresult, DISP_E_TYPEMISMATCH);
        EXPECT_STREQ(error.what(), "automation failure");
    }
    EXPECT_STREQ(cw::memory_exception().what(), "out of memory");
    EXPECT_STREQ(cw::invalid_argument_exception().what(), "invalid argument");
    EXPECT_THROW(cw::raise_framework_error(E_FAIL), cw::framework_exception);
}

} // namespace
