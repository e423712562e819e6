// Whatever member of the library fails, and at whichever call, the frame goes on.
#include "tests/media/media_support.h"

#include "app/menus.h"
#include "app/view_filters.h"
#include "bridges/media_interface.h"
#include "platform/utf8.h"

#include <nlohmann/json.hpp>

#include <set>
#include <span>

namespace cw {
namespace {

using namespace test_support;
using nlohmann::json;

constexpr HRESULT failure = static_cast<HRESULT>(0x8000ABCD);
constexpr const char* failure_code = "0x8000ABCD";
constexpr std::u16string_view extraction_failed =
    u"An error occurred extracting the file. Please verify all setup cab files are present in the source folder.";

/// A media with one at least of each object that has members, all of which are shown somewhere.
const json& sample_media()
{
    static const json media = json::parse(R"({
        "FormatVersion": 16815360,
        "Features": [
            {"Name": "Main", "SubFeatures": [{"Name": "Help"}], "RequiredFeatures": [{"Name": "Help"}],
             "IncludedComponents": [{"Name": "Program"}]},
            {"Name": "Object", "Flags": 1, "ObjectProperties": [{"Name": "P", "Value": 7}]}],
        "Components": [{"Name": "Program", "Files": [{"Name": "a.txt", "content": "hello"}]}],
        "SetupTypes": [{"Name": "Full", "Features": [{"Name": "Main", "SubFeatures": [{"Name": "Help"}]}]}],
        "ShellFolders": [{"Name": "Desktop", "SubFolders": [{"Name": "Tools"}], "Shortcuts": [{"Name": "Run"}]}],
        "RegistrySets": [{"Name": "x:Set", "Components": [{"Name": "Program"}], "ClassesRootKeys": [{"Path": "c"}],
            "CurrentUserKeys": [{"Path": "u"}], "UsersKeys": [{"Path": "U"}], "UserSelectableKeys": [{"Path": "s"}],
            "LocalMachineKeys": [{"Path": "Software\\A", "Values": [{"Name": "v", "Data": "0041", "ValueType": 7}]}]}],
        "MediaSettings": {"UpdateMode": 1, "OldVersionCount": 1, "OldVersions": ["1.0"]},
        "ArpInfo": {}})");
    return media;
}

struct sample_object {
    const char* place;
    std::u16string_view interface_name;
    std::span<const media_member_row> members;
};

constexpr auto sample_objects = std::to_array<sample_object>({
    {"", media::interface_name, media::all},
    {"/Features/0", media_feature::interface_name, media_feature::all},
    {"/Features/0/SubFeatures/0", media_feature::interface_name, media_feature::all},
    {"/Features/0/RequiredFeatures/0", media_feature::interface_name, media_feature::all},
    {"/Features/0/IncludedComponents/0", media_component::interface_name, media_component::all},
    {"/Features/1", media_feature::interface_name, media_feature::all},
    {"/Features/1/ObjectProperties/0", media_feature_property::interface_name, media_feature_property::all},
    {"/Components/0", media_component::interface_name, media_component::all},
    {"/Components/0/Files/0", media_file::interface_name, media_file::all},
    {"/SetupTypes/0", media_setup_type::interface_name, media_setup_type::all},
    {"/SetupTypes/0/Features/0", media_feature::interface_name, media_feature::all},
    {"/SetupTypes/0/Features/0/SubFeatures/0", media_feature::interface_name, media_feature::all},
    {"/ShellFolders/0", media_shell_folder::interface_name, media_shell_folder::all},
    {"/ShellFolders/0/SubFolders/0", media_shell_folder::interface_name, media_shell_folder::all},
    {"/ShellFolders/0/Shortcuts/0", media_shortcut::interface_name, media_shortcut::all},
    {"/RegistrySets/0", media_registry_set::interface_name, media_registry_set::all},
    {"/RegistrySets/0/Components/0", media_component::interface_name, media_component::all},
    {"/RegistrySets/0/LocalMachineKeys/0", media_registry_key::interface_name, media_registry_key::all},
    {"/RegistrySets/0/LocalMachineKeys/0/Values/0", media_registry_value::interface_name, media_registry_value::all},
    {"/MediaSettings", media_settings::interface_name, media_settings::all},
    {"/ArpInfo", media_arp_info::interface_name, media_arp_info::all},
});

constexpr auto sample_collections = std::to_array<const char*>({
    "/Features",
    "/Features/0/SubFeatures",
    "/Features/0/RequiredFeatures",
    "/Features/0/IncludedComponents",
    "/Features/1/ObjectProperties",
    "/Components",
    "/Components/0/Files",
    "/SetupTypes",
    "/SetupTypes/0/Features",
    "/SetupTypes/0/Features/0/SubFeatures",
    "/ShellFolders",
    "/ShellFolders/0/SubFolders",
    "/ShellFolders/0/Shortcuts",
    "/RegistrySets",
    "/RegistrySets/0/Components",
    "/RegistrySets/0/ClassesRootKeys",
    "/RegistrySets/0/CurrentUserKeys",
    "/RegistrySets/0/LocalMachineKeys",
    "/RegistrySets/0/UsersKeys",
    "/RegistrySets/0/UserSelectableKeys",
    "/RegistrySets/0/LocalMachineKeys/0/Values",
});

/// Counts the calls that go through the objects of a library, and fails one of them.
struct call_counter {
    int calls = 0;
    int failing = 0;
};

/// An object of a library behind a counter; so is every object that its members answer.
class counted_object final : public IDispatch {
public:
    static automation::com_ptr<IDispatch> make(automation::com_ptr<IDispatch> object, call_counter& counter)
    {
        return automation::com_ptr<IDispatch>::adopt(new counted_object(std::move(object), counter));
    }

