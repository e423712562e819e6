// The calls that scripted stand-ins were asked for, as lines, and how they write the arguments.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cw::test_support {

/// As in 0x0000ABCD.
[[nodiscard]] std::u16string hexadecimal(std::uint32_t value);
[[nodiscard]] std::u16string decimal(std::int64_t value);
/// The text; "null" for none, and quotes for an empty one.
[[nodiscard]] std::u16string text_or_null(const char16_t* text);
/// Sets the last error; false.
bool fail_with(std::uint32_t error_code) noexcept;

/// The calls made so far, one UTF-8 line each: the operation's name and its arguments. Calls can be
/// told to fail by their lines.
struct call_log {
    std::vector<std::string> lines;
    void add(std::string_view operation, std::u16string_view argument = {});
    /// From now on calls fail whose line is `line`, or goes on behind it with a further argument: so
    /// "ReadFile" means every read, and "CreateDirectoryW C:\\a" the making of one folder. With `nth`
    /// only the n-th of them fails (1: the next). Holds for the calls of files, folders, identifiers,
    /// transfers, events, clocks, the system's folders and `GetModuleHandleW`.
    void fail(std::string_view line, std::uint32_t error_code, int nth = 0);
    /// Forgets what `fail` was told.
    void fail_nothing() noexcept { m_failures.clear(); }
    /// `add` for calls that can be told to fail: the error code of one that must.
    [[nodiscard]] std::optional<std::uint32_t> add_fallible(std::string_view operation,
                                                            std::u16string_view argument = {});
    /// The same for calls that nobody wants to read of: no line where `told` is false.
    [[nodiscard]] std::optional<std::uint32_t> add_fallible_if(bool told, std::string_view operation,
                                                               std::u16string_view argument = {});
    /// The lines, and empties the log.
    [[nodiscard]] std::vector<std::string> take();
    /// How many lines begin with `operation`.
    [[nodiscard]] std::size_t count(std::string_view operation) const;
    /// The lines that begin with one of `operations`, in their order.
    [[nodiscard]] std::vector<std::string> of(std::initializer_list<std::string_view> operations) const;

private:
    struct failure {
        std::string line;
        std::uint32_t error_code;
        int nth;
        int seen = 0;
    };
    std::vector<failure> m_failures;
};

} // namespace cw::test_support
