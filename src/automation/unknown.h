// The root of all interfaces, the class factory, and the counted reference to an interface.
#pragma once

#include "automation/guid.h"

#include <atomic>
#include <concepts>
#include <cstddef>
#include <utility>

// Interfaces are tables of functions in a fixed order and nothing else: no virtual destructor, no
// data, no exceptions. Adding or moving an operation breaks every library that was built before.
struct IUnknown {
    /// Stores a counted reference to the interface `iid` in `*object`, or null and E_NOINTERFACE.
    virtual HRESULT QueryInterface(REFIID iid, void** object) noexcept = 0;
    virtual ULONG AddRef() noexcept = 0;
    virtual ULONG Release() noexcept = 0;

protected:
    ~IUnknown() = default;
};

struct IClassFactory : IUnknown {
    /// Creates an object and stores its interface `iid` in `*object`. `outer` must be null.
    virtual HRESULT CreateInstance(IUnknown* outer, REFIID iid, void** object) noexcept = 0;
    virtual HRESULT LockServer(int lock) noexcept = 0;

protected:
    ~IClassFactory() = default;
};

inline constexpr IID IID_IUnknown = cw::automation::guid_from_literal("00000000-0000-0000-C000-000000000046");
inline constexpr IID IID_IClassFactory = cw::automation::guid_from_literal("00000001-0000-0000-C000-000000000046");

/// What a reader library exports under the name "DllGetClassObject".
using dll_get_class_object = HRESULT (*)(REFCLSID class_id, REFIID iid, void** object);

namespace cw::automation {

/// A counted reference to an interface. Copying adds a reference, destruction releases it.
template <class T>
class com_ptr {
public:
    com_ptr() noexcept = default;
    com_ptr(std::nullptr_t) noexcept {}
    /// Adds a reference of its own.
    com_ptr(T* object) noexcept : m_object(object)
    {
        if (m_object)
            m_object->AddRef();
    }
    com_ptr(const com_ptr& other) noexcept : com_ptr(other.m_object) {}
    com_ptr(com_ptr&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    template <class U>
    requires std::convertible_to<U*, T*> com_ptr(const com_ptr<U>& other)
    noexcept : com_ptr(static_cast<T*>(other.get())) {}
    ~com_ptr() { reset(); }

    /// The new reference is added before the old one is released.
    com_ptr& operator=(com_ptr other) noexcept
    {
        std::swap(m_object, other.m_object);
        return *this;
    }

    /// Takes over a reference that the caller already holds.
    [[nodiscard]] static com_ptr adopt(T* object) noexcept
    {
        com_ptr reference;
        reference.m_object = object;
        return reference;
    }
    /// Gives the reference to the caller.
    [[nodiscard]] T* detach() noexcept { return std::exchange(m_object, nullptr); }
    /// The member is null before the old reference is released, so a release that calls back sees
    /// nothing half alive.
    void reset() noexcept
    {
        if (T* old = std::exchange(m_object, nullptr))
            old->Release();
    }
    /// The address for a function that stores a new reference; releases the one held.
    [[nodiscard]] T** put() noexcept
    {
        reset();
        return &m_object;
    }
    [[nodiscard]] void** put_void() noexcept { return reinterpret_cast<void**>(put()); }

    [[nodiscard]] T* get() const noexcept { return m_object; }
    T* operator->() const noexcept { return m_object; }
    T& operator*() const noexcept { return *m_object; }
    explicit operator bool() const noexcept { return m_object != nullptr; }
    friend bool operator==(const com_ptr& a, const com_ptr& b) noexcept { return a.m_object == b.m_object; }

private:
    T* m_object = nullptr;
};

/// The object's interface `iid`, or null where it has none or `object` is null.
template <class T>
[[nodiscard]] com_ptr<T> query_interface(IUnknown* object, REFIID iid) noexcept
{
    com_ptr<T> result;
    if (object && FAILED(object->QueryInterface(iid, result.put_void())))
        (void)result.detach();
    return result;
}

} // namespace cw::automation
