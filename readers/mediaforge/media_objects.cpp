#include "readers/mediaforge/media_objects.h"

#include "readers/mediaforge/report.h"
#include "readers/storage/text.h"

#include <new>

namespace cw::mediaforge {
namespace {

constexpr unsigned column_of(const media_member_row& wanted)
{
    for (unsigned i = 0; i < formats::media_columns.size(); ++i)
        if (formats::media_columns[i].member.id == wanted.id)
            return i;
    throw "not a column";
}

std::vector<automation::bstr> old_version_texts(media_store& media)
{
    std::vector<automation::bstr> texts;
    row_cursor& query = media[rows::old_version];
    query.rewind({});
    while (query.next())
        texts.push_back(storage::to_bstr(query.text(1)));
    return texts;
}

} // namespace

automation::bstr media_object::product_guid(const VARIANT*)
{
    constexpr unsigned index = column_of(media::ProductGuid);
    automation::variant text;
    row().member(index, text);
    automation::bstr result;
    result.attach(text.detach().bstrVal);
    return result;
}

com_ptr<IDispatch> media_object::settings()
{
    return make_object<settings_object>(m_media);
}

com_ptr<IDispatch> media_object::arp_info()
{
    return make_object<arp_info_object>(m_media);
}

com_ptr<IDispatch> media_object::report()
{
    return make_object<report_object>(m_media);
}

std::int32_t settings_object::old_version_count()
{
    return static_cast<std::int32_t>(old_version_texts(*m_media).size());
}

automation::variant settings_object::old_versions()
{
    const std::vector<automation::bstr> texts = old_version_texts(*m_media);
    automation::variant result;
    result.parray = SafeArrayCreateVector(VT_BSTR, 0, static_cast<ULONG>(texts.size()));
    if (!result.parray)
        throw std::bad_alloc();
    result.vt = VT_ARRAY | VT_BSTR;
    for (LONG i = 0; i < static_cast<LONG>(texts.size()); ++i)
        if (FAILED(SafeArrayPutElement(result.parray, &i, texts[static_cast<std::size_t>(i)].get())))
            throw std::bad_alloc();
    return result;
}

automation::bstr report_object::first_part()
{
    return report_first_part(*m_media);
}

automation::bstr report_object::second_part()
{
    return report_second_part(*m_media);
}

} // namespace cw::mediaforge