    HRESULT QueryInterface(REFIID iid, void** object) noexcept override
    {
        void* found = nullptr;
        const HRESULT result = m_object->QueryInterface(iid, &found);
        *object = SUCCEEDED(result) ? this : nullptr;
        if (SUCCEEDED(result)) {
            // Every interface of the library is an `IDispatch` and nothing more.
            static_cast<IUnknown*>(found)->Release();
            AddRef();
        }
        return result;
    }
    ULONG AddRef() noexcept override { return ++m_references; }
    ULONG Release() noexcept override
    {
        const ULONG left = --m_references;
        if (left == 0)
            delete this;
        return left;
    }
    HRESULT GetTypeInfoCount(UINT*) noexcept override { return E_NOTIMPL; }
    HRESULT GetTypeInfo(UINT, LCID, ITypeInfo**) noexcept override { return E_NOTIMPL; }
    HRESULT GetIDsOfNames(REFIID, WCHAR**, UINT, LCID, DISPID*) noexcept override { return E_NOTIMPL; }
    HRESULT Invoke(DISPID member, REFIID iid, LCID locale, WORD flags, DISPPARAMS* arguments, VARIANT* result,
                   EXCEPINFO* exception, UINT* argument_error) noexcept override
    {
        if (++m_counter.calls == m_counter.failing)
            return failure;
        const HRESULT answered =
            m_object->Invoke(member, iid, locale, flags, arguments, result, exception, argument_error);
        if (SUCCEEDED(answered) && result && result->vt == VT_DISPATCH && result->pdispVal)
            result->pdispVal = make(automation::com_ptr<IDispatch>::adopt(result->pdispVal), m_counter).detach();
        return answered;
    }

private:
    counted_object(automation::com_ptr<IDispatch> object, call_counter& counter)
        : m_object(std::move(object)), m_counter(counter)
    {
    }
    ~counted_object() = default;

    automation::com_ptr<IDispatch> m_object;
    call_counter& m_counter;
    ULONG m_references = 1;
};

class failing_members : public media_view_test {
protected:
    failing_members() : media_view_test(u"All") {}

