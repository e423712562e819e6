#include "readers/logkit/document.h"

#include "readers/logkit/errors.h"
#include "readers/logkit/opening.h"
#include "readers/logkit/operation_objects.h"
#include "readers/storage/text.h"

#include <new>

namespace cw::logkit {

document::document(log_handle log) noexcept : m_log(std::move(log))
{
    m_log->keep_features();
}

document::~document()
{
    m_log->forget_features();
}

HRESULT document::RootFeature(IFeatureLog** feature) noexcept
{
    return answer_into(
        feature, [this]() -> IFeatureLog* { return m_log->feature_object(m_log, m_log->main_feature()).detach(); });
}

HRESULT document::OperationTypes(IOperationTypeCollection** types) noexcept
{
    return answer_into(types, [this]() -> IOperationTypeCollection* {
        return make_object<operation_type_collection>(m_log).detach();
    });
}

HRESULT loader::Open(BSTR path, ILogDocument** opened) noexcept
{
    return answer_into(opened, [&]() -> ILogDocument* {
        const std::string native_path = storage::to_native_path({path ? path : u"", SysStringLen(path)});
        try {
            return make_object<document>(open_log(native_path)).detach();
        } catch (const std::bad_alloc&) {
            throw log_failure(error_number::out_of_memory, native_path);
        }
    });
}

} // namespace cw::logkit
