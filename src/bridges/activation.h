// From a library's name to one of its objects: what the open paths call to get at a reader.
#pragma once

#include "bridges/log_interface.h"
#include "bridges/search_report.h"
#include "foundation/string.h"

namespace cw {

/// Creates an object of a class and stores its interface `iid` in `*object`, with a reference for the
/// caller; null on failure. The library comes through the process's cache, which the first call makes.
/// An empty name asks for the class that is registered on the machine. Answers the result of the step
/// that failed. Fills `report` where there is one and a library was asked.
HRESULT activate_library_object(const string& library_name, REFCLSID class_id, REFIID iid, void** object,
                                search_report* report = nullptr);

/// The entry object of the media library.
HRESULT activate_media_factory(automation::com_ptr<IDispatch>& factory, search_report* report = nullptr);
/// The entry object of the log library, a new one each time.
HRESULT activate_log_loader(automation::com_ptr<ILogLoader>& loader, search_report* report = nullptr);

/// A class id from its text; the null id for a text that is none. Raises the framework's memory
/// exception where the text cannot be allocated.
[[nodiscard]] CLSID class_id_from_text(std::u16string_view text);

/// Forgets which libraries were loaded, so that the next activation searches again; the libraries
/// themselves stay in memory. For tests and for programs that look at several places.
void forget_loaded_libraries() noexcept;

} // namespace cw
