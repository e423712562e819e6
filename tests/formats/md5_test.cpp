#include "formats/md5.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using cw::formats::md5;
using cw::formats::md5_text;

std::span<const std::uint8_t> view(const std::string& text)
{
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

std::string sum(const std::string& text)
{
    md5 digest;
    digest.add(view(text));
    return md5_text(digest.finish());
}

// The published examples of the algorithm.
TEST(md5, answers_the_known_digests)
{
    EXPECT_EQ(sum(""), "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(sum("a"), "0cc175b9c0f1b6a831c399e269772661");
    EXPECT_EQ(sum("abc"), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(sum("message digest"), "f96b697d7cb7938d525a2f31aaf161d0");
    EXPECT_EQ(sum("abcdefghijklmnopqrstuvwxyz"), "c3fcd3d76192e4007dfb496cca67e13b");
    EXPECT_EQ(sum("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"),
              "d174ab98d277d9f5a5611c2c9f419d9f");
    EXPECT_EQ(sum("12345678901234567890123456789012345678901234567890123456789012345678901234567890"),
              "57edf4a22be3c955ac49da2e2107b67a");
    EXPECT_EQ(sum(std::string(1'000'000, 'a')), "7707d6ae4e027c70eea2a935c2296f21");
}

TEST(md5, does_not_depend_on_the_pieces)
{
    std::string text;
    for (int i = 0; i < 300; ++i)
        text += static_cast<char>(i * 7);
    const std::string whole = sum(text);
    for (std::size_t piece = 1; piece <= 130; ++piece) {
        md5 digest;
        for (std::size_t at = 0; at < text.size(); at += piece) {
            const std::string part = text.substr(at, piece);
            digest.add(view(part));
        }
        EXPECT_EQ(md5_text(digest.finish()), whole) << piece;
    }
}

TEST(md5, pads_all_lengths_around_a_block)
{
    // Lengths at which the padding takes a block of its own give digests of their own.
    std::vector<std::string> seen;
    for (std::size_t length = 54; length <= 66; ++length)
        seen.push_back(sum(std::string(length, 'x')));
    EXPECT_EQ(seen[1], "04364420e25c512fd958a70738aa8f72");  // 55
    EXPECT_EQ(seen[2], "668a72d5ba17f08e62dabcafad6db14b");  // 56
    EXPECT_EQ(seen[10], "c1bb4f81d892b2d57947682aeb252456"); // 64
}

} // namespace
