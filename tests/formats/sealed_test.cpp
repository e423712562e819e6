#include "formats/sealed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <random>
#include <string>

namespace {

using namespace cw::formats;

// The least that the password hash takes: the tests seal often.
constexpr seal_cost cheap{1, 8192};

bytes noise(std::size_t size, unsigned seed = 1)
{
    std::mt19937 random(seed);
    bytes data(size);
    for (std::uint8_t& byte : data)
        byte = static_cast<std::uint8_t>(random());
    return data;
}

bytes sealed_image(std::size_t size)
{
    return seal_header(noise(size), "secret", cheap);
}

void set_prefix(bytes& file, const std::function<void(envelope_prefix&)>& change)
{
    envelope_prefix prefix;
    std::memcpy(&prefix, file.data(), sizeof prefix);
    change(prefix);
    std::memcpy(file.data(), &prefix, sizeof prefix);
}

TEST(sealed_header, opens_with_its_password_at_all_chunk_boundaries)
{
    constexpr std::size_t chunk = envelope_chunk_size_in_bytes;
    for (const std::size_t size :
         {std::size_t{0}, std::size_t{1}, chunk - 1, chunk, chunk + 1, 2 * chunk, 3 * chunk + 7}) {
        const bytes image = noise(size);
        const bytes sealed = seal_header(image, "secret", cheap);
        EXPECT_TRUE(is_sealed(sealed));
        EXPECT_EQ(open_header(sealed, "secret"), image) << size;
        const std::size_t chunks = std::max<std::size_t>(1, (size + chunk - 1) / chunk);
        EXPECT_EQ(sealed.size(), 80 + size + 17 * chunks) << size;
    }
}

TEST(sealed_header, takes_any_password)
{
    const bytes image = noise(100);
    for (const std::string& password :
         {std::string(), std::string("пароль 密码 🗝️"), std::string(2000, 'x'), std::string("a\0b", 3)}) {
        const bytes sealed = seal_header(image, password, cheap);
        EXPECT_EQ(open_header(sealed, password), image);
        EXPECT_THROW((void)open_header(sealed, password + "x"), wrong_password);
    }
    EXPECT_THROW((void)open_header(seal_header(image, std::string("a\0b", 3), cheap), "a"), wrong_password);
}

TEST(sealed_header, hides_its_image)
{
    const std::string word = "SQLite format 3 and some names";
    const bytes image(word.begin(), word.end());
    const bytes sealed = seal_header(image, "secret", cheap);
    EXPECT_EQ(std::search(sealed.begin(), sealed.end(), image.begin(), image.begin() + 6), sealed.end());
}

TEST(sealed_header, is_the_same_for_the_same_input_alone)
{
    const bytes image = noise(1000);
    EXPECT_EQ(seal_header(image, "secret", cheap), seal_header(image, "secret", cheap));
    const auto salt_and_start = [](const bytes& sealed) { return bytes(sealed.begin() + 40, sealed.begin() + 80); };
    const bytes first = salt_and_start(seal_header(image, "secret", cheap));
    const bytes other_image = salt_and_start(seal_header(noise(1000, 2), "secret", cheap));
    const bytes other_password = salt_and_start(seal_header(image, "secreT", cheap));
    // Neither the salt (16 bytes) nor the stream's start may repeat.
    for (const bytes& other : {other_image, other_password}) {
        EXPECT_FALSE(std::equal(first.begin(), first.begin() + 16, other.begin()));
        EXPECT_FALSE(std::equal(first.begin() + 16, first.end(), other.begin() + 16));
    }
}

TEST(sealed_header, tells_a_wrong_password)
{
    const bytes sealed = sealed_image(200'000);
    EXPECT_THROW((void)open_header(sealed, ""), wrong_password);
    EXPECT_THROW((void)open_header(sealed, "Secret"), wrong_password);
    EXPECT_THROW((void)open_header(sealed, "secret "), wrong_password);
}

TEST(sealed_header, notices_every_cut)
{
    constexpr std::size_t stored_chunk = envelope_chunk_size_in_bytes + 17;
    const bytes sealed = sealed_image(2 * envelope_chunk_size_in_bytes + 100);
    std::vector<std::size_t> cuts{0, 1, 7, 8, 79, 80, sealed.size() - 1};
    for (const std::size_t boundary : {80 + stored_chunk, 80 + 2 * stored_chunk}) {
        for (const std::size_t cut : {boundary - 1, boundary, boundary + 1, boundary + 16, boundary + 17})
            cuts.push_back(cut);
    }
    for (const std::size_t cut : cuts)
        EXPECT_THROW((void)open_header(byte_view(sealed).first(cut), "secret"), damaged_seal) << cut;
    bytes longer = sealed;
    longer.push_back(0);
    EXPECT_THROW((void)open_header(longer, "secret"), damaged_seal);
}

TEST(sealed_header, notices_a_cut_that_the_prefix_agrees_with)
{
    bytes sealed = sealed_image(2 * envelope_chunk_size_in_bytes);
    sealed.resize(80 + envelope_chunk_size_in_bytes + 17);
    set_prefix(sealed, [](envelope_prefix& prefix) { prefix.image_size_in_bytes = envelope_chunk_size_in_bytes; });
    EXPECT_ANY_THROW((void)open_header(sealed, "secret"));
}

TEST(sealed_header, notices_every_change)
{
    constexpr std::size_t stored_chunk = envelope_chunk_size_in_bytes + 17;
    const bytes sealed = sealed_image(2 * envelope_chunk_size_in_bytes + 100);
    for (std::size_t start : {std::size_t{80}, 80 + stored_chunk, 80 + 2 * stored_chunk}) {
        const std::size_t end = std::min(start + stored_chunk, sealed.size());
        for (const std::size_t at : {start, start + 1, (start + end) / 2, end - 18, end - 17, end - 1}) {
            bytes changed = sealed;
            changed[at] ^= 1;
            if (start == 80)
                EXPECT_THROW((void)open_header(changed, "secret"), wrong_password) << at;
            else
                EXPECT_THROW((void)open_header(changed, "secret"), damaged_seal) << at;
        }
    }
    // Chunks that changed places.
    bytes swapped = sealed;
    std::swap_ranges(swapped.begin() + 80, swapped.begin() + 80 + stored_chunk, swapped.begin() + 80 + stored_chunk);
    EXPECT_THROW((void)open_header(swapped, "secret"), wrong_password);
}

TEST(sealed_header, notices_every_changed_byte_of_its_prefix)
{
    const bytes sealed = sealed_image(300);
    for (std::size_t at = 0; at < sizeof(envelope_prefix); ++at) {
        bytes changed = sealed;
        changed[at] ^= 1;
        EXPECT_ANY_THROW((void)open_header(changed, "secret")) << at;
    }
}

TEST(sealed_header, refuses_prefixes_beyond_its_limits)
{
    const bytes sealed = sealed_image(300);
    const auto expect_refused = [&](const std::function<void(envelope_prefix&)>& change) {
        bytes changed = sealed;
        set_prefix(changed, change);
        EXPECT_THROW((void)open_header(changed, "secret"), damaged_seal);
    };
    expect_refused([](envelope_prefix& prefix) { prefix.version = 2; });
    expect_refused([](envelope_prefix& prefix) { prefix.version = 0; });
    expect_refused([](envelope_prefix& prefix) { prefix.chunk_size_in_bytes = 0; });
    expect_refused([](envelope_prefix& prefix) { prefix.chunk_size_in_bytes = 1; });
    expect_refused([](envelope_prefix& prefix) { prefix.chunk_size_in_bytes = 0xFFFFFFFF; });
    expect_refused([](envelope_prefix& prefix) { prefix.operations_limit = 0; });
    expect_refused([](envelope_prefix& prefix) { prefix.operations_limit = largest_operations_limit + 1; });
    expect_refused([](envelope_prefix& prefix) { prefix.memory_limit_in_bytes = 0; });
    expect_refused([](envelope_prefix& prefix) { prefix.memory_limit_in_bytes = largest_memory_limit_in_bytes + 1; });
    expect_refused([](envelope_prefix& prefix) { prefix.memory_limit_in_bytes = ~0ull; });
    expect_refused([](envelope_prefix& prefix) { prefix.image_size_in_bytes = ~0ull; });
    expect_refused([](envelope_prefix& prefix) { prefix.image_size_in_bytes = 1ull << 40; });
    expect_refused([](envelope_prefix& prefix) { prefix.image_size_in_bytes = 299; });
}

TEST(sealed_header, refuses_to_write_what_nobody_would_read)
{
    EXPECT_THROW((void)seal_header({}, "x", {17, 8192}), std::invalid_argument);
    EXPECT_THROW((void)seal_header({}, "x", {0, 8192}), std::invalid_argument);
    EXPECT_THROW((void)seal_header({}, "x", {1, 1}), std::invalid_argument);
    EXPECT_THROW((void)seal_header({}, "x", {1, 2048ull * 1024 * 1024}), std::invalid_argument);
}

TEST(sealed_header, is_told_from_others_by_its_first_bytes)
{
    const bytes sealed = sealed_image(10);
    EXPECT_TRUE(is_sealed(byte_view(sealed).first(8)));
    EXPECT_FALSE(is_sealed(byte_view(sealed).first(7)));
    EXPECT_FALSE(is_sealed({}));
    const std::string database = "SQLite format 3";
    EXPECT_FALSE(is_sealed(bytes(database.begin(), database.end())));
}

TEST(payload_key, depends_on_password_and_media)
{
    const bytes id = noise(16);
    const bytes key = derive_payload_key(id, "secret", cheap);
    EXPECT_EQ(key.size(), 32u);
    EXPECT_EQ(key, derive_payload_key(id, "secret", cheap));
    EXPECT_NE(key, derive_payload_key(id, "other", cheap));
    EXPECT_NE(key, derive_payload_key(noise(16, 2), "secret", cheap));
}

const bytes key = noise(32, 7);

bytes seal(const bytes& content, std::size_t piece, const std::string& context = "1/x")
{
    payload_sealer sealer(key, context);
    bytes sealed;
    std::size_t at = 0;
    for (; at + piece < content.size(); at += piece)
        sealer.add(byte_view(content).subspan(at, piece), false, sealed);
    sealer.add(byte_view(content).subspan(at), true, sealed);
    return sealed;
}

bytes open(byte_view sealed, std::size_t piece = 1u << 20, byte_view with = key)
{
    payload_opener opener(with);
    bytes content;
    for (; !sealed.empty(); sealed = sealed.subspan(std::min(piece, sealed.size())))
        opener.add(sealed.first(std::min(piece, sealed.size())), content);
    opener.finish();
    return content;
}

TEST(sealed_payload, comes_back_whatever_the_pieces)
{
    for (const std::size_t size : {0u, 1u, 65'535u, 65'536u, 65'537u, 400'000u}) {
        const bytes content = noise(size);
        const bytes sealed = seal(content, 1u << 20);
        for (const std::size_t piece : {1u, 1000u, 65'536u})
            EXPECT_EQ(seal(content, piece), sealed) << size << " in " << piece;
        for (const std::size_t piece : {7u, 65'557u, 1u << 20})
            EXPECT_EQ(open(sealed, piece), content) << size << " in " << piece;
    }
    EXPECT_EQ(open(seal(noise(300), 100), 1), noise(300));
}

TEST(sealed_payload, is_packed)
{
    const bytes content(3'000'000, 'a');
    const bytes sealed = seal(content, 1u << 20);
    EXPECT_LT(sealed.size(), 10'000u);
    EXPECT_EQ(open(sealed), content);
}

TEST(sealed_payload, ends_with_an_empty_last_piece)
{
    const bytes content = noise(100'000);
    payload_sealer sealer(key, "1/x");
    bytes sealed;
    sealer.add(content, false, sealed);
    sealer.add({}, true, sealed);
    EXPECT_EQ(open(sealed), content);
    EXPECT_THROW(sealer.add(content, false, sealed), std::logic_error);
}

TEST(sealed_payload, starts_differently_in_each_context)
{
    const bytes content = noise(100);
    const bytes first = seal(content, 100, "1/x");
    const bytes second = seal(content, 100, "2/x");
    EXPECT_FALSE(std::equal(first.begin(), first.begin() + 24, second.begin()));
    EXPECT_FALSE(std::equal(first.begin() + 28, first.end(), second.begin() + 28));
}

TEST(sealed_payload, notices_cuts_changes_and_additions)
{
    const bytes content = noise(150'000);
    const bytes sealed = seal(content, 1u << 20);
    const std::size_t message = 4 + envelope_chunk_size_in_bytes + 17;
    std::vector<std::size_t> places{0, 23, 24, 27, 28, sealed.size() - 1, sealed.size() - 17};
    for (const std::size_t boundary : {24 + message, 24 + 2 * message}) {
        for (const std::size_t place : {boundary - 1, boundary, boundary + 1, boundary + 3, boundary + 4})
            places.push_back(place);
    }
    for (const std::size_t place : places) {
        EXPECT_THROW(open(byte_view(sealed).first(place)), damaged_seal) << "cut at " << place;
        bytes changed = sealed;
        changed[place] ^= 0x40;
        EXPECT_THROW(open(changed), damaged_seal) << "changed at " << place;
    }
    bytes longer = sealed;
    longer.push_back(0);
    EXPECT_THROW(open(longer), damaged_seal);
    EXPECT_THROW(open(sealed, 1u << 20, noise(32, 8)), damaged_seal);
    EXPECT_THROW(open({}), damaged_seal);
}

TEST(sealed_payload, takes_keys_of_one_size)
{
    EXPECT_THROW(payload_sealer(noise(31), "x"), std::invalid_argument);
    EXPECT_THROW(payload_opener(noise(33)), std::invalid_argument);
}

} // namespace
