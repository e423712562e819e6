#include "authoring/mszip.h"

#include "tests/authoring/authoring_support.h"

#include <gtest/gtest.h>

#include <zlib.h>

namespace {

using namespace cw::authoring;
using cw::test::noise;

std::span<const std::uint8_t> view(const std::string& text)
{
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

std::size_t number(const std::vector<std::uint8_t>& data, std::size_t at)
{
    return data[at] | static_cast<std::size_t>(data[at + 1]) << 8;
}

/// Unpacks blocks as the format says: each a deflate stream of its own, the block before as history.
std::string unpack(const std::vector<std::uint8_t>& blocks, std::size_t& count)
{
    std::string clear;
    count = 0;
    for (std::size_t at = 0; at < blocks.size(); ++count) {
        const std::size_t size = number(blocks, at + 4);
        const std::size_t clear_size = number(blocks, at + 6);
        EXPECT_EQ(blocks[at + 8], 'C');
        EXPECT_EQ(blocks[at + 9], 'K');
        EXPECT_LE(size, block_size_in_bytes + 12) << "more than the format allows";
        z_stream stream{};
        inflateInit2(&stream, -MAX_WBITS);
        if (!clear.empty()) {
            const std::size_t history = std::min(clear.size(), block_size_in_bytes);
            inflateSetDictionary(&stream, reinterpret_cast<const Bytef*>(clear.data()) + clear.size() - history,
                                 static_cast<uInt>(history));
        }
        std::string part(clear_size, '\0');
        stream.next_in = const_cast<Bytef*>(blocks.data() + at + 10);
        stream.avail_in = static_cast<uInt>(size - 2);
        stream.next_out = reinterpret_cast<Bytef*>(part.data());
        stream.avail_out = static_cast<uInt>(part.size());
        EXPECT_EQ(inflate(&stream, Z_FINISH), Z_STREAM_END);
        EXPECT_EQ(stream.avail_in, 0u);
        EXPECT_EQ(stream.avail_out, 0u);
        inflateEnd(&stream);
        clear += part;
        at += 8 + size;
    }
    return clear;
}

TEST(mszip, comes_back_at_all_block_boundaries)
{
    mszip_encoder encoder;
    for (const std::size_t size : {0u, 1u, 32'767u, 32'768u, 32'769u, 65'536u, 65'537u, 200'000u}) {
        for (const std::string& content : {noise(size), std::string(size, 'x')}) {
            std::vector<std::uint8_t> blocks;
            const std::size_t written = encoder.encode(view(content), blocks);
            std::size_t read = 0;
            EXPECT_EQ(unpack(blocks, read), content) << size;
            EXPECT_EQ(read, written);
            EXPECT_EQ(written, (size + 32'767) / 32'768);
        }
    }
}

TEST(mszip, grows_by_no_more_than_is_told)
{
    const std::string content = noise(3 * block_size_in_bytes + 5);
    std::vector<std::uint8_t> blocks;
    const std::size_t count = mszip_encoder().encode(view(content), blocks);
    EXPECT_LE(blocks.size(), content.size() + count * largest_block_growth_in_bytes);
}

TEST(mszip, uses_the_block_before_as_history)
{
    const std::string half = noise(block_size_in_bytes);
    std::vector<std::uint8_t> once, twice;
    mszip_encoder encoder;
    encoder.encode(view(half), once);
    encoder.encode(view(half + half.substr(2000, 20'000)), twice);
    EXPECT_LT(twice.size(), once.size() + 1000);
}

TEST(mszip, stores_blocks_as_they_are)
{
    const std::string content = noise(block_size_in_bytes + 3);
    std::vector<std::uint8_t> blocks;
    EXPECT_EQ(store_blocks(view(content), blocks), 2u);
    EXPECT_EQ(blocks.size(), content.size() + 16);
    EXPECT_EQ(number(blocks, 4), block_size_in_bytes);
    EXPECT_EQ(number(blocks, 6), block_size_in_bytes);
    EXPECT_EQ(number(blocks, 8 + block_size_in_bytes + 4), 3u);
    EXPECT_EQ(store_blocks({}, blocks), 0u);
}

TEST(mszip, sums_blocks_as_the_format_does)
{
    // Five bytes: one whole word and one byte of rest, then the two sizes.
    std::vector<std::uint8_t> blocks;
    store_blocks(view("\x01\x02\x03\x04\x05"), blocks);
    const std::uint32_t expected = 0x04030201u ^ 0x05u ^ 0x00050005u;
    EXPECT_EQ(number(blocks, 0) | number(blocks, 2) << 16, expected);
    // Three bytes of rest stand the other way round.
    blocks.clear();
    store_blocks(view("\x01\x02\x03"), blocks);
    EXPECT_EQ(number(blocks, 0) | number(blocks, 2) << 16, 0x010203u ^ 0x00030003u);
}

TEST(mszip, appends_numbers)
{
    std::vector<std::uint8_t> out{9};
    append_number(out, 0x123456, 2);
    append_number(out, 0xFF, 4);
    EXPECT_EQ(out, (std::vector<std::uint8_t>{9, 0x56, 0x34, 0xFF, 0, 0, 0}));
}

} // namespace
