// Base of the objects that a reader library hands out: a class writes down a table of its members,
// number by number, beside plain typed member functions, and is an IDispatch.
#pragma once

#include "automation/dispatch.h"
#include "automation/error_info.h"

#include <array>
#include <atomic>
#include <exception>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>

namespace cw::automation {

/// What a member throws to fail: a result code and a text for the caller's error object.
class CW_AUTOMATION_API automation_error : public std::exception {
public:
    explicit automation_error(HRESULT result, std::u16string description = {});
    ~automation_error() override;
    /// The result code in hexadecimal; the description is UTF-16 and has its own accessor.
    const char* what() const noexcept override;
    [[nodiscard]] HRESULT result() const noexcept { return m_result; }
    [[nodiscard]] const std::u16string& description() const noexcept { return m_description; }

private:
    HRESULT m_result;
    std::u16string m_description;
    std::string m_what;
};

/// A VT_DATE result of a member function.
struct date_value {
    DATE days;
};

/// The arguments of one call in their natural order, first first.
class CW_AUTOMATION_API call_arguments {
public:
    explicit call_arguments(const DISPPARAMS& parameters) noexcept : m_parameters(parameters) {}
    [[nodiscard]] unsigned count() const noexcept { return m_parameters.cArgs; }
    /// The argument as it was passed, VT_BYREF|VT_VARIANT followed; null where it was left out or
    /// passed as VT_ERROR with DISP_E_PARAMNOTFOUND.
    [[nodiscard]] const VARIANT* at(unsigned position) const noexcept;
    /// Converted; throws automation_error (DISP_E_BADPARAMCOUNT where it is missing, otherwise what
    /// the conversion answers).
    [[nodiscard]] std::u16string text(unsigned position) const;
    [[nodiscard]] std::int32_t number(unsigned position) const;

private:
    const DISPPARAMS& m_parameters;
};

/// One row of a class's member table.
struct member {
    DISPID id;
    WORD kind; // DISPATCH_METHOD or DISPATCH_PROPERTYGET
    std::u16string_view name;
    unsigned required_arguments;
    unsigned most_arguments;
    void (*call)(void* object, const call_arguments& arguments, VARIANT& result);
};

/// Reference counting, interface queries, member look-up and the wall that no exception passes.
/// Objects are made with one reference, which belongs to the maker (see `make_object`), and delete
/// themselves at the last release.
class CW_AUTOMATION_API dispatch_base : public IDispatch, public ISupportErrorInfo {
public:
    HRESULT QueryInterface(REFIID iid, void** object) noexcept override;
    ULONG AddRef() noexcept override;
    ULONG Release() noexcept override;
    HRESULT GetTypeInfoCount(UINT* count) noexcept override;
    HRESULT GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) noexcept override;
    HRESULT GetIDsOfNames(REFIID iid, WCHAR** names, UINT count, LCID locale, DISPID* ids) noexcept override;
    HRESULT Invoke(DISPID member, REFIID iid, LCID locale, WORD flags, DISPPARAMS* arguments, VARIANT* result,
                   EXCEPINFO* exception, UINT* argument_error) noexcept override;
    HRESULT InterfaceSupportsErrorInfo(REFIID iid) noexcept override;

    dispatch_base(const dispatch_base&) = delete;
    dispatch_base& operator=(const dispatch_base&) = delete;

protected:
    dispatch_base() noexcept = default;
    virtual ~dispatch_base();

    /// The interface beside IUnknown, IDispatch and ISupportErrorInfo that the object answers to
    /// with the same pointer as IDispatch; IID_NULL for none.
    [[nodiscard]] virtual const IID& interface_id() const noexcept = 0;
    /// Named as source in error objects and traces.
    [[nodiscard]] virtual std::u16string_view interface_name() const noexcept = 0;
    /// The member numbered `id` for any of the kinds in `flags`, or null.
    [[nodiscard]] virtual const member* find_member(DISPID id, WORD flags) const noexcept = 0;
    /// The number of a name, compared without regard to ASCII case, or DISPID_UNKNOWN.
    [[nodiscard]] virtual DISPID find_name(std::u16string_view name) const noexcept = 0;
    /// Where `member::call` finds the object of the class that wrote the table.
    [[nodiscard]] virtual void* self() noexcept = 0;
    /// Called before each call of a member; readers that keep a trace write it here.
    virtual void before_call(const member& called, const call_arguments& arguments);

private:
    std::atomic<ULONG> m_references{1};
};

