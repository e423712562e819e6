// Encryption of protected media: the header as a whole and the payload file by file. Used by the
// writer and by the reader; nothing decrypted touches the disk here.
#pragma once

#include "formats/media_format.h"

#include <cstdint>
#include <memory>
#include <span>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace cw::formats {

using bytes = std::vector<std::uint8_t>;
using byte_view = std::span<const std::uint8_t>;
inline constexpr std::size_t payload_key_size_in_bytes = 32;

/// The password is missing or wrong. A wrong password and a changed first chunk cannot be told apart.
class wrong_password : public std::runtime_error {
    using std::runtime_error::runtime_error;
};
/// The sealed bytes were cut or changed, or their prefix asks for more than a reader allows.
class damaged_seal : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct seal_cost {
    std::uint64_t operations_limit = 3;
    std::uint64_t memory_limit_in_bytes = 64ull * 1024 * 1024;
};

/// Whether a file that begins with these bytes is a protected header.
[[nodiscard]] bool is_sealed(byte_view first_bytes) noexcept;
/// Prefix and chunks of a database image. The same image and password give the same bytes: salt and
/// stream header are derived from both.
[[nodiscard]] bytes seal_header(byte_view image, std::string_view password_utf8, const seal_cost& cost = {});
/// The database image of a whole protected header file. Throws `wrong_password`, `damaged_seal`.
[[nodiscard]] bytes open_header(byte_view file, std::string_view password_utf8);

/// 32 bytes for `media.payload_key`, as slow to come to from a guessed password as the header's key.
[[nodiscard]] bytes derive_payload_key(byte_view media_id, std::string_view password_utf8, const seal_cost& cost = {});

// A sealed payload is the stream's header of 24 bytes, then messages: four bytes that give the
// message's length, little-endian, and the message itself, at most 64 KiB of deflated content and
// 17 bytes. The last one is marked as final.

/// Deflates and encrypts the content of one stored file, in pieces.
class payload_sealer {
public:
    /// `key` is 32 bytes; the stream's start is derived from it and from `context`, which must not
    /// repeat with another content under the same key: the same start would give the same key stream.
    payload_sealer(byte_view key, std::string_view context);
    ~payload_sealer();
    /// Appends the sealed form of a piece to `out`; the last piece (which may be empty) ends it.
    void add(byte_view piece, bool last, bytes& out);

private:
    struct state;
    std::unique_ptr<state> m_state;
};

/// The reverse: takes sealed pieces of any size and appends clear bytes to `out`.
class payload_opener {
public:
    explicit payload_opener(byte_view key);
    ~payload_opener();
    /// Throws `damaged_seal`. The last bytes come out with the last piece.
    void add(byte_view piece, bytes& out);
    /// Throws `damaged_seal` where the content did not come to its end.
    void finish();

private:
    struct state;
    std::unique_ptr<state> m_state;
};

} // namespace cw::formats
