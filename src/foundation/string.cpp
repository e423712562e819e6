#include "foundation/string.h"

#include "platform/last_error.h"
#include "platform/services.h"

#include <algorithm>
#include <functional>
#include <limits>
#include <new>
#include <stdexcept>
#include <utility>

namespace cw {

namespace {

using traits = std::char_traits<char16_t>;

constexpr std::uint64_t largest_capacity = 0x7FFFFFFFFFFFFFFE;
constexpr std::uint32_t thread_code_page = 3;
constexpr std::size_t narrow_step_in_bytes = 64;

platform::text_memory& memory() noexcept
{
    return *platform::current().memory;
}

std::size_t length_of(const char16_t* text) noexcept
{
    return text ? traits::length(text) : 0;
}

std::size_t run_length(const string& source, std::size_t start, std::size_t count)
{
    if (start > source.length())
        throw std::out_of_range("invalid string position");
    return std::min(count, source.length() - start);
}

/// Capacity for `needed` characters where `old` fitted before.
std::uint64_t grown_capacity(std::uint64_t needed, std::uint64_t old)
{
    if (needed > largest_capacity)
        throw std::length_error("string too long");
    const std::uint64_t capacity = std::min(std::max(needed | 7, old + old / 2), largest_capacity);
    // The allocator counts in 32 bits; a longer text must not come out as a short one.
    if (capacity >= std::numeric_limits<UINT>::max())
        throw std::length_error("string too long");
    return capacity;
}

char16_t* allocate_text(std::uint64_t capacity)
{
    BSTR text = memory().allocate(nullptr, static_cast<UINT>(capacity + 1));
    if (!text)
        throw std::bad_alloc();
    return text;
}

} // namespace

last_error_keeper::last_error_keeper() noexcept : m_saved(platform::get_last_error()) {}

void last_error_keeper::keep() noexcept
{
    m_saved = platform::get_last_error();
}

void last_error_keeper::restore() const noexcept
{
    platform::set_last_error(m_saved);
}

void string::initialise(const char16_t* text, std::size_t count)
{
    m_small[0] = 0;
    if (count > small_capacity)
        grow(count);
    if (count > 0)
        traits::copy(data(), text, count);
    m_length = count;
    data()[count] = 0;
}

string::string()
{
    initialise(nullptr, 0);
    restore();
}

string::string(const char16_t* text)
{
    initialise(text, length_of(text));
    restore();
}

string::string(const char16_t* text, std::size_t count)
{
    initialise(text, count);
    restore();
}

string::string(std::u16string_view text)
{
    initialise(text.data(), text.size());
    restore();
}

string::string(const string& other) : last_error_keeper()
{
    initialise(other.c_str(), other.length());
    restore();
}

string::string(const string& other, std::size_t start, std::size_t count)
{
    const std::size_t run = run_length(other, start, count);
    initialise(other.c_str() + start, run);
    restore();
}

string::string(const char* narrow_text)
{
    initialise(nullptr, 0);
    if (narrow_text) {
        const std::size_t count = platform::current().pages->character_count(narrow_text);
        assign_bytes(narrow_text, static_cast<std::ptrdiff_t>(count), 0);
    }
    restore();
}

string::string(std::size_t count)
{
    initialise(nullptr, 0);
    append(count, u'\0');
    restore();
}

string::~string()
{
    keep();
    memory().release_bytes(std::exchange(m_narrow, nullptr));
    m_narrowCapacity = 0;
    memory().release(std::exchange(m_bstr, nullptr));
    if (!is_small())
        memory().release(m_large);
    m_capacity = small_capacity;
    m_length = 0;
    m_small[0] = 0;
    restore();
}

string& string::operator=(const string& other)
{
    if (this != &other)
        assign(other.c_str(), other.length());
    return *this;
}

string& string::operator=(const char16_t* text)
{
    return assign(text, length_of(text));
}

void string::grow(std::size_t needed)
{
    const std::uint64_t capacity = grown_capacity(needed, m_capacity);
    char16_t* text = allocate_text(capacity);
    traits::copy(text, c_str(), m_length + 1);
    if (!is_small())
        memory().release(m_large);
    m_large = text;
    m_capacity = capacity;
}

string& string::assign(const char16_t* text, std::size_t count)
{
    return replace_text(0, m_length, text, count);
}

string& string::append(const char16_t* text, std::size_t count)
{
    return replace_text(m_length, 0, text, count);
}

string& string::append(std::size_t count, char16_t character)
{
    if (count > largest_capacity - m_length)
        throw std::length_error("string too long");
    if (m_length + count > m_capacity)
        grow(m_length + count);
    traits::assign(data() + m_length, count, character);
    m_length += count;
    data()[m_length] = 0;
    return *this;
}

string& string::replace_text(std::size_t position, std::size_t count, const char16_t* text, std::size_t text_count)
{
    const std::size_t kept = m_length - count;
    if (text_count > largest_capacity - kept)
        throw std::length_error("string too long");
    const std::size_t length = kept + text_count;
    const std::size_t behind = m_length - position - count;

    // The new text may lie inside the old one, so the old buffer stays whole until the last copy.
    const char16_t* const old = c_str();
    const bool is_own = std::less_equal<>()(old, text) && std::less_equal<>()(text, old + m_length);
    if (length > m_capacity) {
        const std::uint64_t capacity = grown_capacity(length, m_capacity);
        char16_t* fresh = allocate_text(capacity);
        traits::copy(fresh, old, position);
        traits::copy(fresh + position, text, text_count);
        traits::copy(fresh + position + text_count, old + position + count, behind);
        if (!is_small())
            memory().release(m_large);
        m_large = fresh;
        m_capacity = capacity;
    } else if (is_own && text_count > 0) {
        const std::u16string copy(text, text_count);
        return replace_text(position, count, copy.data(), text_count);
    } else {
        char16_t* const place = data() + position;
        traits::move(place + text_count, place + count, behind);
        if (text_count > 0)
            traits::copy(place, text, text_count);
    }
    m_length = length;
    data()[length] = 0;
    return *this;
}

void string::erase_text(std::size_t position, std::size_t count)
{
    replace_text(position, run_length(*this, position, count), nullptr, 0);
}

string& string::erase(std::size_t position, std::size_t count)
{
    memory().release(std::exchange(m_bstr, nullptr));
    erase_text(position, count);
    return *this;
}

string& string::replace(std::size_t position, std::size_t count, const char16_t* text, std::size_t text_count)
{
    return replace_text(position, run_length(*this, position, count), text, text_count);
}

void string::swap(string& other) noexcept
{
    // The small buffer is the larger half of the union, so exchanging it exchanges either.
    std::swap(m_small, other.m_small);
    std::swap(m_length, other.m_length);
    std::swap(m_capacity, other.m_capacity);
}

std::size_t string::find(const char16_t* pattern, std::size_t start, std::size_t count) const noexcept
{
    return view().find(pattern, start, count);
}

std::size_t string::rfind(char16_t character) const noexcept
{
    return view().rfind(character);
}

string string::substr(std::size_t start, std::size_t count) const
{
    return string(*this, start, count);
}

const char16_t* string::c_str() const noexcept
{
    return is_small() ? m_small : m_large;
}

char16_t* string::data() noexcept
{
    return is_small() ? m_small : m_large;
}

const char* string::narrow()
{
    auto make_room = [this](std::size_t size_in_bytes) {
        memory().release_bytes(std::exchange(m_narrow, nullptr));
        m_narrowCapacity = 0;
        const std::size_t capacity = (size_in_bytes & ~(narrow_step_in_bytes - 1)) + narrow_step_in_bytes;
        m_narrow = memory().allocate_bytes(capacity);
        if (!m_narrow)
            throw std::bad_alloc();
        m_narrowCapacity = capacity;
    };

    const std::size_t usual_size_in_bytes = m_length * 2 + 2;
    if (m_narrowCapacity <= usual_size_in_bytes || !m_narrow)
        make_room(usual_size_in_bytes);
    std::size_t written = to_bytes(m_narrow, m_narrowCapacity, thread_code_page);
    // Two bytes a character are not enough for every charset: UTF-8 takes three.
    if (written == 0 && platform::get_last_error() == platform::error_insufficient_buffer) {
        make_room(to_bytes(nullptr, 0, thread_code_page));
        written = to_bytes(m_narrow, m_narrowCapacity, thread_code_page);
    }
    if (written == 0)
        m_narrow[0] = 0;
    return m_narrow;
}

BSTR* string::bstr()
{
    if (SysStringLen(m_bstr) == m_length) {
        if (m_bstr)
            traits::copy(m_bstr, c_str(), m_length);
    } else if (!memory().reallocate(&m_bstr, c_str(), static_cast<UINT>(m_length))) {
        throw std::bad_alloc();
    }
    if (m_bstr)
        m_bstr[m_length] = 0;
    return &m_bstr;
}

string::buffer_scope::buffer_scope(string& target, bool take_bstr, const char* narrow) noexcept
    : m_target(target), m_takeBstr(take_bstr), m_narrow(narrow)
{
}

string::buffer_scope::~buffer_scope() noexcept(false)
{
    const std::uint32_t saved = platform::get_last_error();
    if (m_takeBstr) {
        // The callee may have written over the terminator, so the length bounds the search for a zero.
        const std::u16string_view all(m_target.m_bstr ? m_target.m_bstr : u"", SysStringLen(m_target.m_bstr));
        m_target.assign(all.data(), std::min(all.find(u'\0'), all.size()));
    }
    if (m_narrow)
        m_target = string(m_narrow);
    platform::set_last_error(saved);
}

string operator+(const string& a, const string& b)
{
    string result(a);
    result.append(b.c_str(), b.length());
    return result;
}

string operator+(const string& a, const char16_t* b)
{
    string result(a);
    result.append(b, length_of(b));
    return result;
}

string operator+(const char16_t* a, const string& b)
{
    string result(a);
    result.append(b.c_str(), b.length());
    return result;
}

} // namespace cw
