// Records an installation log: features, their properties, and the operations that an installer did.
// `cwcab record` and the importers stand on it; docs/log-format.md tells what can be relied on.
#pragma once

#include "authoring/log_database.h"
#include "authoring/log_file.h"
#include "authoring/media_writer.h"
#include "formats/log_format.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace cw::authoring {

/// All texts are UTF-8. A call that throws `error` has recorded nothing and the next one can follow;
/// `log_storage_error` tells that the file is the reason, and that what was not committed may be lost.
class log_recorder {
public:
    /// Opens a log, or makes one where nothing is or an empty file, and holds it against other recorders.
    explicit log_recorder(const std::filesystem::path& file);
    /// Without `close`, what was not committed is given up.
    ~log_recorder();
    log_recorder(const log_recorder&) = delete;
    log_recorder& operator=(const log_recorder&) = delete;

    /// The first feature has no parent and is the main one, all others have one. A feature that is told
    /// again, with the same parent, takes the name.
    void add_feature(std::string_view identifier, std::optional<std::string_view> name,
                     std::optional<std::string_view> parent);

    /// A scalar, or an array of texts from 0 on. The first array of a feature is the titles of the others,
    /// none of which is longer. A property that is told again keeps its place.
    void set_property(std::string_view feature, std::string_view name, const typed_value& value);

    /// Elements in the order of the record. Those of a known type are of the forms that its columns have;
    /// empty values and missing ones at the end stand for what the installer does not say. Elements
    /// behind the last column, and all of an unknown type, are scalars of any type.
    void add_operation(std::string_view type, std::string_view feature, std::span<const typed_value> elements);

    /// Makes everything so far permanent: it is on the disk afterwards.
    void commit();
    /// Commits, and leaves one plain file as far as readers of the log let that be. Nothing can be
    /// recorded after that.
    void close();

private:
    using row_number = std::int64_t;

    struct text_hash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const noexcept { return std::hash<std::string_view>()(text); }
    };
    template <typename Value>
    using text_map = std::unordered_map<std::string, Value, text_hash, std::equal_to<>>;

    struct property_states {
        text_map<std::size_t> places;
        std::map<std::size_t, std::size_t> element_counts; // of the arrays, by their places
    };
    struct feature_state {
        row_number id = 0;
        row_number parent = 0;
        int level = 1;
        std::int64_t child_count = 0;
        std::unique_ptr<property_states> properties;                    // once they were asked for
        std::unordered_map<std::size_t, std::int64_t> operation_counts; // by the place of the type, likewise
    };
    struct type_state {
        row_number id = 0;
        std::optional<std::size_t> table; // its place in `formats::operation_tables`
    };
    struct statements;

    void load();
    void load_types();
    void load_features();
    void make_ready();
    template <typename Work>
    void write(Work work);
    template <typename Work>
    void write_at_once(Work work);
    void end_log() noexcept;

    [[nodiscard]] feature_state& feature_named(std::string_view identifier);
    [[nodiscard]] property_states& properties_of(feature_state& feature);
    [[nodiscard]] std::int64_t next_position(const type_state& type, row_number feature);
    /// Takes the row and its elements in; nothing is written before `run` of the statement.
    log_statement& bind_operation(const type_state& type, row_number feature, std::int64_t position,
                                  std::span<const typed_value> elements);
    void insert_surplus(const type_state& type, row_number feature, std::int64_t position,
                        std::span<const typed_value> elements);

    std::string m_path;
    std::optional<log_file> m_file;
    std::unique_ptr<log_database> m_database; // none once the log is closed
    std::unique_ptr<statements> m_statements;
    std::vector<feature_state> m_features;
    text_map<std::size_t> m_featurePlaces;
    std::vector<type_state> m_types;
    text_map<std::size_t> m_typePlaces;
    bool m_isStale = false; // a transaction was lost, and with it what is kept here
};

} // namespace cw::authoring
