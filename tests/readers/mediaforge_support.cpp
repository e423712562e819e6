#include "mediaforge_support.h"

#include "authoring/build_media.h"

#include <sqlite3.h>
#include <unistd.h>

#include <fstream>
#include <random>

namespace cw::mediaforge_tests {

std::u16string outcome::text() const
{
    EXPECT_EQ(value.vt, VT_BSTR);
    if (value.vt != VT_BSTR || !value.bstrVal)
        return {};
    return {value.bstrVal, SysStringLen(value.bstrVal)};
}

object outcome::as_object() const
{
    EXPECT_EQ(value.vt, VT_DISPATCH);
    return value.vt == VT_DISPATCH ? object(value.pdispVal) : object();
}

outcome call_with(IDispatch* target, const media_member_row& row, std::vector<variant> arguments)
{
    outcome answer;
    if (!target) {
        ADD_FAILURE() << "a call on no object";
        answer.result = E_POINTER;
        return answer;
    }
    std::vector<VARIANTARG> reversed(arguments.rbegin(), arguments.rend());
    DISPPARAMS parameters{reversed.data(), nullptr, static_cast<UINT>(reversed.size()), 0};
    EXCEPINFO exception{};
    answer.result = target->Invoke(row.id, IID_NULL, 0, row.kind, &parameters, answer.value.put(), &exception, nullptr);
    if (answer.result == DISP_E_EXCEPTION) {
        answer.result = exception.scode;
        if (exception.bstrDescription)
            answer.description.assign(exception.bstrDescription, SysStringLen(exception.bstrDescription));
    }
    SysFreeString(exception.bstrSource);
    SysFreeString(exception.bstrDescription);
    SysFreeString(exception.bstrHelpFile);
    return answer;
}

std::u16string text(IDispatch* target, const media_member_row& row)
{
    const outcome answer = call(target, row);
    EXPECT_EQ(answer.result, S_OK) << narrow(row.name) << ": " << narrow(answer.description);
    return answer.text();
}

std::int32_t number(IDispatch* target, const media_member_row& row)
{
    const outcome answer = call(target, row);
    EXPECT_EQ(answer.result, S_OK) << narrow(row.name) << ": " << narrow(answer.description);
    EXPECT_EQ(answer.value.vt, row.type) << narrow(row.name);
    return row.type == VT_I4 ? answer.value.lVal : row.type == VT_I2 ? answer.value.iVal : answer.value.boolVal;
}

object child(IDispatch* target, const media_member_row& row)
{
    const outcome answer = call(target, row);
    EXPECT_EQ(answer.result, S_OK) << narrow(row.name) << ": " << narrow(answer.description);
    return answer.as_object();
}

std::int32_t count(IDispatch* collection)
{
    return number(collection, media_collection::Count);
}

object item(IDispatch* collection, int index)
{
    const outcome answer = call(collection, media_collection::Item, index);
    EXPECT_EQ(answer.result, S_OK) << index << ": " << narrow(answer.description);
    return answer.as_object();
}

std::vector<std::u16string> names(IDispatch* collection, const media_member_row& name)
{
    std::vector<std::u16string> all;
    for (int i = 1; i <= count(collection); ++i)
        all.push_back(text(item(collection, i).get(), name));
    return all;
}

object file_of(IDispatch* media, int component, int file)
{
    const object one = item(child(media, media::Components).get(), component);
    const outcome answer = call(child(one.get(), media_component::Files).get(), media_file_list::Item, file);
    EXPECT_EQ(answer.result, S_OK) << narrow(answer.description);
    return answer.as_object();
}

std::string library_path()
{
    return CW_TEST_BUILD_DIR "/bin/MediaForge40.dll";
}

dll_get_class_object entry_point()
{
    static const dll_get_class_object found = reader_tests::load_entry_point(library_path());
    return found;
}

std::string read_file(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void write_file(const std::string& path, std::string_view bytes)
{
    std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::string noise(std::size_t size, unsigned seed)
{
    std::mt19937 random(seed);
    std::string bytes(size, '\0');
    for (char& byte : bytes)
        byte = static_cast<char>(random());
    return bytes;
}

as_nobody::as_nobody(const std::filesystem::path& folder) : m_wasRoot(geteuid() == 0)
{
    constexpr uid_t nobody = 65534;
    using std::filesystem::perms;
    std::filesystem::permissions(folder, perms(0755));
    if (m_wasRoot && seteuid(nobody) != 0)
        ADD_FAILURE() << "the rights cannot be given up";
}

as_nobody::~as_nobody()
{
    if (m_wasRoot && seteuid(0) != 0)
        ADD_FAILURE() << "the rights cannot be taken back";
}

media_test::media_test()
{
    std::string name = (std::filesystem::temp_directory_path() / "cw-mediaforge-XXXXXX").string();
    m_folder = mkdtemp(name.data());
    com_ptr<IClassFactory> factory;
    EXPECT_EQ(entry_point()(CLSID_MediaFactory, IID_IClassFactory, factory.put_void()), S_OK);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IMediaFactory, m_factory.put_void()), S_OK);
}

media_test::~media_test()
{
    m_factory.reset();
    std::error_code ignored;
    std::filesystem::remove_all(m_folder, ignored);
}

std::vector<std::string> media_test::listing(const std::string& folder) const
{
    std::vector<std::string> all;
    for (const auto& entry : std::filesystem::directory_iterator(m_folder / folder))
        all.push_back(entry.path().filename().string());
    std::sort(all.begin(), all.end());
    return all;
}

std::string media_test::make_header(const std::function<void(media_writer&)>& fill, const std::string& name,
                                    const std::string& password) const
{
    authoring::staged_files stage(m_folder);
    media_writer writer(stage, name, {1, 2, 3}, password, quick_cost);
    fill(writer);
    writer.finish();
    stage.publish();
    return path_of(name + ".hdr");
}

void media_test::alter(const std::string& path, const std::string& sql) const
{
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(path.c_str(), &database), SQLITE_OK);
    char* message = nullptr;
    EXPECT_EQ(sqlite3_exec(database, sql.c_str(), nullptr, nullptr, &message), SQLITE_OK) << sql << ": " << message;
    sqlite3_free(message);
    sqlite3_close(database);
}

