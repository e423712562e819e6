#include "automation/safearray.h"

#include "automation/dispatch.h"
#include "automation/element_types.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <optional>
#include <span>

using namespace cw::automation::detail;

namespace {

// Room before the structure for the element type; as wide as the allocator aligns.
constexpr std::size_t header_size_in_bytes = 16;
constexpr ULONG most_locks = 0xFFFF;

std::size_t descriptor_size(std::size_t dimensions) noexcept
{
    return header_size_in_bytes + sizeof(SAFEARRAY) + (dimensions - 1) * sizeof(SAFEARRAYBOUND);
}

char* block_of(SAFEARRAY* array) noexcept
{
    return reinterpret_cast<char*>(array) - header_size_in_bytes;
}

// The structure declares one bound; the others lie behind it.
std::span<SAFEARRAYBOUND> bounds_of(SAFEARRAY* array) noexcept
{
    auto* first = reinterpret_cast<SAFEARRAYBOUND*>(reinterpret_cast<char*>(array) + offsetof(SAFEARRAY, rgsabound));
    return {first, array->cDims};
}

const SAFEARRAYBOUND* bound_of(SAFEARRAY* array, UINT dimension) noexcept
{
    if (dimension < 1 || dimension > array->cDims)
        return nullptr;
    return &bounds_of(array)[array->cDims - dimension];
}

std::size_t element_count(SAFEARRAY* array) noexcept
{
    std::size_t count = 1;
    for (const SAFEARRAYBOUND& bound : bounds_of(array))
        count *= bound.cElements;
    return count;
}

// Size of the data, or nothing where it or an upper bound does not fit its type.
std::optional<std::size_t> data_size(std::span<const SAFEARRAYBOUND> bounds, std::size_t element_size) noexcept
{
    std::size_t size = element_size;
    for (const SAFEARRAYBOUND& bound : bounds) {
        const std::int64_t upper = std::int64_t{bound.lLbound} + bound.cElements - 1;
        if (upper < std::numeric_limits<LONG>::min() || upper > std::numeric_limits<LONG>::max())
            return std::nullopt;
        if (__builtin_mul_overflow(size, std::size_t{bound.cElements}, &size))
            return std::nullopt;
    }
    return size;
}

template <class T>
std::span<T> elements_as(SAFEARRAY* array) noexcept
{
    return {static_cast<T*>(array->pvData), element_count(array)};
}

// An array inside the array may be locked as well, and then nothing of the outer one may go.
bool is_locked(SAFEARRAY* array) noexcept
{
    if (array->cLocks > 0)
        return true;
    if (!(array->fFeatures & FADF_VARIANT))
        return false;
    return std::ranges::any_of(elements_as<VARIANT>(array), [](const VARIANT& element) {
        const bool owns_array = (element.vt & VT_ARRAY) && !(element.vt & VT_BYREF);
        return owns_array && element.parray && is_locked(element.parray);
    });
}

void clear_element(std::uint16_t features, void* element) noexcept
{
    if (features & FADF_VARIANT)
        VariantClear(static_cast<VARIANT*>(element));
    else if (features & FADF_BSTR)
        SysFreeString(std::exchange(*static_cast<BSTR*>(element), nullptr));
    else if (features & (FADF_UNKNOWN | FADF_DISPATCH)) {
        if (IUnknown* object = std::exchange(*static_cast<IUnknown**>(element), nullptr))
            object->Release();
    }
}

bool owns_elements(const SAFEARRAY* array) noexcept
{
    return array->fFeatures & (FADF_VARIANT | FADF_BSTR | FADF_UNKNOWN | FADF_DISPATCH);
}

void clear_elements(SAFEARRAY* array) noexcept
{
    if (!owns_elements(array) || !array->pvData)
        return;
    auto* element = static_cast<char*>(array->pvData);
    for (std::size_t left = element_count(array); left > 0; --left, element += array->cbElements)
        clear_element(array->fFeatures, element);
}

// Copies one element over storage that owns nothing. On failure the storage still owns nothing.
HRESULT copy_element(const SAFEARRAY* array, const void* source, void* target) noexcept
{
    if (array->fFeatures & FADF_VARIANT) {
        VARIANT copy;
        VariantInit(&copy);
        const HRESULT result = VariantCopy(&copy, static_cast<const VARIANT*>(source));
        *static_cast<VARIANT*>(target) = copy;
        return result;
    }
    if (array->fFeatures & FADF_BSTR) {
        const BSTR text = *static_cast<const BSTR*>(source);
        BSTR copy = text ? SysAllocStringLen(text, SysStringLen(text)) : nullptr;
        *static_cast<BSTR*>(target) = copy;
        return text && !copy ? E_OUTOFMEMORY : S_OK;
    }
    std::memcpy(target, source, array->cbElements);
    if (array->fFeatures & (FADF_UNKNOWN | FADF_DISPATCH))
        if (IUnknown* object = *static_cast<IUnknown**>(target))
            object->AddRef();
    return S_OK;
}

} // namespace

