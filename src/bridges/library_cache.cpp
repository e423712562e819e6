#include "bridges/library_cache.h"

#include "bridges/library_search.h"
#include "platform/services.h"

#include <array>

namespace cw {
namespace {

constexpr std::uint32_t path_room = 260;
constexpr const char* entry_point_name = "DllGetClassObject";

/// Libraries that a reader needs are looked for in the current directory as well.
void* load_from_its_folder(const string& path)
{
    platform::file_system& files = *platform::current().files;
    std::array<char16_t, path_room + 1> before{};
    // A directory that cannot be saved is not left: the load works without.
    const bool saved = files.current_directory(before.data(), path_room) != 0;
    if (saved)
        files.set_current_directory(folder_of(path).c_str());
    void* library = platform::current().libraries->load_library(path.c_str());
    if (saved)
        files.set_current_directory(before.data());
    return library;
}

void* find_and_load(const string& library_name, search_report* report)
{
    const string path = find_library(library_name, report);
    void* library = load_from_its_folder(path);
    if (report) {
        report->loaded_path = path;
        report->loaded = library != nullptr;
        if (!library)
            report->refusal = string(platform::current().libraries->load_failure());
    }
    return library;
}

HRESULT class_factory_of(library_cache& cache, const string& library_name, REFCLSID class_id,
                         IClassFactory** factory_out, search_report* report)
{
    auto known = cache.find(library_name);
    if (known == cache.end()) {
        void* library = find_and_load(library_name, report);
        if (!library)
            return REGDB_E_CLASSNOTREG;
        known = cache.emplace(library_name, library).first;
    }
    void* entry_point = platform::current().libraries->find_export(known->second, entry_point_name);
    if (!entry_point)
        return REGDB_E_CLASSNOTREG;
    if (report)
        report->has_entry_point = true;
    return reinterpret_cast<dll_get_class_object>(entry_point)(class_id, IID_IClassFactory,
                                                               reinterpret_cast<void**>(factory_out));
}

} // namespace

HRESULT get_library_class_factory(library_cache& cache, const string& library_name, REFCLSID class_id,
                                  IClassFactory** factory_out, search_report* report)
{
    if (report)
        *report = {};
    const HRESULT result = class_factory_of(cache, library_name, class_id, factory_out, report);
    if (report)
        report->result = result;
    return result;
}

} // namespace cw
