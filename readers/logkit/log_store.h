// One open log: its database, the features and operation types that were read when it was opened,
// and the queries that all objects of the model ask. The objects share it and keep it alive.
#pragma once

#include "automation/dispatch_object.h"
#include "bridges/log_interface.h"
#include "formats/log_format.h"
#include "readers/storage/typed_row.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace cw::logkit {

using automation::com_ptr;
using automation::make_object;

/// A feature as it was when the log was opened; indices are those of `log_store`.
struct stored_feature {
    std::int64_t id;
    std::optional<std::size_t> parent; // none for the main feature
    std::string name;
    std::string identifier;
    std::size_t first_child = 0; // children stand behind one another
    std::size_t child_count = 0;
};

struct stored_type {
    std::int64_t id;
    std::u16string name;
};

/// The queries for the operations of one table, or of all types that have none.
struct operation_queries {
    const formats::operation_table* table; // null for types without a table
    storage::typed_row last;               // position of the last operation
    storage::typed_row from;               // positions and columns from a position on
};

class log_store {
public:
    /// Checks the log and reads what is read once. Throws `log_failure`.
    explicit log_store(std::unique_ptr<storage::database> source);

    [[nodiscard]] const std::string& path() const noexcept { return m_source->path(); }
    /// Siblings stand behind one another, by their positions.
    [[nodiscard]] const std::vector<stored_feature>& features() const noexcept { return m_features; }
    [[nodiscard]] std::size_t main_feature() const noexcept { return m_mainFeature; }
    [[nodiscard]] const std::vector<stored_type>& types() const noexcept { return m_types; }
    /// The id of a type, or none for one that is not listed.
    [[nodiscard]] std::optional<std::int64_t> type_id(std::u16string_view name) const noexcept;
    /// Whether the log told, when it was opened, of operations of a type in a feature (their ids). Where it
    /// did not there may be some all the same.
    [[nodiscard]] bool tells_of_operations(std::int64_t feature, std::int64_t type) const noexcept;
    /// The queries for a type: those of its table, or those of types without one.
    [[nodiscard]] operation_queries& operations(std::u16string_view type) noexcept;

    /// Elements of records without a column: (type, feature, operation from).
    [[nodiscard]] storage::typed_row& elements() noexcept { return m_elements; }
    /// Positions and names of a feature's properties, and whether they are arrays: (feature).
    [[nodiscard]] storage::typed_row& property_names() noexcept { return m_propertyNames; }
    /// A property's type and value: (feature, position).
    [[nodiscard]] storage::typed_row& property() noexcept { return m_property; }
    /// Positions and texts of an array: (feature, property).
    [[nodiscard]] storage::typed_row& property_elements() noexcept { return m_propertyElements; }

    /// The object of a feature: the same one for as long as it lives.
    [[nodiscard]] com_ptr<IFeatureLog> feature_object(const std::shared_ptr<log_store>& self, std::size_t index);
    /// From now on features that are handed out live until `forget_features`, which the document
    /// calls at its end: they keep this store, and none of them could go while it kept them.
    void keep_features() noexcept { m_keepsFeatures = true; }
    void forget_features() noexcept;
    /// A feature's object is gone.
    void feature_gone(std::size_t index) noexcept { m_objects[index] = nullptr; }

private:
    friend class look;
    void read_features();
    void read_types();
    void read_lists();
    void check_identity();

    std::unique_ptr<storage::database> m_source;
    std::unique_ptr<storage::reading> m_opening; // until all is read that goes together
    storage::typed_row m_identity;
    storage::typed_row m_elements;
    storage::typed_row m_propertyNames;
    storage::typed_row m_property;
    storage::typed_row m_propertyElements;
    std::vector<operation_queries> m_operations;
    std::vector<stored_feature> m_features;
    std::size_t m_mainFeature = 0;
    std::vector<stored_type> m_types;
    std::unordered_map<std::u16string_view, std::int64_t> m_typeIds; // by the names in `m_types`
    std::vector<std::pair<std::int64_t, std::int64_t>> m_lists;      // features and types, in their order
    std::vector<IFeatureLog*> m_objects;                             // of the features, null where there is none
    std::vector<com_ptr<IFeatureLog>> m_kept;
    bool m_keepsFeatures = false;
};

using log_handle = std::shared_ptr<log_store>;

/// One look into a log, which must still be the one that was opened. All queries are asked within
/// one; none of their rows outlives it. Throws `log_failure`.
class look {
public:
    explicit look(log_store& log);

private:
    storage::reading m_reading;
};

} // namespace cw::logkit
