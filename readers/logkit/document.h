// The entry object of the library and the log that it opens.
#pragma once

#include "automation/dual_object.h"
#include "readers/logkit/log_store.h"

namespace cw::logkit {

class document final : public automation::dual_object<document, ILogDocument> {
public:
    explicit document(log_handle log) noexcept;
    ~document() override;

    HRESULT RootFeature(IFeatureLog** feature) noexcept override;
    HRESULT OperationTypes(IOperationTypeCollection** types) noexcept override;

    static constexpr IID iid = IID_ILogDocument;
    static constexpr std::u16string_view name = u"ILogDocument";

private:
    log_handle m_log;
};

class loader final : public automation::dual_object<loader, ILogLoader> {
public:
    HRESULT Open(BSTR path, ILogDocument** document) noexcept override;

    static constexpr IID iid = IID_ILogLoader;
    static constexpr std::u16string_view name = u"ILogLoader";
};

} // namespace cw::logkit
