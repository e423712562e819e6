// A folder of its own for one test, gone at its end.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>

namespace cw::test_support {

class temporary_folder {
public:
    temporary_folder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "cw-test-XXXXXX").native();
        if (!mkdtemp(name.data()))
            throw std::runtime_error("no temporary folder");
        m_path = std::filesystem::canonical(name);
    }
    ~temporary_folder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    temporary_folder(const temporary_folder&) = delete;
    temporary_folder& operator=(const temporary_folder&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const noexcept { return m_path; }
    [[nodiscard]] std::string file(std::string_view name) const { return (m_path / name).native(); }
    [[nodiscard]] std::u16string wide_file(std::string_view name) const { return (m_path / name).u16string(); }

    std::string write(std::string_view name, std::string_view bytes) const
    {
        std::ofstream(m_path / name, std::ios::binary) << bytes;
        return file(name);
    }
    [[nodiscard]] std::string read(std::string_view name) const
    {
        std::ifstream stream(m_path / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

private:
    std::filesystem::path m_path;
};

} // namespace cw::test_support
