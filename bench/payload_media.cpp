#include "bench/payload_media.h"

#include "authoring/payload_writer.h"

#include <algorithm>
#include <memory>
#include <random>
#include <string>

namespace cw::bench {
namespace {

constexpr std::uint64_t payload_size_in_bytes = 500'000'000;
constexpr std::uint64_t smallest_file_in_bytes = 4 * 1024;
constexpr std::uint64_t largest_file_in_bytes = 1024 * 1024;
// Several volumes, as on media of old.
constexpr std::uint64_t volume_size_in_bytes = 100'000'000;
constexpr std::uint16_t set_id = 7;
constexpr double date_of_all = 36'925.5;

/// Contents that programs are installed with, in this order again and again.
class contents {
public:
    std::string next(std::size_t size)
    {
        std::string content;
        content.reserve(size + 64);
        const unsigned sort = m_count++ % 4;
        while (content.size() < size) {
            if (sort == 0 || (sort == 3 && content.size() % 8192 < 4096))
                add_words(content);
            else if (sort == 1)
                add_record(content);
            else
                add_noise(content);
        }
        content.resize(size);
        return content;
    }

private:
    void add_words(std::string& text)
    {
        constexpr unsigned different_words = 3'000;
        unsigned word = static_cast<unsigned>(m_random()) % different_words;
        for (word = word * word / different_words + 1; word != 0; word /= 11)
            text += static_cast<char>('a' + word % 26);
        text += m_random() % 12 == 0 ? ".\r\n" : " ";
    }
    void add_record(std::string& bytes)
    {
        const std::uint64_t changing = m_random();
        bytes.append("\1\0\0\0RECORD\0\0", 12);
        for (int i = 0; i < 3; ++i)
            bytes += static_cast<char>(changing >> (8 * i));
        bytes.append(9, '\0');
    }
    void add_noise(std::string& bytes)
    {
        const std::uint64_t noise = m_random();
        for (int i = 0; i < 8; ++i)
            bytes += static_cast<char>(noise >> (8 * i));
    }

    std::mt19937_64 m_random{1};
    unsigned m_count = 0;
};

} // namespace

std::filesystem::path make_payload_media(const std::filesystem::path& folder)
{
    const std::string name = "payload";
    const std::filesystem::path header = folder / (name + ".hdr");
    if (std::filesystem::exists(header))
        return header;

    authoring::staged_files stage(folder);
    authoring::media_writer media(stage, name, authoring::media_id{2});
    const std::int64_t component =
        media.add_component(authoring::make_row(formats::component_columns, {{u"Name", name}}));
    authoring::cabinet_options options;
    options.volume_size_in_bytes = volume_size_in_bytes;
    options.set_id = set_id;
    authoring::payload_writer payload(media, stage, name, options, payload_size_in_bytes, {});
    contents all;
    std::mt19937 random(2);
    std::uint64_t left = payload_size_in_bytes;
    for (int number = 0; left > 0; ++number) {
        // Many small files, few big ones.
        std::uint64_t size = smallest_file_in_bytes;
        while (size < largest_file_in_bytes && random() % 4 != 0)
            size += size / 2 + random() % size;
        size = std::min({size, largest_file_in_bytes, left});
        left -= size;
        const auto details = std::make_shared<authoring::file_details>();
        details->content = all.next(static_cast<std::size_t>(size));
        authoring::source_file file;
        file.name = "folder " + std::to_string(number / 100) + "\\file " + std::to_string(number) + ".dat";
        file.size_in_bytes = size;
        file.date = date_of_all;
        file.details = details;
        payload.add(component, name, file);
    }
    (void)payload.finish();
    media.finish();
    stage.publish();
    return header;
}

} // namespace cw::bench
