#include "tests/readers/fixture_support.h"

#include <dlfcn.h>
#include <elf.h>
#include <fstream>
#include <iterator>

using namespace cw;
using namespace cw::fixture_tests;

namespace {

constexpr const char* library_path = CW_TEST_BUILD_DIR "/fixture/MediaForge40.dll";

template <class T>
T structure_at(const std::string& bytes, std::size_t offset)
{
    T value{};
    bytes.copy(reinterpret_cast<char*>(&value), sizeof value, offset);
    return value;
}

// The defined names in the dynamic symbol table of a shared object.
std::vector<std::string> exported_names(const char* path)
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

TEST(FixtureMediaLibrary, MakesTheFactoryClass)
{
    com_ptr<IClassFactory> class_object;
    ASSERT_EQ(entry_point()(CLSID_MediaFactory, IID_IClassFactory, class_object.put_void()), S_OK);
    com_ptr<IUnknown> object;
    ASSERT_EQ(class_object->CreateInstance(nullptr, IID_IUnknown, object.put_void()), S_OK);
    const auto factory = automation::query_interface<IDispatch>(object.get(), IID_IMediaFactory);
    EXPECT_TRUE(factory);
    EXPECT_EQ(automation::query_interface<IDispatch>(object.get(), IID_IDispatch), factory);
    EXPECT_FALSE(automation::query_interface<IDispatch>(object.get(), IID_IMediaFeature));
}

TEST(FixtureMediaLibrary, MakesANewObjectEachTime)
{
    com_ptr<IClassFactory> class_object;
    ASSERT_EQ(entry_point()(CLSID_MediaFactory, IID_IClassFactory, class_object.put_void()), S_OK);
    com_ptr<IDispatch> one;
    com_ptr<IDispatch> other;
    ASSERT_EQ(class_object->CreateInstance(nullptr, IID_IMediaFactory, one.put_void()), S_OK);
    ASSERT_EQ(class_object->CreateInstance(nullptr, IID_IMediaFactory, other.put_void()), S_OK);
    EXPECT_NE(one.get(), other.get());
}

TEST(FixtureMediaLibrary, RefusesOtherClassesAndInterfaces)
{
    void* object = &object;
    EXPECT_EQ(entry_point()(IID_IMediaFeature, IID_IClassFactory, &object), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(object, nullptr);
    object = &object;
    EXPECT_EQ(entry_point()(CLSID_MediaFactory, IID_IMediaFactory, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(entry_point()(CLSID_MediaFactory, IID_IClassFactory, nullptr), E_POINTER);
}

TEST(FixtureMediaLibrary, ExportsItsEntryPointAlone)
{
    EXPECT_EQ(exported_names(library_path), std::vector<std::string>{"DllGetClassObject"});
}

TEST(FixtureMediaLibrary, IsNotFoundByABareName)
{
    entry_point();
    EXPECT_NE(::dlopen(library_path, RTLD_NOW | RTLD_NOLOAD), nullptr) << "loaded by its path";
    EXPECT_EQ(::dlopen("MediaForge40.dll", RTLD_NOW | RTLD_NOLOAD), nullptr);
}

} // namespace
