// What the search for a reader library looked at and what came of it, as values: for people who want
// to know why their library was not taken.
#pragma once

#include "automation/types.h"
#include "foundation/string.h"

#include <string_view>
#include <vector>

namespace cw {

/// The places in the order in which they are tried.
enum class search_place {
    module_folder,
    module_system_folder,
    common_files_folder,
    common_files_demowright_folder,
    ancestor_x64_folder,
};

enum class search_outcome {
    cached,         // was loaded before; nothing was searched
    given_path,     // the name holds a separator and is taken as it stands
    no_module_name, // the program's own path is not known; the bare name is left to the system
    found,          // in the last place tried
    left_to_system, // in none of the places; the bare name is left to the system
};

struct search_report {
    struct attempt {
        search_place place;
        string path;
        bool present;
    };
    std::vector<attempt> attempts;
    search_outcome outcome = search_outcome::cached;
    /// What was given to the loader; empty where nothing was.
    string loaded_path;
    bool loaded = false;
    /// The loader's words where it refused.
    string refusal;
    bool has_entry_point = false;
    /// What the whole step answered.
    HRESULT result = S_OK;
};

/// A few words for people: "beside the program", …
[[nodiscard]] std::u16string_view search_place_text(search_place place) noexcept;
[[nodiscard]] std::u16string_view search_outcome_text(search_outcome outcome) noexcept;

} // namespace cw
