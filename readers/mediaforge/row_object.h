// Base of the objects that stand for one row of a header: their plain members come straight out of
// the column tables that writers use too, the others are ordinary member functions.
#pragma once

#include "readers/mediaforge/media_store.h"

#include <array>
#include <utility>

namespace cw::mediaforge {

using automation::call_arguments;
using automation::com_ptr;
using automation::make_object;
using automation::member;

/// A class over it gives, besides what `dispatch_object` asks for,
///     static constexpr rows source = rows::…;   // the query that its key is for
template <class Class>
class row_object : public automation::dispatch_object<Class> {
public:
    /// The row, where it is there; a failure otherwise.
    [[nodiscard]] row_cursor& row()
    {
        row_cursor& cursor = (*m_media)[Class::source];
        if (!cursor.find(m_key))
            cursor.contradict(u"a row is not there");
        return cursor;
    }

protected:
    row_object(media_handle media, const row_key& key) noexcept : m_media(std::move(media)), m_key(key) {}

    media_handle m_media;
    row_key m_key;
};

namespace detail {

template <class Class, std::size_t Index>
void read_column(void* object, const call_arguments&, VARIANT& result)
{
    static_cast<Class*>(object)->row().member(Index, result);
}

template <class Class, const auto& Columns, std::size_t... Index>
constexpr auto column_members(std::index_sequence<Index...>)
{
    return std::array<member, sizeof...(Index)>{member{Columns[Index].member.id, Columns[Index].member.kind,
                                                       Columns[Index].member.name, 0, 0,
                                                       &read_column<Class, Index>}...};
}

} // namespace detail

/// The members of a class: those given, and all columns that are not among them.
template <class Class, const auto& Columns, class... Own>
constexpr auto members_of(const Own&... own)
{
    constexpr std::size_t count = std::tuple_size_v<std::remove_cvref_t<decltype(Columns)>>;
    constexpr auto columns = detail::column_members<Class, Columns>(std::make_index_sequence<count>{});
    std::array<member, count + sizeof...(Own)> all{};
    std::size_t next = 0;
    // Those given come first: the first row of a number is the one that is called.
    ((all[next++] = own), ...);
    for (const member& column : columns)
        all[next++] = column;
    return all;
}

/// A table row for a function that answers a member of the contract.
template <auto Function>
constexpr member answers(const media_member_row& described)
{
    return automation::detail::make_member<Function>(described.id, described.kind, described.name);
}

} // namespace cw::mediaforge