    /// Looks at what an entry from the window left behind: one line at most, about the one failure.
    void entry_ended(const char* entry)
    {
        const lines codes = take_error_codes();
        EXPECT_LE(codes.size(), 1u) << entry;
        for (const std::string& code : codes)
            EXPECT_EQ(code, failure_code) << entry;
        m_failures += codes.size();
        for (const auto& message : program.person.take_messages()) {
            EXPECT_EQ(message.text, extraction_failed) << entry;
            ++m_failures;
        }
    }
    void run(std::uint32_t command)
    {
        frame().RunCommand(command);
        entry_ended("a command");
    }
    void extract()
    {
        // A row that stayed where a component was not found names no file, and the library says so.
        if (frame().List().GetItemText(0, 0) != u"a.txt") {
            frame().RunCommand(ID_TOOLS_EXTRACT);
            EXPECT_EQ(take_error_codes(), lines{"0x80004005"});
            return;
        }
        program.person.answer(question_kind::save, program.folder.wide_file("extracted"));
        run(ID_TOOLS_EXTRACT);
    }
    void look_at(HTREEITEM item)
    {
        frame().Tree().SelectItem(item);
        entry_ended("a selection");
        if (frame().List().GetItemCount() == 0)
            return;
        frame().List().SelectRow(0);
        for (std::size_t column = 0; column < 2; ++column) {
            frame().List().ClickHeader(column);
            entry_ended("a header");
        }
        frame().List().RightClick();
        entry_ended("a right click");
        run(ID_EDIT_COPY_ROW);
        EXPECT_TRUE(program.person.clipboard().has_value());
        if (frame().UpdateCommand(ID_TOOLS_EXTRACT).enabled().value_or(true)) {
            extract();
        }
    }
    void look_at_all(HTREEITEM item)
    {
        for (; item; item = frame().Tree().GetNextSiblingItem(item)) {
            look_at(item);
            look_at_all(frame().Tree().GetChildItem(item));
        }
    }
    void look_at_tree() { look_at_all(frame().Tree().GetRootItem()); }