/// Creates an object and adopts its first reference.
template <class T, class... Arguments>
[[nodiscard]] com_ptr<T> make_object(Arguments&&... arguments)
{
    return com_ptr<T>::adopt(new T(std::forward<Arguments>(arguments)...));
}

namespace detail {

// Result of a typed member function into a variant.
CW_AUTOMATION_API void store(VARIANT& result, std::u16string_view text);
inline void store(VARIANT& result, const std::u16string& text)
{
    store(result, std::u16string_view(text));
}
inline void store(VARIANT& result, const char16_t* text)
{
    store(result, std::u16string_view(text ? text : u""));
}
// Any other pointer would become a boolean.
template <class T>
void store(VARIANT& result, T* pointer) = delete;
CW_AUTOMATION_API void store(VARIANT& result, bstr&& text) noexcept;
CW_AUTOMATION_API void store(VARIANT& result, std::int16_t value) noexcept;
CW_AUTOMATION_API void store(VARIANT& result, std::int32_t value) noexcept;
CW_AUTOMATION_API void store(VARIANT& result, bool value) noexcept;
CW_AUTOMATION_API void store(VARIANT& result, date_value value) noexcept;
CW_AUTOMATION_API void store(VARIANT& result, variant&& value) noexcept;
CW_AUTOMATION_API void store_reference(VARIANT& result, com_ptr<IDispatch>&& object) noexcept;
template <class T>
requires std::convertible_to<T*, IDispatch*>
void store(VARIANT& result, com_ptr<T>&& object) noexcept
{
    store_reference(result, com_ptr<IDispatch>::adopt(object.detach()));
}

// One argument of a typed member function out of the call's arguments. `const VARIANT*` takes the
// argument as it is and makes it optional.
template <class T>
struct argument;
template <>
struct argument<std::u16string> {
    static constexpr bool optional = false;
    static std::u16string get(const call_arguments& all, unsigned at) { return all.text(at); }
};
template <>
struct argument<std::int32_t> {
    static constexpr bool optional = false;
    static std::int32_t get(const call_arguments& all, unsigned at) { return all.number(at); }
};
template <>
struct argument<const VARIANT*> {
    static constexpr bool optional = true;
    static const VARIANT* get(const call_arguments& all, unsigned at) { return all.at(at); }
};

template <class Function>
struct signature;
template <class R, class C, class... A>
struct signature<R (C::*)(A...)> {
    using result = R;
    using object = C;
    using arguments = std::tuple<std::remove_cvref_t<A>...>;
};
template <class R, class C, class... A>
struct signature<R (C::*)(A...) const> : signature<R (C::*)(A...)> {
};

template <class Tuple, std::size_t... I>
constexpr unsigned required_count(std::index_sequence<I...>)
{
    unsigned count = 0;
    ((argument<std::tuple_element_t<I, Tuple>>::optional ? 0u : (count = static_cast<unsigned>(I) + 1)), ...);
    return count;
}

template <auto Function, std::size_t... I>
void call_with([[maybe_unused]] const call_arguments& arguments, void* object, [[maybe_unused]] VARIANT& result,
               std::index_sequence<I...>)
{
    using shape = signature<decltype(Function)>;
    using tuple = typename shape::arguments;
    auto& self = *static_cast<typename shape::object*>(object);
    if constexpr (std::is_void_v<typename shape::result>)
        (self.*Function)(argument<std::tuple_element_t<I, tuple>>::get(arguments, static_cast<unsigned>(I))...);
    else
        store(result,
              (self.*Function)(argument<std::tuple_element_t<I, tuple>>::get(arguments, static_cast<unsigned>(I))...));
}

template <auto Function>
void call_member(void* object, const call_arguments& arguments, VARIANT& result)
{
    using tuple = typename signature<decltype(Function)>::arguments;
    call_with<Function>(arguments, object, result, std::make_index_sequence<std::tuple_size_v<tuple>>{});
}

template <auto Function>
constexpr member make_member(DISPID id, WORD kind, std::u16string_view name)
{
    using tuple = typename signature<decltype(Function)>::arguments;
    constexpr auto count = std::tuple_size_v<tuple>;
    return {id, kind, name, required_count<tuple>(std::make_index_sequence<count>{}), count, &call_member<Function>};
}

} // namespace detail

