#include "formats/sealed.h"

#include <sodium.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <new>

namespace cw::formats {
namespace {

static_assert(std::endian::native == std::endian::little, "the prefix is written as it lies in memory");

using stream_state = crypto_secretstream_xchacha20poly1305_state;
constexpr std::size_t added_size_in_bytes = crypto_secretstream_xchacha20poly1305_ABYTES;
constexpr std::size_t stream_header_size_in_bytes = crypto_secretstream_xchacha20poly1305_HEADERBYTES;
constexpr unsigned char message_tag = 0;
constexpr unsigned char final_tag = crypto_secretstream_xchacha20poly1305_TAG_FINAL;
static_assert(added_size_in_bytes == 17 && stream_header_size_in_bytes == sizeof(envelope_prefix::stream_header));
static_assert(crypto_pwhash_SALTBYTES == sizeof(envelope_prefix::salt));

constexpr std::uint32_t smallest_chunk_size_in_bytes = 1024;
constexpr std::uint32_t largest_chunk_size_in_bytes = 16 * 1024 * 1024;

void start_library()
{
    static const int result = sodium_init();
    if (result < 0)
        throw std::runtime_error("the encryption library cannot start");
}

/// 32 bytes that are wiped when they are no longer needed.
struct secret {
    std::array<std::uint8_t, 32> data{};
    secret() = default;
    secret(const secret&) = default;
    secret& operator=(const secret&) = default;
    ~secret() { sodium_memzero(data.data(), data.size()); }
};

secret hash_password(std::string_view password, byte_view salt, const seal_cost& cost)
{
    secret key;
    if (crypto_pwhash(key.data.data(), key.data.size(), password.data(), password.size(), salt.data(),
                      cost.operations_limit, static_cast<std::size_t>(cost.memory_limit_in_bytes),
                      crypto_pwhash_ALG_ARGON2ID13) != 0)
        throw std::bad_alloc();
    return key;
}

void keyed_hash(std::span<std::uint8_t> out, byte_view key, std::string_view purpose, byte_view message)
{
    crypto_generichash_state state;
    crypto_generichash_init(&state, key.data(), key.size(), out.size());
    crypto_generichash_update(&state, reinterpret_cast<const std::uint8_t*>(purpose.data()), purpose.size());
    crypto_generichash_update(&state, message.data(), message.size());
    crypto_generichash_final(&state, out.data(), out.size());
}

/// The writer's own secret. It is as slow to come to as the key of a header: whatever is derived
/// from it and seen in clear, such as a salt, gives no quick test of a guessed password.
secret writer_secret(std::string_view password, const seal_cost& cost)
{
    constexpr std::array<std::uint8_t, crypto_pwhash_SALTBYTES> salt{'C', 'W', ' ', 'w', 'r', 'i', 't', 'e', 'r'};
    return hash_password(password, salt, cost);
}

byte_view bytes_of(const envelope_prefix& prefix)
{
    return {reinterpret_cast<const std::uint8_t*>(&prefix), sizeof prefix};
}

/// A stream that begins with a chosen header: the state that reading starts from is the one that
/// writing goes on from.
stream_state start_stream(byte_view header, const secret& key)
{
    stream_state state;
    if (crypto_secretstream_xchacha20poly1305_init_pull(&state, header.data(), key.data.data()) != 0)
        throw damaged_seal("the sealed stream has no valid start");
    return state;
}

void push(stream_state& state, byte_view clear, byte_view bound, unsigned char tag, bytes& out)
{
    const std::size_t start = out.size();
    out.resize(start + clear.size() + added_size_in_bytes);
    crypto_secretstream_xchacha20poly1305_push(&state, out.data() + start, nullptr, clear.data(), clear.size(),
                                               bound.data(), bound.size(), tag);
}

/// Whether the message is whole; its clear bytes are stored at `clear`.
bool pull(stream_state& state, byte_view message, byte_view bound, unsigned char expected_tag, std::uint8_t* clear)
{
    unsigned char tag = 0;
    return crypto_secretstream_xchacha20poly1305_pull(&state, clear, nullptr, &tag, message.data(), message.size(),
                                                      bound.data(), bound.size()) == 0 &&
           tag == expected_tag;
}

std::uint64_t chunk_count_of(std::uint64_t image_size, std::uint32_t chunk_size)
{
    return image_size == 0 ? 1 : (image_size - 1) / chunk_size + 1;
}

/// The prefix of a file, all of whose numbers agree with the file's size and with our limits.
envelope_prefix checked_prefix(byte_view file)
{
    if (file.size() < sizeof(envelope_prefix) || !is_sealed(file))
        throw damaged_seal("the protected header is cut short");
    envelope_prefix prefix;
    std::memcpy(&prefix, file.data(), sizeof prefix);
    if (prefix.version != envelope_version)
        throw damaged_seal("the protected header is of an unknown version");
    if (prefix.chunk_size_in_bytes < smallest_chunk_size_in_bytes ||
        prefix.chunk_size_in_bytes > largest_chunk_size_in_bytes ||
        prefix.operations_limit < crypto_pwhash_OPSLIMIT_MIN || prefix.operations_limit > largest_operations_limit ||
        prefix.memory_limit_in_bytes < crypto_pwhash_MEMLIMIT_MIN ||
        prefix.memory_limit_in_bytes > largest_memory_limit_in_bytes)
        throw damaged_seal("the protected header asks for more than is allowed");
    // The first test keeps the sum of the second from running over.
    if (prefix.image_size_in_bytes > file.size() ||
        sizeof prefix + prefix.image_size_in_bytes +
                added_size_in_bytes * chunk_count_of(prefix.image_size_in_bytes, prefix.chunk_size_in_bytes) !=
            file.size())
        throw damaged_seal("the protected header is cut short or too long");
    return prefix;
}

void require_key(byte_view key)
{
    if (key.size() != payload_key_size_in_bytes)
        throw std::invalid_argument("a payload key is 32 bytes");
}

secret payload_stream_key(byte_view key)
{
    secret derived;
    keyed_hash(derived.data, key, "payload stream", {});
    return derived;
}

std::array<std::uint8_t, 4> length_field(std::size_t length)
{
    std::array<std::uint8_t, 4> field;
    for (std::size_t i = 0; i < field.size(); ++i)
        field[i] = static_cast<std::uint8_t>(length >> (8 * i));
    return field;
}

} // namespace

bool is_sealed(byte_view first_bytes) noexcept
{
    return first_bytes.size() >= envelope_magic.size() &&
           std::equal(envelope_magic.begin(), envelope_magic.end(), first_bytes.begin());
}

bytes seal_header(byte_view image, std::string_view password_utf8, const seal_cost& cost)
{
    start_library();
    if (cost.operations_limit < crypto_pwhash_OPSLIMIT_MIN || cost.operations_limit > largest_operations_limit ||
        cost.memory_limit_in_bytes < crypto_pwhash_MEMLIMIT_MIN ||
        cost.memory_limit_in_bytes > largest_memory_limit_in_bytes)
        throw std::invalid_argument("the cost of the password is outside of what readers accept");

    envelope_prefix prefix{};
    std::copy(envelope_magic.begin(), envelope_magic.end(), prefix.magic);
    prefix.version = envelope_version;
    prefix.chunk_size_in_bytes = envelope_chunk_size_in_bytes;
    prefix.operations_limit = cost.operations_limit;
    prefix.memory_limit_in_bytes = cost.memory_limit_in_bytes;
    prefix.image_size_in_bytes = image.size();
    keyed_hash(prefix.salt, writer_secret(password_utf8, cost).data, "header salt", image);
    const secret key = hash_password(password_utf8, prefix.salt, cost);
    keyed_hash(prefix.stream_header, key.data, "header stream", image);

    bytes out(bytes_of(prefix).begin(), bytes_of(prefix).end());
    out.reserve(sizeof prefix + image.size() +
                added_size_in_bytes * chunk_count_of(image.size(), prefix.chunk_size_in_bytes));
    stream_state state = start_stream(prefix.stream_header, key);
    do {
        const byte_view chunk = image.first(std::min<std::size_t>(image.size(), prefix.chunk_size_in_bytes));
        image = image.subspan(chunk.size());
        push(state, chunk, bytes_of(prefix), image.empty() ? final_tag : message_tag, out);
    } while (!image.empty());
    return out;
}

bytes open_header(byte_view file, std::string_view password_utf8)
{
    start_library();
    const envelope_prefix prefix = checked_prefix(file);
    const secret key =
        hash_password(password_utf8, prefix.salt, {prefix.operations_limit, prefix.memory_limit_in_bytes});
    stream_state state = start_stream(prefix.stream_header, key);

    bytes image(static_cast<std::size_t>(prefix.image_size_in_bytes));
    byte_view sealed = file.subspan(sizeof prefix);
    std::size_t done = 0;
    do {
        const std::size_t clear_size = std::min<std::size_t>(image.size() - done, prefix.chunk_size_in_bytes);
        const bool last = done + clear_size == image.size();
        if (!pull(state, sealed.first(clear_size + added_size_in_bytes), bytes_of(prefix),
                  last ? final_tag : message_tag, image.data() + done)) {
            if (done == 0)
                throw wrong_password("the password is wrong");
            throw damaged_seal("the protected header is damaged");
        }
        sealed = sealed.subspan(clear_size + added_size_in_bytes);
        done += clear_size;
    } while (!sealed.empty());
    return image;
}

bytes derive_payload_key(byte_view media_id, std::string_view password_utf8, const seal_cost& cost)
{
    start_library();
    bytes key(payload_key_size_in_bytes);
    keyed_hash(key, writer_secret(password_utf8, cost).data, "payload key", media_id);
    return key;
}

struct payload_sealer::state {
    stream_state stream;
    z_stream deflater{};
    bytes header;   // to be written before the first message
    bytes deflated; // not yet sealed

