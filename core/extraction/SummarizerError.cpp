#include "core/extraction/SummarizerError.h"

#include <type_traits>

namespace vesto {

std::string_view SummarizerError::name() const {
    return std::visit(
        [](const auto& error) -> std::string_view {
            using Error = std::decay_t<decltype(error)>;
            if constexpr (std::is_same_v<Error, UnsupportedType>)
                return "unsupportedType";
            else if constexpr (std::is_same_v<Error, Unreadable>)
                return "unreadable";
            else
                return "locked";
        },
        m_case);
}

} // namespace vesto
