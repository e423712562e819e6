// The tree of a log: features nested to any depth, each with its groups of operations before the
// features below it. The main feature has no groups.

#include "app/main_frame.h"
#include "bridges/log_objects.h"
#include "log/operation_groups.h"
#include "media/nested_collections.h"

namespace cw {
namespace {

constexpr tree_item_images main_feature_images{1, 2};

} // namespace

void CMainFrame::PopulateLogTree()
{
    if (!m_rootFeatureLog)
        return;
    const automation::bstr name = text_of(m_rootFeatureLog.get(), &IFeatureLog::Name);
    const automation::bstr id = text_of(m_rootFeatureLog.get(), &IFeatureLog::ID);
    const HTREEITEM item = m_treeCtrl.InsertItem(name.view().empty() ? id.view() : name.view(), main_feature_images,
                                                 m_treeCtrl.GetFirstVisibleItem());
    m_navNodes[item] = {NODEKIND_LOG_FEATURE, m_rootFeatureLog};
    AddSubFeatures(item, object_of(m_rootFeatureLog.get(), &IFeatureLog::SubFeatures).get());
}

void CMainFrame::AddSubFeatures(HTREEITEM parent, IFeatureLogCollection* features)
{
    using level = level_of<IFeatureLogCollection>;
    walk_nested(level{parent, features},
                [this](HTREEITEM below, const automation::com_ptr<IFeatureLog>& feature) -> std::optional<level> {
                    const automation::bstr name = text_of(feature.get(), &IFeatureLog::Name);
                    const HTREEITEM item = InsertNavNode(below, name.view(), {NODEKIND_LOG_FEATURE, feature});
                    AddOperationGroups(item, feature.get());
                    return level{item, object_of(feature.get(), &IFeatureLog::SubFeatures)};
                });
}

void CMainFrame::AddOperationGroups(HTREEITEM item, IFeatureLog* feature)
{
    const auto types = object_of(m_logDocument.get(), &ILogDocument::OperationTypes);
    const auto type_count = [this] {
        return collection_count(object_of(m_logDocument.get(), &ILogDocument::OperationTypes).get());
    };
    bool has_registry_group = false;
    for (std::int64_t index = 1; index <= type_count(); ++index) {
        const auto type = collection_item(types.get(), static_cast<std::int32_t>(index));
        const automation::bstr name = text_of(type.get(), &IOperationType::Name);
        const auto operations = operations_of(feature, name.view());
        if (first_position(operations.get()) < 0)
            continue;
        // The two registry types share a node where the library lists the narrow one first; the other
        // way round each has one, and both show the same.
        if (name.view() == log_operation_type::registry64 && has_registry_group)
            continue;
        const operation_group group = group_of(name.view());
        has_registry_group = has_registry_group || group.kind == NODEKIND_LOG_REGISTRY;
        InsertNavNode(item, group.label, {group.kind, feature});
    }
}

} // namespace cw
