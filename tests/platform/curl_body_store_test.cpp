#include "platform/curl_body_store.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using cw::platform::curl_body_store;

TEST(curl_body_store, gives_out_what_it_took_in_its_order)
{
    curl_body_store store;
    EXPECT_EQ(store.size(), 0U);
    EXPECT_EQ(store.room(), curl_body_store::capacity);
    char byte = 'x';
    EXPECT_EQ(store.take(&byte, 1), 0U);
    EXPECT_EQ(byte, 'x');

    // Round the end of it, several times.
    std::string in;
    std::string out;
    std::string piece;
    for (std::size_t i = 0; in.size() < 5 * curl_body_store::capacity; ++i) {
        piece.assign(curl_body_store::capacity / 3 + i, static_cast<char>('a' + i % 26));
        while (store.room() < piece.size()) {
            std::string taken(curl_body_store::capacity / 5, '\0');
            taken.resize(store.take(taken.data(), taken.size()));
            out += taken;
        }
        ASSERT_TRUE(store.put(piece.data(), piece.size()));
        in += piece;
    }
    EXPECT_EQ(store.size(), in.size() - out.size());
    std::string rest(2 * curl_body_store::capacity, '\0');
    rest.resize(store.take(rest.data(), rest.size()));
    EXPECT_TRUE(out + rest == in);
    EXPECT_EQ(store.size(), 0U);
}

TEST(curl_body_store, can_be_filled_and_forgotten)
{
    curl_body_store store;
    const std::string whole(curl_body_store::capacity, 'x');
    ASSERT_TRUE(store.put(whole.data(), whole.size()));
    EXPECT_EQ(store.room(), 0U);
    EXPECT_TRUE(store.put(whole.data(), 0));
    store.clear();
    EXPECT_EQ(store.size(), 0U);
    EXPECT_EQ(store.room(), curl_body_store::capacity);
}

} // namespace
