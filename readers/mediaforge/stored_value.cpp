#include "readers/mediaforge/stored_value.h"

#include "readers/storage/stored_value.h"

#include <limits>
#include <new>
#include <vector>

namespace cw::mediaforge {

automation::variant array_value(row_cursor& elements, VARTYPE type, std::int64_t lower_bound)
{
    const auto element_type = static_cast<VARTYPE>(type & VT_TYPEMASK);
    if (type != (VT_ARRAY | element_type))
        storage::refuse_type(elements, type);
    std::vector<automation::variant> values;
    while (elements.next()) {
        if (elements.integer(0) != static_cast<std::int64_t>(values.size()))
            elements.contradict(u"the elements of an array have a gap");
        const auto own_type = static_cast<VARTYPE>(elements.natural(1, UINT16_MAX));
        if (own_type != element_type && element_type != VT_VARIANT)
            elements.contradict(u"an element is not of its array's type");
        values.push_back(storage::scalar_value(elements, own_type, 2));
    }
    const auto size = static_cast<std::int64_t>(values.size());
    if (lower_bound < std::numeric_limits<LONG>::min() || lower_bound > std::numeric_limits<LONG>::max() - size)
        elements.contradict(u"the bounds of an array are out of range");
    SAFEARRAY* array = SafeArrayCreateVector(element_type, static_cast<LONG>(lower_bound), static_cast<ULONG>(size));
    if (!array)
        storage::refuse_type(elements, type);
    automation::variant result;
    result.parray = array;
    result.vt = type;
    for (LONG i = 0; i < size; ++i) {
        VARIANT& value = values[static_cast<std::size_t>(i)];
        const LONG index = static_cast<LONG>(lower_bound) + i;
        void* element = element_type == VT_VARIANT ? static_cast<void*>(&value)
                        : element_type == VT_BSTR  ? static_cast<void*>(value.bstrVal)
                                                   : static_cast<void*>(&value.llVal);
        if (FAILED(SafeArrayPutElement(array, &index, element)))
            throw std::bad_alloc();
    }
    return result;
}

} // namespace cw::mediaforge
