// The reader libraries that the process has loaded, and the way from a library's name to its class
// factory. Activation uses it.
#pragma once

#include "automation/unknown.h"
#include "bridges/search_report.h"
#include "foundation/string.h"

#include <map>

namespace cw {

/// Code units as unsigned numbers; of two names with a common prefix the shorter is less. Names that
/// differ in case only are two.
struct code_unit_less {
    [[nodiscard]] bool operator()(const string& a, const string& b) const noexcept { return a.view() < b.view(); }
};

/// Loaded libraries by the name that they were asked for, never by the path where they were found.
/// They stay loaded until the process ends.
using library_cache = std::map<string, void*, code_unit_less>;

/// Stores the factory of a class in `*factory_out`, with a reference for the caller, who sets it to
/// null before. Searches and loads the library where the cache does not hold it. Answers what the
/// library's entry point answers, or REGDB_E_CLASSNOTREG where the library does not load or has no
/// such export. The current directory is the library's folder during the load and what it was
/// before afterwards. Fills `report` where there is one.
HRESULT get_library_class_factory(library_cache& cache, const string& library_name, REFCLSID class_id,
                                  IClassFactory** factory_out, search_report* report = nullptr);

} // namespace cw
