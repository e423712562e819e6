// The names that a reader library exports, read from the file.
#pragma once

#include <cstddef>
#include <elf.h>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace cw::reader_tests {

template <class T>
T structure_at(const std::string& bytes, std::size_t offset)
{
    T value{};
    bytes.copy(reinterpret_cast<char*>(&value), sizeof value, offset);
    return value;
}

/// The defined names in the dynamic symbol table of a shared object.
inline std::vector<std::string> exported_names(const char* path)
{
    std::ifstream file(path, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    const auto header = structure_at<Elf64_Ehdr>(bytes, 0);
    auto section = [&](std::size_t i) {
        return structure_at<Elf64_Shdr>(bytes, header.e_shoff + i * sizeof(Elf64_Shdr));
    };
    std::vector<std::string> names;
    for (std::size_t i = 0; i < header.e_shnum; ++i) {
        const Elf64_Shdr symbols = section(i);
        if (symbols.sh_type != SHT_DYNSYM)
            continue;
        const Elf64_Shdr texts = section(symbols.sh_link);
        for (std::size_t at = 0; at < symbols.sh_size; at += sizeof(Elf64_Sym)) {
            const auto symbol = structure_at<Elf64_Sym>(bytes, symbols.sh_offset + at);
            if (symbol.st_shndx != SHN_UNDEF)
                names.emplace_back(bytes.c_str() + texts.sh_offset + symbol.st_name);
        }
    }
    return names;
}

} // namespace cw::reader_tests
