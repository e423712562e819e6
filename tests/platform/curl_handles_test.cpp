#include "platform/curl_handles.h"

#include <gtest/gtest.h>

namespace {

using namespace cw::platform;

TEST(curl_handles, are_numbers_that_ascend_and_are_never_given_twice)
{
    curl_handles handles;
    const transfer_handle first = handles.next();
    EXPECT_NE(first, nullptr);
    handles.put(first, std::make_shared<curl_connection>());
    handles.take(first);
    const transfer_handle second = handles.next();
    EXPECT_LT(first, second);
}

TEST(curl_handles, lead_to_what_was_put_behind_them)
{
    curl_handles handles;
    const transfer_handle handle = handles.next();
    EXPECT_TRUE(std::holds_alternative<std::monostate>(handles.find(handle)));
    const auto connection = std::make_shared<curl_connection>();
    handles.put(handle, connection);
    EXPECT_EQ(std::get<std::shared_ptr<curl_connection>>(handles.find(handle)), connection);
    EXPECT_TRUE(std::holds_alternative<std::monostate>(handles.find(nullptr)));
    EXPECT_EQ(std::get<std::shared_ptr<curl_connection>>(handles.take(handle)), connection);
    EXPECT_TRUE(std::holds_alternative<std::monostate>(handles.take(handle)));
    EXPECT_EQ(connection.use_count(), 1);
}

TEST(curl_handles, are_all_closed_at_the_end)
{
    curl_handles handles;
    const auto session = std::make_shared<curl_session>(curl_session_settings{});
    const transfer_handle handle = handles.next();
    handles.put(handle, session);
    handles.put(handles.next(), std::make_shared<curl_connection>());
    handles.close_all();
    EXPECT_TRUE(session->is_closed());
    EXPECT_EQ(session.use_count(), 1);
    EXPECT_TRUE(std::holds_alternative<std::monostate>(handles.find(handle)));
}

} // namespace
