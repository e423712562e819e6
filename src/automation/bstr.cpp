#include "automation/bstr.h"

#include <cstdlib>
#include <cstring>

namespace {

// The length stands in the four bytes before the text; four unused ones keep the text aligned as
// the allocator aligns.
constexpr std::size_t header_size_in_bytes = 8;
constexpr std::size_t length_size_in_bytes = 4;

// The byte length and the terminator must be countable in the 32 bits of the length field.
constexpr UINT longest_text_in_code_units = (UINT32_MAX - sizeof(WCHAR)) / sizeof(WCHAR);

void* block_of(BSTR text) noexcept
{
    return reinterpret_cast<char*>(text) - header_size_in_bytes;
}

void set_length(BSTR text, UINT length) noexcept
{
    const auto bytes = static_cast<std::uint32_t>(length * sizeof(WCHAR));
    std::memcpy(reinterpret_cast<char*>(text) - length_size_in_bytes, &bytes, sizeof bytes);
    text[length] = 0;
}

} // namespace

BSTR SysAllocString(const WCHAR* text) noexcept
{
    if (!text)
        return nullptr;
    const std::size_t length = std::char_traits<WCHAR>::length(text);
    if (length > longest_text_in_code_units)
        return nullptr;
    return SysAllocStringLen(text, static_cast<UINT>(length));
}

BSTR SysAllocStringLen(const WCHAR* text, UINT length) noexcept
{
    if (length > longest_text_in_code_units)
        return nullptr;
    const std::size_t size_in_bytes = header_size_in_bytes + (std::size_t{length} + 1) * sizeof(WCHAR);
    // Not calloc: for short texts, which nearly all are, malloc and a zeroing are much faster.
    void* block = std::malloc(size_in_bytes);
    if (!block)
        return nullptr;
    BSTR copy = reinterpret_cast<BSTR>(static_cast<char*>(block) + header_size_in_bytes);
    if (text)
        std::memcpy(copy, text, length * sizeof(WCHAR));
    else
        std::memset(copy, 0, length * sizeof(WCHAR));
    set_length(copy, length);
    return copy;
}

int SysReAllocStringLen(BSTR* target, const WCHAR* text, UINT length) noexcept
{
    if (!target)
        return 0;
    BSTR replacement = SysAllocStringLen(text, length);
    if (!replacement)
        return 0;
    if (!text && *target)
        std::memcpy(replacement, *target, std::min(length, SysStringLen(*target)) * sizeof(WCHAR));
    SysFreeString(std::exchange(*target, replacement));
    return 1;
}

void SysFreeString(BSTR text) noexcept
{
    if (text)
        std::free(block_of(text));
}

UINT SysStringLen(BSTR text) noexcept
{
    return SysStringByteLen(text) / static_cast<UINT>(sizeof(WCHAR));
}

UINT SysStringByteLen(BSTR text) noexcept
{
    std::uint32_t bytes = 0;
    if (text)
        std::memcpy(&bytes, reinterpret_cast<const char*>(text) - length_size_in_bytes, sizeof bytes);
    return bytes;
}
