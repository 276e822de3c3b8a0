#include "app/views/WindowMemory.h"

#include <string>

namespace vesto {

QByteArray WindowMemory::value(std::string_view key) const {
    return QByteArray::fromBase64(QByteArray::fromStdString(m_file.value(key).value_or(std::string())));
}

void WindowMemory::keep(std::string_view key, const QByteArray& value) const {
    const std::string text = value.toBase64().toStdString();
    if (m_file.value(key) != text)
        (void)m_file.set(key, text); // next time the window has its first size then
}

} // namespace vesto
