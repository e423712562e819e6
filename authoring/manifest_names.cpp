#include "authoring/manifest_names.h"

namespace cw::authoring {

void feature_names::add(std::int64_t parent, const std::string& name)
{
    m_features.push_back({parent, name});
    const auto id = static_cast<std::int64_t>(m_features.size());
    m_byPath[path(id)].push_back(id);
    m_byName[name].push_back(id);
}

std::string feature_names::path(std::int64_t feature) const
{
    const auto& [parent, name] = m_features[static_cast<std::size_t>(feature - 1)];
    return parent == 0 ? name : path(parent) + "/" + name;
}

std::int64_t feature_names::find(const json_node& node, const std::string& path_or_name) const
{
    for (const lookup* by : {&m_byPath, &m_byName}) {
        const auto found = by->find(path_or_name);
        if (found == by->end())
            continue;
        if (found->second.size() > 1)
            node.fail("more than one feature is called " + path_or_name);
        return found->second.front();
    }
    node.fail("no such feature: " + path_or_name);
}

std::vector<std::int64_t> feature_names::find_all(const json_node& node, const std::string& pattern) const
{
    const bool is_name = m_byPath.contains(pattern) || m_byName.contains(pattern);
    if (is_name || (pattern != "*" && !pattern.ends_with("/*")))
        return {find(node, pattern)};
    const std::int64_t above = pattern == "*" ? 0 : find(node, pattern.substr(0, pattern.size() - 2));
    std::vector<bool> below(m_features.size() + 1);
    below[static_cast<std::size_t>(above)] = true;
    std::vector<std::int64_t> result;
    for (std::size_t id = 1; id <= m_features.size(); ++id) {
        if (!below[static_cast<std::size_t>(m_features[id - 1].parent)])
            continue;
        below[id] = true;
        result.push_back(static_cast<std::int64_t>(id));
    }
    return result;
}

void component_names::add(const std::string& name)
{
    m_byName[name].push_back(++m_count);
}

std::int64_t component_names::find(const json_node& node, const std::string& name) const
{
    const auto found = m_byName.find(name);
    if (found == m_byName.end())
        node.fail("no such component: " + name);
    if (found->second.size() > 1)
        node.fail("more than one component is called " + name);
    return found->second.front();
}

} // namespace cw::authoring
