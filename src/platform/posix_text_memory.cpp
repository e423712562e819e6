#include "platform/posix_services.h"

#include <cstdlib>

namespace cw::platform {

namespace {

class posix_text_memory final : public text_memory {
public:
    BSTR allocate(const char16_t* text, UINT length) noexcept override { return SysAllocStringLen(text, length); }
    int reallocate(BSTR* target, const char16_t* text, UINT length) noexcept override
    {
        return SysReAllocStringLen(target, text, length);
    }
    void release(BSTR text) noexcept override { SysFreeString(text); }
    char* allocate_bytes(std::size_t size_in_bytes) noexcept override
    {
        return static_cast<char*>(std::malloc(size_in_bytes));
    }
    void release_bytes(char* bytes) noexcept override { std::free(bytes); }
};

} // namespace

std::unique_ptr<text_memory> make_posix_text_memory()
{
    return std::make_unique<posix_text_memory>();
}

} // namespace cw::platform
