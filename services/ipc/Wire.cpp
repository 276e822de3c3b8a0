#include "services/ipc/Wire.h"

#include "core/support/Unicode.h"

#include <cmath>

namespace vesto::ipc {

std::int64_t WireReader::integer(std::int64_t least, std::int64_t most) {
    const auto value = static_cast<std::int64_t>(number<std::uint64_t>());
    require(value >= least && value <= most);
    return m_valid ? value : 0;
}

double WireReader::real(double least, double most) {
    const double value = std::bit_cast<double>(number<std::uint64_t>());
    require(std::isfinite(value) && value >= least && value <= most);
    return m_valid ? value : 0;
}

bool WireReader::boolean() {
    const auto value = number<std::uint8_t>();
    require(value <= 1);
    return m_valid && value == 1;
}

std::size_t WireReader::count(std::size_t most, std::size_t leastBytes) {
    const std::size_t value = number<std::uint32_t>();
    require(value <= most && value <= m_rest.size() / leastBytes);
    return m_valid ? value : 0;
}

std::string_view WireReader::text(std::size_t mostBytes) {
    const std::size_t size = number<std::uint32_t>();
    require(size <= mostBytes);
    return raw(m_valid ? size : 0);
}

std::string WireReader::utf8(std::size_t mostBytes) {
    const std::string_view bytes = text(mostBytes);
    require(unicode::isValid(bytes));
    return m_valid ? std::string(bytes) : std::string();
}

std::string_view WireReader::raw(std::size_t size) {
    require(size <= m_rest.size());
    if (!m_valid)
        return {};
    const std::string_view result = m_rest.substr(0, size);
    m_rest.remove_prefix(size);
    return result;
}

} // namespace vesto::ipc
