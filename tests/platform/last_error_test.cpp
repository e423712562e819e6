#include "platform/last_error.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <thread>

namespace {

using namespace cw::platform;

TEST(last_error, belongs_to_the_thread)
{
    set_last_error(5);
    std::uint32_t seen = 99;
    std::thread other([&] {
        seen = get_last_error();
        set_last_error(7);
    });
    other.join();
    EXPECT_EQ(seen, 0u);
    EXPECT_EQ(get_last_error(), 5u);
}

TEST(last_error, follows_errno)
{
    const std::pair<int, std::uint32_t> rows[] = {
        {0, 0},        {EPERM, 5},       {ENOENT, 2},    {EINTR, 995},     {EIO, 1117},   {ENXIO, 20},
        {E2BIG, 87},   {ENOEXEC, 11},    {EBADF, 6},     {EAGAIN, 33},     {ENOMEM, 8},   {EACCES, 5},
        {EBUSY, 170},  {EEXIST, 0xB7},   {EXDEV, 17},    {ENODEV, 20},     {ENOTDIR, 3},  {EISDIR, 5},
        {EINVAL, 87},  {ENFILE, 4},      {EMFILE, 4},    {ETXTBSY, 32},    {EFBIG, 223},  {ENOSPC, 112},
        {ESPIPE, 25},  {EROFS, 19},      {EMLINK, 1142}, {EPIPE, 109},     {ERANGE, 122}, {ENAMETOOLONG, 206},
        {ENOSYS, 120}, {ENOTEMPTY, 145}, {ELOOP, 1921},  {EOVERFLOW, 534}, {ENOTSUP, 50}, {ETIMEDOUT, 1460},
        {EDQUOT, 112}, {ECANCELED, 995},
    };
    for (const auto& [error_number, code] : rows) {
        EXPECT_EQ(error_from_errno(error_number), code) << error_number;
        set_last_error_from_errno(error_number);
        EXPECT_EQ(get_last_error(), code) << error_number;
    }
}

TEST(last_error, an_unknown_errno_is_a_general_failure)
{
    EXPECT_EQ(error_from_errno(-1), 31u);
    EXPECT_EQ(error_from_errno(99999), 31u);
}

} // namespace
