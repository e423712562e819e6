#include "readers/mediaforge/component_objects.h"

#include "formats/md5.h"
#include "readers/storage/text.h"

#include <algorithm>
#include <limits>

namespace cw::mediaforge {
namespace {

/// Sizes are 64-bit in the header and 32-bit in the contract: the low half is what is shown.
std::int32_t low_half(const row_cursor& row, unsigned column)
{
    return static_cast<std::int32_t>(row.natural(column, std::numeric_limits<std::int64_t>::max()));
}

} // namespace

com_ptr<IDispatch> component_object::files()
{
    return make_object<file_list_object>(m_media, m_key.first);
}

automation::bstr file_object::file_name()
{
    return storage::to_bstr(row().text(0));
}

automation::bstr file_object::version()
{
    return storage::to_bstr(row().text(4));
}

std::int32_t file_object::size()
{
    return low_half(row(), 1);
}

std::int32_t file_object::compressed_size()
{
    return low_half(row(), 2);
}

automation::date_value file_object::date()
{
    return {row().real(3)};
}

automation::bstr file_object::md5_signature()
{
    const row_cursor& own = row();
    if (own.is_null(5))
        return storage::to_bstr({});
    const formats::byte_view stored = own.blob(5);
    formats::md5_digest digest;
    if (stored.size() != digest.size())
        own.contradict(u"a signature is not 16 bytes");
    std::copy(stored.begin(), stored.end(), digest.begin());
    return storage::to_bstr(formats::md5_text(digest));
}

std::int32_t file_object::flags()
{
    return static_cast<std::int32_t>(row().integer(6, 0));
}

void file_object::extract(const std::u16string& target)
{
    m_media->extract(m_key.first, m_key.second, storage::to_native_path(target));
}

} // namespace cw::mediaforge