std::string media_test::build(const std::string& manifest, const std::string& name, const std::string& password,
                              std::uint64_t volume_size_in_bytes, std::uint64_t folder_size_in_bytes) const
{
    const std::string manifest_path = path_of(name + ".json");
    write_file(manifest_path, manifest);
    authoring::build_options options;
    options.name = name;
    options.password = password;
    options.cost = quick_cost;
    if (volume_size_in_bytes)
        options.volume_size_in_bytes = volume_size_in_bytes;
    if (folder_size_in_bytes)
        options.folder_size_in_bytes = folder_size_in_bytes;
    const auto result = authoring::build_media(manifest_path, m_folder, options);
    std::filesystem::remove(manifest_path);
    return result.header.string();
}

std::string media_test::build_files(const std::map<std::string, std::string>& files, const std::string& password,
                                    std::uint64_t volume_size_in_bytes, std::uint64_t folder_size_in_bytes) const
{
    std::filesystem::create_directory(m_folder / "in");
    std::string rows;
    for (const auto& [name, content] : files) {
        write_file(path_of("in/" + name), content);
        rows += (rows.empty() ? "" : ", ") + ("{\"path\": \"in/" + name) + "\", \"Date\": \"2001-02-03T04:05:06\"}";
    }
    const std::string header = build("{\"Components\": [{\"Name\": \"Program\", \"Files\": [" + rows + "]}]}", "media",
                                     password, volume_size_in_bytes, folder_size_in_bytes);
    std::filesystem::remove_all(m_folder / "in");
    return header;
}

outcome media_test::open_path(std::string_view path, std::u16string_view password) const
{
    return call(m_factory.get(), media_factory::OpenMedia, wide(path), password);
}

object media_test::open(std::string_view path, std::u16string_view password) const
{
    const outcome answer = open_path(path, password);
    EXPECT_EQ(answer.result, S_OK) << narrow(answer.description);
    return answer.as_object();
}

std::int32_t media_test::last_number() const
{
    return number(child(m_factory.get(), media_factory::LastError).get(), media_error::Number);
}

std::u16string media_test::last_text(const media_member_row& row) const
{
    return text(child(m_factory.get(), media_factory::LastError).get(), row);
}

void media_test::expect_error(std::string_view path, int expected, std::u16string_view part,
                              std::u16string_view password) const
{
    const outcome answer = open_path(path, password);
    EXPECT_EQ(answer.result, failure(expected)) << narrow(answer.description);
    EXPECT_TRUE(answer.tells(part)) << narrow(answer.description);
    EXPECT_EQ(last_number(), expected);
    EXPECT_EQ(last_text(media_error::Description), answer.description);
    // The file is named by its own name at least.
    EXPECT_TRUE(answer.tells(wide(std::filesystem::path(path).filename().string()))) << narrow(answer.description);
}

outcome media_test::extract(IDispatch* file, const std::string& target) const
{
    return call(file, media_file::Extract, std::u16string_view(wide(target)));
}

} // namespace cw::mediaforge_tests
