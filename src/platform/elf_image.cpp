#include "platform/elf_image.h"

#include <cstdint>
#include <cstring>
#include <elf.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace cw::platform {

namespace {

bool read_at(int file_descriptor, void* target, std::size_t size_in_bytes, std::uint64_t offset)
{
    return pread(file_descriptor, target, size_in_bytes, static_cast<off_t>(offset)) ==
           static_cast<ssize_t>(size_in_bytes);
}

/// Whether `size` bytes from `offset` lie within the file; safe for any header field.
bool lies_within(std::uint64_t offset, std::uint64_t size, std::uint64_t file_size)
{
    return offset <= file_size && size <= file_size - offset;
}

/// The header of the running program says what this machine loads.
Elf64_Ehdr own_header()
{
    Elf64_Ehdr header{};
    const int self = open("/proc/self/exe", O_RDONLY | O_CLOEXEC);
    if (self >= 0) {
        if (!read_at(self, &header, sizeof header, 0))
            header = {};
        close(self);
    }
    return header;
}

} // namespace

std::string shared_object_flaw(int file_descriptor)
{
    struct stat status {};
    if (fstat(file_descriptor, &status) != 0 || !S_ISREG(status.st_mode))
        return "not a regular file";
    const auto file_size = static_cast<std::uint64_t>(status.st_size);

    Elf64_Ehdr header{};
    if (!read_at(file_descriptor, &header, sizeof header, 0))
        return "too short for a shared object";
    if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0)
        return "not a shared object";

    static const Elf64_Ehdr own = own_header();
    if (header.e_ident[EI_CLASS] != own.e_ident[EI_CLASS] || header.e_ident[EI_DATA] != own.e_ident[EI_DATA] ||
        header.e_machine != own.e_machine)
        return "a shared object for another kind of machine";
    if (header.e_type != ET_DYN)
        return "a program file, but not a shared object";

    const std::uint64_t program_headers_size = std::uint64_t{header.e_phnum} * sizeof(Elf64_Phdr);
    if (header.e_phnum == 0 || header.e_phentsize != sizeof(Elf64_Phdr) ||
        !lies_within(header.e_phoff, program_headers_size, file_size) ||
        !lies_within(header.e_shoff, std::uint64_t{header.e_shentsize} * header.e_shnum, file_size))
        return "an incomplete shared object";

    std::vector<Elf64_Phdr> segments(header.e_phnum);
    if (!read_at(file_descriptor, segments.data(), program_headers_size, header.e_phoff))
        return "an incomplete shared object";
    for (const Elf64_Phdr& segment : segments) {
        if (segment.p_type == PT_LOAD && !lies_within(segment.p_offset, segment.p_filesz, file_size))
            return "an incomplete shared object";
    }
    return {};
}

} // namespace cw::platform
