#include "platform/elf_image.h"

#include "tests/support/temporary_folder.h"

#include <cstring>
#include <elf.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

using cw::test_support::temporary_folder;

std::string flaw_of_file(const std::string& path)
{
    const int file = open(path.c_str(), O_RDONLY);
    EXPECT_GE(file, 0);
    const std::string flaw = cw::platform::shared_object_flaw(file);
    close(file);
    return flaw;
}

std::string loadable_bytes()
{
    std::ifstream stream(CW_TEST_LOADABLE, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// The flaw of a copy of the library after `change` worked on its header.
template <class Change>
std::string flaw_with(Change change)
{
    const temporary_folder folder;
    std::string bytes = loadable_bytes();
    Elf64_Ehdr header;
    std::memcpy(&header, bytes.data(), sizeof header);
    change(header);
    std::memcpy(bytes.data(), &header, sizeof header);
    return flaw_of_file(folder.write("copy.dll", bytes));
}

TEST(elf_image, accepts_a_complete_shared_object)
{
    EXPECT_EQ(flaw_of_file(CW_TEST_LOADABLE), "");
    EXPECT_EQ(flaw_with([](Elf64_Ehdr&) {}), "");
}

TEST(elf_image, accepts_one_without_section_headers)
{
    EXPECT_EQ(flaw_with([](Elf64_Ehdr& header) { header.e_shoff = header.e_shnum = 0; }), "");
}

TEST(elf_image, refuses_every_truncation)
{
    const temporary_folder folder;
    const std::string bytes = loadable_bytes();
    Elf64_Ehdr header;
    std::memcpy(&header, bytes.data(), sizeof header);
    const std::size_t complete = header.e_shoff + std::size_t{header.e_shentsize} * header.e_shnum;
    ASSERT_LE(complete, bytes.size());
    for (const std::size_t size : {complete - 1, complete / 2, sizeof header}) {
        EXPECT_EQ(flaw_of_file(folder.write("cut.dll", bytes.substr(0, size))), "an incomplete shared object") << size;
    }
    EXPECT_EQ(flaw_of_file(folder.write("cut.dll", bytes.substr(0, sizeof header - 1))),
              "too short for a shared object");
    EXPECT_EQ(flaw_of_file(folder.write("cut.dll", "")), "too short for a shared object");
}

TEST(elf_image, refuses_segments_beyond_the_end)
{
    const temporary_folder folder;
    std::string bytes = loadable_bytes();
    Elf64_Ehdr header;
    std::memcpy(&header, bytes.data(), sizeof header);
    header.e_shoff = header.e_shnum = 0;
    std::memcpy(bytes.data(), &header, sizeof header);
    for (std::size_t i = 0; i < header.e_phnum; ++i) {
        const std::size_t at = header.e_phoff + i * sizeof(Elf64_Phdr);
        Elf64_Phdr segment;
        std::memcpy(&segment, bytes.data() + at, sizeof segment);
        if (segment.p_type != PT_LOAD)
            continue;
        segment.p_filesz = ~std::uint64_t{0};
        std::memcpy(bytes.data() + at, &segment, sizeof segment);
        break;
    }
    EXPECT_EQ(flaw_of_file(folder.write("wide.dll", bytes)), "an incomplete shared object");
}

TEST(elf_image, refuses_offsets_that_wrap_around)
{
    EXPECT_EQ(flaw_with([](Elf64_Ehdr& header) { header.e_shoff = ~std::uint64_t{0}; }), "an incomplete shared object");
    EXPECT_EQ(flaw_with([](Elf64_Ehdr& header) { header.e_phoff = ~std::uint64_t{0}; }), "an incomplete shared object");
    EXPECT_EQ(flaw_with([](Elf64_Ehdr& header) { header.e_phnum = 0; }), "an incomplete shared object");
    EXPECT_EQ(flaw_with([](Elf64_Ehdr& header) { header.e_phentsize = 1; }), "an incomplete shared object");
}

TEST(elf_image, refuses_other_machines)
{
    constexpr const char* flaw = "a shared object for another kind of machine";
    EXPECT_EQ(flaw_with([](Elf64_Ehdr& header) { header.e_machine = EM_S390; }), flaw);
    EXPECT_EQ(flaw_with([](Elf64_Ehdr& header) { header.e_ident[EI_CLASS] = ELFCLASS32; }), flaw);
    EXPECT_EQ(flaw_with([](Elf64_Ehdr& header) { header.e_ident[EI_DATA] = ELFDATANONE; }), flaw);
}

TEST(elf_image, refuses_what_is_no_shared_object)
{
    const temporary_folder folder;
    EXPECT_EQ(flaw_of_file(folder.write("text.dll", std::string(200, 'x'))), "not a shared object");
    EXPECT_EQ(flaw_of_file(folder.path()), "not a regular file");
    EXPECT_EQ(flaw_with([](Elf64_Ehdr& header) { header.e_type = ET_EXEC; }),
              "a program file, but not a shared object");
}

} // namespace