    ~state() { deflateEnd(&deflater); }

    void seal(byte_view clear, unsigned char tag, bytes& out)
    {
        const auto length = length_field(clear.size() + added_size_in_bytes);
        out.insert(out.end(), length.begin(), length.end());
        push(stream, clear, length, tag, out);
    }
};

payload_sealer::payload_sealer(byte_view key, std::string_view context)
{
    start_library();
    require_key(key);
    m_state = std::make_unique<state>();
    m_state->header.resize(stream_header_size_in_bytes);
    keyed_hash(m_state->header, key, "payload start",
               {reinterpret_cast<const std::uint8_t*>(context.data()), context.size()});
    m_state->stream = start_stream(m_state->header, payload_stream_key(key));
    if (deflateInit2(&m_state->deflater, Z_DEFAULT_COMPRESSION, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY) != Z_OK)
        throw std::bad_alloc();
}

payload_sealer::~payload_sealer() = default;

void payload_sealer::add(byte_view piece, bool last, bytes& out)
{
    out.insert(out.end(), m_state->header.begin(), m_state->header.end());
    m_state->header.clear();

    // zlib counts in 32 bits, so a piece goes in by parts.
    constexpr std::size_t part_size = 1u << 20;
    z_stream& deflater = m_state->deflater;
    bytes& deflated = m_state->deflated;
    do {
        const byte_view part = piece.first(std::min(piece.size(), part_size));
        piece = piece.subspan(part.size());
        deflater.next_in = const_cast<Bytef*>(part.data());
        deflater.avail_in = static_cast<uInt>(part.size());
        const int flush = last && piece.empty() ? Z_FINISH : Z_NO_FLUSH;
        do {
            const std::size_t filled = deflated.size();
            deflated.resize(filled + envelope_chunk_size_in_bytes);
            deflater.next_out = deflated.data() + filled;
            deflater.avail_out = envelope_chunk_size_in_bytes;
            if (deflate(&deflater, flush) == Z_STREAM_ERROR)
                throw std::logic_error("bytes were added behind the last piece");
            deflated.resize(deflated.size() - deflater.avail_out);
            // The last message is marked, so one chunk always waits for what comes.
            while (deflated.size() > envelope_chunk_size_in_bytes) {
                m_state->seal(byte_view(deflated).first(envelope_chunk_size_in_bytes), message_tag, out);
                deflated.erase(deflated.begin(), deflated.begin() + envelope_chunk_size_in_bytes);
            }
        } while (deflater.avail_out == 0);
    } while (!piece.empty());
    if (last)
        m_state->seal(deflated, final_tag, out);
}

struct payload_opener::state {
    secret key;
    stream_state stream;
    z_stream inflater{};
    bytes pending;
    bool started = false;
    bool sealed_end = false;
    bool content_end = false;

