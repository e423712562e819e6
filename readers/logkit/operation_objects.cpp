#include "readers/logkit/operation_objects.h"

#include <new>

namespace cw::logkit {
namespace {

BSTR copy_of(std::u16string_view text)
{
    automation::bstr copy(text);
    if (!copy.get())
        throw std::bad_alloc();
    return copy.detach();
}

} // namespace

HRESULT operation_type::Name(BSTR* result) noexcept
{
    return answer_into(result, [this] { return copy_of(m_name); });
}

HRESULT operation_type_collection::Count(LONG* count) noexcept
{
    return answer_into(count, [this] { return static_cast<LONG>(m_log->types().size()); });
}

HRESULT operation_type_collection::Item(VARIANT index, IOperationType** type) noexcept
{
    return answer_into(type, [&]() -> IOperationType* {
        const auto& types = m_log->types();
        const LONG position = position_of(index, static_cast<LONG>(types.size()), *m_log, u"operation type");
        return make_object<operation_type>(types[static_cast<std::size_t>(position)].name).detach();
    });
}

HRESULT operation_list::Name(BSTR* result) noexcept
{
    return answer_into(result, [this] { return copy_of(m_typeName); });
}

HRESULT operation_list::Count(LONG* count) noexcept
{
    return answer_into(count, [this] { return m_records.count(); });
}

HRESULT operation_list::First(LONG start, LONG* position) noexcept
{
    return answer_into(position, [&]() -> LONG {
        if (start != 0)
            throw automation::automation_error(E_INVALIDARG, u"Lists of operations are walked from 0.");
        return m_records.is_empty() ? -1 : 0;
    });
}

HRESULT operation_list::Next(LONG* position, SAFEARRAY** record) noexcept
{
    if (!record)
        return E_POINTER;
    *record = nullptr;
    if (!position)
        return E_POINTER;
    return answer([&] {
        const std::span<automation::variant> elements = m_records.read(*position);
        make_room(elements.size());
        void* data = nullptr;
        if (FAILED(SafeArrayAccessData(m_record.get(), &data)))
            throw std::bad_alloc();
        auto* stored = static_cast<VARIANT*>(data);
        for (automation::variant& element : elements) {
            VariantClear(stored);
            *stored++ = element.detach();
        }
        (void)SafeArrayUnaccessData(m_record.get());
        *record = m_record.get();
        ++*position;
    });
}

/// Makes the array fit the next record. One that a caller has not unlocked is still being read.
void operation_list::make_room(std::size_t elements)
{
    if (m_record && m_record->cLocks != 0)
        m_heldRecords.push_back(std::move(m_record));
    std::erase_if(m_heldRecords, [](const array_holder& held) { return held->cLocks == 0; });
    if (m_record && m_record->rgsabound[0].cElements == elements)
        return;
    m_record.reset(SafeArrayCreateVector(VT_VARIANT, 0, static_cast<ULONG>(elements)));
    if (!m_record)
        throw std::bad_alloc();
}

} // namespace cw::logkit
