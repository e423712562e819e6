// The headers of an answer, as far as anybody asks for them.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace cw::platform {

class curl_answer {
public:
    /// Takes one line with its end. True for the blank line that ends the headers of an answer; the first line
    /// of another answer behind it forgets the one before. Throws `std::bad_alloc`.
    bool add_line(std::string_view line);
    /// What it tells before the answer proper: 1xx, but not the change to a protocol that nobody asked for.
    [[nodiscard]] bool is_interim() const noexcept;
    /// Whether another request may be sent because of it, to another place or with credentials.
    [[nodiscard]] bool may_lead_on() const noexcept;
    [[nodiscard]] bool is_redirect() const noexcept;

    /// Holds the answer against the offset that was asked for: 0, or an error where it tells of another place, is
    /// not whole or contradicts itself.
    /// A server that ignores ranges sends all from the start: what stands before the offset is left out.
    [[nodiscard]] std::uint32_t settle(std::uint64_t offset) noexcept;
    /// Whether nothing else tells where the body ends, as far as there may be one.
    [[nodiscard]] bool ends_with_connection() const noexcept;
    /// How many bytes of the body come before those that were asked for.
    [[nodiscard]] std::uint64_t bytes_to_skip() const noexcept { return m_skip; }

    /// `transfers::query_info` with an index that is not null; 0 or an error.
    [[nodiscard]] std::uint32_t query(std::uint32_t level, void* buffer, std::uint32_t* size_in_bytes,
                                      std::uint32_t index) const noexcept;

private:
    enum header : std::size_t { content_length, content_range, last_modified, location, transfer_encoding, kept };
    struct query_row;

    bool m_isBetweenAnswers = true;
    std::uint32_t m_status = 0;
    std::uint64_t m_skip = 0;
    std::array<std::vector<std::string>, kept> m_values;

    bool has_clear_length() const noexcept;
    bool is_plain() const noexcept;
    std::uint32_t query_length(std::uint32_t index, void* value) const noexcept;
    std::uint32_t query_modified(std::uint32_t index, void* value) const noexcept;
    std::uint32_t query_status(std::uint32_t index, void* value) const noexcept;
};

} // namespace cw::platform
