#include "foundation/exceptions.h"

#include "platform/last_error.h"

#include "printing.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using cw::string;

template <class Exception>
string description(const Exception& exception)
{
    return cw::describe_exception(std::make_exception_ptr(exception));
}

TEST(describe_exception, names_system_errors)
{
    cw::platform::set_last_error(2);
    EXPECT_EQ(description(cw::internet_file_exception(string(u"http://example.org/x"))),
              u"network file error 2, http://example.org/x: The system cannot find the file specified.");
    EXPECT_EQ(description(cw::file_exception(string(u"/tmp/x"), 5)), u"file error 5, /tmp/x: Access is denied.");
    EXPECT_EQ(description(cw::file_exception(string(u"/tmp/x"), 54321)), u"file error 54321, /tmp/x");
    EXPECT_EQ(description(cw::internet_exception()), u"network error 2: The system cannot find the file specified.");
    EXPECT_EQ(description(cw::win32_exception(112)), u"system error 112: There is not enough space on the disk.");
    EXPECT_EQ(description(cw::win32_exception(0)), u"system error 0");
}

TEST(describe_exception, names_errors_of_calls)
{
    EXPECT_EQ(description(_com_error(make_hresult(0x80040154), nullptr)), u"0x80040154: Class not registered");
    cw::automation::set_error(E_FAIL, u"the volume\r\nis missing\r\n", u"source");
    cw::automation::com_ptr<IErrorInfo> info;
    GetErrorInfo(0, info.put());
    EXPECT_EQ(description(_com_error(make_hresult(0x80040201), info.get())), u"0x80040201: the volume  is missing");
    EXPECT_EQ(description(_com_error(make_hresult(0x80040201), nullptr)), u"0x80040201");
    SetErrorInfo(0, nullptr);
    EXPECT_EQ(description(com_exception(E_FAIL)), u"0x80004005: Unspecified error");
    EXPECT_EQ(description(cw::safe_array_exception()), u"0x80070057: The parameter is incorrect.");
    EXPECT_EQ(description(cw::ole_exception(DISP_E_TYPEMISMATCH)), u"0x80020005: Type mismatch.");
    EXPECT_EQ(description(std::int32_t{DISP_E_BADINDEX}), u"0x8002000B: Invalid index.");
}

TEST(describe_exception, names_everything_else)
{
    EXPECT_EQ(description(std::runtime_error("it is \xC3\xA9gal\n")), u"it is \u00E9gal");
    EXPECT_EQ(description(cw::memory_exception()), u"out of memory");
    EXPECT_EQ(description(cw::invalid_argument_exception()), u"invalid argument");
    EXPECT_EQ(description(1.5), u"unknown exception");
    EXPECT_EQ(cw::describe_exception(nullptr), u"no exception");
}

TEST(describe_exception, is_always_one_line)
{
    EXPECT_EQ(description(std::runtime_error("a\r\nb\tc\x01")), u"a  b c");
    EXPECT_EQ(description(cw::file_exception(string(u"/tmp/two\nlines"), 54321)), u"file error 54321, /tmp/two lines");
}

} // namespace
