// The contract with the log library: the seven interfaces in their binary order, the shapes of what
// comes back in arrays and values, and the operation types that the viewer knows. Readers and callers
// include this. All calls come from one thread, one at a time.
#pragma once

#include "automation/dispatch.h"

#include <array>
#include <string_view>

namespace cw {

/// File name and class of the library's entry object, and the class as callers have it stored.
inline constexpr std::u16string_view log_library_name = u"LogKit.dll";
inline constexpr CLSID CLSID_LogLoader = automation::guid_from_literal("55A97042-5A18-42D8-81C7-04678F008A7E");
inline constexpr std::u16string_view log_loader_class_text = u"{55A97042-5A18-42D8-81C7-04678F008A7E}";

inline constexpr IID IID_ILogLoader = automation::guid_from_literal("C95E0E43-DCA0-47F9-9733-913162D2594A");
inline constexpr IID IID_ILogDocument = automation::guid_from_literal("F5EBB941-06FC-4D66-9587-4CFBBD9C0129");
inline constexpr IID IID_IFeatureLog = automation::guid_from_literal("4F224BFE-A12F-49C2-9D77-B076C604645F");
inline constexpr IID IID_IFeatureLogCollection = automation::guid_from_literal("93E32B8B-EC87-473F-83D0-C74E07EA6474");
inline constexpr IID IID_IOperationTypeCollection =
    automation::guid_from_literal("6605917A-E0FF-42FD-8EC4-E207A321CBBE");
inline constexpr IID IID_IOperationType = automation::guid_from_literal("AE49E8A1-5019-4808-A709-EB09007DA4AC");
inline constexpr IID IID_IOperationList = automation::guid_from_literal("71F37993-4B51-43E0-9C10-8F6B27FB9FC0");

// All seven are called through their own operations, which stand behind those of IDispatch; the
// order is the contract. Texts and values that come back belong to the caller; arrays stay the
// library's; interfaces carry a reference for the caller.

/// The operations of one type within one feature, as a cursor over records.
struct IOperationList : IDispatch {
    virtual HRESULT Name(BSTR* name) noexcept = 0;
    virtual HRESULT Count(LONG* count) noexcept = 0;
    /// `start` is always 0. A negative position means that the list is empty.
    virtual HRESULT First(LONG start, LONG* position) noexcept = 0;
    /// Delivers the record at the position, an array of VARIANT, and moves the position on. What the
    /// position counts is the library's own business.
    virtual HRESULT Next(LONG* position, SAFEARRAY** record) noexcept = 0;

protected:
    ~IOperationList() = default;
};

/// One operation type, such as `OPTYPE_FILE`.
struct IOperationType : IDispatch {
    virtual HRESULT Name(BSTR* name) noexcept = 0;

protected:
    ~IOperationType() = default;
};

/// The operation types that the log knows; indices run from 1.
struct IOperationTypeCollection : IDispatch {
    virtual HRESULT Count(LONG* count) noexcept = 0;
    virtual HRESULT Item(VARIANT index, IOperationType** type) noexcept = 0;

protected:
    ~IOperationTypeCollection() = default;
};

struct IFeatureLog;

/// Sub-features of a feature; indices run from 1.
struct IFeatureLogCollection : IDispatch {
    virtual HRESULT Count(LONG* count) noexcept = 0;
    virtual HRESULT Item(VARIANT index, IFeatureLog** feature) noexcept = 0;

protected:
    ~IFeatureLogCollection() = default;
};

/// The log of one feature. Answering to this interface is also the test that a node belongs to a log.
/// The reserved operations are never called; they answer E_NOTIMPL.
struct IFeatureLog : IDispatch {
    virtual HRESULT Name(BSTR* name) noexcept = 0;
    virtual HRESULT reserved_2() noexcept = 0;
    virtual HRESULT ID(BSTR* id) noexcept = 0;
    /// Null at the top.
    virtual HRESULT Parent(IFeatureLog** parent) noexcept = 0;
    /// `name` is a VT_BSTR. Without the VT_ARRAY bit the value converts to text, and the low 16 bits of
    /// its value field carry a state (`log_state`). With it, it holds an array of BSTR of one dimension:
    /// within one walk over the names the first array is the list of row titles, each later one a list
    /// of values, never longer than the titles.
    virtual HRESULT PropertyValue(VARIANT name, VARIANT* value) noexcept = 0;
    virtual HRESULT reserved_6() noexcept = 0;
    /// Never null; empty when there are none.
    virtual HRESULT SubFeatures(IFeatureLogCollection** features) noexcept = 0;
    /// Takes all names of `log_operation_type` and any that an `IOperationType` reports.
    virtual HRESULT Operations(BSTR type_name, IOperationList** operations) noexcept = 0;
    virtual HRESULT reserved_9() noexcept = 0;
    virtual HRESULT reserved_10() noexcept = 0;
    /// An array of BSTR, the same one on every call; none at all counts as not installed.
    virtual HRESULT PropertyNames(SAFEARRAY** names) noexcept = 0;

protected:
    ~IFeatureLog() = default;
};

/// One opened log. It keeps every feature alive for as long as it lives.
struct ILogDocument : IDispatch {
    virtual HRESULT RootFeature(IFeatureLog** feature) noexcept = 0;
    virtual HRESULT OperationTypes(IOperationTypeCollection** types) noexcept = 0;

protected:
    ~ILogDocument() = default;
};

/// Entry object of the library.
struct ILogLoader : IDispatch {
    /// Opens the log at the full path.
    virtual HRESULT Open(BSTR path, ILogDocument** document) noexcept = 0;

protected:
    ~ILogLoader() = default;
};

/// States in the low 16 bits of a property's value field, whatever its type.
namespace log_state {
inline constexpr WORD not_installed = 0;
inline constexpr WORD installed = 2;
} // namespace log_state

/// Names of the operation types that the viewer knows.
namespace log_operation_type {
inline constexpr std::u16string_view file = u"OPTYPE_FILE";
inline constexpr std::u16string_view shell = u"OPTYPE_SHELL";
inline constexpr std::u16string_view registry = u"OPTYPE_REGISTRY";
inline constexpr std::u16string_view registry64 = u"OPTYPE_REGISTRY64";
inline constexpr std::u16string_view progman = u"OPTYPE_PROGMAN";
inline constexpr std::u16string_view ini = u"OPTYPE_INI";
inline constexpr std::u16string_view filereg = u"OPTYPE_FILEREG";
inline constexpr std::u16string_view dotnet = u"OPTYPE_DOTNET";
inline constexpr std::u16string_view general = u"OPTYPE_GENERAL"; // asked for also where it is not listed
inline constexpr auto all =
    std::to_array<std::u16string_view>({file, shell, registry, registry64, progman, ini, filereg, dotnet, general});
} // namespace log_operation_type

// A record is an array of VARIANT of one dimension. Callers read the elements below by index without
// asking for bounds or types, so each is a minimum: a record may hold more. `OPTYPE_PROGMAN` has no
// fixed elements.
enum class log_element_form {
    text,           // the BSTR field, whatever the type says; null is the empty text
    flag,           // the low 16 bits of the value field: 0 is false, -1 the true that reports name
    number,         // the low 16 bits of the value field, signed
    converted_text, // as it is for VT_BSTR, otherwise what a conversion to text gives, empty without one
};

struct log_element {
    LONG index;
    log_element_form form;
};

namespace log_file_record { // OPTYPE_FILE
inline constexpr log_element folder{0, log_element_form::text};
inline constexpr log_element file_name{1, log_element_form::text};
inline constexpr log_element shared{2, log_element_form::flag};
inline constexpr log_element is_directory{3, log_element_form::flag};
inline constexpr log_element potentially_locked{4, log_element_form::flag};
/// Permanent for a file, created directory for a directory.
inline constexpr log_element permanent_or_created{5, log_element_form::flag};
inline constexpr ULONG element_count = 6;
} // namespace log_file_record

namespace log_filereg_record { // OPTYPE_FILEREG
inline constexpr log_element folder{0, log_element_form::text};
inline constexpr log_element file_name{1, log_element_form::text};
inline constexpr log_element shared{2, log_element_form::flag};
inline constexpr ULONG element_count = 3;
} // namespace log_filereg_record

namespace log_registry_record { // OPTYPE_REGISTRY; OPTYPE_REGISTRY64 has the flags as well
inline constexpr log_element key{0, log_element_form::text};
/// Empty for an operation on the key alone.
inline constexpr log_element value_name{1, log_element_form::converted_text};
inline constexpr log_element remote_name{2, log_element_form::text};
inline constexpr log_element hive{3, log_element_form::number};
/// Permanent where there is a value name, created key where there is none.
inline constexpr log_element permanent_or_created{4, log_element_form::flag};
inline constexpr log_element remote{5, log_element_form::flag};
inline constexpr log_element shared{6, log_element_form::flag};
inline constexpr log_element flags{7, log_element_form::converted_text};
inline constexpr ULONG element_count = 7;
inline constexpr ULONG element_count64 = 8;
} // namespace log_registry_record

namespace log_ini_record { // OPTYPE_INI
inline constexpr log_element path{0, log_element_form::text};
inline constexpr log_element section{1, log_element_form::text};
inline constexpr log_element key{2, log_element_form::text};
inline constexpr log_element value{3, log_element_form::text};
inline constexpr log_element added_section{4, log_element_form::flag};
inline constexpr log_element created_file{5, log_element_form::flag};
inline constexpr ULONG element_count = 6;
} // namespace log_ini_record

namespace log_shell_record { // OPTYPE_SHELL
inline constexpr log_element folder_name{0, log_element_form::text};
inline constexpr log_element shortcut{1, log_element_form::text};
inline constexpr log_element permanent{2, log_element_form::flag};
inline constexpr log_element created_directory{3, log_element_form::flag};
inline constexpr ULONG element_count = 4;
} // namespace log_shell_record

namespace log_general_record { // OPTYPE_GENERAL
inline constexpr log_element operation{0, log_element_form::text};
inline constexpr log_element data{1, log_element_form::text};
inline constexpr ULONG element_count = 2;
} // namespace log_general_record

namespace log_dotnet_record { // OPTYPE_DOTNET
inline constexpr log_element folder{0, log_element_form::text};
inline constexpr log_element file_name{1, log_element_form::text};
inline constexpr log_element assembly_type{2, log_element_form::number};
inline constexpr log_element shared{3, log_element_form::flag};
inline constexpr log_element com_interop{4, log_element_form::flag};
inline constexpr ULONG element_count = 5;
} // namespace log_dotnet_record

/// Registry hives by the codes of `log_registry_record::hive`; empty where no text is defined, which
/// goes for all other codes too.
inline constexpr auto log_hive_names =
    std::to_array<std::u16string_view>({u"HKEY_CLASSES_ROOT", u"HKEY_CURRENT_USER", u"HKEY_LOCAL_MACHINE", u"",
                                        u"HKEY_PERFORMANCE_DATA", u"HKEY_CURRENT_CONFIG", u"HKEY_DYN_DATA"});

} // namespace cw
