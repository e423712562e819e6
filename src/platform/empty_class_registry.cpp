#include "platform/posix_services.h"

namespace cw::platform {

namespace {

class empty_class_registry final : public class_registry {
public:
    HRESULT class_id_from_program_id(const char16_t*, CLSID* class_id) noexcept override
    {
        *class_id = GUID_NULL;
        return CO_E_CLASSSTRING;
    }

    HRESULT create_instance(REFCLSID, IUnknown*, DWORD, REFIID, void** object) noexcept override
    {
        *object = nullptr;
        return REGDB_E_CLASSNOTREG;
    }
};

} // namespace

std::unique_ptr<class_registry> make_empty_class_registry()
{
    return std::make_unique<empty_class_registry>();
}

} // namespace cw::platform
