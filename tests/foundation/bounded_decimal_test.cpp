#include "foundation/bounded_decimal.h"
#include "tests/support/scripted_services.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

namespace cw {
namespace {

template <std::size_t Size>
std::string written(std::int32_t value)
{
    std::array<char, Size> buffer;
    buffer.fill('x');
    write_decimal(value, buffer);
    return buffer.data();
}

class bounded_decimal : public testing::Test {
protected:
    test_support::scripted_services platform;
};

TEST_F(bounded_decimal, writes_what_fits)
{
    EXPECT_EQ(written<5>(0), "0");
    EXPECT_EQ(written<5>(-1), "-1");
    EXPECT_EQ(written<5>(9999), "9999");
    EXPECT_EQ(written<5>(-999), "-999");
    EXPECT_EQ(written<12>(INT32_MIN), "-2147483648");
    EXPECT_EQ(written<2>(7), "7");
    EXPECT_EQ(platform.runtime.invalid_parameters, 0);
}

TEST_F(bounded_decimal, is_an_invalid_parameter_where_it_does_not_fit)
{
    EXPECT_EQ(written<5>(10000), "");
    EXPECT_EQ(platform.runtime.invalid_parameters, 1);
    EXPECT_EQ(written<5>(-1000), "");
    EXPECT_EQ(written<5>(-32768), "");
    EXPECT_EQ(written<1>(1), "");
    EXPECT_EQ(platform.runtime.invalid_parameters, 4);
}

} // namespace
} // namespace cw
