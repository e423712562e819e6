// Finds the features and components that a manifest refers to by name. Used by the manifest reader.
#pragma once

#include "authoring/json_node.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace cw::authoring {

class feature_names {
public:
    /// Adds the next feature; ids count from 1, a parent stands before its children.
    void add(std::int64_t parent, const std::string& name);
    /// The feature of a path ("Main/Help"), or that of a name which only one feature has. Fails at
    /// the node for an unknown and for an ambiguous one.
    [[nodiscard]] std::int64_t find(const json_node& node, const std::string& path_or_name) const;
    /// As `find`, and also "*", all features, and "Main/*", all below one.
    [[nodiscard]] std::vector<std::int64_t> find_all(const json_node& node, const std::string& pattern) const;
    /// "Main/Help".
    [[nodiscard]] std::string path(std::int64_t feature) const;

private:
    struct named_feature {
        std::int64_t parent;
        std::string name;
    };
    using lookup = std::unordered_map<std::string, std::vector<std::int64_t>>;

    std::vector<named_feature> m_features;
    lookup m_byPath;
    lookup m_byName;
};

class component_names {
public:
    /// Adds the next component; ids count from 1.
    void add(const std::string& name);
    /// The component of that name. Fails at the node for an unknown and for an ambiguous one.
    [[nodiscard]] std::int64_t find(const json_node& node, const std::string& name) const;

private:
    std::unordered_map<std::string, std::vector<std::int64_t>> m_byName;
    std::int64_t m_count = 0;
};

} // namespace cw::authoring
