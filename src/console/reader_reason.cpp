#include "console/reader_reason.h"

#include "foundation/exceptions.h"

namespace cw::console {

std::u16string reader_reason(std::exception_ptr failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const _com_error& error) {
        if (const string words = error.Description(); !words.empty())
            return std::u16string(words.view());
    } catch (...) {
        // told below
    }
    return std::u16string(describe_exception(failure).view());
}

} // namespace cw::console
