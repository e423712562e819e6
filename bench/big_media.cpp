#include "bench/big_media.h"

#include "authoring/media_writer.h"

#include <string>

namespace cw::bench {
namespace {

using authoring::make_row;

/// Spreads names over the alphabet so that a sort has work to do.
std::string scattered_name(const char* stem, int number)
{
    const unsigned scattered = static_cast<unsigned>(number) * 2654435761u;
    return std::string(1, static_cast<char>('A' + scattered % 26)) + stem + " " + std::to_string(number);
}

void add_features(authoring::media_writer& media, int count)
{
    std::int64_t top = 0;
    std::int64_t middle = 0;
    for (int i = 0; i < count; ++i) {
        const std::int64_t parent = i % 50 == 0 ? 0 : i % 10 == 0 ? top : middle;
        const std::int64_t id =
            media.add_feature(parent, make_row(formats::feature_columns, {{u"Name", scattered_name("feature", i)}}));
        if (i % 50 == 0)
            top = middle = id;
        else if (i % 10 == 0)
            middle = id;
    }
}

void add_files(authoring::media_writer& media, std::int64_t component, int first, int count)
{
    authoring::file_row file;
    for (int i = first; i < first + count; ++i) {
        file.name = "file " + std::to_string(i) + ".dat";
        file.size_in_bytes = static_cast<std::uint64_t>(i);
        file.compressed_size_in_bytes = static_cast<std::uint64_t>(i) / 2;
        file.date = 36'000.0 + i * 0.001;
        file.version = "1.0.0." + std::to_string(i);
        file.md5 = formats::md5_digest{};
        media.add_file(component, file);
    }
}

/// Every key has five keys beside it, every key above those six beside it, and so on.
std::string deep_path(int number)
{
    constexpr int segments = 12;
    constexpr unsigned siblings = 6;
    std::string path;
    unsigned rest = static_cast<unsigned>(number);
    for (int segment = 0; segment < segments; ++segment, rest /= siblings)
        path.insert(0, scattered_name("key", static_cast<int>(rest % siblings)) + (segment ? "\\" : ""));
    return path;
}

} // namespace

std::filesystem::path make_big_media(const std::filesystem::path& folder, const media_size& size)
{
    const std::string name = "big-" + std::to_string(size.features) + "-" + std::to_string(size.components) + "-" +
                             std::to_string(size.files);
    const std::filesystem::path header = folder / (name + ".hdr");
    if (std::filesystem::exists(header))
        return header;

    authoring::staged_files stage(folder);
    authoring::media_writer media(stage, name, authoring::media_id{1});
    media.set_media(make_row(formats::media_columns, {{u"FormatVersion", std::int64_t{0x1009500}}}));
    add_features(media, size.features);
    const int files_each = size.components ? size.files / size.components : 0;
    for (int i = 0; i < size.components; ++i) {
        const std::int64_t component =
            media.add_component(make_row(formats::component_columns, {{u"Name", scattered_name("component", i)}}));
        add_files(media, component, i * files_each, files_each);
    }
    media.finish();
    stage.publish();
    return header;
}

std::filesystem::path make_registry_media(const std::filesystem::path& folder, registry_shape shape, int keys)
{
    constexpr int local_machine = 2;
    const bool deep = shape == registry_shape::deep;
    const std::string name = std::string("registry-") + (deep ? "deep-" : "flat-") + std::to_string(keys);
    const std::filesystem::path header = folder / (name + ".hdr");
    if (std::filesystem::exists(header))
        return header;

    authoring::staged_files stage(folder);
    authoring::media_writer media(stage, name, authoring::media_id{1});
    const std::int64_t set = media.add_registry_set(make_row(formats::registry_set_columns, {{u"Name", name}}));
    for (int i = 0; i < keys; ++i)
        media.add_registry_key(
            set, local_machine,
            make_row(formats::registry_key_columns, {{u"Path", deep ? deep_path(i) : scattered_name("key", i)}}));
    media.finish();
    stage.publish();
    return header;
}

} // namespace cw::bench
