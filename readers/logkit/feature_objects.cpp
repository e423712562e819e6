#include "readers/logkit/feature_objects.h"

#include "readers/logkit/errors.h"
#include "readers/logkit/operation_objects.h"
#include "readers/storage/stored_value.h"
#include "readers/storage/text.h"

#include <new>

namespace cw::logkit {
namespace {

using automation::automation_error;
using automation::bstr;
using automation::variant;

std::u16string text_of(BSTR text)
{
    return {text ? text : u"", SysStringLen(text)};
}

/// An array of texts from 0.
array_holder make_text_array(std::vector<bstr>& texts)
{
    array_holder array(SafeArrayCreateVector(VT_BSTR, 0, static_cast<ULONG>(texts.size())));
    void* data = nullptr;
    if (!array || FAILED(SafeArrayAccessData(array.get(), &data)))
        throw std::bad_alloc();
    auto* elements = static_cast<BSTR*>(data);
    for (bstr& text : texts)
        *elements++ = text.detach();
    (void)SafeArrayUnaccessData(array.get());
    return array;
}

} // namespace

LONG position_of(const VARIANT& index, LONG count, const log_store& log, std::u16string_view item_name)
{
    variant number;
    if (const HRESULT result = VariantCopyInd(&number, &index); FAILED(result))
        throw automation_error(result);
    if (const HRESULT result = VariantChangeType(&number, &number, 0, VT_I4); FAILED(result))
        throw automation_error(result, u"The index of a " + std::u16string(item_name) + u" is a number.");
    if (number.lVal < 1 || number.lVal > count)
        throw log_failure(error_number::no_such_item, log.path(),
                          std::u16string(item_name) + u" number " + storage::to_utf16(std::to_string(number.lVal)) +
                              u" among " + storage::to_utf16(std::to_string(count)));
    return number.lVal - 1;
}

feature_object::~feature_object()
{
    m_log->feature_gone(m_index);
}

HRESULT feature_object::Name(BSTR* result) noexcept
{
    return answer_into(result, [this] { return storage::to_bstr(stored().name).detach(); });
}

HRESULT feature_object::ID(BSTR* id) noexcept
{
    return answer_into(id, [this] { return storage::to_bstr(stored().identifier).detach(); });
}

HRESULT feature_object::Parent(IFeatureLog** parent) noexcept
{
    return answer_into(parent, [this]() -> IFeatureLog* {
        return stored().parent ? m_log->feature_object(m_log, *stored().parent).detach() : nullptr;
    });
}

HRESULT feature_object::SubFeatures(IFeatureLogCollection** features) noexcept
{
    return answer_into(features, [this]() -> IFeatureLogCollection* {
        return make_object<feature_collection>(m_log, m_index).detach();
    });
}

HRESULT feature_object::Operations(BSTR type_name, IOperationList** operations) noexcept
{
    return answer_into(operations, [&]() -> IOperationList* {
        return make_object<operation_list>(m_log, stored().id, text_of(type_name)).detach();
    });
}

HRESULT feature_object::PropertyNames(SAFEARRAY** names) noexcept
{
    return answer_into(names, [this] {
        load_names();
        return m_names.get();
    });
}

HRESULT feature_object::PropertyValue(VARIANT property_name, VARIANT* value) noexcept
{
    return answer_into(value, [&]() -> VARIANT { return property(property_name).detach(); });
}

void feature_object::load_names()
{
    if (m_names)
        return;
    std::vector<bstr> names;
    std::unordered_map<std::u16string, std::int64_t> positions;
    std::optional<std::int64_t> titles;
    const look now(*m_log);
    storage::typed_row& rows = m_log->property_names();
    rows.ask(stored().id);
    while (rows.step()) {
        const std::int64_t position = rows.natural(0, formats::largest_log_position);
        if (position != static_cast<std::int64_t>(names.size()))
            rows.contradict(u"the positions have a gap");
        names.push_back(storage::to_bstr(rows.any_text(1)));
        positions.emplace(names.back().view(), position);
        if (!titles && rows.natural(2, 1) != 0)
            titles = position;
    }
    m_titles = titles;
    m_names = make_text_array(names);
    m_positions = std::move(positions);
}

variant feature_object::property(const VARIANT& given)
{
    variant text;
    if (const HRESULT result = VariantCopyInd(&text, &given); FAILED(result))
        throw automation_error(result);
    if (text.vt != VT_BSTR)
        throw automation_error(DISP_E_TYPEMISMATCH, u"A property is found by its name.");
    load_names();
    const std::u16string wanted = text_of(text.bstrVal);
    const auto found = m_positions.find(wanted);
    if (found == m_positions.end())
        throw log_failure(error_number::no_such_item, m_log->path(),
                          u"property \"" + wanted + u"\" of the feature \"" + storage::to_utf16(stored().name) + u"\"");
    const look now(*m_log);
    storage::typed_row& row = m_log->property();
    row.ask(stored().id, found->second);
    if (!row.step())
        row.contradict(u"a row is not there");
    const auto type = static_cast<VARTYPE>(row.natural(0, UINT16_MAX));
    if (type == (VT_ARRAY | VT_BSTR)) {
        variant texts = text_array(found->second);
        // Callers look the title of each value up.
        if (m_titles && *m_titles != found->second &&
            texts.parray->rgsabound[0].cElements > text_array(*m_titles).parray->rgsabound[0].cElements)
            row.contradict(u"an array of values is longer than its titles");
        return texts;
    }
    variant value = storage::scalar_value(row, type, 1);
    // The value field of a text tells no state, which a null pointer would.
    if (value.vt == VT_BSTR && !value.bstrVal)
        value.bstrVal = storage::to_bstr({}).detach();
    return value;
}

variant feature_object::text_array(std::int64_t position)
{
    std::vector<bstr> texts;
    storage::typed_row& rows = m_log->property_elements();
    rows.ask(stored().id, position);
    while (rows.step()) {
        if (rows.natural(0, formats::largest_log_position) != static_cast<std::int64_t>(texts.size()))
            rows.contradict(u"the elements of an array have a gap");
        texts.push_back(rows.is_null(1) ? bstr() : storage::to_bstr(rows.any_text(1)));
    }
    variant value;
    value.parray = make_text_array(texts).release();
    value.vt = VT_ARRAY | VT_BSTR;
    return value;
}

HRESULT feature_collection::Count(LONG* count) noexcept
{
    return answer_into(count, [this] { return static_cast<LONG>(parent().child_count); });
}

HRESULT feature_collection::Item(VARIANT index, IFeatureLog** feature) noexcept
{
    return answer_into(feature, [&]() -> IFeatureLog* {
        const LONG position = position_of(index, static_cast<LONG>(parent().child_count), *m_log, u"sub-feature");
        return m_log->feature_object(m_log, parent().first_child + static_cast<std::size_t>(position)).detach();
    });
}

} // namespace cw::logkit