/// A table row for a property: `property<&feature::name>(13, u"Name")`. The function may take
/// arguments (`std::int32_t`, `std::u16string`, `const VARIANT*`) and returns text, `std::int16_t`,
/// `std::int32_t`, `bool`, `date_value`, `variant` or a `com_ptr` to an IDispatch.
template <auto Getter>
constexpr member property(DISPID id, std::u16string_view name)
{
    return detail::make_member<Getter>(id, DISPATCH_PROPERTYGET, name);
}

/// A table row for a method.
template <auto Function>
constexpr member method(DISPID id, std::u16string_view name)
{
    return detail::make_member<Function>(id, DISPATCH_METHOD, name);
}

/// A class over `dispatch_object<itself>` gives, besides its member functions,
///     static constexpr IID iid = …;                          // IID_NULL for none
///     static constexpr std::u16string_view name = u"…";
///     static constexpr std::array members{property<…>(…), …};   // declared after the functions
template <class Class>
class dispatch_object : public dispatch_base {
protected:
    const IID& interface_id() const noexcept override { return Class::iid; }
    std::u16string_view interface_name() const noexcept override { return Class::name; }
    const member* find_member(DISPID id, WORD flags) const noexcept override
    {
        for (const member& candidate : Class::members)
            if (candidate.id == id && (candidate.kind & flags))
                return &candidate;
        return nullptr;
    }
    DISPID find_name(std::u16string_view wanted) const noexcept override
    {
        for (const member& candidate : Class::members)
            if (equal_names(candidate.name, wanted))
                return candidate.id;
        return DISPID_UNKNOWN;
    }
    void* self() noexcept override { return static_cast<Class*>(this); }

private:
    static constexpr bool equal_names(std::u16string_view a, std::u16string_view b) noexcept
    {
        auto lower = [](char16_t c) { return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c; };
        if (a.size() != b.size())
            return false;
        for (std::size_t i = 0; i < a.size(); ++i)
            if (lower(a[i]) != lower(b[i]))
                return false;
        return true;
    }
};

/// A class factory that makes objects by calling a function; for `DllGetClassObject`.
/// `create` returns a new object with one reference, or throws.
class CW_AUTOMATION_API class_factory final : public IClassFactory {
public:
    using creator = com_ptr<IUnknown> (*)();
    [[nodiscard]] static com_ptr<IClassFactory> make(creator create);
    /// Stores the interface `iid` of a new factory in `*object`: all that `DllGetClassObject` has to
    /// do for a class that it knows. E_NOINTERFACE, E_POINTER, E_OUTOFMEMORY.
    static HRESULT hand_out(creator create, REFIID iid, void** object) noexcept;

    HRESULT QueryInterface(REFIID iid, void** object) noexcept override;
    ULONG AddRef() noexcept override;
    ULONG Release() noexcept override;
    HRESULT CreateInstance(IUnknown* outer, REFIID iid, void** object) noexcept override;
    HRESULT LockServer(int lock) noexcept override;

private:
    explicit class_factory(creator create) noexcept : m_create(create) {}
    ~class_factory() = default;
    std::atomic<ULONG> m_references{1};
    creator m_create;
};

/// Runs `work` and turns whatever it throws into a result code and an error object on the thread:
/// the wall for functions that are not members of a `dispatch_object`.
CW_AUTOMATION_API HRESULT translate_exceptions(std::u16string_view source, void (*work)(void*), void* context) noexcept;

} // namespace cw::automation
