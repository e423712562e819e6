// What all tests of readers do first: load a library that was built, and turn texts over.
#pragma once

#include "automation/unknown.h"

#include <gtest/gtest.h>

#include <codecvt>
#include <dlfcn.h>
#include <locale>
#include <string>
#include <string_view>

namespace cw::reader_tests {

/// The exported entry point of a library; null with a failed test. The library is never closed: its
/// objects may outlive a test.
inline dll_get_class_object load_entry_point(const std::string& path)
{
    void* const library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        ADD_FAILURE() << ::dlerror();
        return nullptr;
    }
    return reinterpret_cast<dll_get_class_object>(::dlsym(library, "DllGetClassObject"));
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
using utf8_converter = std::wstring_convert<std::codecvt_utf8_utf16<char16_t>, char16_t>;

inline std::u16string wide(std::string_view utf8)
{
    return utf8_converter().from_bytes(utf8.begin(), utf8.end());
}

/// "?" where the text is no well-formed UTF-16.
inline std::string narrow(std::u16string_view text)
{
    return utf8_converter("?").to_bytes(text.begin(), text.end());
}
#pragma GCC diagnostic pop

} // namespace cw::reader_tests
