#include "tests/authoring/authoring_support.h"

#include "authoring/error.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <mspack.h>
#include <random>
#include <sqlite3.h>
#include <sstream>
#include <unistd.h>

namespace cw::test {

temporary_folder::temporary_folder()
{
    std::string pattern = (fs::temp_directory_path() / "cw_authoring_XXXXXX").string();
    m_path = ::mkdtemp(pattern.data());
}

temporary_folder::~temporary_folder()
{
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

fs::path temporary_folder::operator/(std::string_view name) const
{
    const fs::path path = m_path / name;
    fs::create_directories(path.parent_path());
    return path;
}

void write_file(const fs::path& path, std::string_view content)
{
    fs::create_directories(path.parent_path());
    std::ofstream stream(path, std::ios::binary);
    stream.write(content.data(), static_cast<std::streamsize>(content.size()));
    ASSERT_TRUE(stream.flush().good()) << path;
}

std::string read_file(const fs::path& path)
{
    std::ifstream stream(path, std::ios::binary);
    EXPECT_TRUE(stream.is_open()) << path;
    std::ostringstream content;
    content << stream.rdbuf();
    return content.str();
}

std::vector<std::string> names_in(const fs::path& folder)
{
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

std::string noise(std::size_t size, unsigned seed)
{
    std::mt19937 random(seed);
    std::string data(size, '\0');
    for (char& byte : data)
        byte = static_cast<char>(random());
    return data;
}

namespace {

std::string shown(sqlite3_stmt* statement, int column)
{
    const auto* data = static_cast<const unsigned char*>(sqlite3_column_blob(statement, column));
    const int size = sqlite3_column_bytes(statement, column);
    switch (sqlite3_column_type(statement, column)) {
    case SQLITE_NULL:
        return "null";
    case SQLITE_BLOB: {
        std::string text;
        for (int i = 0; i < size; ++i) {
            std::array<char, 3> digits;
            std::snprintf(digits.data(), digits.size(), "%02x", data[i]);
            text += digits.data();
        }
        return text;
    }
    default:
        return {reinterpret_cast<const char*>(sqlite3_column_text(statement, column)),
                static_cast<std::size_t>(sqlite3_column_bytes(statement, column))};
    }
}

} // namespace

std::vector<std::string> query(const fs::path& header, const std::string& statement_text, const std::string& password)
{
    sqlite3* database = nullptr;
    formats::bytes image;
    if (password.empty()) {
        EXPECT_EQ(sqlite3_open_v2(("file:" + header.string() + "?immutable=1").c_str(), &database,
                                  SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, nullptr),
                  SQLITE_OK);
    } else {
        const std::string file = read_file(header);
        image = formats::open_header({reinterpret_cast<const std::uint8_t*>(file.data()), file.size()}, password);
        sqlite3_open(":memory:", &database);
        const auto size = static_cast<sqlite3_int64>(image.size());
        EXPECT_EQ(sqlite3_deserialize(database, "main", image.data(), size, size, SQLITE_DESERIALIZE_READONLY),
                  SQLITE_OK);
    }
    sqlite3_stmt* statement = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(database, statement_text.c_str(), -1, &statement, nullptr), SQLITE_OK)
        << statement_text << ": " << sqlite3_errmsg(database);
    std::vector<std::string> rows;
    while (statement != nullptr && sqlite3_step(statement) == SQLITE_ROW) {
        std::string row;
        for (int i = 0; i < sqlite3_column_count(statement); ++i)
            row += (i == 0 ? "" : "|") + shown(statement, i);
        rows.push_back(row);
    }
    sqlite3_finalize(statement);
    sqlite3_close(database);
    return rows;
}

cabinet_content read_cabinet(const fs::path& path)
{
    cabinet_content result{};
    mscab_decompressor* reader = mspack_create_cab_decompressor(nullptr);
    mscabd_cabinet* cabinet = reader->open(reader, path.c_str());
    EXPECT_NE(cabinet, nullptr) << path << ": error " << reader->last_error(reader);
    if (cabinet == nullptr) {
        mspack_destroy_cab_decompressor(reader);
        return result;
    }
    result.length = cabinet->length;
    result.set_id = cabinet->set_id;
    result.set_index = cabinet->set_index;
    result.flags = cabinet->flags;
    std::map<const mscabd_folder*, std::size_t> folders;
    for (const mscabd_folder* folder = cabinet->folders; folder != nullptr; folder = folder->next)
        folders.emplace(folder, folders.size());
    result.folders = folders.size();
    temporary_folder scratch;
    const fs::path target = scratch / "entry";
    for (mscabd_file* file = cabinet->files; file != nullptr; file = file->next) {
        EXPECT_EQ(reader->extract(reader, file, target.c_str()), MSPACK_ERR_OK) << file->filename;
        result.entries.push_back({file->filename, read_file(target), file->offset, file->attribs, file->date_y,
                                  file->date_m, file->date_d, file->time_h, file->time_m, file->time_s,
                                  folders[file->folder]});
        EXPECT_EQ(result.entries.back().content.size(), file->length) << file->filename;
    }
    reader->close(reader, cabinet);
    mspack_destroy_cab_decompressor(reader);
    return result;
}

void expect_sound_cabinet(const fs::path& path)
{
    temporary_folder scratch;
    const fs::path output = scratch / "output";
    const auto run = [&](const std::string& command) {
        const int status = std::system((command + " >'" + output.string() + "' 2>&1").c_str());
        EXPECT_EQ(status, 0) << command << "\n" << read_file(output);
    };
    if (*CW_CABEXTRACT != '\0') {
        run(std::string(CW_CABEXTRACT) + " -t '" + path.string() + "'");
        EXPECT_NE(read_file(output).find("All done, no errors."), std::string::npos) << read_file(output);
    }
    if (*CW_GCAB != '\0') {
        run(std::string(CW_GCAB) + " -t '" + path.string() + "'");
        run(std::string(CW_GCAB) + " -x -C '" + (scratch / "out/x").parent_path().string() + "' '" + path.string() +
            "'");
    }
}

std::string error_of(const std::function<void()>& call)
{
    try {
        call();
    } catch (const authoring::error& failure) {
        return failure.what();
    }
    return "no error";
}

} // namespace cw::test
