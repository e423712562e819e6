#include "console/reader_reason.h"

#include "bridges/media_interface.h"
#include "foundation/exceptions.h"
#include "tests/support/scripted_readers.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace cw::console {
namespace {

std::u16string reason_of(auto failure)
{
    return reader_reason(std::make_exception_ptr(failure));
}

TEST(reader_reason, is_what_the_reader_says)
{
    automation::com_ptr<ICreateErrorInfo> made;
    ASSERT_EQ(CreateErrorInfo(made.put()), S_OK);
    std::u16string words = u"the volume is missing";
    made->SetDescription(words.data());
    const auto info = automation::query_interface<IErrorInfo>(made.get(), IID_IErrorInfo);
    EXPECT_EQ(reason_of(_com_error(E_FAIL, info.get())), u"the volume is missing");
}

TEST(reader_reason, is_the_result_where_the_reader_says_nothing)
{
    EXPECT_TRUE(reason_of(_com_error(E_FAIL, nullptr)).starts_with(u"0x80004005"));
}

TEST(reader_reason, is_what_else_went_wrong)
{
    EXPECT_EQ(reason_of(std::runtime_error("something else")), u"something else");
    EXPECT_EQ(reason_of(5.0), u"unknown exception");
}

} // namespace
} // namespace cw::console