SAFEARRAY* SafeArrayCreate(VARTYPE type, UINT dimensions, const SAFEARRAYBOUND* bounds) noexcept
{
    const element_type* row = find_element_type(type);
    if (!row || !bounds || dimensions < 1 || dimensions > std::numeric_limits<std::uint16_t>::max())
        return nullptr;
    const auto size = data_size({bounds, dimensions}, row->size_in_bytes);
    if (!size)
        return nullptr;
    auto* block = static_cast<char*>(std::calloc(1, descriptor_size(dimensions)));
    // A byte at least, so that the data of an array without elements has an address as well.
    void* data = block ? std::calloc(1, std::max<std::size_t>(*size, 1)) : nullptr;
    if (!data) {
        std::free(block);
        return nullptr;
    }
    auto* array = reinterpret_cast<SAFEARRAY*>(block + header_size_in_bytes);
    const std::uint32_t stored_type = type;
    std::memcpy(block + header_size_in_bytes - sizeof stored_type, &stored_type, sizeof stored_type);
    array->cDims = static_cast<std::uint16_t>(dimensions);
    array->fFeatures = static_cast<std::uint16_t>(FADF_HAVEVARTYPE | row->array_features);
    array->cbElements = row->size_in_bytes;
    array->pvData = data;
    std::reverse_copy(bounds, bounds + dimensions, bounds_of(array).begin());
    return array;
}

SAFEARRAY* SafeArrayCreateVector(VARTYPE type, LONG lower_bound, ULONG elements) noexcept
{
    const SAFEARRAYBOUND bound{elements, lower_bound};
    return SafeArrayCreate(type, 1, &bound);
}

HRESULT SafeArrayDestroy(SAFEARRAY* array) noexcept
{
    if (!array)
        return S_OK;
    if (is_locked(array))
        return DISP_E_ARRAYISLOCKED;
    clear_elements(array);
    std::free(array->pvData);
    std::free(block_of(array));
    return S_OK;
}

HRESULT SafeArrayCopy(SAFEARRAY* array, SAFEARRAY** copy) noexcept
{
    if (!copy)
        return E_INVALIDARG;
    *copy = nullptr;
    if (!array)
        return S_OK;
    VARTYPE type;
    if (const HRESULT result = SafeArrayGetVartype(array, &type); FAILED(result))
        return result;
    const auto stored = bounds_of(array);
    auto* bounds = static_cast<SAFEARRAYBOUND*>(std::malloc(stored.size_bytes()));
    if (!bounds)
        return E_OUTOFMEMORY;
    std::reverse_copy(stored.begin(), stored.end(), bounds);
    SAFEARRAY* made = SafeArrayCreate(type, array->cDims, bounds);
    std::free(bounds);
    if (!made)
        return E_OUTOFMEMORY;
    const std::size_t count = element_count(array);
    if (!owns_elements(array)) {
        std::memcpy(made->pvData, array->pvData, count * array->cbElements);
    } else {
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t offset = i * array->cbElements;
            const HRESULT result = copy_element(array, static_cast<const char*>(array->pvData) + offset,
                                                static_cast<char*>(made->pvData) + offset);
            if (FAILED(result)) {
                SafeArrayDestroy(made);
                return result;
            }
        }
    }
    *copy = made;
    return S_OK;
}

UINT SafeArrayGetDim(SAFEARRAY* array) noexcept
{
    return array ? array->cDims : 0;
}

UINT SafeArrayGetElemsize(SAFEARRAY* array) noexcept
{
    return array ? array->cbElements : 0;
}

