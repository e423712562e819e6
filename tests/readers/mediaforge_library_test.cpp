#include "mediaforge_support.h"

#include <elf.h>

#include <cstring>
#include <set>

namespace cw::mediaforge_tests {
namespace {

TEST(mediaforge_library, has_one_class)
{
    com_ptr<IClassFactory> factory;
    EXPECT_EQ(entry_point()(CLSID_MediaFactory, IID_IClassFactory, factory.put_void()), S_OK);
    ASSERT_TRUE(factory);
    void* none = &factory;
    EXPECT_EQ(entry_point()(IID_IMediaFactory, IID_IClassFactory, &none), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(none, nullptr);
    none = &factory;
    EXPECT_EQ(entry_point()(CLSID_MediaFactory, IID_IMediaFactory, &none), E_NOINTERFACE);
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(entry_point()(CLSID_MediaFactory, IID_IClassFactory, nullptr), E_POINTER);
}

TEST(mediaforge_library, makes_a_new_factory_each_time)
{
    com_ptr<IClassFactory> factory;
    ASSERT_EQ(entry_point()(CLSID_MediaFactory, IID_IClassFactory, factory.put_void()), S_OK);
    object first;
    object second;
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IMediaFactory, first.put_void()), S_OK);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IDispatch, second.put_void()), S_OK);
    EXPECT_NE(first.get(), second.get());
    void* none = nullptr;
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IMediaFeature, &none), E_NOINTERFACE);
    EXPECT_EQ(factory->CreateInstance(first.get(), IID_IUnknown, &none), CLASS_E_NOAGGREGATION);
}

/// Texts of the dynamic section and of the dynamic symbols that the library defines.
struct shared_object {
    bool has_soname = false;
    std::set<std::string> exports;
};

shared_object inspect(const std::string& bytes)
{
    shared_object result;
    Elf64_Ehdr header;
    std::memcpy(&header, bytes.data(), sizeof header);
    std::vector<Elf64_Shdr> sections(header.e_shnum);
    std::memcpy(sections.data(), bytes.data() + header.e_shoff, sections.size() * sizeof(Elf64_Shdr));
    for (const Elf64_Shdr& section : sections) {
        const char* names = section.sh_link < sections.size() ? bytes.data() + sections[section.sh_link].sh_offset : "";
        for (std::size_t at = 0; section.sh_entsize != 0 && at < section.sh_size; at += section.sh_entsize) {
            const char* entry = bytes.data() + section.sh_offset + at;
            if (section.sh_type == SHT_DYNAMIC) {
                Elf64_Dyn dynamic;
                std::memcpy(&dynamic, entry, sizeof dynamic);
                result.has_soname |= dynamic.d_tag == DT_SONAME;
            } else if (section.sh_type == SHT_DYNSYM) {
                Elf64_Sym symbol;
                std::memcpy(&symbol, entry, sizeof symbol);
                if (symbol.st_shndx != SHN_UNDEF && symbol.st_shndx != SHN_ABS)
                    result.exports.insert(names + symbol.st_name);
            }
        }
    }
    return result;
}

TEST(mediaforge_library, exports_its_entry_point_alone_and_has_no_soname)
{
    const shared_object library = inspect(read_file(library_path()));
    EXPECT_EQ(library.exports, std::set<std::string>{"DllGetClassObject"});
    EXPECT_FALSE(library.has_soname);
}

using mediaforge_factory = media_test;

TEST_F(mediaforge_factory, has_no_error_at_first_and_none_after_a_success)
{
    EXPECT_EQ(last_number(), 0);
    EXPECT_EQ(last_text(media_error::Description), u"");
    EXPECT_EQ(last_text(media_error::SystemText), u"");
    EXPECT_EQ(open_path(path_of("none.hdr")).result, failure(2));
    EXPECT_EQ(last_number(), 2);
    EXPECT_NE(last_text(media_error::SystemText), u"");
    EXPECT_TRUE(open(make_header([](media_writer&) {})));
    EXPECT_EQ(last_number(), 0);
    EXPECT_EQ(last_text(media_error::Description), u"");
    EXPECT_EQ(last_text(media_error::SystemText), u"");
}

TEST_F(mediaforge_factory, keeps_an_error_as_it_was_when_asked)
{
    EXPECT_EQ(open_path(path_of("none.hdr")).result, failure(2));
    const object kept = child(m_factory.get(), media_factory::LastError);
    EXPECT_EQ(open_path(path_of(".")).result, failure(21));
    EXPECT_EQ(number(kept.get(), media_error::Number), 2);
    EXPECT_EQ(last_number(), 21);
}

TEST_F(mediaforge_factory, takes_the_password_in_any_form_or_none)
{
    const std::string header = make_header([](media_writer&) {});
    const std::u16string path = wide(header);
    const auto open_with = [&](std::vector<variant> arguments) {
        return call_with(m_factory.get(), media_factory::OpenMedia, std::move(arguments)).result;
    };
    const auto with_path = [&](auto... more) {
        std::vector<variant> arguments;
        arguments.push_back(variant(std::u16string_view(path)));
        (arguments.push_back(std::move(more)), ...);
        return arguments;
    };
    EXPECT_EQ(open_with(with_path()), S_OK);
    EXPECT_EQ(open_with(with_path(variant())), S_OK);
    EXPECT_EQ(open_with(with_path(variant(7))), S_OK);
    variant missing;
    missing.vt = VT_ERROR;
    missing.scode = DISP_E_PARAMNOTFOUND;
    EXPECT_EQ(open_with(with_path(std::move(missing))), S_OK);
    variant null_text;
    null_text.vt = VT_BSTR;
    null_text.bstrVal = nullptr;
    EXPECT_EQ(open_with(with_path(std::move(null_text))), S_OK);
    EXPECT_EQ(open_with({}), DISP_E_BADPARAMCOUNT);
    // What is no text is a failure that the last error tells, as of every open.
    variant array;
    array.vt = VT_ARRAY | VT_I4;
    array.parray = SafeArrayCreateVector(VT_I4, 0, 1);
    EXPECT_EQ(open_with(with_path(std::move(array))), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(last_number(), 23);
}

TEST_F(mediaforge_factory, knows_its_members_by_name_and_refuses_other_numbers)
{
    for (const media_member_row& row : media_factory::all) {
        std::u16string name(row.name);
        WCHAR* names[] = {name.data()};
        DISPID id = 0;
        EXPECT_EQ(m_factory->GetIDsOfNames(IID_NULL, names, 1, 0, &id), S_OK);
        EXPECT_EQ(id, row.id);
    }
    EXPECT_EQ(call(m_factory.get(), media_member_row{4711, u"", VT_I4}).result, DISP_E_MEMBERNOTFOUND);
    EXPECT_EQ(call(m_factory.get(), media_member_row{2001, u"", VT_DISPATCH}).result, DISP_E_MEMBERNOTFOUND);
}

} // namespace
} // namespace cw::mediaforge_tests