    ~state() { inflateEnd(&inflater); }

    void inflate_chunk(byte_view deflated, bytes& out)
    {
        if (content_end && !deflated.empty())
            throw damaged_seal("the sealed content goes on behind its end");
        inflater.next_in = const_cast<Bytef*>(deflated.data());
        inflater.avail_in = static_cast<uInt>(deflated.size());
        while (!content_end) {
            const std::size_t filled = out.size();
            out.resize(filled + envelope_chunk_size_in_bytes);
            inflater.next_out = out.data() + filled;
            inflater.avail_out = envelope_chunk_size_in_bytes;
            const int result = inflate(&inflater, Z_NO_FLUSH);
            out.resize(out.size() - inflater.avail_out);
            content_end = result == Z_STREAM_END;
            if (content_end && inflater.avail_in != 0)
                throw damaged_seal("the sealed content goes on behind its end");
            if (!content_end && result != Z_OK && result != Z_BUF_ERROR)
                throw damaged_seal("the sealed content cannot be unpacked");
            if (inflater.avail_out != 0)
                break;
        }
    }

    /// Opens the message that `pending` begins at `start` with. The size of what it took, or 0 where
    /// it has not come whole yet.
    std::size_t open_message(std::size_t start, bytes& out)
    {
        const byte_view rest = byte_view(pending).subspan(start);
        if (rest.size() < 4)
            return 0;
        const std::size_t length = rest[0] | static_cast<std::size_t>(rest[1]) << 8 |
                                   static_cast<std::size_t>(rest[2]) << 16 | static_cast<std::size_t>(rest[3]) << 24;
        if (length < added_size_in_bytes || length > envelope_chunk_size_in_bytes + added_size_in_bytes)
            throw damaged_seal("the sealed content is damaged");
        if (rest.size() < 4 + length)
            return 0;
        bytes clear(length - added_size_in_bytes);
        unsigned char tag = 0;
        if (crypto_secretstream_xchacha20poly1305_pull(&stream, clear.data(), nullptr, &tag, rest.data() + 4, length,
                                                       rest.data(), 4) != 0)
            throw damaged_seal("the sealed content is damaged");
        sealed_end = tag == final_tag;
        inflate_chunk(clear, out);
        return 4 + length;
    }
};

payload_opener::payload_opener(byte_view key)
{
    start_library();
    require_key(key);
    m_state = std::make_unique<state>();
    m_state->key = payload_stream_key(key);
    if (inflateInit2(&m_state->inflater, -MAX_WBITS) != Z_OK)
        throw std::bad_alloc();
}

payload_opener::~payload_opener() = default;

void payload_opener::add(byte_view piece, bytes& out)
{
    bytes& pending = m_state->pending;
    pending.insert(pending.end(), piece.begin(), piece.end());
    std::size_t taken = 0;
    if (!m_state->started && pending.size() >= stream_header_size_in_bytes) {
        m_state->stream = start_stream(byte_view(pending).first(stream_header_size_in_bytes), m_state->key);
        m_state->started = true;
        taken = stream_header_size_in_bytes;
    }
    while (m_state->started && !m_state->sealed_end) {
        const std::size_t size = m_state->open_message(taken, out);
        if (size == 0)
            break;
        taken += size;
    }
    pending.erase(pending.begin(), pending.begin() + static_cast<std::ptrdiff_t>(taken));
    if (m_state->sealed_end && !pending.empty())
        throw damaged_seal("bytes stand behind the sealed content");
}

void payload_opener::finish()
{
    if (!m_state->sealed_end || !m_state->content_end)
        throw damaged_seal("the sealed content is cut short");
}

} // namespace cw::formats