HRESULT SafeArrayGetVartype(SAFEARRAY* array, VARTYPE* type) noexcept
{
    if (!array || !type || !(array->fFeatures & FADF_HAVEVARTYPE))
        return E_INVALIDARG;
    std::uint32_t stored_type;
    std::memcpy(&stored_type, reinterpret_cast<const char*>(array) - sizeof stored_type, sizeof stored_type);
    *type = static_cast<VARTYPE>(stored_type);
    return S_OK;
}

HRESULT SafeArrayGetLBound(SAFEARRAY* array, UINT dimension, LONG* bound) noexcept
{
    if (!array || !bound)
        return E_INVALIDARG;
    const SAFEARRAYBOUND* found = bound_of(array, dimension);
    if (!found)
        return DISP_E_BADINDEX;
    *bound = found->lLbound;
    return S_OK;
}

HRESULT SafeArrayGetUBound(SAFEARRAY* array, UINT dimension, LONG* bound) noexcept
{
    if (!array || !bound)
        return E_INVALIDARG;
    const SAFEARRAYBOUND* found = bound_of(array, dimension);
    if (!found)
        return DISP_E_BADINDEX;
    *bound = static_cast<LONG>(std::int64_t{found->lLbound} + found->cElements - 1);
    return S_OK;
}

HRESULT SafeArrayLock(SAFEARRAY* array) noexcept
{
    if (!array)
        return E_INVALIDARG;
    if (array->cLocks >= most_locks)
        return E_UNEXPECTED;
    ++array->cLocks;
    return S_OK;
}

HRESULT SafeArrayUnlock(SAFEARRAY* array) noexcept
{
    if (!array)
        return E_INVALIDARG;
    if (array->cLocks == 0)
        return E_UNEXPECTED;
    --array->cLocks;
    return S_OK;
}

HRESULT SafeArrayAccessData(SAFEARRAY* array, void** data) noexcept
{
    if (!array || !data)
        return E_INVALIDARG;
    const HRESULT result = SafeArrayLock(array);
    *data = SUCCEEDED(result) ? array->pvData : nullptr;
    return result;
}

HRESULT SafeArrayUnaccessData(SAFEARRAY* array) noexcept
{
    return SafeArrayUnlock(array);
}

HRESULT SafeArrayPtrOfIndex(SAFEARRAY* array, const LONG* indices, void** element) noexcept
{
    if (!array || !indices || !element)
        return E_INVALIDARG;
    std::size_t offset = 0;
    std::size_t stride = array->cbElements;
    for (UINT dimension = 1; dimension <= array->cDims; ++dimension) {
        const SAFEARRAYBOUND& bound = *bound_of(array, dimension);
        const std::int64_t place = std::int64_t{indices[dimension - 1]} - bound.lLbound;
        if (place < 0 || place >= std::int64_t{bound.cElements})
            return DISP_E_BADINDEX;
        offset += static_cast<std::size_t>(place) * stride;
        stride *= bound.cElements;
    }
    *element = static_cast<char*>(array->pvData) + offset;
    return S_OK;
}

HRESULT SafeArrayGetElement(SAFEARRAY* array, const LONG* indices, void* element) noexcept
{
    if (!element)
        return E_INVALIDARG;
    void* stored = nullptr;
    if (const HRESULT result = SafeArrayPtrOfIndex(array, indices, &stored); FAILED(result))
        return result;
    return copy_element(array, stored, element);
}

HRESULT SafeArrayPutElement(SAFEARRAY* array, const LONG* indices, void* element) noexcept
{
    void* stored = nullptr;
    if (const HRESULT result = SafeArrayPtrOfIndex(array, indices, &stored); FAILED(result))
        return result;
    const bool passed_by_value = array->fFeatures & (FADF_BSTR | FADF_UNKNOWN | FADF_DISPATCH);
    if (!element && !passed_by_value)
        return E_INVALIDARG;
    // The new value is complete before the old one goes: the old one may own what is copied from.
    alignas(VARIANT) char replacement[sizeof(VARIANT)];
    const HRESULT result = copy_element(array, passed_by_value ? &element : element, replacement);
    if (FAILED(result))
        return result;
    alignas(VARIANT) char old[sizeof(VARIANT)];
    std::memcpy(old, stored, array->cbElements);
    std::memcpy(stored, replacement, array->cbElements);
    clear_element(array->fFeatures, old);
    return S_OK;
}