    void open_sample(const json& media, std::string_view name)
    {
        program.open(program.write(json{{"media", media}}.dump(), name));
        entry_ended("an open");
    }
    /// Opens a media and looks at everything in every view; how often something failed.
    std::size_t failures_in(const json& media)
    {
        m_failures = 0;
        open_sample(media, "failing.hdr");
        look_at_tree();
        for (const std::uint32_t mode : {0u, ID_VIEW_EXPERT_MODE}) {
            if (mode)
                run(mode);
            for (const view_filter& filter : view_filters()) {
                run(filter.command_id);
                if (filter.build)
                    look_at_tree();
            }
        }
        run(ID_VIEW_EXPERT_MODE);
        run(ID_VIEW_ALL);
        return m_failures;
    }
    /// Goes on to a media that is sound.
    void expect_frame_goes_on()
    {
        m_failures = 0;
        open_sample(sample_media(), "sound.hdr");
        EXPECT_EQ(tree_of(frame()), "Features\n"
                                    "  Main\n"
                                    "    Help\n"
                                    "  Object\n"
                                    "Components\n"
                                    "  Program\n"
                                    "    Files\n"
                                    "Setup Types\n"
                                    "  Full\n"
                                    "    Features\n"
                                    "      Main\n"
                                    "        Help\n"
                                    "Explorer Shell\n"
                                    "  Desktop\n"
                                    "    Tools\n"
                                    "    Run\n"
                                    "Registry Entries\n"
                                    "  Set\n"
                                    "    HKEY_CLASSES_ROOT\n"
                                    "      c\n"
                                    "    HKEY_CURRENT_USERS\n"
                                    "      u\n"
                                    "    HKEY_LOCAL_MACHINE\n"
                                    "      Software\n"
                                    "        A\n"
                                    "    HKEY_USERS\n"
                                    "      U\n"
                                    "    HKEY_USER_SELECTABLE\n"
                                    "      s\n"
                                    "Media Settings\n");
        EXPECT_EQ(rows_of(frame()).size(), 23u);
        select(frame(), "Features/Main");
        EXPECT_EQ(rows_of(frame()).size(), 26u);
        select(frame(), "Registry Entries/Set/HKEY_LOCAL_MACHINE/Software/A");
        EXPECT_EQ(rows_of(frame()), (lines{"(Default) |  | ", "v | A | No"}));
        entry_ended("going on");
        EXPECT_EQ(m_failures, 0u);
    }

private:
    std::size_t m_failures = 0;
};

TEST_F(failing_members, none_fails_in_the_sample)
{
    EXPECT_EQ(failures_in(sample_media()), 0u);
    EXPECT_EQ(program.folder.read("extracted"), "hello");
    expect_frame_goes_on();
}

TEST_F(failing_members, each_member_of_each_object)
{
    std::set<std::u16string> unnoticed;
    std::set<std::u16string> noticed;
    for (const sample_object& object : sample_objects) {
        for (const media_member_row& row : object.members) {
            json media = sample_media();
            const std::string key = row.kind == DISPATCH_METHOD ? "content" : platform::to_utf8(row.name);
            SCOPED_TRACE(std::string(object.place) + "/" + key);
            media.at(json::json_pointer(object.place))[key] = {{"fail", failure_code}};
            const std::u16string member = std::u16string(object.interface_name) + u" " + std::u16string(row.name);
            (failures_in(media) > 0 ? noticed : unnoticed).insert(member);
            expect_frame_goes_on();
        }
    }
    // Every member is read somewhere, so that its failing was indeed gone through.
    for (const std::u16string& member : noticed)
        unnoticed.erase(member);
    EXPECT_EQ(unnoticed, std::set<std::u16string>{u"IMedia Report"});
}

TEST_F(failing_members, the_count_and_the_items_of_each_collection)
{
    const json fail{{"fail", failure_code}};
    for (const char* place : sample_collections) {
        SCOPED_TRACE(place);
        const json::json_pointer pointer(place);
        for (const json& counts : {json::array({fail}), json::array({1, fail})}) {
            json media = sample_media();
            json& collection = media.at(pointer);
            collection = {{"items", collection}, {"counts", counts}};
            EXPECT_GT(failures_in(media), 0u) << counts;
            expect_frame_goes_on();
        }
        json media = sample_media();
        media.at(pointer)[0] = fail;
        EXPECT_GT(failures_in(media), 0u);
        expect_frame_goes_on();
    }
}

TEST_F(failing_members, each_single_call)
{
    // A library that fails once and works again: what failed is readable a moment later.
    open_sample(sample_media(), "sound.hdr");
    call_counter counter;
    const automation::com_ptr<IDispatch> library = frame_access::media_factory(frame());
    frame_access::media_factory(frame()) = counted_object::make(library, counter);
    const auto look_at_everything = [&] {
        open_sample(sample_media(), "failing.hdr");
        look_at_tree();
        run(ID_VIEW_EXPERT_MODE);
        run(ID_VIEW_EXPERT_MODE);
    };
    look_at_everything();
    const int calls = counter.calls;
    ASSERT_GT(calls, 300);
    for (int failing = 1; failing <= calls && !HasFailure(); ++failing) {
        SCOPED_TRACE("call " + std::to_string(failing));
        counter = {0, failing};
        look_at_everything();
        EXPECT_GE(counter.calls, failing);
        counter.failing = 0;
        expect_frame_goes_on();
    }
    frame_access::nodes(frame()).clear();
    frame_access::media(frame()).reset();
    frame_access::media_factory(frame()) = library;
}

} // namespace
} // namespace cw
