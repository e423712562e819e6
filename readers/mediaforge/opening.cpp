#include "readers/mediaforge/opening.h"

#include "readers/mediaforge/header_check.h"
#include "readers/mediaforge/plain_cabinet.h"
#include "readers/storage/database_prefix.h"
#include "readers/storage/text.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cstring>
#include <filesystem>
#include <limits>

namespace cw::mediaforge {
namespace {

// A protected header is opened in memory, so its size has a limit that an open one has not.
constexpr std::uint64_t largest_sealed_size_in_bytes = 1024ull * 1024 * 1024;
constexpr std::size_t cabinet_prefix_size_in_bytes = 36;

/// A regular file that is open for reading, and its first bytes.
class input_file {
public:
    explicit input_file(const std::string& path) : m_path(path)
    {
        if (path.empty() || path.find('\0') != std::string::npos)
            throw media_failure(error_number::not_found, path, {}, ENOENT);
        // A pipe must not keep anybody waiting for its other end.
        m_descriptor = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
        if (m_descriptor < 0)
            throw media_failure(media_error_of(errno), path, {}, errno);
        try {
            inspect();
        } catch (...) {
            ::close(m_descriptor);
            throw;
        }
    }
    ~input_file() { ::close(m_descriptor); }
    input_file(const input_file&) = delete;
    input_file& operator=(const input_file&) = delete;

    [[nodiscard]] std::uint64_t size_in_bytes() const noexcept { return m_sizeInBytes; }
    [[nodiscard]] formats::byte_view first_bytes() const noexcept { return m_firstBytes; }
    /// The file's bytes from its start, at most `size` of them.
    [[nodiscard]] formats::bytes read(std::size_t size) const
    {
        formats::bytes content(size);
        std::size_t done = 0;
        while (done < size) {
            const ssize_t got = ::pread(m_descriptor, content.data() + done, size - done, static_cast<off_t>(done));
            if (got < 0 && errno == EINTR)
                continue;
            if (got < 0)
                throw media_failure(error_number::read_failed, m_path, {}, errno);
            if (got == 0)
                break;
            done += static_cast<std::size_t>(got);
        }
        content.resize(done);
        return content;
    }

private:
    void inspect()
    {
        struct stat status;
        if (::fstat(m_descriptor, &status) != 0)
            throw media_failure(error_number::read_failed, m_path, {}, errno);
        if (S_ISDIR(status.st_mode))
            throw media_failure(error_number::is_a_folder, m_path, {}, EISDIR);
        if (!S_ISREG(status.st_mode))
            throw media_failure(error_number::not_a_file, m_path);
        m_sizeInBytes = static_cast<std::uint64_t>(status.st_size);
        m_firstBytes = read(storage::database_prefix_size_in_bytes);
    }

    const std::string& m_path;
    int m_descriptor = -1;
    std::uint64_t m_sizeInBytes = 0;
    formats::bytes m_firstBytes;
};

std::unique_ptr<storage::database> open_sealed(const input_file& file, const std::string& path,
                                               std::string_view password)
{
    formats::envelope_prefix prefix;
    if (file.first_bytes().size() < sizeof prefix)
        throw media_failure(error_number::damaged_seal, path, u"it is cut short");
    std::memcpy(&prefix, file.first_bytes().data(), sizeof prefix);
    if (prefix.version > formats::envelope_version)
        throw media_failure(error_number::newer_schema, path,
                            u"its protection is number " + storage::to_utf16(std::to_string(prefix.version)));
    if (file.size_in_bytes() > largest_sealed_size_in_bytes)
        throw media_failure(error_number::damaged_seal, path, u"it is larger than a protected header may be");
    if (password.empty())
        throw media_failure(error_number::password_required, path);
    formats::bytes image;
    try {
        image = formats::open_header(file.read(static_cast<std::size_t>(file.size_in_bytes())), password);
    } catch (const formats::wrong_password&) {
        throw media_failure(error_number::password_required, path);
    } catch (const formats::damaged_seal& error) {
        throw media_failure(error_number::damaged_seal, path, storage::to_utf16(error.what()));
    }
    check_prefix(image, image.size(), path);
    return storage::database::open_image(std::move(image), path, &raise_fault);
}

/// A header, protected or not; null for a file of another kind.
media_handle open_header(const input_file& file, const std::string& path, std::string_view password,
                         const std::shared_ptr<error_record>& last_error)
{
    std::unique_ptr<storage::database> source;
    if (formats::is_sealed(file.first_bytes())) {
        source = open_sealed(file, path, password);
    } else if (storage::is_database(file.first_bytes())) {
        check_prefix(file.first_bytes(), file.size_in_bytes(), path);
        source = storage::database::open_file(path, storage::file_use::frozen, &raise_fault);
    } else {
        return nullptr;
    }
    check_tables(*source);
    return std::make_shared<media_store>(std::move(source), path, last_error);
}

/// The header that lies beside a cabinet and lists it as its volume, or null. The name of volume 12
/// of "data" ends as that of volume 2 of "data1" does, so every way to divide it is tried.
media_handle open_header_of(const std::string& cabinet_path, const input_file& cabinet_file, std::string_view password,
                            const std::shared_ptr<error_record>& last_error)
{
    const std::string name = file_name_of(cabinet_path);
    constexpr std::string_view extension = ".cab";
    const formats::byte_view prefix = cabinet_file.first_bytes();
    if (name.size() <= extension.size() || prefix.size() < cabinet_prefix_size_in_bytes ||
        !storage::equal_ignoring_ascii_case(std::string_view(name).substr(name.size() - extension.size()), extension))
        return nullptr;
    const std::int64_t set_id = prefix[32] | prefix[33] << 8;
    const std::string stem = name.substr(0, name.size() - extension.size());
    constexpr std::size_t most_digits = 9;
    for (std::size_t digits = 1; digits < stem.size() && digits <= most_digits; ++digits) {
        const std::string number = stem.substr(stem.size() - digits);
        if (!std::isdigit(static_cast<unsigned char>(number[0])))
            break;
        if (number[0] == '0')
            continue;
        const std::string path = find_file(folder_of(cabinet_path), stem.substr(0, stem.size() - digits) + ".hdr");
        if (path.empty())
            continue;
        try {
            const input_file file(path);
            const media_handle media = open_header(file, path, password, last_error);
            const int volume = std::stoi(number);
            if (media && media->lists_volume(volume) && media->volume_set_id(volume) == set_id)
                return media;
        } catch (const media_failure& failure) {
            // What a person can mend is told; a file that is no header is passed by.
            if (failure.number() == error_number::password_required || failure.number() == error_number::newer_schema)
                throw;
        }
    }
    return nullptr;
}

} // namespace

media_handle open_media(const std::string& given_path, std::string_view password,
                        const std::shared_ptr<error_record>& last_error)
{
    const input_file file(given_path);
    // The volumes are looked for beside the header later, wherever the process then stands.
    std::error_code nowhere; // the process stands in a folder that is gone
    std::string path = std::filesystem::absolute(given_path, nowhere).string();
    if (nowhere)
        path = given_path;
    if (media_handle media = open_header(file, path, password, last_error))
        return media;
    if (is_cabinet(file.first_bytes())) {
        if (media_handle media = open_header_of(path, file, password, last_error))
            return media;
        return open_plain_cabinet(path, last_error);
    }
    throw media_failure(error_number::not_a_media, path,
                        file.size_in_bytes() == 0 ? u"it is empty" : u"it is neither a header nor a cabinet");
}

} // namespace cw::mediaforge
